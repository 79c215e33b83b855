// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The disk under a logical volume: from the volume to its group, to a physical volume, to smartctl.
#include "disk_machine.h"

#include <cstring>
#include <string>

namespace {

constexpr char volume[] = "/dev/mapper/vg0-root";
constexpr char not_queried[] = "(smartctl is not queried)";

// One physical volume in the form of pvdisplay.
std::string in_group(const std::string &group, const std::string &physical_volume)
{
    return "  --- Physical volume ---\n  PV Name               " + physical_volume +
           "\n  VG Name               " + group + "\n  PV Size               1.00 GiB\n   \n";
}

// A logical volume of the group vg0, which has the physical volume /dev/sda3.
class logical_volume : public on_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/dm-0");
        machine.link(volume, "../dm-0");
        machine.tool(lvdisplay, "  --- Logical volume ---\n"
                                "  LV Path                /dev/vg0/root\n"
                                "  LV Name                root\n"
                                "  VG Name                vg0\n"
                                "  LV Size                20.00 GiB\n"
                                "   \n");
        machine.tool(pvdisplay, in_group("vg0", "/dev/sda3"));
    }

    static std::string identity(const char *device = volume)
    {
        return owned_text(harddisk_id_lvm(device)).value();
    }

    // The physical volume that the exported smartctl query gets.
    static std::string physical_volume()
    {
        std::string queried = not_queried;
        interpose::harddisk_id_smartctl = [&queried](const char *device) {
            queried = device;
            return ::strdup("identity");
        };
        const std::string answer = identity();
        EXPECT_EQ(answer, queried == not_queried ? no_text : "identity");
        return queried;
    }
};

} // namespace

TEST_F(logical_volume, has_the_identity_of_the_disk_of_its_physical_volume)
{
    machine.block_device("/dev/sda3");
    machine.tool(smartctl, "Device Model: DISK 1\nSerial Number: SN 2\n");
    EXPECT_EQ(identity(), "DISK1_SN2");
    ASSERT_EQ(machine.runs(lvdisplay).size(), 1U);
    ASSERT_EQ(machine.runs(pvdisplay).size(), 1U);
    ASSERT_EQ(machine.runs(smartctl).size(), 1U);
    EXPECT_EQ(machine.runs(lvdisplay)[0].arguments,
              (texts{"/sbin/lvdisplay", "/dev/mapper/vg0-root"}));
    EXPECT_EQ(machine.runs(pvdisplay)[0].arguments, texts{"/sbin/pvdisplay"});
    EXPECT_EQ(machine.runs(smartctl)[0].arguments,
              (texts{"/usr/sbin/smartctl", "-i", "/dev/sda3"}));
    expect_trace({});
}

TEST_F(logical_volume, has_no_identity_where_smartctl_has_none)
{
    interpose::harddisk_id_smartctl = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(identity(), no_text);
}

TEST_F(logical_volume, is_not_looked_up_by_one_tool_alone)
{
    machine.remove(pvdisplay);
    EXPECT_EQ(physical_volume(), not_queried);
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
}

