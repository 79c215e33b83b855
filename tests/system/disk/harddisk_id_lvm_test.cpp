// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The disk under a logical volume: from the volume to its group, to a physical volume, to smartctl.
#include "device_calls.h"
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr char lvdisplay[] = "/sbin/lvdisplay";
constexpr char pvdisplay[] = "/sbin/pvdisplay";
constexpr char smartctl[] = "/usr/sbin/smartctl";
constexpr char volume[] = "/dev/mapper/vg0-root";

class volume_identity : public on_machine {
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
                                "  Block device           254:0\n"
                                "   \n");
        machine.tool(pvdisplay, "  --- Physical volume ---\n"
                                "  PV Name               /dev/sda3\n"
                                "  VG Name               vg0\n"
                                "  PV Size               20.00 GiB / not usable 3.00 MiB\n"
                                "  Allocatable           yes\n"
                                "   \n");
    }

    [[nodiscard]] static owned_text asked(const char *device = volume)
    {
        return owned_text(harddisk_id_lvm(device));
    }

    // The physical volume that smartctl is asked about, in smartctl's place.
    [[nodiscard]] static std::string asked_about(const char *device = volume)
    {
        std::string seen = "(smartctl is not asked)";
        interpose::harddisk_id_smartctl = [&seen](const char *physical_volume) {
            seen = physical_volume;
            return ::strdup("identity");
        };
        const owned_text identity = asked(device);
        EXPECT_EQ(identity.is_null(), seen == "(smartctl is not asked)");
        return seen;
    }

    void volume_is_in(const std::string &group)
    {
        machine.tool(lvdisplay, "  VG Name                " + group + "\n");
    }

    // One physical volume of the group, in the tool's own form.
    static std::string in_group(const std::string &group, const std::string &physical_volume)
    {
        return "  --- Physical volume ---\n  PV Name               " + physical_volume +
               "\n  VG Name               " + group + "\n  PV Size               1.00 GiB\n   \n";
    }
};

const char not_asked[] = "(smartctl is not asked)";

} // namespace

TEST_F(volume_identity, is_that_of_the_disk_of_the_physical_volume)
{
    machine.block_device("/dev/sda3");
    machine.tool(smartctl, "Device Model: DISK 1\nSerial Number: SN 2\n");
    EXPECT_EQ(asked().value(), "DISK1_SN2");
    ASSERT_EQ(machine.runs(smartctl).size(), 1U);
    EXPECT_EQ(machine.runs(smartctl).front().arguments,
              (texts{"/usr/sbin/smartctl", "-i", "/dev/sda3"}));
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(volume_identity, is_what_the_exported_smartctl_query_gives)
{
    char *const given = ::strdup("given");
    interpose::harddisk_id_smartctl = [given](const char *) { return given; };
    char *const returned = harddisk_id_lvm(volume);
    EXPECT_EQ(returned, given);
    EXPECT_EQ(owned_text(returned).value(), "given");
}

TEST_F(volume_identity, is_none_where_the_exported_smartctl_query_has_none)
{
    interpose::harddisk_id_smartctl = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
}

// The commands.

TEST_F(volume_identity, asks_lvdisplay_for_the_volume_and_pvdisplay_for_everything)
{
    EXPECT_EQ(asked_about(), "/dev/sda3");
    ASSERT_EQ(machine.runs(lvdisplay).size(), 1U);
    ASSERT_EQ(machine.runs(pvdisplay).size(), 1U);
    EXPECT_EQ(machine.runs(lvdisplay).front().arguments,
              (texts{"/sbin/lvdisplay", "/dev/mapper/vg0-root"}));
    EXPECT_EQ(machine.runs(pvdisplay).front().arguments, texts{"/sbin/pvdisplay"});
}

namespace {

// The calls up to the end of lvdisplay's report of so many lines, and those after it.
texts calls_of_lvdisplay(std::size_t lines, const texts &behind)
{
    texts calls = {"access /sbin/lvdisplay 5", "access /sbin/pvdisplay 5",
                   "realpath /dev/mapper/vg0-root", "stat /dev/dm-0",
                   "popen /sbin/lvdisplay /dev/mapper/vg0-root r"};
    calls.insert(calls.end(), lines + 1, "fgets 1024");
    calls.emplace_back("pclose");
    calls.insert(calls.end(), behind.begin(), behind.end());
    return calls;
}

} // namespace

TEST_F(volume_identity, costs_these_calls_in_this_order)
{
    machine.tool(lvdisplay, "LV Name root\nVG Name vg0\n");
    machine.tool(pvdisplay, "PV Name /dev/sda3\nVG Name vg0\n");
    const device_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(),
              calls_of_lvdisplay(2, {"popen /sbin/pvdisplay r", "fgets 1024", "fgets 1024",
                                     "fgets 1024", "pclose", "access /usr/sbin/smartctl 5"}));
}

