// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "orvane.h"

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The bits of a mode.

namespace {

struct mask_case : named_case {
    const char *path;
    int mask;
    int bits;
};

class mode_bits : public on_machine, public testing::WithParamInterface<mask_case> {};

} // namespace

TEST_P(mode_bits, are_those_of_the_mask)
{
    machine.file("/sys/file", "text", 0640);
    machine.file("/sys/set", "", 07751);
    machine.file("/sys/none", "", 0);
    machine.file("/sys/large", "", 0604);
    std::filesystem::resize_file("/sys/large", 5000000000);
    machine.file("/sys/late", "", 0604);
    const std::array<timespec, 2> in_2128 = {{{5000000000, 0}, {5000000000, 0}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, "/sys/late", in_2128.data(), 0), 0);
    machine.directory("/sys/directory", 01700);
    machine.block_device("/sys/block");
    machine.link("/sys/to_file", "file");
    machine.link("/sys/to_directory", "directory");
    machine.link("/sys/to_nothing", "nothing");
    machine.link("/sys/to_itself", "to_itself");
    EXPECT_EQ(file_stat(GetParam().path, GetParam().mask), GetParam().bits);
}

INSTANTIATE_TEST_SUITE_P(
    of, mode_bits,
    testing::Values(mask_case{"type_of_a_file", "/sys/file", S_IFMT, S_IFREG},
                    mask_case{"all_permissions", "/sys/file", 07777, 0640},
                    mask_case{"one_bit", "/sys/file", S_IRGRP, 040},
                    mask_case{"some_of_the_mask", "/sys/file", 0444, 0440},
                    mask_case{"type_and_permissions", "/sys/file", S_IFREG | 0400, S_IFREG | 0400},
                    mask_case{"every_bit", "/sys/file", -1, S_IFREG | 0640},
                    mask_case{"special_bits", "/sys/set", 07000, 07000},
                    mask_case{"type_of_a_directory", "/sys/directory", S_IFDIR, S_IFDIR},
                    mask_case{"sticky_bit", "/sys/directory", S_ISVTX, 01000},
                    mask_case{"type_of_a_block_device", "/sys/block", S_IFMT, S_IFBLK},
                    mask_case{"type_of_a_character_device", "/dev/null", S_IFMT, S_IFCHR},
                    mask_case{"file_behind_a_link", "/sys/to_file", -1, S_IFREG | 0640},
                    mask_case{"directory_behind_a_link", "/sys/to_directory", S_IFMT, S_IFDIR},
                    mask_case{"directory_with_a_slash", "/sys/directory/", S_IFMT, S_IFDIR},
                    mask_case{"file_above_four_gibibytes", "/sys/large", -1, S_IFREG | 0604},
                    mask_case{"file_of_a_late_year", "/sys/late", -1, S_IFREG | 0604},
                    mask_case{"unreadable_file", "/sys/none", -1, S_IFREG}));

INSTANTIATE_TEST_SUITE_P(not_in, mode_bits,
                         testing::Values(mask_case{"an_empty_mask", "/sys/file", 0, 0},
                                         mask_case{"owner_execute", "/sys/file", S_IXUSR, 0},
                                         mask_case{"other_users", "/sys/file", 0007, 0},
                                         mask_case{"another_type", "/sys/file", S_IFDIR, 0},
                                         mask_case{"the_link_itself", "/sys/to_file",
                                                   S_IFLNK & ~S_IFREG, 0},
                                         mask_case{"no_permission_at_all", "/sys/none", 07777, 0}));

INSTANTIATE_TEST_SUITE_P(of_no_file, mode_bits,
                         testing::Values(mask_case{"missing", "/sys/missing", -1, 0},
                                         mask_case{"missing_directory", "/sys/missing/file", -1, 0},
                                         mask_case{"below_a_file", "/sys/file/x", -1, 0},
                                         mask_case{"file_with_a_slash", "/sys/file/", -1, 0},
                                         mask_case{"link_to_nothing", "/sys/to_nothing", -1, 0},
                                         mask_case{"link_to_itself", "/sys/to_itself", -1, 0},
                                         mask_case{"empty_path", "", -1, 0},
                                         mask_case{"no_path", nullptr, -1, 0}));

