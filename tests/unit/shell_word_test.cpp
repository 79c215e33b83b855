// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_view_literals;
using orvane::bounded_text;

namespace {

// Every byte that a name can hold, each of them once, in three parts.
constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "/_-.:+@,=";
constexpr std::string_view to_quote =
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f"
    "\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f"
    " !\"#$%&()*;<>?[\\]^`{|}~\x7f"
    "\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89\x8a\x8b\x8c\x8d\x8e\x8f"
    "\x90\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9a\x9b\x9c\x9d\x9e\x9f"
    "\xa0\xa1\xa2\xa3\xa4\xa5\xa6\xa7\xa8\xa9\xaa\xab\xac\xad\xae\xaf"
    "\xb0\xb1\xb2\xb3\xb4\xb5\xb6\xb7\xb8\xb9\xba\xbb\xbc\xbd\xbe\xbf"
    "\xc0\xc1\xc2\xc3\xc4\xc5\xc6\xc7\xc8\xc9\xca\xcb\xcc\xcd\xce\xcf"
    "\xd0\xd1\xd2\xd3\xd4\xd5\xd6\xd7\xd8\xd9\xda\xdb\xdc\xdd\xde\xdf"
    "\xe0\xe1\xe2\xe3\xe4\xe5\xe6\xe7\xe8\xe9\xea\xeb\xec\xed\xee\xef"
    "\xf0\xf1\xf2\xf3\xf4\xf5\xf6\xf7\xf8\xf9\xfa\xfb\xfc\xfd\xfe\xff";
constexpr std::string_view quote = "'";
static_assert(plain.size() + to_quote.size() + quote.size() == 255);

std::string word(std::string_view name)
{
    bounded_text<2048> command;
    orvane::append_word(command, name);
    return command.c_str();
}

// What a shell makes of a command line that prints each of its words in brackets.
std::string seen_by_the_shell(const std::string &words)
{
    const orvane::tool_output output = orvane::run_tool(("printf '[%s]' " + words).c_str());
    bounded_text<8192> text;
    orvane::read_text(output.get(), text);
    return text.c_str();
}

} // namespace

