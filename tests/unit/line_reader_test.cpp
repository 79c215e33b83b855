// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "stepped_stream.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

// Lines of a stream.

namespace {

struct stream_lines : named_case {
    std::vector<read_step> steps;
    texts lines; // of at most seven characters
};

class lines_of_a_stream : public testing::TestWithParam<stream_lines> {};

} // namespace

TEST_P(lines_of_a_stream, are_read)
{
    const stepped_stream stream(GetParam().steps);
    texts lines;
    orvane::bounded_text<8> line;
    line.append("old");
    while (orvane::read_line(stream.get(), line))
        lines.emplace_back(line.c_str());
    EXPECT_EQ(lines, GetParam().lines);
    EXPECT_TRUE(line.empty() || orvane::has_read_error(stream.get()));
}

INSTANTIATE_TEST_SUITE_P(
    of, lines_of_a_stream,
    testing::Values(
        stream_lines{"nothing", {}, {}},
        stream_lines{"lines", {{"one\ntwo\n\nfour\n"}}, {"one\n", "two\n", "\n", "four\n"}},
        stream_lines{"no_final_newline", {{"one\ntwo"}}, {"one\n", "two"}},
        stream_lines{"a_carriage_return", {{"1\r2\r\n"}}, {"1\r2\r\n"}},
        stream_lines{"other_bytes", {{"M\xc3\xbc\xff\n"}}, {"M\xc3\xbc\xff\n"}},
        stream_lines{"a_zero_byte", {{std::string("1\0002\n3\n", 6)}}, {"1", "3\n"}},
        stream_lines{"a_line_in_several_reads", {{"on"}, {"e\ntw"}, {"o\n"}}, {"one\n", "two\n"}},
        stream_lines{"an_error", {failed}, {}},
        stream_lines{"an_error_in_a_line", {{"one\ntwo"}, failed}, {"one\n"}},
        stream_lines{"six_characters", {{"123456\nrest"}}, {"123456\n", "rest"}},
        stream_lines{"seven_characters", {{"1234567\nrest"}}, {"1234567", "\n", "rest"}},
        stream_lines{
            "twenty_characters", {{"12345678901234567890"}}, {"1234567", "8901234", "567890"}}));

INSTANTIATE_TEST_SUITE_P(
    interrupted, lines_of_a_stream,
    testing::Values(
        stream_lines{"before_a_line", {broken_off, {"one\n"}}, {"one\n"}},
        stream_lines{"in_a_line", {{"on"}, broken_off, broken_off, {"e\n"}}, {"one\n"}},
        stream_lines{"between_lines", {{"one\n"}, broken_off, {"two\n"}}, {"one\n", "two\n"}},
        stream_lines{"at_every_byte",
                     {{"o"}, broken_off, {"n"}, broken_off, {"e"}, broken_off, {"\n"}, broken_off},
                     {"one\n"}},
        stream_lines{"before_the_end", {{"last"}, broken_off}, {"last"}},
        stream_lines{"before_nothing", {broken_off}, {}},
        stream_lines{"before_an_error", {{"half"}, broken_off, failed}, {}},
        stream_lines{
            "behind_a_zero_byte", {{std::string("1\0", 2)}, broken_off, {"2\n3\n"}}, {"1", "3\n"}},
        stream_lines{"below_the_bound", {{"123456"}, broken_off, {"789\n"}}, {"1234567", "89\n"}},
        stream_lines{"at_the_bound", {{"1234567"}, broken_off, {"89\n"}}, {"1234567", "89\n"}}));

TEST(read_line, ignores_an_old_errno)
{
    const orvane::unique_file stream(::fopen("/dev/null", "r"));
    orvane::line_buffer line;
    errno = EINTR;
    EXPECT_FALSE(orvane::read_line(stream.get(), line));
}

// The text of a stream.

namespace {

struct stream_text : named_case {
    std::vector<read_step> steps;
    std::string text; // of at most seven characters
};

class text_of_a_stream : public testing::TestWithParam<stream_text> {};

} // namespace

