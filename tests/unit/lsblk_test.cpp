// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk in a listing by lsblk.
#include "disk/lsblk.h"
#include "fixture.h"

namespace {

class listing : public on_machine {
protected:
    static std::string identity_in(const std::string &listing, const char *device = "sda2")
    {
        return owned_text(orvane::identity_in_listing(listing.c_str(), device).release()).value();
    }
    static std::string with(const std::string &devices)
    {
        return R"({"blockdevices": [)" + devices + "]}";
    }
    static std::string disk(const std::string &serial, const std::string &model)
    {
        return R"({"name": "/dev/sda2", "serial": ")" + serial + R"(", "model": ")" + model +
               R"("})";
    }
};

constexpr char none[] = "(no text)";

} // namespace

TEST_F(listing, as_lsblk_writes_it_has_the_disks_identity)
{
    EXPECT_EQ(identity_in(R"({
   "blockdevices": [
      {"name":"/dev/sr0", "serial":null, "model":null},
      {"name":"/dev/sda", "serial":"Z1D5ABCD", "model":"ST1000DM003-1CH162",
         "children": [
            {"name":"/dev/sda1", "serial":null, "model":null}
         ]
      },
      {"name":"/dev/nvme0n1", "serial":"S4EVNX0N123456      ", "model":"Samsung SSD 970 EVO"}
   ]
}
)",
                          "nvme0n1"),
              "Samsung-SSD-970-EVO_S4EVNX0N123456------");
}

TEST_F(listing, has_one_dash_for_each_other_character)
{
    EXPECT_EQ(identity_in(with(disk(" S  1 ", "M\\t\\n1"))), "M--1_-S--1-");
}

TEST_F(listing, has_the_first_disk_of_the_name)
{
    EXPECT_EQ(identity_in(with(disk("S1", "M1") + "," + disk("S2", "M2"))), "M1_S1");
}

TEST_F(listing, has_no_identity_for_another_name)
{
    EXPECT_EQ(identity_in(with(disk("S", "M")), "sda"), none);
    EXPECT_EQ(identity_in(with(disk("S", "M")), "sda22"), none);
    EXPECT_EQ(identity_in(with(disk("S", "M")), "/dev/sda2"), none);
    EXPECT_EQ(identity_in(with(disk("S", "M")), "SDA2"), none);
    EXPECT_EQ(identity_in(with(disk("S", "M")), ""), none);
}

TEST_F(listing, has_no_identity_for_no_name)
{
    EXPECT_EQ(identity_in(with(disk("S", "M")), nullptr), none);
    EXPECT_EQ(machine.trace(), texts{"current name '/dev/sda2', dev_name '(null)'"});
}

TEST_F(listing, has_no_disk_below_another)
{
    EXPECT_EQ(identity_in(with(R"({"name": "/dev/sda", "children": [)" + disk("S", "M") + "]}")),
              none);
}

TEST_F(listing, that_is_none_has_no_identity)
{
    EXPECT_EQ(identity_in(""), none);
    EXPECT_EQ(identity_in("garbage"), none);
    EXPECT_EQ(identity_in("{}"), none);
    EXPECT_EQ(identity_in(with("")), none);
    EXPECT_EQ(machine.trace(), (texts{"Failed to parse JSON", "Failed to parse JSON",
                                      "Key 'blockdevices' does not exist."}));
}

TEST_F(listing, that_is_too_deep_has_no_identity)
{
    EXPECT_EQ(identity_in(std::string(8000, '[') + std::string(8000, ']')), none);
    EXPECT_EQ(machine.trace(), texts{"Failed to parse JSON"});
}

TEST_F(listing, is_cut_where_an_identity_would_be_too_long)
{
    EXPECT_EQ(identity_in(with(disk("ST", std::string(1020, 'M')))),
              std::string(1020, 'M') + "_ST");
    EXPECT_EQ(identity_in(with(disk("ST", std::string(1021, 'M')))), std::string(1021, 'M') + "_S");
    EXPECT_EQ(identity_in(with(disk("ST", std::string(5000, 'M')))), std::string(1023, 'M'));
}