TEST(shell_word, stands_as_it_is_when_every_character_is_plain)
{
    EXPECT_EQ(word(plain), "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                           "/_-.:+@,=");
}

TEST(shell_word, stands_as_it_is_for_each_plain_character)
{
    for (const char character : plain)
        EXPECT_EQ(word({&character, 1}), std::string(1, character));
}

TEST(shell_word, is_quoted_for_each_other_character)
{
    for (const char character : to_quote)
        EXPECT_EQ(word({&character, 1}), std::string("'") + character + "'");
}

namespace {

struct name_and_word : named_case {
    std::string name;
    std::string word;
};

const name_and_word names[] = {
    {"of_no_character", "", ""},
    {"of_a_disk", "/dev/sda", "/dev/sda"},
    {"of_a_mapped_device", "/dev/mapper/vg0-root_1.a", "/dev/mapper/vg0-root_1.a"},
    {"with_a_blank", "/dev/a b", "'/dev/a b'"},
    {"with_a_blank_first", " ab", "' ab'"},
    {"with_a_blank_last", "ab ", "'ab '"},
    {"of_one_quote", "'", "''\\'''"},
    {"of_two_quotes", "''", "''\\'''\\'''"},
    {"with_a_quote_inside", "it's", "'it'\\''s'"},
    {"with_a_quote_at_both_ends", "'a'", "''\\''a'\\'''"},
    {"with_a_backslash", "a\\b", "'a\\b'"},
    {"with_a_line_end", "a\nb", "'a\nb'"},
    {"with_a_command", "x;rm -rf $(pwd)`pwd`", "'x;rm -rf $(pwd)`pwd`'"},
    {"with_a_format", "a%s%n", "'a%s%n'"},
    {"beyond_ascii", "d\xc3\xa9j\xc3\xa0", "'d\xc3\xa9j\xc3\xa0'"},
};

class named_word : public testing::TestWithParam<name_and_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(shell_word, named_word, testing::ValuesIn(names));

TEST_P(named_word, is_written_so)
{
    EXPECT_EQ(word(GetParam().name), GetParam().word);
}

TEST_P(named_word, reaches_a_command_as_the_one_literal_name)
{
    // A word in front and one behind show where it ends; an empty name is no word.
    const std::string among = GetParam().name.empty() ? "" : "[" + GetParam().name + "]";
    EXPECT_EQ(seen_by_the_shell("1 " + word(GetParam().name) + " 2"), "[1]" + among + "[2]");
}

TEST(shell_word, reaches_a_command_as_one_literal_word_for_each_byte)
{
    std::string words;
    std::string expected;
    for (const std::string_view part : {plain, to_quote, quote}) {
        for (const char character : part) {
            words += word({&character, 1}) + " ";
            expected += std::string("[") + character + "]";
        }
    }
    EXPECT_EQ(seen_by_the_shell(words), expected);
}

TEST(shell_word, reaches_a_command_as_one_literal_word_for_all_bytes_together)
{
    const std::string all = std::string(plain) + std::string(to_quote) + "'";
    EXPECT_EQ(seen_by_the_shell(word(all)), "[" + all + "]");
}

TEST(shell_word, stands_behind_what_the_command_line_holds)
{
    bounded_text<32> command;
    command.append("tool ");
    orvane::append_word(command, "a b");
    command.append("/c");
    EXPECT_EQ(command.view(), "tool 'a b'/c");
}

// What is too long.

namespace {

struct long_word : named_case {
    std::string_view before;
    std::string_view name;
    std::string_view line; // in a room of sixteen bytes
};

const long_word long_words[] = {
    {"plain_one_below", "tool ", "123456789", "tool 123456789"},
    {"plain_exactly", "tool ", "1234567890", "tool 1234567890"},
    {"plain_one_above", "tool ", "1234567890x", "tool 1234567890"},
    {"plain_far_above", "tool ", "1234567890xxxxxxxxxxxxxxxxxx", "tool 1234567890"},
    {"plain_behind_a_full_line", "123456789012345", "x", "123456789012345"},
    {"quoted_one_below", "tool ", "a 34567", "tool 'a 34567'"},
    {"quoted_exactly", "tool ", "a 345678", "tool 'a 345678'"},
    {"quoted_one_above", "tool ", "a 345678x", "tool 'a 345678'"},
    {"quoted_far_above", "tool ", "a 345678xxxxxxxxxxxxxxxxx", "tool 'a 345678'"},
    {"quoted_for_what_is_cut_off", "tool ", "12345678 ", "tool '12345678'"},
    {"quote_exactly", "tool ", "1234'", "tool '1234'\\'''"},
    {"quote_one_above", "tool ", "12345'", "tool '12345'"},
    {"quote_two_above", "tool ", "123456'", "tool '123456'"},
    {"quote_three_above", "tool ", "1234567'", "tool '1234567'"},
    {"nothing_behind_a_quote_that_is_cut_off", "tool ", "12345'78", "tool '12345'"},
    {"quotes_alone", "tool ", "''''", "tool ''\\'''\\'''"},
    {"room_for_one_character", "123456789012", " x", "123456789012' '"},
    {"room_for_the_quotes_alone", "1234567890123", " x", "1234567890123''"},
    {"room_for_one_quote", "12345678901234", " x", "12345678901234"},
    {"no_room", "123456789012345", " x", "123456789012345"},
};

class word_at_the_bound : public testing::TestWithParam<long_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(shell_word, word_at_the_bound, testing::ValuesIn(long_words));

TEST_P(word_at_the_bound, is_cut_and_closed)
{
    bounded_text<16> command;
    command.append(GetParam().before);
    orvane::append_word(command, GetParam().name);
    EXPECT_EQ(command.view(), GetParam().line);
}
