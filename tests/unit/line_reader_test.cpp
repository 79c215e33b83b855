// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "stepped_stream.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

template <std::size_t Bytes> texts all_lines(const stepped_stream &stream)
{
    texts lines;
    orvane::bounded_text<Bytes> line;
    while (orvane::read_line(stream.get(), line))
        lines.emplace_back(line.c_str());
    return lines;
}

} // namespace

// Lines of a stream.

namespace {

struct stream_lines : named_case {
    std::vector<read_step> steps;
    texts lines;
};

const stream_lines streams[] = {
    {"nothing", {}, {}},
    {"lines", {{"one\ntwo\n\nfour\n"}}, {"one\n", "two\n", "\n", "four\n"}},
    {"no_final_newline", {{"one\ntwo"}}, {"one\n", "two"}},
    {"a_carriage_return", {{"one\rtwo\r\n"}}, {"one\rtwo\r\n"}},
    {"other_bytes", {{"M\xc3\xbcller\xff\n"}}, {"M\xc3\xbcller\xff\n"}},
    {"a_zero_byte", {{std::string("one\0two\nthree\n", 14)}}, {"one", "three\n"}},
    {"a_line_of_several_reads", {{"on"}, {"e\ntw"}, {"o\n"}}, {"one\n", "two\n"}},
    {"an_error", {failed}, {}},
    {"an_error_in_a_line", {{"one\ntwo"}, failed}, {"one\n"}},
    {"broken_off_before_a_line", {broken_off, {"one\n"}}, {"one\n"}},
    {"broken_off_in_a_line", {{"half "}, broken_off, {"line\n"}}, {"half line\n"}},
    {"broken_off_between_lines", {{"one\n"}, broken_off, {"two\n"}}, {"one\n", "two\n"}},
    {"broken_off_twice_at_one_place",
     {{"half "}, broken_off, broken_off, {"line\n"}},
     {"half line\n"}},
    {"broken_off_at_every_byte",
     {{"o"}, broken_off, {"n"}, broken_off, {"e"}, broken_off, {"\n"}, broken_off},
     {"one\n"}},
    {"broken_off_before_the_end", {{"last"}, broken_off}, {"last"}},
    {"broken_off_before_nothing", {broken_off}, {}},
    {"broken_off_before_an_error", {{"half"}, broken_off, failed}, {}},
    {"broken_off_behind_a_zero_byte",
     {{std::string("one\0t", 5)}, broken_off, {"wo\nthree\n"}},
     {"one", "three\n"}},
};

class stream : public testing::TestWithParam<stream_lines> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, stream, testing::ValuesIn(streams));

TEST_P(stream, is_read_line_by_line)
{
    EXPECT_EQ(all_lines<1024>(stepped_stream(GetParam().steps)), GetParam().lines);
}

namespace {

// Read with room for seven characters.
const stream_lines long_lines[] = {
    {"six_characters", {{"123456\nrest"}}, {"123456\n", "rest"}},
    {"seven_characters", {{"1234567\nrest"}}, {"1234567", "\n", "rest"}},
    {"eight_characters", {{"12345678\n"}}, {"1234567", "8\n"}},
    {"twenty_characters", {{"12345678901234567890"}}, {"1234567", "8901234", "567890"}},
    {"broken_off_below_the_bound", {{"123456"}, broken_off, {"789\n"}}, {"1234567", "89\n"}},
    {"broken_off_at_the_bound", {{"1234567"}, broken_off, {"89\n"}}, {"1234567", "89\n"}},
};

class long_line : public testing::TestWithParam<stream_lines> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, long_line, testing::ValuesIn(long_lines));

TEST_P(long_line, is_read_in_parts_that_fit)
{
    EXPECT_EQ(all_lines<8>(stepped_stream(GetParam().steps)), GetParam().lines);
}

TEST(read_line, leaves_nothing_of_the_line_before)
{
    const stepped_stream stream({{"a long line\nno\n"}});
    orvane::line_buffer line;
    ASSERT_TRUE(orvane::read_line(stream.get(), line));
    ASSERT_TRUE(orvane::read_line(stream.get(), line));
    EXPECT_EQ(line.view(), "no\n");
}

TEST(read_line, leaves_no_text_at_the_end_of_the_stream)
{
    const stepped_stream stream({});
    orvane::line_buffer line;
    line.append("old text");
    EXPECT_FALSE(orvane::read_line(stream.get(), line));
    EXPECT_TRUE(line.empty());
}