TEST_F(volume_identity, costs_these_calls_where_the_volume_has_no_group)
{
    machine.tool(lvdisplay, "LV Name root\n");
    const device_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(), calls_of_lvdisplay(1, {}));
}

TEST_F(volume_identity, costs_these_calls_where_the_group_has_no_physical_volume)
{
    machine.tool(lvdisplay, "VG Name vg0\n");
    machine.tool(pvdisplay, "");
    const device_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(),
              calls_of_lvdisplay(1, {"popen /sbin/pvdisplay r", "fgets 1024", "pclose"}));
}

TEST_F(volume_identity, examines_the_parts_of_an_encrypted_name_before_it_closes_the_report)
{
    machine.block_device("/dev/sda3");
    machine.tool(lvdisplay, "VG Name vg0\n");
    machine.tool(pvdisplay, "PV Name /dev/mapper/a_sda3_b_crypt\nVG Name vg0\n");
    const device_calls calls;
    EXPECT_EQ(asked_about(), "/dev/sda3");
    EXPECT_EQ(calls.made(), calls_of_lvdisplay(1, {"popen /sbin/pvdisplay r", "fgets 1024",
                                                   "fgets 1024", "fgets 1024", "stat /dev/a",
                                                   "trace", "stat /dev/sda3", "pclose"}));
}

namespace {

// A machine on which the shell cannot be started for one of the tools.
class volume_identity_without_a_shell : public volume_identity {
protected:
    // How often a command that was started is closed, after this one is not.
    int closed_after_the_failure_of(const std::string &command)
    {
        int closed = 0;
        interpose::popen = [command](const char *line, const char *mode) {
            return line == command ? nullptr : interpose::popen.real(line, mode);
        };
        interpose::pclose = [&closed](std::FILE *stream) {
            ++closed;
            return interpose::pclose.real(stream);
        };
        EXPECT_EQ(asked_about(), not_asked);
        interpose::pclose.reset();
        return closed;
    }
};

} // namespace

TEST_F(volume_identity_without_a_shell, is_none_for_lvdisplay)
{
    EXPECT_EQ(closed_after_the_failure_of("/sbin/lvdisplay /dev/mapper/vg0-root"), 0);
    EXPECT_TRUE(machine.runs(pvdisplay).empty());
}

TEST_F(volume_identity_without_a_shell, is_none_for_pvdisplay)
{
    EXPECT_EQ(closed_after_the_failure_of("/sbin/pvdisplay"), 1);
    EXPECT_EQ(machine.runs(lvdisplay).size(), 1U);
}

