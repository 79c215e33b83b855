// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device that a kernel command line names.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"
#include "recorded_calls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <sys/prctl.h>

namespace {

constexpr char none[] = "(no text)";
constexpr char file[] = "/proc/cmdline";

class command_line : public on_machine {
protected:
    static std::string root_device_name(const char *path = file)
    {
        return owned_text(command_line_get_root_device_name(path)).value();
    }

    std::string named_by(const std::string &content)
    {
        machine.file(file, content);
        return root_device_name();
    }
};

struct content : named_case {
    std::string text;
    std::string device;
};

class command_line_with : public command_line, public testing::WithParamInterface<content> {};

} // namespace

TEST_P(command_line_with, names_a_device_or_none)
{
    EXPECT_EQ(named_by(GetParam().text), GetParam().device);
    EXPECT_EQ(machine.content(file), GetParam().text);
    EXPECT_TRUE(machine.trace().empty());
}

INSTANTIATE_TEST_SUITE_P(
    a_root_word, command_line_with,
    testing::Values(
        content{"path", "BOOT_IMAGE=/boot/vmlinuz root=/dev/sda1 ro quiet\n", "/dev/sda1"},
        content{"uuid", "ro root=UUID=1234-ABCD\n", "/dev/disk/by-uuid/1234-ABCD"},
        content{"label", "ro root=LABEL=a/b\n", "/dev/disk/by-label/a\\x2fb"},
        content{"label_of_a_slash", "ro root=LABEL=/\n", "/dev/disk/by-label/\\x2f"},
        content{"unknown_form", "ro root=PARTUUID=xyz\n", "PARTUUID"},
        content{"cut_at_its_second_sign", "root=/dev/sda1=/dev/sdb1\n", "/dev/sda1"},
        content{"twice", "root=/dev/sda1 root=/dev/sdb1\n", "/dev/sda1"},
        content{"behind_a_longer_key", "rootfstype=ext4 root=/dev/sda1\n", "/dev/sda1"},
        content{"between_tabs", "ro\troot=/dev/sda1\tquiet\n", "/dev/sda1"},
        content{"signs_for_a_shell", "root=$(reboot);'\"%s%n`\\& ro\n", "$(reboot);'\"%s%n`\\&"},
        content{"bytes_above_ascii", "root=/dev/\xc3\xbc\xff ro\n", "/dev/\xc3\xbc\xff"},
        content{"quoted_blank", "root=\"/dev/my disk\"\n", "\"/dev/my"}));

INSTANTIATE_TEST_SUITE_P(no_root_word, command_line_with,
                         testing::Values(content{"empty", "", none}, content{"newline", "\n", none},
                                         content{"others", "ro quiet rootfstype=ext4\n", none},
                                         content{"without_a_value", "ro root= quiet\n", none},
                                         content{"without_a_value_before_one_with",
                                                 "root= root=/dev/sda1\n", none},
                                         content{"uuid_without_a_value", "root=UUID\n", none},
                                         content{"label_without_a_value", "root=LABEL\n", none},
                                         content{"capitals", "ROOT=/dev/sda1\n", none}));

INSTANTIATE_TEST_SUITE_P(
    several_lines, command_line_with,
    testing::Values(content{"root_on_the_first", "root=/dev/sda1\nroot=/dev/sdb1\n", "/dev/sda1"},
                    content{"root_on_the_second", "ro quiet\nroot=/dev/sda1\n", none},
                    content{"root_behind_an_empty_one", "\nroot=/dev/sda1\n", none},
                    content{"word_broken_by_the_end", "root=\n/dev/sda1\n", none},
                    content{"no_end", "ro root=/dev/sda1", "/dev/sda1"},
                    content{"end_with_a_carriage_return", "root=/dev/sda1\r\n", "/dev/sda1\r"},
                    content{"carriage_return_alone", "ro\rroot=/dev/sda1\n", none},
                    content{"no_end_but_other_white_space", "ro\r\v\f root=/dev/sda1\v\f\n",
                            "/dev/sda1\v\f"}));

INSTANTIATE_TEST_SUITE_P(
    zero_bytes, command_line_with,
    testing::Values(content{"before_the_word", std::string("ro\0 root=/dev/sda1\n", 19), none},
                    content{"inside_the_word", std::string("root=/dev/sda1\0x\n", 17), "/dev/sda1"},
                    content{"first", std::string("\0root=/dev/sda1\n", 16), none},
                    content{"behind_a_value_alone", std::string("root=\0/dev/sda1\n", 16), none}));

// How much there may be.