TEST(read_line, takes_an_interruption_of_long_ago_for_none_of_its_own)
{
    const orvane::unique_file stream(::fopen("/dev/null", "r"));
    orvane::line_buffer line;
    errno = EINTR;
    EXPECT_FALSE(orvane::read_line(stream.get(), line));
}

TEST(read_line, leaves_a_stream_without_error_after_an_interruption)
{
    const stepped_stream stream({{"half "}, broken_off, {"line\n"}});
    orvane::line_buffer line;
    ASSERT_TRUE(orvane::read_line(stream.get(), line));
    EXPECT_EQ(::ferror(stream.get()), 0);
}

// The first line of a file and of a command.

namespace {

class line_source : public on_machine {
protected:
    [[nodiscard]] static bool read_file(const std::string &path)
    {
        return orvane::first_line_of_file(path.c_str(), line());
    }
    [[nodiscard]] static bool read_command(const std::string &command)
    {
        return orvane::first_line_of_command(command.c_str(), line());
    }
    [[nodiscard]] static orvane::line_buffer &line()
    {
        static orvane::line_buffer only;
        return only;
    }
};

struct first_line : named_case {
    std::string content;
    std::string line;
};

const first_line first_lines[] = {
    {"of_two", "first\nsecond\n", "first"},
    {"without_a_line_end", "first", "first"},
    {"with_both_line_ends", "first\r\nsecond\r\n", "first"},
    {"with_a_carriage_return_inside", "first\rrest\n", "first"},
    {"with_carriage_returns_alone", "\r\r\r", ""},
    {"that_is_empty", "\nsecond\n", ""},
    {"between_blanks", " \tfirst line\t \n", " \tfirst line\t "},
    {"with_other_control_characters", "a\x01\x0b\x0c\x7f\n", "a\x01\x0b\x0c\x7f"},
    {"with_bytes_above_0x7f", "\x80\xc3\xbc\xff\n", "\x80\xc3\xbc\xff"},
    {"with_a_zero_byte_inside", std::string("first\0rest\n", 11), "first"},
    {"behind_a_zero_byte", std::string("\0rest\n", 6), ""},
    {"of_1022_characters", std::string(1022, 'x') + "\nsecond\n", std::string(1022, 'x')},
    {"of_1023_characters", std::string(1023, 'x') + "\nsecond\n", std::string(1023, 'x')},
    {"of_1024_characters", std::string(1024, 'x') + "\nsecond\n", std::string(1023, 'x')},
    {"of_5000_characters", std::string(5000, 'x') + "\nsecond\n", std::string(1023, 'x')},
    {"of_1023_characters_and_no_more", std::string(1023, 'x'), std::string(1023, 'x')},
};

class first_line_source : public line_source, public testing::WithParamInterface<first_line> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(first_line, first_line_source, testing::ValuesIn(first_lines));

TEST_P(first_line_source, is_a_file)
{
    machine.file("/srv/file", GetParam().content);
    EXPECT_TRUE(read_file("/srv/file"));
    EXPECT_EQ(line().view(), GetParam().line);
}

TEST_P(first_line_source, is_a_command)
{
    machine.file("/srv/file", GetParam().content);
    EXPECT_TRUE(read_command("cat /srv/file"));
    EXPECT_EQ(line().view(), GetParam().line);
}

TEST_F(line_source, is_cut_to_a_smaller_room)
{
    machine.file("/srv/file", std::string(128, 'x') + "\n");
    orvane::bounded_text<128> room;
    EXPECT_TRUE(orvane::first_line_of_file("/srv/file", room));
    EXPECT_EQ(room.view(), std::string(127, 'x'));
    EXPECT_TRUE(orvane::first_line_of_command("cat /srv/file", room));
    EXPECT_EQ(room.view(), std::string(127, 'x'));
}

TEST_F(line_source, has_no_line_when_the_file_holds_no_byte)
{
    machine.file("/srv/file", "");
    EXPECT_FALSE(read_file("/srv/file"));
}

TEST_F(line_source, has_no_line_when_the_file_is_missing)
{
    EXPECT_FALSE(read_file("/srv/no/such/file"));
}

TEST_F(line_source, has_no_line_when_the_file_is_a_directory)
{
    EXPECT_FALSE(read_file("/srv"));
}

TEST_F(line_source, has_no_line_when_the_file_cannot_be_read)
{
    machine.file("/srv/file", "for root alone\n", 0600);
    const other_user user;
    EXPECT_FALSE(read_file("/srv/file"));
}

TEST_F(line_source, has_no_line_of_no_file)
{
    EXPECT_FALSE(orvane::first_line_of_file(nullptr, line()));
}

TEST_F(line_source, has_no_line_of_a_silent_command)
{
    EXPECT_FALSE(read_command("true"));
}

TEST_F(line_source, has_no_line_of_no_command)
{
    EXPECT_FALSE(orvane::first_line_of_command(nullptr, line()));
}

TEST_F(line_source, has_no_line_of_an_unknown_command)
{
    EXPECT_FALSE(read_command("/srv/no/such/tool 2>/dev/null"));
}

TEST_F(line_source, has_the_line_of_a_command_that_fails)
{
    EXPECT_TRUE(read_command("echo text; exit 1"));
    EXPECT_EQ(line().view(), "text");
}

TEST_F(line_source, has_the_line_of_a_command_that_a_signal_ends)
{
    EXPECT_TRUE(read_command("echo text; kill -9 $$"));
    EXPECT_EQ(line().view(), "text");
}

TEST_F(line_source, discards_a_megabyte_behind_the_line_of_a_command)
{
    machine.file("/srv/file", "first\n" + std::string(1024 * 1024, '\n'));
    EXPECT_TRUE(read_command("cat /srv/file"));
    EXPECT_EQ(line().view(), "first");
}

// Reads that a signal breaks off.

namespace {

int signals_taken = 0;

class interrupted_source : public line_source {
protected:
    void furnish() override
    {
        signals_taken = 0;
        struct sigaction action = {}; // and no SA_RESTART
        action.sa_handler = [](int) { ++signals_taken; };
        ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    }

