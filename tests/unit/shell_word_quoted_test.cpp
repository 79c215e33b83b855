// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Texts that stand between single quotes whatever they are.
#include "cases.h"
#include "support/shell.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

struct text_and_word : named_case {
    std::string_view text;
    std::string_view word;
};

const text_and_word quoted_texts[] = {
    {"of_no_character", "", "''"},
    {"of_plain_characters", "/sys/class/net/eth0/device", "'/sys/class/net/eth0/device'"},
    {"of_one_character", "a", "'a'"},
    {"with_a_blank", "a b", "'a b'"},
    {"of_one_quote", "'", "''\\'''"},
    {"with_a_quote_inside", "it's", "'it'\\''s'"},
    {"with_quotes_at_both_ends", "'a'", "''\\''a'\\'''"},
    {"with_a_double_quote", "a\"b", "'a\"b'"},
    {"with_a_backslash", "a\\'b", "'a\\'\\''b'"},
    {"with_a_command", "$(pwd)`pwd`;pwd", "'$(pwd)`pwd`;pwd'"},
    {"with_a_newline", "a\nb", "'a\nb'"},
    {"with_a_format", "%s%n", "'%s%n'"},
    {"beyond_ascii", "\x80\xc3\xa9\xff", "'\x80\xc3\xa9\xff'"},
};

class quoted_text : public testing::TestWithParam<text_and_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(shell_word, quoted_text, testing::ValuesIn(quoted_texts));

TEST_P(quoted_text, is_written_so)
{
    orvane::bounded_text<64> command;
    orvane::append_quoted(command, GetParam().text);
    EXPECT_EQ(command.view(), GetParam().word);
}

TEST(quoted_texts, stand_behind_what_the_command_line_holds)
{
    orvane::bounded_text<32> command;
    command.append("tool ");
    orvane::append_quoted(command, "a");
    command.append(" ");
    orvane::append_quoted(command, "b'");
    EXPECT_EQ(command.view(), "tool 'a' 'b'\\'''");
}

// What is too long.

namespace {

struct text_at_the_bound : named_case {
    std::string_view before;
    std::string_view text;
    std::string_view line; // in a room of sixteen bytes
};

const text_at_the_bound texts_at_the_bound[] = {
    {"one_below", "tool ", "1234567", "tool '1234567'"},
    {"exactly", "tool ", "12345678", "tool '12345678'"},
    {"one_above", "tool ", "12345678x", "tool '12345678'"},
    {"far_above", "tool ", "12345678xxxxxxxxxxxxxxxxxxxxxxxxx", "tool '12345678'"},
    {"a_quote_exactly", "tool ", "1234'", "tool '1234'\\'''"},
    {"a_quote_one_above", "tool ", "12345'", "tool '12345'"},
    {"a_quote_three_above", "tool ", "1234567'", "tool '1234567'"},
    {"nothing_behind_a_quote_that_is_cut_off", "tool ", "12345'78", "tool '12345'"},
    {"quotes_alone", "tool ", "''''", "tool ''\\'''\\'''"},
    {"room_for_one_character", "123456789012", "xy", "123456789012'x'"},
    {"room_for_the_quotes_alone", "1234567890123", "x", "1234567890123''"},
    {"nothing_in_room_for_the_quotes_alone", "1234567890123", "", "1234567890123''"},
    {"room_for_one_quote", "12345678901234", "x", "12345678901234"},
    {"no_room", "123456789012345", "x", "123456789012345"},
};

class quoted_text_at_the_bound : public testing::TestWithParam<text_at_the_bound> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(shell_word, quoted_text_at_the_bound,
                         testing::ValuesIn(texts_at_the_bound));

TEST_P(quoted_text_at_the_bound, is_cut_and_closed)
{
    orvane::bounded_text<16> command;
    command.append(GetParam().before);
    orvane::append_quoted(command, GetParam().text);
    EXPECT_EQ(command.view(), GetParam().line);
}
