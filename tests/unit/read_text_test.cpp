// SPDX-License-Identifier: LGPL-2.1-or-later
//
// As much of a stream as a text holds.
#include "fixture.h"
#include "stepped_stream.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <csignal>

#include <unistd.h>

namespace {

struct stream_text : named_case {
    std::vector<read_step> steps;
    std::string text;
};

const stream_text streams[] = {
    {"nothing", {}, ""},
    {"one_line", {{"one\n"}}, "one\n"},
    {"lines", {{"1\r\n2\n\n"}}, "1\r\n2\n\n"},
    {"several_reads", {{"o"}, {"n"}, {"e"}}, "one"},
    {"six_bytes", {{"123456"}}, "123456"},
    {"seven_bytes", {{"1234567"}}, "1234567"},
    {"eight_bytes", {{"12345678"}}, "1234567"},
    {"seven_bytes_in_two_reads", {{"123"}, {"4567"}}, "1234567"},
    {"eight_bytes_in_two_reads", {{"123"}, {"45678"}}, "1234567"},
    {"other_bytes", {{"\x80\xff"}}, "\x80\xff"},
    {"a_zero_byte", {{std::string("1\0002", 3)}}, "1"},
    {"an_error", {failed}, ""},
    {"an_error_behind_a_text", {{"one"}, failed, {"two"}}, "one"},
    {"an_interruption_first", {broken_off, {"one"}}, "one"},
    {"an_interruption_inside", {{"one"}, broken_off, {"two"}}, "onetwo"},
    {"interruptions_inside", {{"one"}, broken_off, broken_off, {"two"}}, "onetwo"},
    {"interruptions_everywhere",
     {broken_off, {"o"}, broken_off, {"n"}, broken_off, {"e"}, broken_off},
     "one"},
    {"an_interruption_last", {{"one"}, broken_off}, "one"},
    {"an_interruption_alone", {broken_off}, ""},
    {"an_interruption_behind_a_zero_byte", {{std::string("1\0002", 3)}, broken_off, {"3"}}, "1"},
    {"an_interruption_below_the_bound", {{"123456"}, broken_off, {"789"}}, "1234567"},
    {"an_interruption_and_an_error", {{"one"}, broken_off, failed, {"two"}}, "one"},
};

class read_text_of : public testing::TestWithParam<stream_text> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(stream, read_text_of, testing::ValuesIn(streams));

TEST_P(read_text_of, fills_a_room_of_eight)
{
    const stepped_stream stream(GetParam().steps);
    orvane::bounded_text<8> text;
    text.append("earlier");
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(text.view(), GetParam().text);
}

TEST(read_text, does_not_wait_for_more_than_it_holds)
{
    const stepped_stream stream({{"1234567"}, broken_off, {"89"}});
    orvane::bounded_text<8> text;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(text.view(), "1234567");
    EXPECT_EQ(stream.steps_left(), 2U);
}

TEST(read_text, keeps_what_stands_behind_a_zero_byte_and_an_interruption)
{
    const stepped_stream stream({{std::string("1\0", 2)}, broken_off, {"23"}});
    orvane::bounded_text<8> text;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(std::string(text.data(), 8), std::string("1\00023\0\0\0\0", 8));
}

TEST(read_text, takes_an_interruption_of_long_ago_for_none_of_its_own)
{
    const stepped_stream stream({{"one"}});
    orvane::bounded_text<8> text;
    errno = EINTR;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(text.view(), "one");
}

TEST(read_text, leaves_a_stream_without_error_after_an_interruption)
{
    const stepped_stream stream({{"one"}, broken_off, {"two"}});
    orvane::bounded_text<8> text;
    orvane::read_text(stream.get(), text);
    EXPECT_EQ(::ferror(stream.get()), 0);
}

TEST(read_text, leaves_a_stream_with_its_error)
{
    const stepped_stream stream({{"one"}, failed});
    orvane::bounded_text<8> text;
    orvane::read_text(stream.get(), text);
    EXPECT_NE(::ferror(stream.get()), 0);
}

namespace {

volatile std::sig_atomic_t signals_taken = 0;

class text_of_a_tool : public on_machine {
protected:
    void furnish() override
    {
        signals_taken = 0;
        struct sigaction action = {}; // and no SA_RESTART
        action.sa_handler = [](int) { signals_taken = signals_taken + 1; };
        ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    }
    void TearDown() override
    {
        ::signal(SIGUSR1, SIG_DFL);
        on_machine::TearDown();
    }

    // Shell commands that break off this process's read: they wait until it sleeps in it, wake it
    // by a signal, and wait until it has taken that.
    [[nodiscard]] std::string interrupt() const
    {
        const std::string process = std::to_string(::getpid());
        const std::string status =
            std::filesystem::canonical(machine.own_proc()).string() + "/status";
        return "until grep -q '^State:.S' " + status + "; do :; done; kill -USR1 " + process +
               "; while grep -q '^S[A-Za-z]*Pnd:.*[1-9a-f]' " + status + "; do :; done; ";
    }
};

} // namespace

TEST_F(text_of_a_tool, is_read_on_after_a_signal)
{
    const orvane::tool_output output = orvane::run_tool(
        (interrupt() + "printf 'one\\n'; " + interrupt() + "printf 'two\\n'").c_str());
    ASSERT_TRUE(output);
    orvane::bounded_text<64> text;
    orvane::read_text(output.get(), text);
    EXPECT_EQ(text.view(), "one\ntwo\n");
    EXPECT_EQ(signals_taken, 2);
}

TEST_F(text_of_a_tool, is_cut_at_16383_characters)
{
    const orvane::tool_output output = orvane::run_tool("head -c 20000 /dev/zero | tr '\\0' x");
    ASSERT_TRUE(output);
    orvane::bounded_text<16384> text;
    orvane::read_text(output.get(), text);
    EXPECT_EQ(text.view(), std::string(16383, 'x'));
}
