// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity that an ATA disk reports.
#include "built_locale.h"
#include "disk_machine.h"
#include "inheritance.h"

#include <cstdlib>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

class ata_disk : public disk_machine {
protected:
    void furnish() override { machine.block_device("/dev/sda2"); }

    std::string identity_of(std::string_view model, std::string_view serial)
    {
        kernel.identify("/dev/sda2", model, serial);
        return identity("/dev/sda2");
    }
};

} // namespace

TEST_F(ata_disk, traces_the_request)
{
    EXPECT_EQ(identity_of("ST1000DM003-1CH162", "    Z1D5ABCD"), "ST1000DM003-1CH162_Z1D5ABCD");
    expect_trace({"device :/dev/sda2"});
}

TEST_F(ata_disk, traces_a_node_that_cannot_be_opened)
{
    kernel.refuse_to_open("/dev/sda2");
    EXPECT_EQ(identity_of("MODEL", "SERIAL"), no_text);
    expect_trace({"device :/dev/sda2", "fd < 0, return"});
}

TEST_F(ata_disk, traces_a_refused_request)
{
    EXPECT_EQ(identity("/dev/sda2"), no_text);
    expect_trace({"device :/dev/sda2", "ioctl(fd, HDIO_GET_IDENTITY, &id), return"});
}

TEST_F(ata_disk, cannot_be_read_by_a_program_that_starts_during_the_request)
{
    inheritance programs(machine);
    kernel.set_during_request([&programs] { programs.start_program(); });
    EXPECT_EQ(identity_of("MODEL", "SERIAL"), "MODEL_SERIAL");
    EXPECT_EQ(programs.found().programs, 2);
    EXPECT_EQ(programs.found().inherited, std::set<std::string>{});
}

TEST_F(ata_disk, is_queried_by_its_own_node)
{
    machine.block_device("/dev/sda");
    kernel.identify("/dev/sda", "MODEL", "SERIAL");
    EXPECT_EQ(identity("/dev/sda2"), no_text);
    EXPECT_EQ(identity("/dev/sda"), "MODEL_SERIAL");
}

TEST_F(ata_disk, is_queried_afresh_on_every_call)
{
    EXPECT_EQ(identity_of("MODEL", "SERIAL"), "MODEL_SERIAL");
    EXPECT_EQ(identity_of("OTHER", "NUMBER"), "OTHER_NUMBER");
}

namespace {

struct reported_identity : named_case {
    std::string_view model;
    std::string_view serial;
    std::string_view identity;
};

const reported_identity reported_identities[] = {
    {"inner_blanks", "WDC WD10EZEX", "WD-1  2", "WDCWD10EZEX_WD-12"},
    {"outer_blanks", "  MODEL  ", "  SERIAL  ", "MODEL_SERIAL"},
    {"blank_model", "", "SERIAL", "_SERIAL"},
    {"blank_serial_number", "MODEL", "", "MODEL_"},
    {"blanks_alone", "", "", "_"},
    {"all_forty_and_twenty_bytes", "0123456789abcdefghijABCDEFGHIJ0123456789",
     "0123456789abcdefghij", "0123456789abcdefghijABCDEFGHIJ0123456789_0123456789abcdefghij"},
    {"control_characters", "A\tB\nC\x01\x7f\x1f", "\r1\v2\f3", "ABC_123"},
    {"zero_bytes", "\0AB\0CD\0"sv, "12\0\0 34"sv, "ABCD_1234"},
    {"punctuation", "%s%n_\\\"'$(x)/", "-*?~!", "%s%n_\\\"'$(x)/_-*?~!"},
    {"bytes_above_ascii", "A\xc4\x80\xffZ", "\xa0X", "AZ_X"},
};

class ata_text : public ata_disk, public testing::WithParamInterface<reported_identity> {};

} // namespace

TEST_P(ata_text, keeps_its_graphic_characters)
{
    EXPECT_EQ(identity_of(GetParam().model, GetParam().serial), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(of, ata_text, testing::ValuesIn(reported_identities));

TEST_F(ata_disk, keeps_the_characters_that_are_graphic_in_the_locale_of_the_caller)
{
    const built_locale locale(machine, "letters", graphic_c4_and_e9);
    EXPECT_EQ(identity_of("\xc4\x85 B", "\xe9\x9fX"), "\xc4"
                                                      "B_\xe9"
                                                      "X");
}

TEST_F(ata_disk, takes_no_locale_from_the_environment)
{
    ::setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(identity_of("\xc3\x84Z", "1"), "Z_1");
}
