// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "disk/root_device.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr char none[] = "(none)";

std::string root_of(std::string table)
{
    const orvane::unique_file stream(::fmemopen(table.data(), table.size(), "r"));
    const orvane::heap_text root = orvane::root_of_mount_table(stream.get());
    return root ? root.get() : none;
}

struct table : named_case {
    const char *text;
    const char *root;
};

class mount_table : public testing::TestWithParam<table> {};

} // namespace

TEST_P(mount_table, names_the_device_of_its_root)
{
    EXPECT_EQ(root_of(GetParam().text), GetParam().root);
}

INSTANTIATE_TEST_SUITE_P(
    with_a_root, mount_table,
    testing::Values(
        table{"alone", "/dev/sda2 / ext4 rw,relatime 0 0\n", "/dev/sda2"},
        table{"behind_others",
              "proc /proc proc rw 0 0\n"
              "/dev/sda1 /boot ext4 rw 0 0\n"
              "/dev/sda2 / ext4 rw 0 0\n"
              "/dev/sda3 /home ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"with_another_on_top", "/dev/sda2 / ext4 rw 0 0\n/dev/sdb1 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"that_is_no_device", "overlay / overlay rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
              "overlay"},
        table{"on_a_network", "server:/export / nfs4 rw 0 0\n", "server:/export"},
        table{"of_the_type_rootfs", "/dev/sda2 / rootfs rw 0 0\n", "/dev/sda2"},
        table{"that_is_mounted_twice", "/dev/sda2 /mnt ext4 rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"without_an_end_of_line", "/dev/sda2 / ext4 rw 0 0", "/dev/sda2"},
        table{"in_fewer_columns", "/dev/sda2 /\n", "/dev/sda2"},
        table{"in_wide_columns", " \t/dev/sda2\t\t/ \text4 rw 0 0\n", "/dev/sda2"},
        table{"behind_remarks", "# /dev/sda1 / ext4 rw 0 0\n\n  # more\n/dev/sda2 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"with_bytes_above_ascii", "/dev/\xc3\xbc\xff / ext4 rw 0 0\n", "/dev/\xc3\xbc\xff"},
        table{"with_the_name_of_a_format", "/dev/%s%n / ext4 rw 0 0\n", "/dev/%s%n"}));

INSTANTIATE_TEST_SUITE_P(
    with_an_escaped_device, mount_table,
    testing::Values(table{"blank", "/dev/my\\040disk / ext4 rw 0 0\n", "/dev/my disk"},
                    table{"tab", "/dev/my\\011disk / ext4 rw 0 0\n", "/dev/my\tdisk"},
                    table{"newline", "/dev/my\\012disk / ext4 rw 0 0\n", "/dev/my\ndisk"},
                    table{"backslash", "/dev/my\\134x2fdisk / ext4 rw 0 0\n", "/dev/my\\x2fdisk"}));

INSTANTIATE_TEST_SUITE_P(
    with_the_kernels_first_root, mount_table,
    testing::Values(
        table{"below", "rootfs / rootfs rw 0 0\n/dev/sda2 / ext4 rw 0 0\n", "/dev/sda2"},
        table{"below_twice",
              "rootfs / rootfs rw 0 0\nrootfs / rootfs rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"alone", "rootfs / rootfs rw 0 0\n", none},
        table{"longer_name", "rootfs2 / ext4 rw 0 0\n", "rootfs2"},
        table{"shorter_name", "rootf / ext4 rw 0 0\n", "rootf"},
        table{"name_in_capitals", "ROOTFS / ext4 rw 0 0\n", "ROOTFS"},
        table{"name_in_a_directory", "/rootfs / ext4 rw 0 0\n", "/rootfs"}));

INSTANTIATE_TEST_SUITE_P(
    without_a_root, mount_table,
    testing::Values(table{"empty", "", none}, table{"blank", " \n\t\n\n", none},
                    table{"remarks", "# /dev/sda2 / ext4 rw 0 0\n", none},
                    table{"others", "proc /proc proc rw 0 0\n/dev/sda1 /boot ext4 rw 0 0\n", none},
                    table{"two_slashes", "/dev/sda2 // ext4 rw 0 0\n", none},
                    table{"slash_and_dot", "/dev/sda2 /. ext4 rw 0 0\n", none},
                    table{"slash_and_blank", "/dev/sda2 /\\040 ext4 rw 0 0\n", none},
                    table{"device_alone", "/dev/sda2\n", none},
                    table{"slash_elsewhere", "/ /dev/sda2 ext4 rw 0 0\n/dev/sda2 /mnt / / 0 0\n",
                          none}));

namespace {

class long_mount_entry : public testing::TestWithParam<std::size_t> {};

} // namespace

// Wherever a reader's room ends, what follows in the line is no line of its own.
TEST_P(long_mount_entry, is_one_entry)
{
    std::string entry = "/dev/sda1 /mnt ext4 ";
    entry.resize(GetParam(), 'o');
    entry += "/dev/sdb1 / ext4 rw 0 0\n";
    EXPECT_EQ(root_of(entry + "/dev/sda2 / ext4 rw 0 0\n"), "/dev/sda2");
    EXPECT_EQ(root_of(entry), none);
}

INSTANTIATE_TEST_SUITE_P(of_so_many_characters_before, long_mount_entry,
                         testing::Values(1023, 1024, 2047, 4094, 4095, 4096, 5118, 8190, 100000));

TEST(root_of_a_mount_table, may_have_options_without_end)
{
    EXPECT_EQ(root_of("/dev/sda2 / ext4 rw," + std::string(100000, 'o') + " 0 0\n"), "/dev/sda2");
}

TEST(root_of_a_mount_table, may_have_a_long_name)
{
    const std::string device = "/dev/" + std::string(4000, 'd');
    EXPECT_EQ(root_of(device + " / ext4 rw 0 0\n"), device);
}

TEST(root_of_a_mount_table, is_found_behind_many_entries)
{
    std::string table;
    for (int entry = 0; entry < 10000; ++entry)
        table += "tmpfs /mnt tmpfs rw 0 0\n";
    EXPECT_EQ(root_of(table + "/dev/sda2 / ext4 rw 0 0\n"), "/dev/sda2");
}

TEST(root_of_a_mount_table, is_read_no_further_than_needed)
{
    char table[] = "/dev/sda2 / ext4 rw 0 0\nrest\n";
    const orvane::unique_file stream(::fmemopen(table, sizeof table - 1, "r"));
    EXPECT_STREQ(orvane::root_of_mount_table(stream.get()).get(), "/dev/sda2");
    EXPECT_EQ(std::ftell(stream.get()), 24);
}
