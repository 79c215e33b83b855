// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Texts that base64_decode() refuses.
#include "base64_chain_calls.h"
#include "built_locale.h"
#include "decoding.h"
#include "fixture.h"

#include <cctype>
#include <string>

namespace {

class base64_refusal : public on_machine {};

struct refused : named_case {
    std::string text;
    int code;
};

class refused_base64 : public base64_refusal, public testing::WithParamInterface<refused> {};

const refused wrong_lengths[] = {
    {"one", "Y", 59},
    {"two", "YW", 59},
    {"three", "YWJ", 59},
    {"five", "YWJjY", 59},
    {"six", "YWJjYW", 59},
    {"seven", "YWJjYW=", 59},
    {"1023", std::string(1023, 'A'), 59},
    {"1025", std::string(1025, 'A'), 59},
    {"three_before_another_character_and_a_pad", "= J", 59},
    {"a_line_and_its_end", "YWJj\n", 59},
};

const refused wrong_characters[] = {
    {"a_blank", "YW J", 60},
    {"a_blank_first", " YWJ", 60},
    {"a_blank_last", "YWJ ", 60},
    {"a_line_feed", "YW\nJ", 60},
    {"a_line_feed_last", "YWJjYWJ\n", 60},
    {"a_carriage_return", "YW\rJ", 60},
    {"a_tab", "YW\tJ", 60},
    {"a_percent_sign", "YW%J", 60},
    {"an_escape", "YWJj%2BA", 60},
    {"a_hyphen", "YW-J", 60},
    {"an_underscore", "YW_J", 60},
    {"a_high_byte", "YW\xc3\xa4", 60},
    {"a_letter_above_0x7f", "YWJ\xe4", 60},
    {"a_pad_out_of_place_before_it", "=W J", 60},
    {"a_pad_out_of_place_behind_it", "Y =J", 60},
    {"it_far_behind", std::string(2047, 'A') + "!", 60},
};

const refused wrong_pads[] = {
    {"four", "====", 61},
    {"three", "Y===", 61},
    {"first", "=WJj", 61},
    {"second", "Y=Jj", 61},
    {"third_alone", "YW=j", 61},
    {"first_and_last", "=WJ=", 61},
    {"second_and_last", "Y=J=", 61},
    {"second_and_third", "Y==j", 61},
    {"in_the_group_before", "YWJ=YWJj", 61},
    {"two_in_the_group_before", "YW==YWJj", 61},
    {"in_the_group_before_and_last", "YWJ=YWJ=", 61},
    {"three_at_the_end", "YWJjY===", 61},
    {"third_of_the_last_group", "YWJjYW=j", 61},
    {"first_of_a_long_text", "=" + std::string(2047, 'A'), 61},
};

} // namespace

TEST_P(refused_base64, is_told_by_its_code_and_nothing_is_stored)
{
    decoding result(GetParam().text.size());
    EXPECT_EQ(result.of(GetParam().text), GetParam().code);
    EXPECT_TRUE(result.stored_nothing());
}

INSTANTIATE_TEST_SUITE_P(number_of_characters, refused_base64, testing::ValuesIn(wrong_lengths));
INSTANTIATE_TEST_SUITE_P(character, refused_base64, testing::ValuesIn(wrong_characters));
INSTANTIATE_TEST_SUITE_P(pads, refused_base64, testing::ValuesIn(wrong_pads));

namespace {

// The characters that base64 text may have at a place of a group, by their byte values.
std::string accepted_at(std::size_t place)
{
    std::string accepted;
    for (int byte = 1; byte < 256; ++byte) {
        std::string text = "AAAA";
        text[place] = static_cast<char>(byte);
        decoding result(4);
        const int code = result.of(text);
        if (code == 0)
            accepted += static_cast<char>(byte);
        else
            EXPECT_EQ(code, byte == '=' ? 61 : 60) << byte;
    }
    return accepted;
}

} // namespace

TEST_F(base64_refusal, spares_the_characters_of_base64_alone)
{
    const std::string digits = "+/0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    EXPECT_EQ(accepted_at(0), digits);
    EXPECT_EQ(accepted_at(1), digits);
    EXPECT_EQ(accepted_at(2), digits);
    EXPECT_EQ(accepted_at(3), "+/0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

TEST_F(base64_refusal, takes_no_account_of_what_the_locale_calls_a_letter)
{
    const built_locale locale(machine, "odd", "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00E4>\n");
    ASSERT_TRUE(std::isalpha(0xe4) && std::isalpha('Y'));
    decoding result(4);
    EXPECT_EQ(result.of("YWJ\xe4"), 60);
    EXPECT_TRUE(result.stored_nothing());
}

// What is refused first.

TEST_F(base64_refusal, of_an_argument_comes_before_that_of_the_text)
{
    decoding result(4);
    EXPECT_EQ(result.of("", 0), 63);
    EXPECT_EQ(base64_decode("Y W", 3, nullptr, &result.size), 63);
    EXPECT_EQ(base64_decode("Y W", 3, result.room.data(), nullptr), 63);
    EXPECT_TRUE(result.stored_nothing());
}

TEST_F(base64_refusal, is_of_the_whole_text_beyond_the_given_length)
{
    decoding result(8);
    EXPECT_EQ(result.of("YWJjY", 4), 59);
    EXPECT_EQ(result.of("YWJjYW J", 4), 60);
    EXPECT_EQ(result.of("YWJjYW=j", 4), 61);
    EXPECT_TRUE(result.stored_nothing());
}

TEST_F(base64_refusal, is_of_the_whole_text_for_a_negative_length)
{
    decoding result(4);
    EXPECT_EQ(result.of("YWJ", -1), 59);
    EXPECT_EQ(result.of("YW J", -1), 60);
    EXPECT_EQ(result.of("YW=j", -1), 61);
    EXPECT_TRUE(result.stored_nothing());
}

TEST_F(base64_refusal, spares_the_decoder)
{
    const base64_chain_calls calls;
    decoding result(4);
    EXPECT_EQ(result.of("YWJ"), 59);
    EXPECT_EQ(result.of("YW J"), 60);
    EXPECT_EQ(result.of("YW=j"), 61);
    EXPECT_EQ(result.of("YWJj", 0), 63);
    EXPECT_EQ(calls.made(), texts{});
}
