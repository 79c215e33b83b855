// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device_calls.h"
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cstdio>
#include <string>
#include <string_view>

using namespace std::string_literals;

namespace {

constexpr char lsblk[] = "/bin/lsblk";

class logical_volume : public on_machine {
protected:
    [[nodiscard]] texts tool_arguments() const { return machine.runs(lsblk).at(0).arguments; }

    std::string command_for(const std::string &name)
    {
        machine.tool(lsblk, "lvm\n");
        return command_of([&name] { EXPECT_EQ(is_logical_volume(name.c_str()), 0); });
    }
};

struct printed_type : named_case {
    std::string printed;
};

class logical_volume_type : public logical_volume,
                            public testing::WithParamInterface<printed_type> {};
class possible_volume_type : public logical_volume,
                             public testing::WithParamInterface<printed_type> {};
class other_type : public logical_volume, public testing::WithParamInterface<printed_type> {};

} // namespace

// The answer is in the first three bytes of the first line.

INSTANTIATE_TEST_SUITE_P(
    disk, logical_volume_type,
    testing::Values(printed_type{"lvm", "lvm\n"}, printed_type{"lvm_alone", "lvm"},
                    printed_type{"lvm_before_blanks", "lvm   \n"},
                    printed_type{"lvm_before_more", "lvmcache\n"},
                    printed_type{"lvm_before_a_high_byte", "lvm\xff\n"},
                    printed_type{"lvm_before_a_zero_byte", "lvm\0\xff\n"s},
                    printed_type{"lvm_before_other_lines", "lvm\npart\ndisk\n"},
                    printed_type{"a_long_line", "lvm" + std::string(5000, 'x') + "\n"},
                    printed_type{"nothing", ""}));

TEST_P(logical_volume_type, is_answered_by_1)
{
    machine.tool(lsblk, GetParam().printed);
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
}

TEST_F(logical_volume, is_told_before_a_megabyte)
{
    machine.tool(lsblk, "lvm\n" + std::string(1000000, 'x') + "\n");
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    disk, possible_volume_type,
    testing::Values(
        printed_type{"disk", "disk\n"}, printed_type{"crypt", "crypt\n"},
        printed_type{"dm", "dm\n"}, printed_type{"loop", "loop\n"},
        printed_type{"linear", "linear\n"}, printed_type{"cdrom", "cdrom\n"},
        printed_type{"capitals", "LVM\n"}, printed_type{"capitals_of_part", "PART\n"},
        printed_type{"an_empty_line", "\n"}, printed_type{"an_empty_line_before_part", "\npart\n"},
        printed_type{"a_blank_first", " part\n"}, printed_type{"a_zero_byte_first", "\0part\n"s},
        printed_type{"a_zero_byte_alone", "\0"s}, printed_type{"one_letter", "l\n"},
        printed_type{"one_letter_alone", "l"}, printed_type{"two_letters", "lv\n"},
        printed_type{"two_letters_alone", "lv"}, printed_type{"a_zero_byte_second", "l\0z\n"s},
        printed_type{"a_zero_byte_third", "lv\0z\n"s},
        printed_type{"first_byte_just_before", "kzz\n"},
        printed_type{"second_byte_just_before", "luz\n"},
        printed_type{"third_byte_just_before", "lvl\n"},
        printed_type{"high_bytes_behind_a_lesser_one", "k\xff\xff\n"},
        printed_type{"a_control_byte", "\x01\n"}, printed_type{"a_digit", "9\n"}));

TEST_P(possible_volume_type, is_not_answered_by_0)
{
    machine.tool(lsblk, GetParam().printed);
    EXPECT_NE(is_logical_volume("/dev/dm-0"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    disk, other_type,
    testing::Values(printed_type{"part", "part\n"}, printed_type{"md", "md\n"},
                    printed_type{"raid1", "raid1\n"}, printed_type{"rom", "rom\n"},
                    printed_type{"mpath", "mpath\n"}, printed_type{"tape", "tape\n"},
                    printed_type{"part_alone", "part"}, printed_type{"one_letter", "m"},
                    printed_type{"part_before_lvm", "part\nlvm\n"},
                    printed_type{"first_byte_just_behind", "mvm\n"},
                    printed_type{"second_byte_just_behind", "lwa\n"},
                    printed_type{"third_byte_just_behind", "lvn\n"},
                    printed_type{"a_high_byte_first", "\x80vm\n"},
                    printed_type{"a_high_byte_second", "l\x80m\n"},
                    printed_type{"a_high_byte_third", "lv\x80\n"},
                    printed_type{"the_highest_byte", "\xff\n"},
                    printed_type{"a_delete_character", "\x7f\n"},
                    printed_type{"a_long_line", "part" + std::string(5000, 'x') + "\nlvm\n"}));

TEST_P(other_type, is_answered_by_0)
{
    machine.tool(lsblk, GetParam().printed);
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 0);
}

TEST_F(logical_volume, is_assumed_where_the_output_cannot_be_read)
{
    machine.tool(lsblk, "part\n");
    interpose::fgets = [](char *, int, std::FILE *) -> char * { return nullptr; };
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
}

TEST_F(logical_volume, is_none_without_a_name)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume(nullptr), 0);
    EXPECT_TRUE(machine.runs(lsblk).empty());
}