TEST_P(text_of_a_stream, is_read_up_to_the_bound)
{
    const stepped_stream stream(GetParam().steps);
    orvane::bounded_text<8> text;
    text.append("earlier");
    errno = EINTR;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(text.view(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    of, text_of_a_stream,
    testing::Values(
        stream_text{"nothing", {}, ""}, stream_text{"lines", {{"1\r\n2\n\n"}}, "1\r\n2\n\n"},
        stream_text{"several_reads", {{"o"}, {"n"}, {"e"}}, "one"},
        stream_text{"six_bytes", {{"123456"}}, "123456"},
        stream_text{"seven_bytes", {{"123"}, {"4567"}}, "1234567"},
        stream_text{"eight_bytes", {{"123"}, {"45678"}}, "1234567"},
        stream_text{"a_zero_byte", {{std::string("1\0002", 3)}}, "1"},
        stream_text{"an_error", {{"one"}, failed, {"two"}}, "one"},
        stream_text{
            "interruptions",
            {broken_off, {"o"}, broken_off, broken_off, {"n"}, broken_off, {"e"}, broken_off},
            "one"},
        stream_text{
            "an_interruption_below_the_bound", {{"123456"}, broken_off, {"789"}}, "1234567"},
        stream_text{"an_interruption_and_an_error", {{"1"}, broken_off, failed, {"2"}}, "1"}));

TEST(read_text, does_not_wait_for_more_than_it_holds)
{
    const stepped_stream stream({{"1234567"}, broken_off, {"89"}});
    orvane::bounded_text<8> text;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(stream.steps_left(), 2U);
}

// The first line of a file and of a command.

namespace {

class line_source : public on_machine {
protected:
    static std::string line_of_file(const char *path)
    {
        orvane::line_buffer line;
        return orvane::first_line_of_file(path, line) ? line.c_str() : none;
    }
    static std::string line_of_command(const char *command)
    {
        orvane::line_buffer line;
        return orvane::first_line_of_command(command, line) ? line.c_str() : none;
    }

    static constexpr char none[] = "(no line)";
};

struct first_line : named_case {
    std::string content;
    std::string line;
};

class first_line_source : public line_source, public testing::WithParamInterface<first_line> {};

} // namespace

TEST_P(first_line_source, is_a_file_or_a_command)
{
    machine.file("/srv/file", GetParam().content);
    EXPECT_EQ(line_of_file("/srv/file"), GetParam().line);
    EXPECT_EQ(line_of_command("cat /srv/file"), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    of, first_line_source,
    testing::Values(
        first_line{"two_lines", "first\nsecond\n", "first"},
        first_line{"a_line_without_an_end", "first", "first"},
        first_line{"a_line_with_both_ends", "first\r\nsecond\r\n", "first"},
        first_line{"a_line_with_a_carriage_return_inside", "first\rrest\n", "first"},
        first_line{"an_empty_line", "\nsecond\n", ""},
        first_line{"a_line_between_blanks", " \tfirst line\t \n", " \tfirst line\t "},
        first_line{"control_characters", "a\x01\x0b\x0c\x7f\n", "a\x01\x0b\x0c\x7f"},
        first_line{"bytes_above_ascii", "\x80\xc3\xbc\xff\n", "\x80\xc3\xbc\xff"},
        first_line{"a_zero_byte_inside", std::string("first\0rest\n", 11), "first"},
        first_line{"a_zero_byte_first", std::string("\0rest\n", 6), ""},
        first_line{"1023_characters", std::string(1023, 'x'), std::string(1023, 'x')},
        first_line{"1024_characters", std::string(1024, 'x') + "\n2\n", std::string(1023, 'x')},
        first_line{"a_megabyte_behind", "first\n" + std::string(1024 * 1024, '\n'), "first"},
        first_line{"no_byte", "", "(no line)"}));

TEST_F(line_source, has_no_line_where_no_file_can_be_read)
{
    machine.file("/srv/file", "for root alone\n", 0600);
    const other_user user;
    for (const char *const path :
         {static_cast<const char *>(nullptr), "/srv/file", "/srv", "/srv/missing"})
        EXPECT_EQ(line_of_file(path), none);
}

TEST_F(line_source, has_the_line_of_a_command_however_it_ends)
{
    EXPECT_EQ(line_of_command("echo text; exit 1"), "text");
    EXPECT_EQ(line_of_command("echo text; kill -9 $$"), "text");
    EXPECT_EQ(line_of_command("/srv/no/such/tool 2>/dev/null"), none);
    EXPECT_EQ(line_of_command(nullptr), none);
}

// Shell commands that print a line in two parts. In between they wait until this process sleeps in
// its read of the second one, wake it by a signal, and wait until it has taken that.
TEST_F(line_source, has_the_whole_line_of_a_command_when_a_signal_interrupts_it)
{
    static volatile std::sig_atomic_t signals_taken = 0;
    struct sigaction action = {}; // without SA_RESTART
    action.sa_handler = [](int) { signals_taken = signals_taken + 1; };
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    const std::string status = std::filesystem::canonical(machine.own_proc()).string() + "/status";
    const std::string command = "printf 'half '\n"
                                "until grep -q '^State:.S' " +
                                status + "; do :; done\nkill -USR1 " + std::to_string(::getpid()) +
                                "\nwhile grep -q '^S[A-Za-z]*Pnd:.*[1-9a-f]' " + status +
                                "; do :; done\nprintf 'line\\nrest\\n'\n";
    EXPECT_EQ(line_of_command(command.c_str()), "half line");
    EXPECT_EQ(signals_taken, 1);
    ::signal(SIGUSR1, SIG_DFL);
}

// The start of a file.

TEST_F(line_source, has_a_start_of_a_file)
{
    const first_line starts[] = {
        {"six_bytes", "123456", "123456"},
        {"seven_bytes", "1234567", "1234567"},
        {"eight_bytes", "12345678", "1234567"},
        {"many_bytes", std::string(5000, 'x'), "xxxxxxx"},
        {"line_ends", "1\n2\r\n3\n", "1\n2\r\n3\n"},
        {"a_zero_byte", std::string("1\0002", 3), "1"},
        {"a_zero_byte_alone", std::string(1, '\0'), ""},
        {"other_bytes", "\x80\xff", "\x80\xff"},
    };
    for (const first_line &start : starts) {
        SCOPED_TRACE(start.name);
        machine.file("/srv/file", start.content);
        orvane::bounded_text<8> text;
        text.append("old1234");
        EXPECT_TRUE(orvane::start_of_file("/srv/file", text));
        EXPECT_EQ(text.view(), start.line);
    }
}

TEST_F(line_source, has_no_start_where_no_byte_can_be_read)
{
    machine.file("/srv/empty", "");
    for (const char *const path :
         {static_cast<const char *>(nullptr), "/srv/empty", "/srv", "/srv/missing"}) {
        orvane::bounded_text<8> text;
        text.append("old");
        EXPECT_FALSE(orvane::start_of_file(path, text));
        EXPECT_TRUE(text.empty());
    }
}

TEST(cut_at_line_end, truncates_at_the_first_end)
{
    orvane::line_buffer text;
    text.append(" one\t\v\f two ");
    orvane::cut_at_line_end(text);
    EXPECT_EQ(text.view(), " one\t\v\f two ");
    text.append("\rtwo\n");
    orvane::cut_at_line_end(text);
    EXPECT_EQ(text.view(), " one\t\v\f two ");
}
