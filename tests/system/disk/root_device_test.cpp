// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The block device that holds the root file system.
#include "disk_machine.h"
#include "process.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include <mntent.h>

namespace {

constexpr char mounts[] = "/proc/mounts";
constexpr char cmdline[] = "/proc/cmdline";

// A machine whose kernel command line names /dev/vda1.
class root_device_query : public on_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2");
        machine.block_device("/dev/vda1");
        machine.file(cmdline, "ro root=/dev/vda1 quiet\n");
    }

    static std::string found() { return owned_text(root_device()).value(); }
};

const texts no_such_device = {trace_line::no_such_device};

} // namespace

TEST_F(root_device_query, traces_the_device_of_the_mount_table)
{
    machine.file(mounts, "/dev/sda2 / ext4 rw 0 0\n");
    EXPECT_EQ(found(), "/dev/sda2");
    expect_trace({"root_dev_name: /dev/sda2."});
}

TEST_F(root_device_query, traces_a_device_that_cannot_be_examined)
{
    machine.file(mounts, "/dev/root / ext4 rw 0 0\n");
    EXPECT_EQ(found(), "/dev/vda1");
    expect_trace({"!stat(dev_name, &sb) return"});
}

namespace {

struct mount_table : named_case {
    std::string text;
    std::string device;
    texts trace;
};

class root_device_of : public root_device_query, public testing::WithParamInterface<mount_table> {
protected:
    void furnish() override
    {
        root_device_query::furnish();
        for (const char *const link : {"/dev/mapper/root", "/dev/disk/by-uuid/1234-ABCD",
                                       "/dev/my disk", "/dev/100%s%n", "/dev/\xc3\xbc\xff"})
            machine.link(link, "/dev/sda2");
    }
};

mount_table mounted(const char *name, const std::string &text, const std::string &device)
{
    return {name, text, device, {trace_line::root_device(device)}};
}
mount_table not_mounted(const char *name, const std::string &text, const texts &trace = {})
{
    return {name, text, "/dev/vda1", trace};
}

} // namespace