INSTANTIATE_TEST_SUITE_P(
    as_many_characters_as_allowed, command_line_with,
    testing::Values(
        content{"4094", std::string(4079, 'q') + " root=/dev/sda1", "/dev/sda1"},
        content{"4095", std::string(4080, 'q') + " root=/dev/sda1", "/dev/sda1"},
        content{"4095_and_a_newline", std::string(4080, 'q') + " root=/dev/sda1\n", "/dev/sda1"},
        content{"4095_in_one_word", "root=" + std::string(4090, 'd') + "\n",
                std::string(4090, 'd')},
        content{"4095_and_another_line",
                "root=/dev/sda1" + std::string(4081, ' ') + "\nroot=/dev/sdb1\n", "/dev/sda1"},
        content{"2_and_4096_on_another_line", "ro\n" + std::string(4096, 'q'), none},
        content{"4095_and_many_behind_a_zero_byte",
                "root=/dev/sda1" + std::string(4081, ' ') + '\0' + std::string(9000, 'q'),
                "/dev/sda1"}));

TEST_F(command_line, may_have_millions_of_characters_on_another_line)
{
    machine.file(file, "root=/dev/sda1\n" + std::string(8000000, 'q'));
    EXPECT_EQ(root_device_name(), "/dev/sda1");
}

namespace {

struct long_line : named_case {
    std::string text;
};

class too_long_a_command_line : public command_line,
                                public testing::WithParamInterface<long_line> {};

} // namespace

