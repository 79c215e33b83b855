// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The block device that holds the root file system.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <csignal>
#include <cstdio>
#include <string>

#include <mntent.h>

namespace {

constexpr char none[] = "(no text)";
constexpr char mount_table[] = "/proc/mounts";
constexpr char command_line[] = "/proc/cmdline";

class root_device_query : public on_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2");
        machine.block_device("/dev/vda1");
    }

    void mounts(const std::string &table) { machine.file(mount_table, table); }
    void boots(const std::string &line) { machine.file(command_line, line); }

    void mounts_sda2_and_boots_vda1()
    {
        mounts("/dev/sda2 / ext4 rw 0 0\n");
        boots("ro root=/dev/vda1 quiet\n");
    }

    static std::string found() { return owned_text(root_device()).value(); }

    // What is found, and every call by which it is.
    std::string found_by_recorded_calls()
    {
        const auto note = [this](const std::string &call) { calls_.push_back(call); };
        interpose::file_stat = [note](const char *path, int mask) {
            note("file_stat " + std::string(path) + " " + std::to_string(mask));
            return interpose::file_stat.real(path, mask);
        };
        interpose::stat = [note](const char *path, struct stat *status) {
            note("stat " + std::string(path));
            return interpose::stat.real(path, status);
        };
        interpose::setmntent = [note](const char *path, const char *mode) {
            note("setmntent " + std::string(path) + " " + mode);
            return interpose::setmntent.real(path, mode);
        };
        interpose::getmntent_r = [note](std::FILE *table, mntent *entry, char *room, int size) {
            note("getmntent_r");
            return interpose::getmntent_r.real(table, entry, room, size);
        };
        interpose::endmntent = [note](std::FILE *table) {
            note("endmntent");
            return interpose::endmntent.real(table);
        };
        interpose::strdup = [note](const char *text) {
            note("strdup " + std::string(text));
            return interpose::strdup.real(text);
        };
        interpose::orvane_logger_env_init = [note] {
            note("trace");
            return interpose::orvane_logger_env_init.real();
        };
        interpose::command_line_get_root_device_name = [note](const char *path) {
            note("command_line_get_root_device_name " + std::string(path));
            return interpose::strdup.real("/dev/vda1");
        };
        return found();
    }

    [[nodiscard]] const texts &calls() const { return calls_; }

private:
    texts calls_;
};

const texts not_examined = {"!stat(dev_name, &sb) return"};

} // namespace

// By the mount table.

using mounted_root_device = root_device_query;

TEST_F(mounted_root_device, is_told_and_traced)
{
    mounts_sda2_and_boots_vda1();
    EXPECT_EQ(found(), "/dev/sda2");
    EXPECT_EQ(machine.trace(), texts{"root_dev_name: /dev/sda2."});
}

TEST_F(mounted_root_device, stands_above_the_kernels_first_root)
{
    mounts("rootfs / rootfs rw 0 0\nproc /proc proc rw 0 0\n/dev/sda2 / ext4 rw 0 0\n");
    EXPECT_EQ(found(), "/dev/sda2");
    EXPECT_EQ(machine.trace(), texts{"root_dev_name: /dev/sda2."});
}

