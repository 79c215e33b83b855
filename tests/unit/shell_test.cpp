// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <string>
#include <string_view>

using namespace std::string_literals;
using orvane::bounded_text;

namespace {

constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "/_-.:+@,=";

// Every byte that a name can hold.
std::string every_byte()
{
    std::string bytes;
    for (int byte = 1; byte <= 0xff; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

std::string word(std::string_view name)
{
    bounded_text<2048> command;
    orvane::append_word(command, name);
    return command.c_str();
}

std::string output_of(const std::string &command)
{
    const orvane::tool_output output = orvane::run_tool(command.c_str());
    bounded_text<8192> text;
    orvane::read_text(output.get(), text);
    return text.c_str();
}

} // namespace

// Words of a command line.

TEST(shell_word, is_quoted_for_each_character_that_is_not_plain)
{
    for (const char character : every_byte()) {
        const std::string name(1, character);
        const bool is_plain = plain.find(character) != std::string_view::npos;
        EXPECT_EQ(word(name), is_plain ? name : character == '\'' ? "''\\'''" : "'" + name + "'");
    }
}

TEST(shell_word, reaches_a_command_as_one_literal_word)
{
    std::string words;
    std::string expected;
    for (const char character : every_byte()) {
        words += word({&character, 1}) + " ";
        expected += std::string("[") + character + "]";
    }
    for (const std::string &name : {every_byte(), "/dev/my disk"s, "it's"s, "'a'"s, "a\\'b"s,
                                    "x;rm -rf $(pwd)`pwd`"s, "%s%n"s}) {
        words += word(name) + " ";
        expected += "[" + name + "]";
    }
    EXPECT_EQ(output_of("printf '[%s]' " + words), expected);
}

namespace {

struct appended_word : named_case {
    bool is_always_quoted;
    std::string_view before;
    std::string_view name;
    std::string_view command; // of at most fifteen characters
};

class word_of_a_command : public testing::TestWithParam<appended_word> {};

} // namespace

TEST_P(word_of_a_command, is_truncated_and_closed)
{
    bounded_text<16> command;
    command.append(GetParam().before);
    if (GetParam().is_always_quoted)
        orvane::append_quoted(command, GetParam().name);
    else
        orvane::append_word(command, GetParam().name);
    EXPECT_EQ(command.view(), GetParam().command);
}

INSTANTIATE_TEST_SUITE_P(
    as_needed, word_of_a_command,
    testing::Values(
        appended_word{"nothing", false, "tool ", "", "tool "},
        appended_word{"plain_at_the_bound", false, "tool ", "1234567890", "tool 1234567890"},
        appended_word{"plain_above", false, "tool ", "1234567890x", "tool 1234567890"},
        appended_word{"plain_behind_a_full_line", false, "123456789012345", "x", "123456789012345"},
        appended_word{"quoted_at_the_bound", false, "tool ", "a 345678", "tool 'a 345678'"},
        appended_word{"quoted_above", false, "tool ", "a 345678x", "tool 'a 345678'"},
        appended_word{"quoted_for_what_is_truncated", false, "tool ", "12345678 ",
                      "tool '12345678'"},
        appended_word{"no_space", false, "123456789012345", " x", "123456789012345"}));

INSTANTIATE_TEST_SUITE_P(
    quoted, word_of_a_command,
    testing::Values(
        appended_word{"nothing", true, "tool ", "", "tool ''"},
        appended_word{"plain", true, "tool ", "a/b", "tool 'a/b'"},
        appended_word{"two_words", true, "tool 'a' ", "b", "tool 'a' 'b'"},
        appended_word{"at_the_bound", true, "tool ", "12345678", "tool '12345678'"},
        appended_word{"above", true, "tool ", "12345678xxxxxxxxxx", "tool '12345678'"},
        appended_word{"a_quote_at_the_bound", true, "tool ", "1234'", "tool '1234'\\'''"},
        appended_word{"a_quote_above", true, "tool ", "12345'", "tool '12345'"},
        appended_word{"a_quote_and_more_above", true, "tool ", "12345'78", "tool '12345'"},
        appended_word{"quotes_alone", true, "tool ", "''''", "tool ''\\'''\\'''"},
        appended_word{"space_for_one_character", true, "123456789012", "xy", "123456789012'x'"},
        appended_word{"space_for_both_quotes", true, "1234567890123", "x", "1234567890123''"},
        appended_word{"space_for_one_quote", true, "12345678901234", "x", "12345678901234"},
        appended_word{"no_space", true, "123456789012345", "x", "123456789012345"}));

// Tools.

namespace {

struct tool_mode : named_case {
    mode_t mode;
    bool is_runnable; // by another user than its owner
};

class tool : public on_machine {};
class tool_of_mode : public tool, public testing::WithParamInterface<tool_mode> {};

} // namespace

TEST_P(tool_of_mode, is_runnable_when_it_may_be_read_and_executed)
{
    machine.file("/srv/tool", "", GetParam().mode);
    const other_user user(0); // the real user counts, not the effective one
    EXPECT_EQ(orvane::is_runnable("/srv/tool"), GetParam().is_runnable);
}

INSTANTIATE_TEST_SUITE_P(and_others, tool_of_mode,
                         testing::Values(tool_mode{"both", 0755, true},
                                         tool_mode{"read_it", 0744, false},
                                         tool_mode{"execute_it", 0711, false}));

TEST_F(tool, is_not_runnable_when_it_is_missing)
{
    EXPECT_FALSE(orvane::is_runnable("/srv/tool"));
}

TEST_F(tool, prints_into_the_stream)
{
    EXPECT_EQ(output_of("echo one; echo two"), "one\ntwo\n");
    EXPECT_EQ(output_of("head -c 20000 /dev/zero | tr '\\0' x"), std::string(8191, 'x'));
    EXPECT_FALSE(orvane::run_tool(nullptr));
}

TEST_F(tool, is_waited_for_when_its_output_is_closed)
{
    const std::string last_file = machine.scratch("last");
    EXPECT_TRUE(orvane::run_tool(("echo done >" + last_file).c_str()));
    EXPECT_EQ(machine.content(last_file), "done\n");
}

TEST_F(tool, is_run_on_a_device_by_a_command_line_of_at_most_255_characters)
{
    const auto run_on = [](const std::string &device) {
        const orvane::tool_output output = orvane::run_tool_on_device("echo", device);
        bounded_text<1024> text;
        orvane::read_text(output.get(), text);
        return std::string(text.c_str());
    };
    EXPECT_EQ(run_on("/dev/my $disk"), "/dev/my $disk\n");
    EXPECT_EQ(run_on(std::string(250, 'd')), std::string(250, 'd') + "\n");
    EXPECT_EQ(run_on(std::string(251, 'd')), std::string(250, 'd') + "\n");
    EXPECT_EQ(run_on("-n"), "./-n\n");
    EXPECT_EQ(run_on("-n $disk"), "./-n $disk\n");
    EXPECT_EQ(run_on(std::string(251, '-')), "./" + std::string(248, '-') + "\n");
}