namespace {

struct volume_name : named_case {
    std::string path;
    std::string command;
};

class volume_identity_with : public volume_identity,
                             public testing::WithParamInterface<volume_name> {
protected:
    void furnish() override
    {
        volume_identity::furnish();
        machine.block_device(GetParam().path);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    in_its_name, volume_identity_with,
    testing::Values(
        volume_name{"every_plain_kind", "/dev/aZ09_-.:+@,=", "/sbin/lvdisplay /dev/aZ09_-.:+@,="},
        volume_name{"blanks", "/dev/a b", "/sbin/lvdisplay '/dev/a b'"},
        volume_name{"a_percent_sign", "/dev/%s%n", "/sbin/lvdisplay '/dev/%s%n'"},
        volume_name{"quotes", "/dev/it's \"so\"", "/sbin/lvdisplay '/dev/it'\\''s \"so\"'"},
        volume_name{"a_command_behind", "/dev/a; touch b", "/sbin/lvdisplay '/dev/a; touch b'"},
        volume_name{"a_command_inside", "/dev/$(pwd)`pwd`", "/sbin/lvdisplay '/dev/$(pwd)`pwd`'"},
        volume_name{"other_bytes", "/dev/\xe9\xff", "/sbin/lvdisplay '/dev/\xe9\xff'"}));

TEST_P(volume_identity_with, is_asked_for_by_this_command_line)
{
    EXPECT_EQ(command_of([] { EXPECT_TRUE(asked(GetParam().path.c_str()).is_null()); }),
              GetParam().command);
}

TEST_P(volume_identity_with, is_asked_for_by_one_literal_word)
{
    EXPECT_EQ(asked_about(GetParam().path.c_str()), "/dev/sda3");
    EXPECT_EQ(machine.runs(lvdisplay).at(0).arguments, (texts{"/sbin/lvdisplay", GetParam().path}));
}

// 16 bytes before the path leave it 239 of the 255 of a command line.

namespace {

class volume_command : public volume_identity {
protected:
    std::string command_for(const std::string &path)
    {
        machine.block_device(path);
        return command_of([&path] { EXPECT_TRUE(asked(path.c_str()).is_null()); });
    }
};

} // namespace

TEST_F(volume_command, has_room_for_a_path_of_238_bytes)
{
    EXPECT_EQ(command_for(device_path_of(238)),
              "/sbin/lvdisplay /dev/" + std::string(200, 'd') + "/" + std::string(32, 'n'));
}

TEST_F(volume_command, has_room_for_a_path_of_239_bytes)
{
    EXPECT_EQ(command_for(device_path_of(239)),
              "/sbin/lvdisplay /dev/" + std::string(200, 'd') + "/" + std::string(33, 'n'));
}

TEST_F(volume_command, is_cut_for_a_path_of_240_bytes)
{
    EXPECT_EQ(command_for(device_path_of(240)),
              "/sbin/lvdisplay /dev/" + std::string(200, 'd') + "/" + std::string(33, 'n'));
}

TEST_F(volume_command, is_cut_and_closed_for_a_quoted_path)
{
    EXPECT_EQ(command_for("/dev/" + std::string(200, 'd') + "/ " + std::string(60, 'n')),
              "/sbin/lvdisplay '/dev/" + std::string(200, 'd') + "/ " + std::string(30, 'n') + "'");
}

TEST_F(volume_command, is_run_although_it_was_cut)
{
    const std::string path = device_path_of(400);
    machine.block_device(path);
    EXPECT_EQ(asked_about(path.c_str()), "/dev/sda3");
    EXPECT_EQ(machine.runs(lvdisplay).at(0).arguments,
              (texts{"/sbin/lvdisplay", device_path_of(239)}));
}

// Devices that are none.

TEST_F(volume_identity, is_none_without_a_name)
{
    EXPECT_TRUE(asked(nullptr).is_null());
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
}

namespace {

class volume_identity_of : public volume_identity,
                           public testing::WithParamInterface<const char *> {
protected:
    void furnish() override
    {
        volume_identity::furnish();
        machine.file("/dev/file", "");
        machine.link("/dev/dangling", "gone");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(no_block_device, volume_identity_of,
                         testing::Values("", "dm-0", "/dev/dm-1", "/dev/null", "/dev/file",
                                         "/dev/dangling", "/dev/mapper"));

TEST_P(volume_identity_of, is_none_and_nothing_is_run)
{
    EXPECT_TRUE(asked(GetParam()).is_null());
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(volume_identity, traces_a_device_that_is_gone_when_it_is_examined)
{
    interpose::stat = [](const char *, struct stat *) { return -1; };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), texts{"!stat(dev_name, &sb) return"});
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
}

TEST_F(volume_identity, runs_nothing_without_lvdisplay)
{
    machine.remove(lvdisplay);
    EXPECT_EQ(command_of([] { EXPECT_TRUE(asked().is_null()); }), "(no command)");
}

TEST_F(volume_identity, runs_nothing_without_pvdisplay)
{
    machine.remove(pvdisplay);
    EXPECT_EQ(command_of([] { EXPECT_TRUE(asked().is_null()); }), "(no command)");
}

// The volume group and its physical volumes.

TEST_F(volume_identity, is_none_where_lvdisplay_tells_no_group)
{
    machine.tool(lvdisplay, "  LV Name                root\n");
    EXPECT_EQ(asked_about(), not_asked);
    EXPECT_TRUE(machine.runs(pvdisplay).empty());
}

TEST_F(volume_identity, is_none_where_the_last_group_of_lvdisplay_has_no_name)
{
    machine.tool(lvdisplay, "  VG Name   vg0\n  VG Name   \n");
    EXPECT_EQ(asked_about(), not_asked);
    EXPECT_TRUE(machine.runs(pvdisplay).empty());
}

TEST_F(volume_identity, is_that_of_the_last_group_of_lvdisplay)
{
    machine.tool(lvdisplay, "  VG Name   data\n  VG Name   vg0\n");
    EXPECT_EQ(asked_about(), "/dev/sda3");
    machine.tool(lvdisplay, "  VG Name   vg0\n  VG Name   data\n");
    EXPECT_EQ(asked_about(), not_asked);
}

TEST_F(volume_identity, is_that_of_the_only_physical_volume)
{
    EXPECT_EQ(asked_about(), "/dev/sda3");
}

TEST_F(volume_identity, is_none_where_no_physical_volume_is_in_the_group)
{
    machine.tool(pvdisplay, in_group("data", "/dev/sdb1"));
    EXPECT_EQ(asked_about(), not_asked);
}

TEST_F(volume_identity, is_none_where_a_line_stands_between_the_physical_volume_and_its_group)
{
    machine.tool(pvdisplay, "  PV Name   /dev/sda3\n\n  VG Name   vg0\n");
    EXPECT_EQ(asked_about(), not_asked);
}

TEST_F(volume_identity, is_that_of_the_last_physical_volume_of_two)
{
    machine.tool(pvdisplay, in_group("vg0", "/dev/sda3") + in_group("vg0", "/dev/sdc1"));
    EXPECT_EQ(asked_about(), "/dev/sdc1");
}

TEST_F(volume_identity, is_that_of_the_last_physical_volume_of_any_group)
{
    machine.tool(pvdisplay, in_group("vg0", "/dev/sda3") + in_group("data", "/dev/sdb1"));
    EXPECT_EQ(asked_about(), "/dev/sdb1");
}

TEST_F(volume_identity, is_that_of_the_last_physical_volume_that_is_in_no_group)
{
    machine.tool(pvdisplay, in_group("vg0", "/dev/sda3") +
                                "  \"/dev/sdb1\" is a new physical volume of \"1.00 GiB\"\n"
                                "  --- NEW Physical volume ---\n"
                                "  PV Name               /dev/sdb1\n"
                                "  VG Name               \n"
                                "  PV Size               1.00 GiB\n");
    EXPECT_EQ(asked_about(), "/dev/sdb1");
}

TEST_F(volume_identity, is_that_of_a_group_whose_name_begins_with_the_volume_s)
{
    volume_is_in("vg");
    EXPECT_EQ(asked_about(), "/dev/sda3");
}

TEST_F(volume_identity, is_none_for_a_group_whose_name_is_only_the_start_of_the_volume_s)
{
    volume_is_in("vg01");
    EXPECT_EQ(asked_about(), not_asked);
}

TEST_F(volume_identity, is_asked_for_even_where_the_last_physical_volume_has_no_name)
{
    machine.tool(pvdisplay, in_group("vg0", "/dev/sda3") + in_group("vg0", ""));
    EXPECT_EQ(asked_about(), "");
}

TEST_F(volume_identity, takes_names_as_plain_text)
{
    volume_is_in("%s%n");
    machine.tool(pvdisplay, in_group("%s%n%d", "/dev/%s%n%d"));
    EXPECT_EQ(asked_about(), "/dev/%s%n%d");
}

TEST_F(volume_identity, takes_the_first_510_bytes_of_names)
{
    machine.tool(lvdisplay, "VG Name" + std::string(510, 'v') + "x\n");
    machine.tool(pvdisplay,
                 "PV Name" + std::string(511, 'p') + "\nVG Name" + std::string(510, 'v') + "y\n");
    EXPECT_EQ(asked_about(), std::string(510, 'p'));
}

TEST_F(volume_identity, is_found_behind_long_lines)
{
    machine.tool(lvdisplay, std::string(5000, 'x') + "\n  VG Name vg0\n");
    machine.tool(pvdisplay, std::string(5000, 'x') + "\n" + in_group("vg0", "/dev/sda3"));
    EXPECT_EQ(asked_about(), "/dev/sda3");
}

TEST_F(volume_identity, is_found_in_reports_of_a_megabyte)
{
    const std::string lines = std::string(1000000, 'x') + "\n";
    machine.tool(lvdisplay, lines + "  VG Name vg0\n" + lines);
    machine.tool(pvdisplay, lines + in_group("vg0", "/dev/sda3") + lines);
    EXPECT_EQ(asked_about(), "/dev/sda3");
}

TEST_F(volume_identity, is_none_where_the_tools_print_nothing)
{
    machine.tool(lvdisplay, "");
    machine.tool(pvdisplay, "");
    EXPECT_EQ(asked_about(), not_asked);
}

// An encrypted physical volume.

namespace {

struct encrypted_volume : named_case {
    std::string name;
    texts devices;
    std::string asked_about;
    texts trace = {};
};

class encrypted_physical_volume : public volume_identity,
                                  public testing::WithParamInterface<encrypted_volume> {
protected:
    void furnish() override
    {
        volume_identity::furnish();
        machine.file("/dev/file", "");
        for (const std::string &device : GetParam().devices)
            machine.block_device(device);
        machine.tool(pvdisplay, in_group("vg0", GetParam().name));
    }
};

const char missing[] = "!stat(dev_name, &sb) return";

} // namespace

TEST_P(encrypted_physical_volume, is_the_device_that_its_name_tells)
{
    EXPECT_EQ(asked_about(), GetParam().asked_about);
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    named, encrypted_physical_volume,
    testing::Values(
        encrypted_volume{"part_crypt", "/dev/mapper/sda3_crypt", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"crypt_part", "/dev/mapper/crypt_sda3", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"part_dmcrypt", "/dev/mapper/sda3_dmcrypt1", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{
            "first_of_two", "/dev/mapper/sda3_sdb1_crypt", {"/dev/sda3", "/dev/sdb1"}, "/dev/sda3"},
        encrypted_volume{
            "second_of_two", "/dev/mapper/a_sdb1_crypt", {"/dev/sdb1"}, "/dev/sdb1", {missing}},
        encrypted_volume{"third_of_three",
                         "/dev/mapper/a_b_sdb1_crypt",
                         {"/dev/sdb1"},
                         "/dev/sdb1",
                         {missing, missing}},
        encrypted_volume{"one_that_is_no_block_device_first",
                         "/dev/mapper/file_null_sda3_crypt",
                         {"/dev/sda3"},
                         "/dev/sda3"},
        encrypted_volume{"parts_around_crypt",
                         "/dev/mapper/a_crypt_sda3",
                         {"/dev/sda3"},
                         "/dev/sda3",
                         {missing}},
        encrypted_volume{"crypt_parts_that_are_devices",
                         "/dev/mapper/crypt1_sda3_2crypt",
                         {"/dev/crypt1", "/dev/2crypt", "/dev/sda3"},
                         "/dev/sda3"},
        encrypted_volume{
            "crypt_in_the_directory_alone", "/dev/crypt/sda3_x", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"crypt_and_underscore_in_the_directory_alone",
                         "/dev/my_crypt/sda3",
                         {"/dev/sda3"},
                         "/dev/sda3"},
        encrypted_volume{"no_directory", "sda3_crypt", {"/dev/sda3"}, "/dev/sda3"},
        encrypted_volume{"part_with_a_dash",
                         "/dev/mapper/x-sda3_crypt",
                         {"/dev/sda3", "/dev/x-sda3"},
                         "/dev/x-sda3"},
        encrypted_volume{"percent_sign", "/dev/mapper/%s%n_crypt", {"/dev/%s%n"}, "/dev/%s%n"}));

INSTANTIATE_TEST_SUITE_P(
    for_good, encrypted_physical_volume,
    testing::Values(
        encrypted_volume{
            "luks", "/dev/mapper/luks-0a1b", {"/dev/luks-0a1b"}, "/dev/mapper/luks-0a1b"},
        encrypted_volume{"no_crypt",
                         "/dev/mapper/sda3_luks",
                         {"/dev/sda3", "/dev/luks"},
                         "/dev/mapper/sda3_luks"},
        encrypted_volume{"no_underscore", "/dev/crypt/sda3", {"/dev/sda3"}, "/dev/crypt/sda3"},
        encrypted_volume{
            "crypt_in_capitals", "/dev/mapper/sda3_CRYPT", {"/dev/sda3"}, "/dev/mapper/sda3_CRYPT"},
        encrypted_volume{
            "no_such_part", "/dev/mapper/sda3_crypt", {}, "/dev/mapper/sda3_crypt", {missing}},
        encrypted_volume{"no_such_parts",
                         "/dev/mapper/a_b_crypt",
                         {},
                         "/dev/mapper/a_b_crypt",
                         {missing, missing}},
        encrypted_volume{"parts_that_are_no_block_devices",
                         "/dev/mapper/null_file_crypt",
                         {},
                         "/dev/mapper/null_file_crypt"},
        encrypted_volume{"crypt_parts_alone",
                         "/dev/mapper/crypt1_2crypt",
                         {"/dev/crypt1", "/dev/2crypt"},
                         "/dev/mapper/crypt1_2crypt"},
        encrypted_volume{"part_in_the_directory_alone",
                         "/dev/sda3_crypt/x",
                         {"/dev/sda3"},
                         "/dev/sda3_crypt/x",
                         {missing}},
        encrypted_volume{"no_last_component",
                         "/dev/mapper/sda3_crypt/",
                         {"/dev/sda3"},
                         "/dev/mapper/sda3_crypt/"}));

TEST_F(volume_identity, is_that_of_an_encrypted_partition)
{
    machine.block_device("/dev/sda3");
    machine.tool(pvdisplay, in_group("vg0", "/dev/mapper/sda3_crypt"));
    machine.tool(smartctl, "Device Model: DISK 1\nSerial Number: SN 2\n");
    EXPECT_EQ(asked().value(), "DISK1_SN2");
    EXPECT_EQ(machine.runs(smartctl).at(0).arguments,
              (texts{"/usr/sbin/smartctl", "-i", "/dev/sda3"}));
}

TEST_F(volume_identity, goes_on_with_a_device_of_the_longest_name)
{
    const std::string part(255, 'p');
    machine.block_device("/dev/" + part);
    machine.tool(pvdisplay, in_group("vg0", "/dev/mapper/" + part + "_crypt"));
    EXPECT_EQ(asked_about(), "/dev/" + part);
}

TEST_F(volume_identity, splits_a_name_while_others_split_theirs)
{
    machine.tool(pvdisplay, in_group("vg0", "/dev/mapper/a_b_sda3_crypt"));
    machine.block_device("/dev/sda3");
    interpose::stat = [](const char *path, struct stat *status) {
        char text[] = "another_name_to_split";
        std::strtok(text, "_");
        return interpose::stat.real(path, status);
    };
    EXPECT_EQ(asked_about(), "/dev/sda3");
}

TEST_F(volume_identity, leaves_a_caller_s_own_splitting_alone)
{
    machine.block_device("/dev/sda3");
    machine.tool(pvdisplay, in_group("vg0", "/dev/mapper/a_sda3_crypt"));
    machine.tool(smartctl, "Device Model: A:B\nSerial Number: C:D\n");
    char text[] = "one two";
    EXPECT_STREQ(std::strtok(text, " "), "one");
    EXPECT_EQ(asked().value(), "B_D");
    EXPECT_STREQ(std::strtok(nullptr, " "), "two");
}