using current_mode_bits = on_machine;

TEST_F(current_mode_bits, are_those_of_a_relative_path_too)
{
    machine.file("/sys/class/file", "", 0604);
    std::filesystem::current_path("/sys/class");
    EXPECT_EQ(file_stat("file", 0777), 0604);
    machine.file("/sys/class/file", "", 0640);
    EXPECT_EQ(file_stat("file", 0777), 0640);
    std::filesystem::current_path("/");
}

// Standard descriptors.

namespace {

class standard_descriptors : public on_machine {
protected:
    using targets = std::array<std::string, 3>; // of each of the three, empty for a closed one

    [[nodiscard]] targets present() const { return {target(0), target(1), target(2)}; }

    // What redirect_stdio() leaves where these descriptors are closed before it.
    [[nodiscard]] targets after_redirect(const std::vector<int> &closed_before) const
    {
        const closed_descriptors closed(closed_before);
        redirect_stdio();
        return present();
    }

private:
    [[nodiscard]] std::string target(int fd) const
    {
        std::error_code missing;
        return std::filesystem::read_symlink(machine.own_proc() + "/fd/" + std::to_string(fd),
                                             missing);
    }
};

} // namespace

TEST_F(standard_descriptors, are_opened_on_the_null_device_where_they_are_closed)
{
    const targets before = present();
    EXPECT_EQ(after_redirect({}), before);
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        targets expected = before;
        for (const int fd : closed)
            expected.at(static_cast<std::size_t>(fd)) = "/dev/null";
        EXPECT_EQ(after_redirect(closed), expected);
    }
}

TEST_F(standard_descriptors, can_be_read_and_written)
{
    std::vector<int> modes;
    {
        const closed_descriptors closed({0, 1, 2});
        redirect_stdio();
        for (int fd = 0; fd < 3; ++fd)
            modes.push_back(::fcntl(fd, F_GETFL) & O_ACCMODE);
    }
    EXPECT_EQ(modes, (std::vector<int>{O_RDWR, O_RDWR, O_RDWR}));
}

TEST_F(standard_descriptors, are_open_in_programs_that_are_started_later)
{
    int status = -1;
    {
        const closed_descriptors closed({0, 1, 2});
        redirect_stdio();
        status = std::system(": <&0 >&1 2>&2");
    }
    EXPECT_EQ(status, 0);
}

TEST_F(standard_descriptors, take_any_character_device_of_that_name)
{
    machine.character_device("/dev/null", 1, 5);
    EXPECT_EQ(after_redirect({1, 2}), (targets{present()[0], "/dev/null", "/dev/null"}));
}

namespace {

struct substitute : named_case {
    void (*arrange)(constructed_machine &machine);
};

class standard_descriptors_without_null_device : public standard_descriptors,
                                                 public testing::WithParamInterface<substitute> {};

} // namespace

TEST_P(standard_descriptors_without_null_device, stay_closed_in_silence)
{
    GetParam().arrange(machine);
    EXPECT_EQ(after_redirect({1, 2}), (targets{present()[0], "", ""}));
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of(redirect_stdio), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

INSTANTIATE_TEST_SUITE_P(
    which_is, standard_descriptors_without_null_device,
    testing::Values(substitute{"missing", [](auto &machine) { machine.remove("/dev/null"); }},
                    substitute{"a_file", [](auto &machine) { machine.file("/dev/null", ""); }},
                    substitute{"a_directory",
                               [](auto &machine) { machine.directory("/dev/null"); }},
                    substitute{"a_block_device",
                               [](auto &machine) { machine.block_device("/dev/null", 7, 0); }}));