TEST_F(mounted_root_device, is_the_first_of_those_at_the_root)
{
    mounts("/dev/sda2 / ext4 rw 0 0\n/dev/vda1 / ext4 rw 0 0\n");
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(mounted_root_device, needs_no_command_line)
{
    mounts("/dev/sda2 / ext4 rw 0 0\n");
    machine.remove(command_line);
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(mounted_root_device, costs_one_reading_of_the_table)
{
    mounts("proc /proc proc rw 0 0\nrootfs / rootfs rw 0 0\n/dev/sda2 / ext4 rw 0 0\nmore\n");
    EXPECT_EQ(found_by_recorded_calls(), "/dev/sda2");
    EXPECT_EQ(calls(),
              (texts{"file_stat /proc/mounts 256", "stat /proc/mounts", "setmntent /proc/mounts r",
                     "getmntent_r", "getmntent_r", "getmntent_r", "strdup /dev/sda2", "endmntent",
                     "stat /dev/sda2", "trace"}));
}

TEST_F(mounted_root_device, is_found_in_a_table_behind_a_link)
{
    machine.file("/proc/1/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.link(mount_table, "1/mounts");
    EXPECT_EQ(found(), "/dev/sda2");
}

namespace {

struct device : named_case {
    const char *in_the_table;
    const char *path;
    const char *trace;
};

class mounted_device : public mounted_root_device, public testing::WithParamInterface<device> {};

} // namespace

TEST_P(mounted_device, is_told_as_the_table_names_it)
{
    machine.link(GetParam().path, "/dev/sda2");
    mounts(std::string(GetParam().in_the_table) + " / ext4 rw 0 0\n");
    EXPECT_EQ(found(), GetParam().path);
    EXPECT_EQ(machine.trace(), texts{GetParam().trace});
}

INSTANTIATE_TEST_SUITE_P(
    that_is, mounted_device,
    testing::Values(
        device{"mapped", "/dev/mapper/root", "/dev/mapper/root",
               "root_dev_name: /dev/mapper/root."},
        device{"by_uuid", "/dev/disk/by-uuid/1234-ABCD", "/dev/disk/by-uuid/1234-ABCD",
               "root_dev_name: /dev/disk/by-uuid/1234-ABCD."},
        device{"by_label", "/dev/disk/by-label/a\\134x2fb", "/dev/disk/by-label/a\\x2fb",
               "root_dev_name: /dev/disk/by-label/a\\x2fb."},
        device{"with_a_blank", "/dev/my\\040disk", "/dev/my disk", "root_dev_name: /dev/my disk."},
        device{"like_a_format", "/dev/100%s%n", "/dev/100%s%n", "root_dev_name: /dev/100%s%n."},
        device{"above_ascii", "/dev/\xc3\xbc\xff", "/dev/\xc3\xbc\xff",
               "root_dev_name: /dev/\xc3\xbc\xff."}));

TEST_F(mounted_root_device, is_told_whole_where_a_trace_line_is_too_short)
{
    std::string device = "/dev";
    for (int directory = 0; directory < 5; ++directory)
        device += "/" + std::string(250, 'd');
    machine.block_device(device);
    mounts(device + " / ext4 rw 0 0\n");
    EXPECT_EQ(found(), device);
}

TEST_F(mounted_root_device, is_told_where_nothing_can_be_traced)
{
    mounts_sda2_and_boots_vda1();
    machine.read_only("/var/log");
    std::string device;
    EXPECT_EQ(standard_error_of([&device] { device = found(); }),
              "Open log file failed: No such file or directory\n");
    EXPECT_EQ(device, "/dev/sda2");
}

TEST_F(mounted_root_device, is_told_to_any_user)
{
    mounts_sda2_and_boots_vda1();
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const other_user caller;
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(mounted_root_device, leaves_a_mount_entry_of_the_process_as_it_is)
{
    mounts_sda2_and_boots_vda1();
    machine.file("/proc/other", "/dev/mine /mine ext4 rw 0 0\n");
    std::FILE *const table = ::setmntent("/proc/other", "r");
    const mntent *const entry = ::getmntent(table);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(found(), "/dev/sda2");
    EXPECT_STREQ(entry->mnt_fsname, "/dev/mine");
    EXPECT_STREQ(entry->mnt_dir, "/mine");
    ::endmntent(table);
}

// By the command line.

using booted_root_device = root_device_query;

namespace {

struct table : named_case {
    const char *text;
    texts trace;
};

class mount_table_without_the_device : public booted_root_device,
                                       public testing::WithParamInterface<table> {};

} // namespace

TEST_P(mount_table_without_the_device, leaves_it_to_the_command_line)
{
    mounts(GetParam().text);
    boots("ro root=/dev/vda1 quiet\n");
    EXPECT_EQ(found(), "/dev/vda1");
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    for_it_has, mount_table_without_the_device,
    testing::Values(table{"nothing", "", {}},
                    table{"other_directories", "/dev/sda2 /boot ext4 rw 0 0\n", {}},
                    table{"two_slashes", "/dev/sda2 // ext4 rw 0 0\n", {}},
                    table{"the_kernels_first_root", "rootfs / rootfs rw 0 0\n", {}},
                    table{"no_such_device", "/dev/root / ext4 rw 0 0\n", not_examined},
                    table{"no_such_device_below_one",
                          "/dev/root / ext4 rw 0 0\n/dev/sda2 / ext4 rw 0 0\n", not_examined},
                    table{"an_overlay", "overlay / overlay rw 0 0\n", not_examined},
                    table{"a_network_source", "server:/export / nfs rw 0 0\n", not_examined},
                    table{"another_spelling_of_the_kernels_first_root", "ROOTFS / rootfs rw 0 0\n",
                          not_examined},
                    table{"a_character_device", "/dev/null / ext4 rw 0 0\n", {}},
                    table{"a_file", "/proc/mounts / ext4 rw 0 0\n", {}},
                    table{"a_directory", "/dev / none rw 0 0\n", {}}));

TEST_F(booted_root_device, costs_a_closed_table_before)
{
    mounts("/dev/sda2 /boot ext4 rw 0 0\n");
    EXPECT_EQ(found_by_recorded_calls(), "/dev/vda1");
    EXPECT_EQ(calls(),
              (texts{"file_stat /proc/mounts 256", "stat /proc/mounts", "setmntent /proc/mounts r",
                     "getmntent_r", "getmntent_r", "endmntent",
                     "command_line_get_root_device_name /proc/cmdline", "stat /dev/vda1"}));
}

TEST_F(booted_root_device, costs_a_look_at_the_mounted_one_before)
{
    mounts("/dev/root / ext4 rw 0 0\n/dev/sda2 / ext4 rw 0 0\n");
    EXPECT_EQ(found_by_recorded_calls(), "/dev/vda1");
    EXPECT_EQ(calls(),
              (texts{"file_stat /proc/mounts 256", "stat /proc/mounts", "setmntent /proc/mounts r",
                     "getmntent_r", "strdup /dev/root", "endmntent", "stat /dev/root", "trace",
                     "command_line_get_root_device_name /proc/cmdline", "stat /dev/vda1"}));
}

TEST_F(booted_root_device, stands_in_for_a_missing_table)
{
    machine.remove(mount_table);
    EXPECT_EQ(found_by_recorded_calls(), "/dev/vda1");
    EXPECT_EQ(calls(),
              (texts{"file_stat /proc/mounts 256", "stat /proc/mounts",
                     "command_line_get_root_device_name /proc/cmdline", "stat /dev/vda1"}));
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_root_device, stands_in_for_a_table_that_its_owner_may_not_read)
{
    machine.file(mount_table, "/dev/sda2 / ext4 rw 0 0\n", 0377);
    EXPECT_EQ(found_by_recorded_calls(), "/dev/vda1");
    EXPECT_EQ(calls(),
              (texts{"file_stat /proc/mounts 256", "stat /proc/mounts",
                     "command_line_get_root_device_name /proc/cmdline", "stat /dev/vda1"}));
}

TEST_F(booted_root_device, does_not_stand_in_for_a_table_that_its_owner_alone_may_read)
{
    mounts_sda2_and_boots_vda1();
    machine.file(mount_table, "/dev/sda2 / ext4 rw 0 0\n", 0400);
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(booted_root_device, stands_in_for_a_table_that_the_caller_may_not_open)
{
    mounts_sda2_and_boots_vda1();
    machine.file(mount_table, "/dev/sda2 / ext4 rw 0 0\n", 0400);
    {
        const other_user caller;
        EXPECT_EQ(found(), "/dev/vda1");
    }
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_root_device, stands_in_for_a_directory_in_the_place_of_the_table)
{
    mounts_sda2_and_boots_vda1();
    machine.directory(mount_table);
    EXPECT_EQ(found(), "/dev/vda1");
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_root_device, stands_in_for_a_table_of_which_file_stat_tells_nothing)
{
    mounts_sda2_and_boots_vda1();
    interpose::file_stat = [](const char *, int) { return 0; };
    EXPECT_EQ(found(), "/dev/vda1");
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_root_device, stands_in_for_a_table_that_cannot_be_opened)
{
    mounts_sda2_and_boots_vda1();
    interpose::setmntent = [](const char *, const char *) { return nullptr; };
    EXPECT_EQ(found(), "/dev/vda1");
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_root_device, stands_in_for_a_name_that_finds_no_memory)
{
    mounts_sda2_and_boots_vda1();
    interpose::strdup = [](const char *text) {
        return std::string(text) == "/dev/sda2" ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(found(), "/dev/vda1");
    EXPECT_TRUE(machine.trace().empty());
}

namespace {

// A machine whose mount table names no block device for its root.
class booted_machine : public booted_root_device {
protected:
    void furnish() override
    {
        booted_root_device::furnish();
        mounts("overlay /mnt overlay rw 0 0\n");
    }
};

} // namespace

TEST_F(booted_machine, tells_the_link_that_its_uuid_names)
{
    machine.link("/dev/disk/by-uuid/1234-ABCD", "../../vda1");
    boots("root=UUID=1234-ABCD ro\n");
    EXPECT_EQ(found(), "/dev/disk/by-uuid/1234-ABCD");
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_machine, tells_the_link_that_its_label_names)
{
    machine.link("/dev/disk/by-label/a\\x2fb", "../../vda1");
    boots("root=LABEL=a/b ro\n");
    EXPECT_EQ(found(), "/dev/disk/by-label/a\\x2fb");
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_machine, tells_what_the_command_line_names_by_whichever_function)
{
    boots("root=/dev/sda2\n");
    interpose::command_line_get_root_device_name = [](const char *) {
        return interpose::strdup.real("/dev/vda1");
    };
    EXPECT_EQ(found(), "/dev/vda1");
}

namespace {

struct line : named_case {
    const char *text;
    texts trace;
};

class machine_without_a_root_device : public booted_machine,
                                      public testing::WithParamInterface<line> {};

} // namespace

TEST_P(machine_without_a_root_device, tells_none)
{
    machine.link("/dev/disk/by-uuid/5678", "../../gone");
    boots(GetParam().text);
    EXPECT_EQ(found(), none);
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    for_it_boots, machine_without_a_root_device,
    testing::Values(line{"without_a_line", "", {}}, line{"without_a_root", "ro quiet\n", {}},
                    line{"with_an_empty_root", "root= ro\n", {}},
                    line{"with_an_empty_uuid", "root=UUID\n", {}},
                    line{"with_an_empty_label", "root=LABEL=\n", {}},
                    line{"with_a_root_on_the_second_line", "ro\nroot=/dev/vda1\n", {}},
                    line{"from_no_such_device", "root=/dev/xvda1\n", not_examined},
                    line{"from_no_such_device_first", "root=/dev/xvda1 root=/dev/vda1\n",
                         not_examined},
                    line{"from_no_such_uuid", "root=UUID=1234\n", not_examined},
                    line{"from_a_uuid_that_is_gone", "root=UUID=5678\n", not_examined},
                    line{"from_no_such_label", "root=LABEL=system\n", not_examined},
                    line{"from_an_unknown_form", "root=PARTUUID=xyz\n", not_examined},
                    line{"from_a_character_device", "root=/dev/null\n", {}},
                    line{"from_a_file", "root=/proc/mounts\n", {}}));

TEST_F(booted_machine, tells_none_without_a_command_line)
{
    machine.remove(command_line);
    EXPECT_EQ(found(), none);
    EXPECT_TRUE(machine.trace().empty());
}

TEST_F(booted_machine, tells_none_where_the_caller_may_not_read_the_command_line)
{
    machine.file(command_line, "root=/dev/vda1\n", 0400);
    const other_user caller;
    EXPECT_EQ(found(), none);
}

TEST_F(booted_machine, traces_each_device_that_cannot_be_examined)
{
    mounts("/dev/root / ext4 rw 0 0\n");
    boots("root=/dev/xvda1\n");
    EXPECT_EQ(found(), none);
    EXPECT_EQ(machine.trace(),
              (texts{"!stat(dev_name, &sb) return", "!stat(dev_name, &sb) return"}));
}

TEST_F(booted_machine, tells_none_without_memory)
{
    boots("root=/dev/vda1\n");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(found(), none);
    EXPECT_TRUE(machine.trace().empty());
}

// A command line that is too long.

namespace {

constructed_machine::program_result end_of_a_process_that_asks()
{
    return run_program({"true"}, [] {
        std::free(root_device());
        return true;
    });
}

} // namespace

TEST_F(booted_machine, ends_a_process_that_asks_for_too_long_a_command_line)
{
    boots("root=/dev/vda1 " + std::string(4081, 'q') + "\n");
    const auto end = end_of_a_process_that_asks();
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error,
              "liborvane: fatal: the kernel command line is longer than 4095 characters\n");
}

TEST_F(mounted_root_device, is_told_whatever_the_length_of_the_command_line)
{
    mounts("/dev/sda2 / ext4 rw 0 0\n");
    boots(std::string(5000, 'q'));
    EXPECT_EQ(end_of_a_process_that_asks().status, 0);
}

// What the caller keeps.

namespace {

class root_device_without_standard_descriptors
    : public root_device_query,
      public testing::WithParamInterface<std::vector<int>> {
protected:
    void expect_that_is_found_and_leaves_them_closed(const std::string &expected)
    {
        std::string device;
        EXPECT_EQ(left_open(GetParam(), [&device] { device = found(); }), std::vector<int>());
        EXPECT_EQ(device, expected);
    }
};

} // namespace

TEST_P(root_device_without_standard_descriptors, is_found_in_the_mount_table)
{
    mounts_sda2_and_boots_vda1();
    expect_that_is_found_and_leaves_them_closed("/dev/sda2");
    EXPECT_EQ(machine.trace(), texts{"root_dev_name: /dev/sda2."});
}

TEST_P(root_device_without_standard_descriptors, is_found_on_the_command_line)
{
    mounts("/dev/root / ext4 rw 0 0\n");
    boots("root=/dev/vda1\n");
    expect_that_is_found_and_leaves_them_closed("/dev/vda1");
    EXPECT_EQ(machine.trace(), not_examined);
}

INSTANTIATE_TEST_SUITE_P(every_combination, root_device_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
