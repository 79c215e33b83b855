// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a trace line holds and where it is cut.
#include "interpose.h"
#include "orvane.h"
#include "trace_machine.h"

#include <cerrno>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

using trace_log = trace_machine;

TEST_F(trace_log, takes_one_line_for_each_call)
{
    EXPECT_EQ(orvane_trace("first %d", 1), 1);
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), (texts{"first 1", "second"}));
}

TEST_F(trace_log, has_lines_of_stamp_process_id_and_message)
{
    set_clock(november_14, {november_14, 42000000});
    interpose::getpid = [] { return 4711; };
    EXPECT_EQ(orvane_trace("disk %s found", "sda"), 1);
    EXPECT_EQ(log(), "2023-11-14 22:13:20.042 [4711]: disk sda found\n");
}

TEST_F(trace_log, takes_the_stamp_and_the_process_id_as_they_are_told)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(log(), "now [4711]: message\n");
}

TEST_F(trace_log, formats_like_printf)
{
    EXPECT_EQ(orvane_trace("%s|%5d|%-3c|%#x|%.2f|%zu|%%", "text", -42, 'c', 255U, 1.0,
                           static_cast<size_t>(7)),
              1);
    EXPECT_EQ(machine.trace(), texts{"text|  -42|c  |0xff|1.00|7|%"});
}

TEST_F(trace_log, takes_percent_signs_of_an_argument_as_text)
{
    EXPECT_EQ(orvane_trace("%s", "100%s %n %d"), 1);
    EXPECT_EQ(machine.trace(), texts{"100%s %n %d"});
}

TEST_F(trace_log, formats_the_reason_that_the_caller_has_in_errno)
{
    machine.directory("/var/log/orvane");
    errno = EACCES;
    EXPECT_EQ(trace_reason(), 1);
    EXPECT_EQ(machine.trace(), texts{"Permission denied"});
}

TEST_F(trace_log, formats_the_reason_that_the_caller_had_before_the_directory_was_made)
{
    errno = EACCES;
    EXPECT_EQ(trace_reason(), 1);
    EXPECT_EQ(machine.trace(), texts{"Permission denied"});
}

TEST_F(trace_log, keeps_bytes_of_any_encoding)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("%s", "\x01\x7f\x80\xc3\xa4\xff\r\t"), 1);
    EXPECT_EQ(log(), "now [4711]: \x01\x7f\x80\xc3\xa4\xff\r\t\n");
}

TEST_F(trace_log, ends_a_message_at_a_zero_byte)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("kept%clost", '\0'), 1);
    EXPECT_EQ(log(), "now [4711]: kept\n");
}

TEST_F(trace_log, keeps_of_a_message_what_comes_before_a_failed_conversion)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("before %ls", L"\x20ac"), 1);
    EXPECT_EQ(log(), "now [4711]: before \n");
}

TEST_F(trace_log, names_the_calling_process_after_a_fork)
{
    orvane_trace("parent");
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(orvane_trace("child") == 1 ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(log().ends_with(" [" + std::to_string(child) + "]: child\n")) << log();
}

namespace {

struct line_case : named_case {
    std::string message;
    std::string written; // behind the prefix
};

class trace_line : public trace_machine, public testing::WithParamInterface<line_case> {};

} // namespace

TEST_P(trace_line, is_written_as_expected)
{
    settle_prefix();
    EXPECT_EQ(orvane_trace("%s", GetParam().message.c_str()), 1);
    EXPECT_EQ(log(), "2026-11-16 03:55:07.042 [4711]: " + GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(ends_in_its_own_newline_or_in_one_more, trace_line,
                         testing::Values(line_case{"empty", "", "\n"},
                                         line_case{"without_newline", "x", "x\n"},
                                         line_case{"with_newline", "x\n", "x\n"},
                                         line_case{"with_two_newlines", "x\n\n", "x\n\n"},
                                         line_case{"newline_alone", "\n", "\n"},
                                         line_case{"newline_inside", "x\ny", "x\ny\n"},
                                         line_case{"carriage_return", "x\r", "x\r\n"},
                                         line_case{"blank", " ", " \n"}));

// 1023 bytes less the 32 of the prefix and the newline leave 990 for the message.
INSTANTIATE_TEST_SUITE_P(
    is_cut_at_1023_bytes_with_its_newline, trace_line,
    testing::Values(line_case{"one_below", std::string(989, 'm'), std::string(989, 'm') + "\n"},
                    line_case{"at_the_bound", std::string(990, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"one_above", std::string(991, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"far_above", std::string(5000, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"newline_at_the_bound", std::string(989, 'm') + "\n",
                              std::string(989, 'm') + "\n"},
                    line_case{"newline_one_above", std::string(990, 'm') + "\n",
                              std::string(990, 'm') + "\n"},
                    line_case{"newline_inside_the_cut", std::string(989, 'm') + "\nlost",
                              std::string(989, 'm') + "\n"}));

TEST_F(trace_log, cuts_what_the_format_alone_makes_too_long)
{
    settle_prefix();
    EXPECT_EQ(orvane_trace("%*d", 100000, 7), 1);
    EXPECT_EQ(log(), "2026-11-16 03:55:07.042 [4711]: " + std::string(990, ' ') + "\n");
}

namespace {

struct prefix_case : named_case {
    std::string stamp; // followed by the 9 bytes " [4711]: "
    std::string line;
};

class trace_prefix : public trace_machine, public testing::WithParamInterface<prefix_case> {};

} // namespace

TEST_P(trace_prefix, leaves_the_room_that_it_does_not_take)
{
    settle_prefix(GetParam().stamp);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(log(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(up_to_the_whole_line, trace_prefix,
                         testing::Values(prefix_case{"no_stamp", "", " [4711]: message\n"},
                                         prefix_case{"two_bytes_left", std::string(1012, 's'),
                                                     std::string(1012, 's') + " [4711]: m\n"},
                                         prefix_case{"one_byte_left", std::string(1013, 's'),
                                                     std::string(1013, 's') + " [4711]: \n"},
                                         prefix_case{"no_byte_left", std::string(1014, 's'),
                                                     std::string(1014, 's') + " [4711]: "},
                                         prefix_case{"cut_by_one", std::string(1015, 's'),
                                                     std::string(1015, 's') + " [4711]:"},
                                         prefix_case{"far_too_long", std::string(2000, 's'),
                                                     std::string(1023, 's')}));
