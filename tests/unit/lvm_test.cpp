// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "disk/lvm.h"
#include "report.h"

#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_literals;

// The volume group of a logical volume.

namespace {

std::string volume_group(std::string_view report)
{
    orvane::lvm_name group;
    orvane::read_volume_group(report_of(report).get(), group);
    return group.c_str();
}

struct group_case : named_case {
    std::string report;
    std::string group;
};

class lvdisplay_report : public testing::TestWithParam<group_case> {};

} // namespace

TEST_P(lvdisplay_report, has_the_volume_group)
{
    EXPECT_EQ(volume_group(GetParam().report), GetParam().group);
}

INSTANTIATE_TEST_SUITE_P(
    without_one, lvdisplay_report,
    testing::Values(group_case{"nothing", "", ""},
                    group_case{"other_lines", "  LV Name   root\n  PV Name   /dev/sda3\n", ""},
                    group_case{"small_letters", "vg name vg0\nVG name vg0\n", ""},
                    group_case{"another_gap", "VGName vg0\nVG  Name vg0\nVG\tName vg0\n", ""},
                    group_case{"zero_byte_before_it", "\0VG Name vg0\n"s, ""},
                    group_case{"no_value", "  VG Name               \n", ""}));

INSTANTIATE_TEST_SUITE_P(
    with_the_label, lvdisplay_report,
    testing::Values(group_case{"in_the_usual_place", "  VG Name               vg0\n", "vg0"},
                    group_case{"at_the_end", "vg0 VG Name\n", "vg0"},
                    group_case{"in_the_middle", "left VG Name right\n", "leftright"},
                    group_case{"twice", "VG Name VG Name vg0\n", "VGNamevg0"},
                    group_case{"in_a_later_line", "  LV Name root\n  VG Name vg0\n  LV Size 1\n",
                               "vg0"},
                    group_case{"in_two_lines", "VG Name long\nVG Name b\n", "b"},
                    group_case{"in_a_second_line_without_a_name", "VG Name vg0\nVG Name \n", ""},
                    group_case{"in_a_second_piece", std::string(1023, 'x') + "VG Name a\n", "a"},
                    group_case{"in_two_pieces", std::string(1020, 'x') + "VG Name a\n", ""}));

INSTANTIATE_TEST_SUITE_P(
    with_a_name, lvdisplay_report,
    testing::Values(
        group_case{"with_blanks", "VG Name  a b  c \n", "abc"},
        group_case{"with_other_white_space", "VG Name\tvg0\r\n", "\tvg0\r"},
        group_case{"with_percent_signs", "VG Name %s%n%d\n", "%s%n%d"},
        group_case{"beyond_ascii", "VG Name \xe9\xff\x80\n", "\xe9\xff\x80"},
        group_case{"with_a_zero_byte", "VG Name a\0b\n"s, "a"},
        group_case{"without_a_line_end", "VG Name vg0", "vg0"},
        group_case{"of_510_bytes", "VG Name" + std::string(510, 'v') + "\n", std::string(510, 'v')},
        group_case{"of_511_bytes", "VG Name" + std::string(511, 'v') + "\n", std::string(510, 'v')},
        group_case{"of_510_bytes_among_blanks", "  VG Name  " + std::string(510, 'v') + "\n",
                   std::string(506, 'v')},
        group_case{"of_511_bytes_around_the_label",
                   std::string(300, 'l') + "VG Name" + std::string(211, 'r') + "\n",
                   std::string(300, 'l') + std::string(210, 'r')},
        group_case{"of_511_bytes_before_the_label", std::string(511, 'l') + "VG Namer\n",
                   std::string(510, 'l')}));

// The physical volume of a group.

namespace {

struct found_volume {
    bool is_found;
    std::string name;
    bool operator==(const found_volume &) const = default;
};

std::ostream &operator<<(std::ostream &stream, const found_volume &volume)
{
    return stream << (volume.is_found ? "found" : "not found") << ", last is '" << volume.name
                  << "'";
}

found_volume find_volume(std::string_view report, std::string_view group)
{
    orvane::lvm_name wanted;
    wanted.append(group);
    orvane::lvm_name volume;
    const bool is_found = orvane::read_physical_volume(report_of(report).get(), wanted, volume);
    return {is_found, volume.c_str()};
}

struct volume_case : named_case {
    std::string report;
    found_volume volume;
};

class pvdisplay_report : public testing::TestWithParam<volume_case> {};

} // namespace

TEST_P(pvdisplay_report, has_a_physical_volume_of_vg0_or_not_and_a_last_one)
{
    EXPECT_EQ(find_volume(GetParam().report, "vg0"), GetParam().volume);
}

