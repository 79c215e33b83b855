// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The device that a mount table names for "/".
#include "disk/root_device.h"
#include "fixture.h"
#include "report.h"

#include <string>

namespace {

constexpr char none[] = "(no text)";

std::string root_of(const std::string &table)
{
    return owned_text(orvane::root_of_mount_table(report_of(table).get()).release()).value();
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
    with, mount_table,
    testing::Values(
        table{"two_roots", "/dev/sda2 / ext4 rw 0 0\n/dev/sdb1 / ext4 rw 0 0\n", "/dev/sda2"},
        table{"a_root_that_is_no_device", "overlay / overlay rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
              "overlay"},
        table{"a_root_of_the_type_rootfs", "/dev/sda2 / rootfs rw 0 0\n", "/dev/sda2"},
        table{"no_end_of_line", "/dev/sda2 / ext4 rw 0 0", "/dev/sda2"},
        table{"fewer_columns", "/dev/sda2 /\n", "/dev/sda2"},
        table{"wide_columns", " \t/dev/sda2\t\t/ \text4 rw 0 0\n", "/dev/sda2"},
        table{"comments", "# /dev/sda1 / ext4 rw 0 0\n\n  # more\n/dev/sda2 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"escapes", "/dev/a\\040b\\011c\\012d\\134e / ext4 rw 0 0\n", "/dev/a b\tc\nd\\e"},
        table{"several_initial_roots",
              "rootfs / rootfs rw 0 0\nrootfs / rootfs rw 0 0\n/dev/sda2 / ext4 rw 0 0\n",
              "/dev/sda2"},
        table{"a_longer_name_than_rootfs", "rootfs2 / ext4 rw 0 0\n", "rootfs2"},
        table{"a_shorter_name_than_rootfs", "rootf / ext4 rw 0 0\n", "rootf"},
        table{"rootfs_in_a_directory", "/rootfs / ext4 rw 0 0\n", "/rootfs"},
        table{"blank_lines_alone", " \n\t\n\n", none},
        table{"a_slash_and_a_dot", "/dev/sda2 /. ext4 rw 0 0\n", none},
        table{"a_slash_and_a_blank", "/dev/sda2 /\\040 ext4 rw 0 0\n", none},
        table{"a_device_alone", "/dev/sda2\n", none},
        table{"a_slash_in_other_columns", "/ /dev/sda2 ext4 rw 0 0\n/dev/sda2 /mnt / / 0 0\n",
              none}));

// Wherever a reader's buffer ends, the rest of the line is no entry of its own.
TEST(long_mount_entry, is_one_entry)
{
    for (const std::size_t length :
         {1023U, 1024U, 2047U, 4094U, 4095U, 4096U, 5118U, 8190U, 100000U}) {
        std::string entry = "/dev/sda1 /mnt ext4 ";
        entry.resize(length, 'o');
        entry += "/dev/sdb1 / ext4 rw 0 0\n";
        EXPECT_EQ(root_of(entry + "/dev/sda2 / ext4 rw 0 0\n"), "/dev/sda2") << length;
        EXPECT_EQ(root_of(entry), none) << length;
    }
}

TEST(long_mount_entry, may_be_the_root)
{
    EXPECT_EQ(root_of("/dev/sda2 / ext4 rw," + std::string(100000, 'o') + " 0 0\n"), "/dev/sda2");
    const std::string device = "/dev/" + std::string(4000, 'd');
    EXPECT_EQ(root_of(device + " / ext4 rw 0 0\n"), device);
}

TEST(long_mount_entry, is_read_as_far_as_4095_bytes)
{
    const std::string device = "/dev/sda2";
    const auto with_root_at = [&device](std::size_t place) {
        return device + std::string(place - 1 - device.size(), ' ') + "/ ext4 rw 0 0\n";
    };
    EXPECT_EQ(root_of(with_root_at(4095)), device);
    EXPECT_EQ(root_of(with_root_at(4096)), none);
}
