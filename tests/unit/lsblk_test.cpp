// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk in a listing by lsblk.
#include "disk/lsblk.h"
#include "fixture.h"

#include <string>

namespace {

using lsblk_listing = on_machine;

constexpr char none[] = "(no text)";

std::string identity_in(const std::string &listing, const char *device = "sda2")
{
    return owned_text(orvane::identity_in_listing(listing.c_str(), device).release()).value();
}

std::string disk(const std::string &serial, const std::string &model)
{
    return R"({"blockdevices": [{"name": "/dev/sda2", "serial": ")" + serial + R"(", "model": ")" +
           model + R"("}]})";
}

} // namespace

TEST_F(lsblk_listing, has_the_identity_of_the_disk_that_has_the_name)
{
    EXPECT_EQ(identity_in(disk("S", "M")), "M_S");
    for (const char *const name : {"sda", "sda22", "/dev/sda2", "SDA2", ""})
        EXPECT_EQ(identity_in(disk("S", "M"), name), none) << name;
}

TEST_F(lsblk_listing, has_no_identity_for_no_name)
{
    EXPECT_EQ(identity_in(disk("S", "M"), nullptr), none);
    EXPECT_EQ(machine.trace(), texts{"current name '/dev/sda2', dev_name '(null)'"});
}

TEST_F(lsblk_listing, that_is_nested_too_deeply_has_no_identity)
{
    EXPECT_EQ(identity_in(std::string(8000, '[') + std::string(8000, ']')), none);
    EXPECT_EQ(machine.trace(), texts{"Failed to parse JSON"});
}

TEST_F(lsblk_listing, has_an_identity_of_at_most_1023_bytes)
{
    EXPECT_EQ(identity_in(disk("ST", std::string(1020, 'M'))), std::string(1020, 'M') + "_ST");
    EXPECT_EQ(identity_in(disk("ST", std::string(1021, 'M'))), std::string(1021, 'M') + "_S");
    EXPECT_EQ(identity_in(disk("ST", std::string(5000, ' '))), std::string(1023, '-'));
    EXPECT_EQ(identity_in(disk(std::string(5000, 'S'), "M")), "M_" + std::string(1021, 'S'));
}