TEST_P(too_long_a_command_line, ends_the_process)
{
    machine.file(file, GetParam().text);
    const auto end = run_program({"true"}, [] {
        root_device_name();
        return true;
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error,
              "liborvane: fatal: the kernel command line is longer than 4095 characters\n");
    EXPECT_EQ(end.output, "");
}

INSTANTIATE_TEST_SUITE_P(
    of, too_long_a_command_line,
    testing::Values(
        long_line{"4096_characters", std::string(4096, 'q')},
        long_line{"4096_characters_and_a_newline", std::string(4096, 'q') + "\n"},
        long_line{"4096_blanks", std::string(4096, ' ')},
        long_line{"4096_characters_before_a_zero_byte", std::string(4096, 'q') + '\0' + "\n"},
        long_line{"a_root_word_and_4082_characters", "root=/dev/sda1" + std::string(4082, ' ')},
        long_line{"a_root_word_of_4096_characters", "root=" + std::string(4091, 'd')},
        long_line{"ten_thousand_characters", std::string(10000, 'q')}));

INSTANTIATE_TEST_SUITE_P(
    a_path_of_at_most_4095_characters, command_line_with,
    testing::Values(content{"by_uuid", "root=UUID=" + std::string(4077, 'u'),
                            "/dev/disk/by-uuid/" + std::string(4077, 'u')},
                    content{"by_too_long_a_uuid", "root=UUID=" + std::string(4078, 'u'),
                            "/dev/disk/by-uuid/" + std::string(4077, 'u')},
                    content{"by_label", "root=LABEL=" + std::string(4076, 'l'),
                            "/dev/disk/by-label/" + std::string(4076, 'l')},
                    content{"by_too_long_a_label", "root=LABEL=" + std::string(4077, 'l'),
                            "/dev/disk/by-label/" + std::string(4076, 'l')}));

TEST_F(command_line, names_by_a_label_of_slashes_a_path_of_at_most_4095_characters)
{
    std::string longest = "/dev/disk/by-label/";
    while (longest.size() < 4095)
        longest += "\\x2f";
    ASSERT_EQ(longest.size(), 4095U);
    EXPECT_EQ(named_by("root=LABEL=" + std::string(1019, '/')), longest);
    EXPECT_EQ(named_by("root=LABEL=" + std::string(1020, '/')), longest);
    EXPECT_EQ(named_by("root=LABEL=" + std::string(4084, '/')), longest);
}

// The file.

TEST_F(command_line, is_the_one_that_the_caller_names)
{
    machine.file(file, "root=/dev/sda1\n");
    machine.file("/proc/other", "root=/dev/sdb1\n");
    EXPECT_EQ(root_device_name("/proc/other"), "/dev/sdb1");
}

TEST_F(command_line, may_stand_behind_a_link)
{
    machine.file("/proc/other", "root=/dev/sda1\n");
    machine.link(file, "other");
    EXPECT_EQ(root_device_name(), "/dev/sda1");
}

// As the kernel's own files are: their length is told to be zero.
TEST_F(command_line, may_stand_in_a_file_that_tells_no_length)
{
    char before[16] = "";
    ::prctl(PR_GET_NAME, before);
    ::prctl(PR_SET_NAME, "root=/dev/sda1");
    const std::string name = root_device_name((machine.own_proc() + "/comm").c_str());
    ::prctl(PR_SET_NAME, before);
    EXPECT_EQ(name, "/dev/sda1");
}

TEST_F(command_line, names_a_device_that_nobody_has_seen)
{
    machine.remove("/dev/sda1");
    EXPECT_EQ(named_by("root=/dev/sda1\n"), "/dev/sda1");
}

TEST_F(command_line, names_a_new_text_each_time)
{
    machine.file(file, "root=/dev/sda1\n");
    char *const first = command_line_get_root_device_name(file);
    const owned_text owned_first(first);
    char *const second = command_line_get_root_device_name(file);
    const owned_text owned_second(second);
    ASSERT_NE(first, second);
    std::memset(first, 'x', std::strlen(first));
    EXPECT_EQ(owned_second.value(), "/dev/sda1");
}

TEST_F(command_line, of_any_user_is_read)
{
    machine.file(file, "root=/dev/sda1\n", 0444);
    const other_user caller;
    EXPECT_EQ(root_device_name(), "/dev/sda1");
}

TEST_F(command_line, that_the_caller_may_not_read_names_none)
{
    machine.file(file, "root=/dev/sda1\n", 0400);
    const other_user caller;
    EXPECT_EQ(root_device_name(), none);
}

namespace {

struct no_file : named_case {
    const char *path;
};

class command_line_in : public command_line, public testing::WithParamInterface<no_file> {
protected:
    void furnish() override
    {
        machine.link("/proc/dangling", "nothing");
        machine.link("/proc/loop", "loop");
    }
};

} // namespace

TEST_P(command_line_in, names_none_and_says_nothing)
{
    std::string name;
    EXPECT_EQ(standard_error_of([&name] { name = root_device_name(GetParam().path); }), "");
    EXPECT_EQ(name, none);
    EXPECT_TRUE(machine.trace().empty());
}

INSTANTIATE_TEST_SUITE_P(no_file, command_line_in,
                         testing::Values(no_file{"null", nullptr}, no_file{"empty", ""},
                                         no_file{"missing", "/proc/missing"},
                                         no_file{"missing_directory", "/proc/missing/file"},
                                         no_file{"directory", "/proc"},
                                         no_file{"dangling_link", "/proc/dangling"},
                                         no_file{"link_to_itself", "/proc/loop"}));

// What the caller keeps.

TEST_F(command_line, leaves_a_walk_of_the_process_where_it_is)
{
    char of_the_process[] = "one two";
    ASSERT_STREQ(std::strtok(of_the_process, " "), "one");
    EXPECT_EQ(named_by("ro root=LABEL=a quiet\n"), "/dev/disk/by-label/a");
    EXPECT_STREQ(std::strtok(nullptr, " "), "two");
}

namespace {

class command_line_without_standard_descriptors
    : public command_line,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(command_line_without_standard_descriptors, is_read_and_leaves_them_closed)
{
    machine.file(file, "root=/dev/sda1\n");
    std::string name;
    EXPECT_EQ(left_open(GetParam(), [&name] { name = root_device_name(); }), std::vector<int>());
    EXPECT_EQ(name, "/dev/sda1");
}

INSTANTIATE_TEST_SUITE_P(every_combination, command_line_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

// The steps, and what goes wrong with them.

TEST_F(command_line, is_read_once_and_copied_at_each_step)
{
    machine.file(file, "ro root=UUID=1234 quiet\nmore\n");
    const recorded_calls calls;
    EXPECT_EQ(root_device_name(), "/dev/disk/by-uuid/1234");
    EXPECT_EQ(calls.made(), (texts{"fopen /proc/cmdline r", "fclose", "strdup root=UUID=1234",
                                   "strdup /dev/disk/by-uuid/1234"}));
}

namespace {

// Lets every file be one whose reading gives this text and then fails.
void let_reading_fail_behind(std::string_view text)
{
    static std::string_view rest;
    rest = text;
    static constexpr auto read = [](void *, char *room, size_t size) -> ssize_t {
        const std::size_t given = rest.copy(room, size);
        rest.remove_prefix(given);
        errno = EIO;
        return given > 0 ? static_cast<ssize_t>(given) : -1;
    };
    interpose::fopen = [](const char *, const char *mode) {
        return ::fopencookie(nullptr, mode, {read, nullptr, nullptr, nullptr});
    };
}

} // namespace

TEST_F(command_line, that_cannot_be_read_names_none)
{
    let_reading_fail_behind("");
    EXPECT_EQ(root_device_name(), none);
}

TEST_F(command_line, that_is_read_in_part_names_none)
{
    let_reading_fail_behind("root=/dev/sda1\n");
    EXPECT_EQ(root_device_name(), none);
}

namespace {

struct short_of_memory : named_case {
    const char *text;
    int failing_copy;
};

class command_line_without_memory : public command_line,
                                    public testing::WithParamInterface<short_of_memory> {};

} // namespace

TEST_P(command_line_without_memory, names_none)
{
    int copies = 0;
    interpose::strdup = [&copies](const char *text) -> char * {
        return ++copies == GetParam().failing_copy ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(named_by(GetParam().text), none);
    EXPECT_EQ(copies, GetParam().failing_copy);
}

INSTANTIATE_TEST_SUITE_P(
    for_a_copy, command_line_without_memory,
    testing::Values(short_of_memory{"of_the_word", "root=/dev/sda1\n", 1},
                    short_of_memory{"of_the_path", "root=/dev/sda1\n", 2},
                    short_of_memory{"of_the_path_by_uuid", "root=UUID=1234\n", 2},
                    short_of_memory{"of_the_path_by_label", "root=LABEL=a\n", 2}));