TEST_F(logical_volume, is_not_traced)
{
    machine.tool(lsblk, "");
    EXPECT_EQ(is_logical_volume("/dev/none"), 1);
    EXPECT_EQ(machine.trace(), texts{});
}

// The calls.

TEST_F(logical_volume, costs_one_command_and_one_line)
{
    machine.tool(lsblk, "lvm\npart\n");
    const device_calls calls;
    EXPECT_EQ(is_logical_volume("/dev/mapper/vg0-root"), 1);
    EXPECT_EQ(calls.made(), (texts{"access /bin/lsblk 5",
                                   "popen /bin/lsblk -n -o \"TYPE\" /dev/mapper/vg0-root r",
                                   "fgets 1024", "pclose"}));
}

TEST_F(logical_volume, is_closed_also_without_a_line)
{
    machine.tool(lsblk, "");
    const device_calls calls;
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
    EXPECT_EQ(calls.made(),
              (texts{"access /bin/lsblk 5", "popen /bin/lsblk -n -o \"TYPE\" /dev/dm-0 r",
                     "fgets 1024", "pclose"}));
}

TEST_F(logical_volume, costs_one_call_without_the_tool)
{
    machine.remove(lsblk);
    const device_calls calls;
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 0);
    EXPECT_EQ(calls.made(), texts{"access /bin/lsblk 5"});
}

// The command.

TEST_F(logical_volume, is_asked_for_by_the_name_as_it_is_given)
{
    machine.block_device("/dev/dm-0");
    machine.link("/dev/mapper/vg0-root", "../dm-0");
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume("/dev/mapper/vg0-root"), 1);
    EXPECT_EQ(machine.runs(lsblk).size(), 1U);
    EXPECT_EQ(tool_arguments(), (texts{"/bin/lsblk", "-n", "-o", "TYPE", "/dev/mapper/vg0-root"}));
}

TEST_F(logical_volume, is_asked_for_without_a_device_for_an_empty_name)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume(""), 1);
    EXPECT_EQ(tool_arguments(), (texts{"/bin/lsblk", "-n", "-o", "TYPE"}));
}

namespace {

struct volume_name : named_case {
    std::string name;
    std::string command;
};

class logical_volume_with : public logical_volume,
                            public testing::WithParamInterface<volume_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    in_its_name, logical_volume_with,
    testing::Values(
        volume_name{"every_plain_kind",
                    "/dev/aZ09_-.:+@,=", "/bin/lsblk -n -o \"TYPE\" /dev/aZ09_-.:+@,="},
        volume_name{"blanks", "/dev/a b", "/bin/lsblk -n -o \"TYPE\" '/dev/a b'"},
        volume_name{"a_percent_sign", "%s%n", "/bin/lsblk -n -o \"TYPE\" '%s%n'"},
        volume_name{"quotes", "it's \"so\"", "/bin/lsblk -n -o \"TYPE\" 'it'\\''s \"so\"'"},
        volume_name{"a_command_behind", "a; touch b", "/bin/lsblk -n -o \"TYPE\" 'a; touch b'"},
        volume_name{"a_command_inside", "$(pwd)`pwd`", "/bin/lsblk -n -o \"TYPE\" '$(pwd)`pwd`'"},
        volume_name{"other_bytes", "\xe9\xff", "/bin/lsblk -n -o \"TYPE\" '\xe9\xff'"}));

TEST_P(logical_volume_with, is_asked_for_by_this_command_line)
{
    EXPECT_EQ(command_for(GetParam().name), GetParam().command);
}

TEST_P(logical_volume_with, is_asked_for_by_one_literal_word)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume(GetParam().name.c_str()), 1);
    EXPECT_EQ(tool_arguments(), (texts{"/bin/lsblk", "-n", "-o", "TYPE", GetParam().name}));
}

// 24 bytes before the name leave it 231 of the 255 of a command line.

TEST_F(logical_volume, is_asked_for_by_a_name_of_230_bytes)
{
    EXPECT_EQ(command_for(std::string(230, 'n')),
              "/bin/lsblk -n -o \"TYPE\" " + std::string(230, 'n'));
}

TEST_F(logical_volume, is_asked_for_by_a_name_of_231_bytes)
{
    EXPECT_EQ(command_for(std::string(231, 'n')),
              "/bin/lsblk -n -o \"TYPE\" " + std::string(231, 'n'));
}

TEST_F(logical_volume, is_asked_for_by_a_name_of_232_bytes_without_its_last)
{
    EXPECT_EQ(command_for(std::string(232, 'n')),
              "/bin/lsblk -n -o \"TYPE\" " + std::string(231, 'n'));
}

TEST_F(logical_volume, is_asked_for_by_a_far_longer_name_that_is_cut)
{
    EXPECT_EQ(command_for(std::string(5000, 'n')),
              "/bin/lsblk -n -o \"TYPE\" " + std::string(231, 'n'));
}

TEST_F(logical_volume, is_asked_for_by_a_quoted_name_that_is_cut_and_closed)
{
    EXPECT_EQ(command_for(" " + std::string(5000, 'n')),
              "/bin/lsblk -n -o \"TYPE\" ' " + std::string(228, 'n') + "'");
}

TEST_F(logical_volume, is_asked_for_although_the_command_line_was_cut)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume(std::string(5000, 'n').c_str()), 1);
    EXPECT_EQ(tool_arguments(), (texts{"/bin/lsblk", "-n", "-o", "TYPE", std::string(231, 'n')}));
}
