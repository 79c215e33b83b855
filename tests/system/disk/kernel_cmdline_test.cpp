// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device that a kernel command line names.
#include "disk_machine.h"
#include "process.h"

#include <csignal>
#include <string>

#include <sys/prctl.h>

namespace {

constexpr char cmdline[] = "/proc/cmdline";

class kernel_cmdline : public on_machine {
protected:
    static std::string root_device_in(const char *path = cmdline)
    {
        return owned_text(command_line_get_root_device_name(path)).value();
    }
};

struct named_root : named_case {
    std::string text;
    std::string device;
};

class kernel_cmdline_with : public kernel_cmdline,
                            public testing::WithParamInterface<named_root> {};

std::string path_of_escaped_slashes()
{
    std::string path = "/dev/disk/by-label/";
    for (int slash = 0; slash < 1019; ++slash)
        path += "\\x2f";
    return path;
}

} // namespace

TEST_P(kernel_cmdline_with, names_a_device_or_none)
{
    machine.file(cmdline, GetParam().text);
    EXPECT_EQ(root_device_in(), GetParam().device);
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(
    a_root_word, kernel_cmdline_with,
    testing::Values(
        named_root{"path", "BOOT_IMAGE=/boot/vmlinuz root=/dev/sda1 ro quiet\n", "/dev/sda1"},
        named_root{"uuid", "ro root=UUID=1234-ABCD\n", "/dev/disk/by-uuid/1234-ABCD"},
        named_root{"label", "ro root=LABEL=a/b\n", "/dev/disk/by-label/a\\x2fb"},
        named_root{"label_of_a_slash", "ro root=LABEL=/\n", "/dev/disk/by-label/\\x2f"},
        named_root{"label_with_other_signs", "root=LABEL=a\\b:\"'\n",
                   "/dev/disk/by-label/a\\b:\"'"},
        named_root{"small_uuid", "root=uuid=1234\n", "uuid"},
        named_root{"longer_key_than_uuid", "root=UUIDS=1234\n", "UUIDS"},
        named_root{"uuid_with_a_second_sign", "root=UUID=12=34\n", "/dev/disk/by-uuid/12"},
        named_root{"unknown_form", "ro root=PARTUUID=xyz\n", "PARTUUID"},
        named_root{"second_sign", "root=/dev/sda1=/dev/sdb1\n", "/dev/sda1"},
        named_root{"run_of_signs", "root==/dev/sda1\n", "/dev/sda1"},
        named_root{"two_words", "root=/dev/sda1 root=/dev/sdb1\n", "/dev/sda1"},
        named_root{"longer_key_before", "rootfstype=ext4 root=/dev/sda1\n", "/dev/sda1"},
        named_root{"tabs", "ro\t\troot=/dev/sda1\tquiet\n", "/dev/sda1"},
        named_root{"runs_of_blanks", "ro   root=/dev/sda1   quiet\n", "/dev/sda1"},
        named_root{"shell_syntax", "root=$(reboot);'\"%s%n`\\& ro\n", "$(reboot);'\"%s%n`\\&"},
        named_root{"bytes_above_ascii", "root=/dev/\xc3\xbc\xff ro\n", "/dev/\xc3\xbc\xff"},
        named_root{"quoted_blank", "root=\"/dev/my disk\"\n", "\"/dev/my"}));

INSTANTIATE_TEST_SUITE_P(
    no_root_word, kernel_cmdline_with,
    testing::Values(named_root{"empty", "", no_text}, named_root{"newline", "\n", no_text},
                    named_root{"others", "ro quiet rootfstype=ext4\n", no_text},
                    named_root{"prefixed", "noroot=/dev/sda1\n", no_text},
                    named_root{"without_a_value", "ro root= quiet\n", no_text},
                    named_root{"without_a_value_first", "root= root=/dev/sda1\n", no_text},
                    named_root{"uuid_without_a_value", "root=UUID\n", no_text},
                    named_root{"uuid_with_an_empty_value", "root=UUID=\n", no_text},
                    named_root{"label_without_a_value", "root=LABEL\n", no_text},
                    named_root{"capitals", "ROOT=/dev/sda1\n", no_text}));

INSTANTIATE_TEST_SUITE_P(
    several_lines, kernel_cmdline_with,
    testing::Values(named_root{"root_on_the_first", "root=/dev/sda1\nroot=/dev/sdb1\n",
                               "/dev/sda1"},
                    named_root{"root_on_the_second", "ro quiet\nroot=/dev/sda1\n", no_text},
                    named_root{"no_newline", "ro root=/dev/sda1", "/dev/sda1"},
                    named_root{"carriage_return_at_the_end", "root=/dev/sda1\r\n", "/dev/sda1\r"},
                    named_root{"carriage_return_inside", "ro\rroot=/dev/sda1\n", no_text},
                    named_root{"millions_of_characters_on_the_second",
                               "root=/dev/sda1\n" + std::string(8000000, 'q'), "/dev/sda1"}));

INSTANTIATE_TEST_SUITE_P(
    zero_bytes, kernel_cmdline_with,
    testing::Values(
        named_root{"before_the_word", std::string("ro\0 root=/dev/sda1\n", 19), no_text},
        named_root{"inside_the_word", std::string("root=/dev/sda1\0x\n", 17), "/dev/sda1"},
        named_root{"behind_the_sign", std::string("root=\0/dev/sda1\n", 16), no_text}));

INSTANTIATE_TEST_SUITE_P(
    a_line_of, kernel_cmdline_with,
    testing::Values(
        named_root{"4095_characters", std::string(4080, 'q') + " root=/dev/sda1\n", "/dev/sda1"},
        named_root{"4095_characters_in_one_word", "root=" + std::string(4090, 'd'),
                   std::string(4090, 'd')},
        named_root{"4095_characters_before_a_zero_byte",
                   "root=/dev/sda1" + std::string(4081, ' ') + '\0' + std::string(9000, 'q'),
                   "/dev/sda1"}));

INSTANTIATE_TEST_SUITE_P(
    a_path_of_at_most_4095_characters, kernel_cmdline_with,
    testing::Values(named_root{"by_uuid", "root=UUID=" + std::string(4077, 'u'),
                               "/dev/disk/by-uuid/" + std::string(4077, 'u')},
                    named_root{"by_too_long_a_uuid", "root=UUID=" + std::string(4078, 'u'),
                               "/dev/disk/by-uuid/" + std::string(4077, 'u')},
                    named_root{"by_label", "root=LABEL=" + std::string(4076, 'l'),
                               "/dev/disk/by-label/" + std::string(4076, 'l')},
                    named_root{"by_too_long_a_label", "root=LABEL=" + std::string(4077, 'l'),
                               "/dev/disk/by-label/" + std::string(4076, 'l')},
                    named_root{"by_a_label_of_slashes", "root=LABEL=" + std::string(1019, '/'),
                               path_of_escaped_slashes()},
                    named_root{"by_too_many_slashes", "root=LABEL=" + std::string(4084, '/'),
                               path_of_escaped_slashes()}));

namespace {

struct long_line : named_case {
    std::string text;
};

class too_long_a_kernel_cmdline : public kernel_cmdline,
                                  public testing::WithParamInterface<long_line> {};

} // namespace

TEST_P(too_long_a_kernel_cmdline, ends_the_process)
{
    machine.file(cmdline, GetParam().text);
    const auto end = run_program({"true"}, [] {
        root_device_in();
        return true;
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error,
              "liborvane: fatal: the kernel command line is longer than 4095 characters\n");
    EXPECT_EQ(end.output, "");
}

INSTANTIATE_TEST_SUITE_P(
    of, too_long_a_kernel_cmdline,
    testing::Values(
        long_line{"4096_characters_and_a_newline", std::string(4096, 'q') + "\n"},
        long_line{"4096_characters_before_a_zero_byte", std::string(4096, 'q') + '\0' + "\n"},
        long_line{"a_root_word_and_4082_blanks", "root=/dev/sda1" + std::string(4082, ' ')},
        long_line{"ten_thousand_characters", std::string(10000, 'q')}));

// The file.

TEST_F(kernel_cmdline, is_the_file_that_the_caller_names)
{
    machine.file(cmdline, "root=/dev/sda1\n");
    machine.file("/proc/other", "root=/dev/sdb1\n");
    EXPECT_EQ(root_device_in("/proc/other"), "/dev/sdb1");
}

// The kernel's own files report a length of zero.
TEST_F(kernel_cmdline, may_be_a_file_without_a_length)
{
    ::prctl(PR_SET_NAME, "root=/dev/sda1");
    EXPECT_EQ(root_device_in((machine.own_proc() + "/comm").c_str()), "/dev/sda1");
}

TEST_F(kernel_cmdline, names_none_to_a_user_who_may_not_read_it)
{
    machine.file(cmdline, "root=/dev/sda1\n", 0400);
    const other_user caller;
    EXPECT_EQ(root_device_in(), no_text);
}

TEST_F(kernel_cmdline, names_none_silently_where_it_cannot_be_read)
{
    machine.link("/proc/dangling", "nothing");
    const std::string unreadable = machine.own_proc() + "/mem"; // opens, and cannot be read
    for (const char *const path : {static_cast<const char *>(nullptr), "", "/proc/missing", "/proc",
                                   "/proc/dangling", unreadable.c_str()}) {
        SCOPED_TRACE(path != nullptr ? path : "no path");
        EXPECT_EQ(standard_error_of([path] { EXPECT_EQ(root_device_in(path), no_text); }), "");
    }
    expect_trace({});
}