namespace {

class no_logical_volume : public logical_volume,
                          public testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(no_logical_volume, has_no_identity_and_runs_nothing)
{
    machine.file("/dev/file", "");
    machine.link("/dev/dangling", "gone");
    EXPECT_EQ(identity(GetParam()), no_text);
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(name, no_logical_volume,
                         testing::Values(nullptr, "", "dm-0", "/dev/dm-1", "/dev/null", "/dev/file",
                                         "/dev/dangling", "/dev/mapper"));

// The reports.

namespace {

struct volume_group : named_case {
    std::string printed; // by lvdisplay
    std::string name;    // empty for none
};

class group_of_volume : public logical_volume, public testing::WithParamInterface<volume_group> {};

} // namespace

TEST_P(group_of_volume, is_the_last_that_lvdisplay_names)
{
    machine.tool(lvdisplay, GetParam().printed);
    machine.tool(pvdisplay, "PV Name /dev/sda3\nVG Name" + GetParam().name + "\n");
    EXPECT_EQ(physical_volume(), GetParam().name.empty() ? not_queried : "/dev/sda3");
    EXPECT_EQ(machine.runs(pvdisplay).size(), GetParam().name.empty() ? 0U : 1U);
    if (GetParam().name.empty())
        return;
    machine.tool(pvdisplay, "PV Name /dev/sda3\nVG Name" + GetParam().name.substr(1) + "\n");
    EXPECT_EQ(physical_volume(), not_queried);
}

INSTANTIATE_TEST_SUITE_P(
    with, group_of_volume,
    testing::Values(
        volume_group{"one_line", "  VG Name               vg0\n", "vg0"},
        volume_group{"no_newline", "VG Name vg0", "vg0"},
        volume_group{"text_before_the_label", "left VG Name right\n", "leftright"},
        volume_group{"the_label_twice", "VG Name VG Name vg0\n", "VGNamevg0"},
        volume_group{"two_lines", "  VG Name   long\n  VG Name   vg\n", "vg"},
        volume_group{"inner_blanks", "VG Name  a b  c \n", "abc"},
        volume_group{"a_tab", "VG Name\tvg0\r\n", "\tvg0\r"},
        volume_group{"percent_signs", "VG Name %s%n%d\n", "%s%n%d"},
        volume_group{"510_bytes", "VG Name" + std::string(511, 'v') + "\n", std::string(510, 'v')},
        volume_group{"a_label_behind_1023_bytes", std::string(1023, 'x') + "VG Name vg0\n", "vg0"},
        volume_group{"a_megabyte_around",
                     std::string(1000000, 'x') + "\nVG Name vg0\n" + std::string(1000000, 'x'),
                     "vg0"},
        volume_group{"nothing", "", ""},
        volume_group{"other_lines", "  LV Name   root\n  PV Name   /dev/sda3\n", ""},
        volume_group{"other_labels", "vg name vg0\nVGName vg0\nVG  Name vg0\n", ""},
        volume_group{"no_name", "  VG Name               \n", ""},
        volume_group{"no_name_in_the_last_line", "VG Name vg0\nVG Name \n", ""},
        volume_group{"a_label_across_1023_bytes", std::string(1020, 'x') + "VG Name a\n", ""}));

namespace {

struct physical_volumes : named_case {
    std::string printed; // by pvdisplay
    std::string last;
};

class volume_in_report : public logical_volume,
                         public testing::WithParamInterface<physical_volumes> {};

} // namespace

TEST_P(volume_in_report, is_the_last_where_the_group_has_any)
{
    machine.tool(pvdisplay, GetParam().printed);
    EXPECT_EQ(physical_volume(), GetParam().last);
}

INSTANTIATE_TEST_SUITE_P(
    with, volume_in_report,
    testing::Values(
        physical_volumes{"one_volume", in_group("vg0", "/dev/sda3"), "/dev/sda3"},
        physical_volumes{"two_volumes", in_group("vg0", "/dev/sda3") + in_group("vg0", "/dev/sdc1"),
                         "/dev/sdc1"},
        physical_volumes{"another_group_behind",
                         in_group("vg0", "/dev/sda3") + in_group("data", "/dev/sdb1"), "/dev/sdb1"},
        physical_volumes{"another_group_before",
                         in_group("data", "/dev/sdb1") + in_group("vg0", "/dev/sda3"), "/dev/sda3"},
        physical_volumes{"a_volume_of_no_group_behind",
                         in_group("vg0", "/dev/sda3") + in_group("", "/dev/sdb1"), "/dev/sdb1"},
        physical_volumes{"a_volume_without_a_group_line_behind",
                         in_group("vg0", "/dev/sda3") + "PV Name /dev/sdb1\n", "/dev/sdb1"},
        physical_volumes{"a_volume_without_a_name_behind",
                         in_group("vg0", "/dev/sda3") + in_group("vg0", ""), ""},
        physical_volumes{"a_longer_group_name", in_group("vg01", "/dev/sda3"), "/dev/sda3"},
        physical_volumes{"percent_signs", in_group("vg0%s%n", "/dev/%s%n%d"), "/dev/%s%n%d"},
        physical_volumes{"inner_blanks", in_group("v g 0", "/dev/s d a"), "/dev/sda"},
        physical_volumes{"text_before_the_labels", "a PV Name b\nvg VG Name 0\n", "ab"},
        physical_volumes{"two_volumes_before_the_group", "PV Name a\nPV Name b\nVG Name vg0\n",
                         "b"},
        physical_volumes{"no_last_newline", "PV Name a\nVG Name vg0", "a"},
        physical_volumes{"510_bytes", "PV Name" + std::string(511, 'p') + "\nVG Name vg0\n",
                         std::string(510, 'p')},
        physical_volumes{"1023_bytes_in_its_line",
                         "PV Name a" + std::string(1013, ' ') + "\nVG Name vg0\n", "a"},
        physical_volumes{"a_megabyte_around",
                         std::string(1000000, 'x') + "\n" + in_group("vg0", "/dev/sda3") +
                             std::string(1000000, 'x'),
                         "/dev/sda3"}));

INSTANTIATE_TEST_SUITE_P(
    without_the_group, volume_in_report,
    testing::Values(
        physical_volumes{"nothing", "", not_queried},
        physical_volumes{"another_group", in_group("data", "/dev/sdb1"), not_queried},
        physical_volumes{"a_shorter_group_name", in_group("vg", "/dev/sda3"), not_queried},
        physical_volumes{"a_group_name_that_ends_so", in_group("xvg0", "/dev/sda3"), not_queried},
        physical_volumes{"capitals", in_group("VG0", "/dev/sda3"), not_queried},
        physical_volumes{"no_volume_name", in_group("vg0", ""), not_queried},
        physical_volumes{"no_volume_line", "VG Name vg0\n", not_queried},
        physical_volumes{"an_empty_line_between", "PV Name /dev/sda3\n\nVG Name vg0\n",
                         not_queried},
        physical_volumes{"another_group_line_between", "PV Name a\nVG Name data\nVG Name vg0\n",
                         not_queried},
        physical_volumes{"the_other_order", "VG Name vg0\nPV Name a\n", not_queried},
        physical_volumes{"both_labels_in_one_line", "PV Name a VG Name vg0\n", not_queried},
        physical_volumes{"1024_bytes_in_the_line_of_the_volume",
                         "PV Name a" + std::string(1014, ' ') + "\nVG Name vg0\n", not_queried}));

// An encrypted physical volume.

namespace {

struct encrypted_volume : named_case {
    std::string name;
    texts devices;
    std::string queried;
    texts trace = {};
};

class encrypted_physical_volume : public logical_volume,
                                  public testing::WithParamInterface<encrypted_volume> {};

const texts one_missing = {trace_line::no_such_device};
const texts two_missing = one_missing + one_missing;
const std::string longest_part(255, 'p');

} // namespace

TEST_P(encrypted_physical_volume, stands_for_the_device_in_its_name)
{
    machine.file("/dev/file", "");
    for (const std::string &device : GetParam().devices)
        machine.block_device(device);
    machine.tool(pvdisplay, in_group("vg0", GetParam().name));
    EXPECT_EQ(physical_volume(), GetParam().queried);
    expect_trace(GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    of, encrypted_physical_volume,
    testing::Values(
        encrypted_volume{"part_crypt", "/dev/mapper/sda3_crypt", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"crypt_part", "/dev/mapper/crypt_sda3", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"part_dmcrypt", "/dev/mapper/sda3_dmcrypt1", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{
            "two_devices", "/dev/mapper/sda3_sdb1_crypt", {"/dev/sda3", "/dev/sdb1"}, "/dev/sda3"},
        encrypted_volume{
            "a_third_part", "/dev/mapper/a_b_sdb1_crypt", {"/dev/sdb1"}, "/dev/sdb1", two_missing},
        encrypted_volume{"parts_that_are_no_block_devices",
                         "/dev/mapper/file_null_sda3_crypt",
                         {"/dev/sda3"},
                         "/dev/sda3"},
        encrypted_volume{"crypt_parts_that_are_devices",
                         "/dev/mapper/crypt1_sda3_2crypt",
                         {"/dev/crypt1", "/dev/2crypt", "/dev/sda3"},
                         "/dev/sda3"},
        encrypted_volume{"crypt_in_the_directory", "/dev/crypt/sda3_x", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{
            "underscore_in_the_directory", "/dev/my_crypt/sda3", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"no_directory", "sda3_crypt", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"percent_signs", "/dev/mapper/%s%n_crypt", {"/dev/%s%n"}, "/dev/%s%n"},
        encrypted_volume{"a_long_part",
                         "/dev/mapper/" + longest_part + "_crypt",
                         {"/dev/" + longest_part},
                         "/dev/" + longest_part}));

INSTANTIATE_TEST_SUITE_P(
    unchanged, encrypted_physical_volume,
    testing::Values(
        encrypted_volume{
            "luks", "/dev/mapper/luks-0a1b", {"/dev/luks-0a1b"}, "/dev/mapper/luks-0a1b"},
        encrypted_volume{"no_crypt",
                         "/dev/mapper/sda3_luks",
                         {"/dev/sda3", "/dev/luks"},
                         "/dev/mapper/sda3_luks"},
        encrypted_volume{"no_underscore", "/dev/crypt/sda3", {"/dev/sda3"}, "/dev/crypt/sda3"},
        encrypted_volume{
            "capitals", "/dev/mapper/sda3_CRYPT", {"/dev/sda3"}, "/dev/mapper/sda3_CRYPT"},
        encrypted_volume{
            "no_such_parts", "/dev/mapper/a_b_crypt", {}, "/dev/mapper/a_b_crypt", two_missing},
        encrypted_volume{
            "no_block_devices", "/dev/mapper/null_file_crypt", {}, "/dev/mapper/null_file_crypt"},
        encrypted_volume{"part_in_the_directory",
                         "/dev/sda3_crypt/x",
                         {"/dev/sda3"},
                         "/dev/sda3_crypt/x",
                         one_missing},
        encrypted_volume{"no_last_component",
                         "/dev/mapper/sda3_crypt/",
                         {"/dev/sda3"},
                         "/dev/mapper/sda3_crypt/"}));