TEST_P(root_device_of, is_found)
{
    machine.file(mounts, GetParam().text);
    EXPECT_EQ(found(), GetParam().device);
    expect_trace(GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    a_mount_table_with, root_device_of,
    testing::Values(
        mounted("the_first_root_of_the_kernel_below",
                "rootfs / rootfs rw 0 0\nproc /proc proc rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
                "/dev/sda2"),
        mounted("two_roots", "/dev/sda2 / ext4 rw 0 0\n/dev/vda1 / ext4 rw 0 0\n", "/dev/sda2"),
        mounted("a_mapped_device", "/dev/mapper/root / ext4 rw 0 0\n", "/dev/mapper/root"),
        mounted("a_link_by_uuid", "/dev/disk/by-uuid/1234-ABCD / ext4 rw 0 0\n",
                "/dev/disk/by-uuid/1234-ABCD"),
        mounted("an_escaped_blank", "/dev/my\\040disk / ext4 rw 0 0\n", "/dev/my disk"),
        mounted("a_name_like_a_format", "/dev/100%s%n / ext4 rw 0 0\n", "/dev/100%s%n"),
        mounted("bytes_above_ascii", "/dev/\xc3\xbc\xff / ext4 rw 0 0\n", "/dev/\xc3\xbc\xff")));

INSTANTIATE_TEST_SUITE_P(
    the_command_line_for_a_mount_table_with, root_device_of,
    testing::Values(
        not_mounted("nothing", ""),
        not_mounted("other_directories", "/dev/sda2 /boot ext4 rw 0 0\n"),
        not_mounted("two_slashes", "/dev/sda2 // ext4 rw 0 0\n"),
        not_mounted("the_first_root_of_the_kernel", "rootfs / rootfs rw 0 0\n"),
        not_mounted("no_such_device_below_one",
                    "/dev/root / ext4 rw 0 0\n/dev/sda2 / ext4 rw 0 0\n", no_such_device),
        not_mounted("an_overlay", "overlay / overlay rw 0 0\n", no_such_device),
        not_mounted("a_network_source", "server:/export / nfs rw 0 0\n", no_such_device),
        not_mounted("capitals", "ROOTFS / rootfs rw 0 0\n", no_such_device),
        not_mounted("a_longer_name", "rootfs2 / rootfs rw 0 0\n", no_such_device),
        not_mounted("a_character_device", "/dev/null / ext4 rw 0 0\n"),
        not_mounted("a_file", "/proc/mounts / ext4 rw 0 0\n"),
        not_mounted("a_directory", "/dev / none rw 0 0\n")));

TEST_F(root_device_query, returns_a_name_that_is_longer_than_a_trace_line)
{
    std::string device = "/dev";
    for (int directory = 0; directory < 5; ++directory)
        device += "/" + std::string(250, 'd');
    machine.block_device(device);
    machine.file(mounts, device + " / ext4 rw 0 0\n");
    EXPECT_EQ(found(), device);
}

TEST_F(root_device_query, needs_no_command_line)
{
    machine.file(mounts, "/dev/sda2 / ext4 rw 0 0\n");
    machine.file(cmdline, std::string(5000, 'q')); // longer than the library accepts
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(root_device_query, leaves_a_mount_entry_of_the_caller_alone)
{
    machine.file(mounts, "/dev/sda2 / ext4 rw 0 0\n");
    machine.file("/proc/other", "/dev/mine /mine ext4 rw 0 0\n");
    std::FILE *const table = ::setmntent("/proc/other", "r");
    const mntent *const entry = ::getmntent(table);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(found(), "/dev/sda2");
    EXPECT_STREQ(entry->mnt_fsname, "/dev/mine");
    EXPECT_STREQ(entry->mnt_dir, "/mine");
    ::endmntent(table);
}

// A mount table that cannot be read.

TEST_F(root_device_query, goes_on_to_the_command_line_without_a_mount_table)
{
    EXPECT_EQ(found(), "/dev/vda1");
    machine.directory(mounts);
    EXPECT_EQ(found(), "/dev/vda1");
    expect_trace({});
}

TEST_F(root_device_query, goes_on_to_the_command_line_where_the_owner_may_not_read_the_mount_table)
{
    machine.file(mounts, "/dev/sda2 / ext4 rw 0 0\n", 0377);
    EXPECT_EQ(found(), "/dev/vda1");
    expect_trace({});
}

TEST_F(root_device_query, reads_a_mount_table_for_its_owner_alone)
{
    machine.file(mounts, "/dev/sda2 / ext4 rw 0 0\n", 0400);
    EXPECT_EQ(found(), "/dev/sda2");
    const other_user caller;
    EXPECT_EQ(found(), "/dev/vda1");
}

// The command line.

TEST_F(root_device_query, reads_the_command_line_by_the_exported_function)
{
    interpose::command_line_get_root_device_name = [](const char *path) {
        EXPECT_STREQ(path, cmdline);
        return ::strdup("/dev/sda2");
    };
    EXPECT_EQ(found(), "/dev/sda2");
}

TEST_F(root_device_query, ends_the_process_for_too_long_a_command_line)
{
    machine.file(cmdline, "root=/dev/vda1 " + std::string(4081, 'q') + "\n");
    const auto end = run_program({"true"}, [] {
        found();
        return true;
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
}

namespace {

struct booted_device : named_case {
    const char *line;
    const char *device;
    texts trace = {};
};

class booted_machine : public root_device_query,
                       public testing::WithParamInterface<booted_device> {};

} // namespace

TEST_P(booted_machine, has_the_root_device_of_its_command_line)
{
    machine.link("/dev/disk/by-uuid/1234-ABCD", "../../vda1");
    machine.link("/dev/disk/by-uuid/5678", "../../gone");
    machine.link("/dev/disk/by-label/a\\x2fb", "../../vda1");
    machine.file(cmdline, GetParam().line);
    EXPECT_EQ(found(), GetParam().device);
    expect_trace(GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    with, booted_machine,
    testing::Values(
        booted_device{"a_uuid", "root=UUID=1234-ABCD ro\n", "/dev/disk/by-uuid/1234-ABCD"},
        booted_device{"a_label", "root=LABEL=a/b ro\n", "/dev/disk/by-label/a\\x2fb"},
        booted_device{"nothing", "", no_text},
        booted_device{"no_such_device", "root=/dev/xvda1\n", no_text, no_such_device},
        booted_device{"no_such_device_first", "root=/dev/xvda1 root=/dev/vda1\n", no_text,
                      no_such_device},
        booted_device{"a_dangling_uuid", "root=UUID=5678\n", no_text, no_such_device},
        booted_device{"an_unknown_form", "root=PARTUUID=xyz\n", no_text, no_such_device},
        booted_device{"a_character_device", "root=/dev/null\n", no_text},
        booted_device{"a_file", "root=/proc/cmdline\n", no_text}));

TEST_F(root_device_query, finds_none_without_a_command_line)
{
    machine.remove(cmdline);
    EXPECT_EQ(found(), no_text);
    expect_trace({});
}