    void TearDown() override
    {
        ::signal(SIGUSR1, SIG_DFL);
        line_source::TearDown();
    }

    // Shell commands that print a line in two parts. In between they wait until this process sleeps
    // in its read of the second one, wake it by a signal, and wait until it has taken that.
    [[nodiscard]] std::string print_around_a_signal(const std::string &first,
                                                    const std::string &second) const
    {
        const std::string process = std::to_string(::getpid());
        const std::string status =
            std::filesystem::canonical(machine.own_proc()).string() + "/status";
        return "printf '" + first +
               "'\n"
               "until grep -q '^State:.S' " +
               status +
               "; do :; done\n"
               "kill -USR1 " +
               process +
               "\n"
               "while grep -q '^S[A-Za-z]*Pnd:.*[1-9a-f]' " +
               status +
               "; do :; done\n"
               "printf '" +
               second + "'\n";
    }
};

} // namespace

TEST_F(interrupted_source, has_the_whole_line_of_a_command)
{
    EXPECT_TRUE(read_command(print_around_a_signal("half ", "line\\nrest\\n")));
    EXPECT_EQ(line().view(), "half line");
    EXPECT_EQ(signals_taken, 1);
}

TEST_F(interrupted_source, waits_for_the_line_of_a_command)
{
    EXPECT_TRUE(read_command(print_around_a_signal("", "line\\n")));
    EXPECT_EQ(line().view(), "line");
    EXPECT_EQ(signals_taken, 1);
}

TEST_F(interrupted_source, has_no_line_of_a_silent_command)
{
    EXPECT_FALSE(read_command(print_around_a_signal("", "")));
    EXPECT_EQ(signals_taken, 1);
}

TEST_F(interrupted_source, has_the_whole_line_of_a_pipe_in_the_file_system)
{
    const std::string pipe = machine.scratch("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string writer =
        "{ " + print_around_a_signal("half ", "line\\nrest\\n") + "} >" + pipe;
    const orvane::tool_output running(::popen(writer.c_str(), "r"));
    ASSERT_TRUE(running);
    EXPECT_TRUE(read_file(pipe));
    EXPECT_EQ(line().view(), "half line");
    EXPECT_EQ(signals_taken, 1);
}

TEST_F(interrupted_source, has_the_whole_start_of_a_pipe_in_the_file_system)
{
    const std::string pipe = machine.scratch("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string writer = "{ " + print_around_a_signal("half ", "rest") + "} >" + pipe;
    const orvane::tool_output running(::popen(writer.c_str(), "r"));
    ASSERT_TRUE(running);
    orvane::bounded_text<64> text;
    EXPECT_TRUE(orvane::start_of_file(pipe.c_str(), text));
    EXPECT_EQ(text.view(), "half rest");
    EXPECT_EQ(signals_taken, 1);
}

// The start of a file.

namespace {

const first_line starts[] = {
    {"six_bytes", "123456", "123456"},
    {"seven_bytes", "1234567", "1234567"},
    {"eight_bytes", "12345678", "1234567"},
    {"nine_bytes", "123456789", "1234567"},
    {"5000_bytes", std::string(5000, 'x'), "xxxxxxx"},
    {"line_ends", "1\n2\r\n3\n", "1\n2\r\n3\n"},
    {"a_zero_byte",
     std::string("12\0"
                 "34",
                 5),
     "12"},
    {"a_zero_byte_alone", std::string(1, '\0'), ""},
    {"other_bytes", "\x80\xff", "\x80\xff"},
};

class file_start : public on_machine, public testing::WithParamInterface<first_line> {};

class no_file_start : public on_machine {
protected:
    static void expect_none(const char *path)
    {
        orvane::bounded_text<8> text;
        text.append("old");
        EXPECT_FALSE(orvane::start_of_file(path, text));
        EXPECT_EQ(text.view(), "");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, file_start, testing::ValuesIn(starts));

TEST_P(file_start, fills_a_room_of_eight)
{
    machine.file("/srv/file", GetParam().content);
    orvane::bounded_text<8> text;
    text.append("old1234");
    EXPECT_TRUE(orvane::start_of_file("/srv/file", text));
    EXPECT_EQ(text.view(), GetParam().line);
}

TEST_F(no_file_start, is_there_when_it_holds_no_byte)
{
    machine.file("/srv/file", "");
    expect_none("/srv/file");
}

TEST_F(no_file_start, is_there_when_it_is_missing)
{
    expect_none("/srv/no/such/file");
}

TEST_F(no_file_start, is_there_when_it_is_a_directory)
{
    expect_none("/srv");
}

TEST_F(no_file_start, is_there_without_a_path)
{
    expect_none(nullptr);
}

// The end of a line.

TEST(cut_at_line_end, keeps_what_stands_before_the_first_of_both)
{
    orvane::line_buffer text;
    text.append("one\rtwo\n");
    orvane::cut_at_line_end(text);
    EXPECT_EQ(text.view(), "one");
    text.clear();
    text.append("one two\nthree\r");
    orvane::cut_at_line_end(text);
    EXPECT_EQ(text.view(), "one two");
}

TEST(cut_at_line_end, keeps_a_text_without_line_end)
{
    orvane::line_buffer text;
    text.append(" one\t\v\f two ");
    orvane::cut_at_line_end(text);
    EXPECT_EQ(text.view(), " one\t\v\f two ");
}

// Tools.

namespace {

using tool = on_machine;

} // namespace

TEST_F(tool, is_runnable_when_it_may_be_read_and_executed)
{
    machine.file("/srv/tool", "", 0755);
    EXPECT_TRUE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, is_not_runnable_when_it_may_not_be_executed)
{
    machine.file("/srv/tool", "", 0644);
    EXPECT_FALSE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, is_not_runnable_when_it_is_missing)
{
    EXPECT_FALSE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, is_not_runnable_when_the_real_user_may_only_read_it)
{
    machine.file("/srv/tool", "", 0744);
    const other_user user(0);
    EXPECT_FALSE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, is_not_runnable_when_the_real_user_may_only_execute_it)
{
    machine.file("/srv/tool", "", 0711);
    const other_user user(0);
    EXPECT_FALSE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, prints_into_the_stream)
{
    const orvane::tool_output output = orvane::run_tool("echo one; echo two");
    ASSERT_TRUE(output);
    char text[16] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, output.get()), 8U);
    EXPECT_STREQ(text, "one\ntwo\n");
}

TEST_F(tool, is_not_run_without_a_command)
{
    EXPECT_FALSE(orvane::run_tool(nullptr));
}

TEST_F(tool, is_waited_for_when_its_output_is_given_up)
{
    const std::string last_deed = machine.scratch("made");
    orvane::run_tool(("echo done >" + last_deed).c_str()).reset();
    EXPECT_EQ(machine.content(last_deed), "done\n");
}