INSTANTIATE_TEST_SUITE_P(
    with, pvdisplay_report,
    testing::Values(
        volume_case{"nothing", "", {false, ""}},
        volume_case{"a_group_alone", "VG Name vg0\n", {false, ""}},
        volume_case{"a_volume_of_the_group",
                    "  --- Physical volume ---\n  PV Name               /dev/sda3\n"
                    "  VG Name               vg0\n  PV Size               1 GiB\n   \n",
                    {true, "/dev/sda3"}},
        volume_case{"a_volume_of_no_group", "PV Name a\nVG Name   \n", {false, "a"}},
        volume_case{"a_longer_group", "PV Name a\nVG Name vg01\n", {true, "a"}},
        volume_case{"a_shorter_group", "PV Name a\nVG Name vg\n", {false, "a"}},
        volume_case{"a_group_with_more_before", "PV Name a\nVG Name xvg0\n", {false, "a"}},
        volume_case{"a_group_in_capitals", "PV Name a\nVG Name VG0\n", {false, "a"}},
        volume_case{"a_group_with_blanks", "PV Name a\nVG Name v g 0\n", {true, "a"}},
        volume_case{"a_volume_without_a_name", "PV Name  \nVG Name vg0\n", {false, ""}},
        volume_case{"no_line_end", "PV Name a\nVG Name vg0", {true, "a"}},
        volume_case{"labels_in_other_forms", "pv name a\nPV  Name a\nVG Name vg0\n", {false, ""}}));

// The group counts in the line after its physical volume alone.
INSTANTIATE_TEST_SUITE_P(
    with_lines, pvdisplay_report,
    testing::Values(
        volume_case{"empty_between", "PV Name a\n\nVG Name vg0\n", {false, "a"}},
        volume_case{
            "of_another_group_between", "PV Name a\nVG Name data\nVG Name vg0\n", {false, "a"}},
        volume_case{
            "of_another_group_behind", "PV Name a\nVG Name vg0\nVG Name data\n", {true, "a"}},
        volume_case{"in_the_other_order", "VG Name vg0\nPV Name a\n", {false, "a"}},
        volume_case{"of_two_volumes_before_it", "PV Name a\nPV Name b\nVG Name vg0\n", {true, "b"}},
        volume_case{
            "with_both_labels_before_it", "PV Name a VG Name b\nVG Name vg0\n", {true, "aVGNameb"}},
        volume_case{"of_a_volume_in_pieces",
                    "PV Name a" + std::string(1014, ' ') + "\nVG Name vg0\n",
                    {false, "a"}},
        volume_case{"of_a_volume_that_just_fits",
                    "PV Name a" + std::string(1013, ' ') + "\nVG Name vg0\n",
                    {true, "a"}}));

// The last volume of the report is taken, in whatever group.
INSTANTIATE_TEST_SUITE_P(
    with_two_volumes, pvdisplay_report,
    testing::Values(volume_case{"the_last_of_another_group",
                                "PV Name /dev/sda3\nVG Name vg0\n\nPV Name b\nVG Name data\n",
                                {true, "b"}},
                    volume_case{"the_first_of_another_group",
                                "PV Name a\nVG Name data\n\nPV Name b\nVG Name vg0\n",
                                {true, "b"}},
                    volume_case{"the_last_without_a_group",
                                "PV Name a\nVG Name vg0\n\nPV Name b\n",
                                {true, "b"}},
                    volume_case{"the_last_without_a_name",
                                "PV Name a\nVG Name vg0\n\nPV Name \nVG Name vg0\n",
                                {true, ""}},
                    volume_case{"of_other_groups",
                                "PV Name a\nVG Name data\n\nPV Name b\nVG Name more\n",
                                {false, "b"}}));

INSTANTIATE_TEST_SUITE_P(
    with_a_volume_name, pvdisplay_report,
    testing::Values(
        volume_case{"around_the_label", "l PV Name r\nVG Name vg0\n", {true, "lr"}},
        volume_case{"with_blanks", "PV Name  /dev/a b \nVG Name vg0\n", {true, "/dev/ab"}},
        volume_case{"with_percent_signs", "PV Name %s%n\nVG Name vg0%d\n", {true, "%s%n"}},
        volume_case{"beyond_ascii", "PV Name \xe9\xff\nVG Name vg0\x80\n", {true, "\xe9\xff"}},
        volume_case{"of_511_bytes",
                    "PV Name" + std::string(511, 'p') + "\nVG Name vg0\n",
                    {true, std::string(510, 'p')}}));

TEST(pvdisplay_group, is_compared_in_its_first_510_bytes)
{
    const std::string group(509, 'v');
    const std::string report = "PV Name a\nVG Name" + group + "wx\n";
    EXPECT_EQ(find_volume(report, group + "w"), (found_volume{true, "a"}));
    EXPECT_EQ(find_volume(report, group + "x"), (found_volume{false, "a"}));
}
