// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What holds for base64 text on its way to the query of a URL and on its way back.
#include "built_locale.h"
#include "fixture.h"
#include "orvane.h"
#include "url_conversion.h"

#include <cctype>
#include <string>

using namespace std::string_literals;

namespace {

struct direction : named_case {
    transform convert;
    int nothing; // the code for a missing argument
};

class url_form : public on_machine, public testing::WithParamInterface<direction> {
protected:
    [[nodiscard]] static conversion started(std::size_t room_size = 64)
    {
        return {GetParam().convert, room_size};
    }

    static void expect_refused(const std::string &text, std::size_t length)
    {
        conversion result = started();
        EXPECT_EQ(result.of(text, length), 64) << testing::PrintToString(text);
        EXPECT_TRUE(result.room.holds(""));
        EXPECT_EQ(result.length, 0U);
    }
};

} // namespace

TEST_P(url_form, is_of_the_first_characters_alone_where_the_length_says_so)
{
    conversion result = started();
    EXPECT_EQ(result.of("YWJjZGVm", 4), 0);
    EXPECT_TRUE(result.made("YWJj"));
}

TEST_P(url_form, is_not_made_where_any_character_is_wrong)
{
    for (const char *const text : {"!WJj", "YW!j", "YWJ!", "YW J", "YWJj\n", "YW-j", "YW_j",
                                   "YW\tj", "YW\rj", "YW\x7fj", "YWJ\xc3\xa4", "\xff"})
        expect_refused(text, 4);
}

TEST_P(url_form, is_not_made_where_a_character_behind_the_length_is_wrong)
{
    expect_refused("YWJj!", 4);
    expect_refused("YWJj ", 1);
    expect_refused("Y" + std::string(5000, 'W') + "\n", 1);
}

TEST_P(url_form, may_have_no_character_but_those_of_base64_and_the_percent_sign)
{
    std::string accepted;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = "a" + std::string(1, static_cast<char>(byte));
        conversion result = started();
        const int code = result.of(text, 1);
        if (code == 0)
            accepted += static_cast<char>(byte);
        else
            EXPECT_EQ(code, 64) << byte;
    }
    EXPECT_EQ(accepted, "%+/0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

TEST_P(url_form, takes_no_account_of_what_the_locale_calls_a_letter)
{
    const built_locale locale(machine, "odd", "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00E4>\n");
    ASSERT_TRUE(std::isalpha(0xe4) && std::isalpha('Y'));
    expect_refused("YWJ\xe4", 4);
}

TEST_P(url_form, is_not_made_where_an_argument_is_missing)
{
    conversion result = started();
    EXPECT_EQ(result.convert(nullptr, 4, result.room.data(), &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 4, nullptr, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 4, result.room.data(), nullptr), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 0, result.room.data(), &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert(nullptr, 0, nullptr, nullptr), GetParam().nothing);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(result.length, 4711U);
}

TEST_P(url_form, is_not_made_of_a_wrong_text_where_an_argument_is_missing)
{
    conversion result = started();
    EXPECT_EQ(result.of("Y W", 0), GetParam().nothing);
    EXPECT_EQ(result.convert("Y W", 3, nullptr, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("Y W", 3, result.room.data(), nullptr), GetParam().nothing);
    EXPECT_EQ(result.length, 4711U);
}

TEST_P(url_form, goes_on_behind_the_terminator_where_the_length_says_so)
{
    conversion result = started();
    EXPECT_EQ(result.of("a\0b!"s), 0);
    EXPECT_TRUE(result.made("a\0b!"s));
}

TEST_P(url_form, of_an_empty_text_is_what_stands_there)
{
    conversion result = started();
    EXPECT_EQ(result.of("", 1), 0);
    EXPECT_TRUE(result.made("\0"s));
}

TEST_P(url_form, is_made_afresh_every_time)
{
    conversion result = started();
    EXPECT_EQ(result.of("YWJjZGVm"), 0);
    EXPECT_EQ(result.of("Zm9v"), 0);
    EXPECT_EQ(result.length, 4U);
    EXPECT_TRUE(result.room.holds("Zm9v\0GVm\0"s));
}

TEST_P(url_form, has_no_length_where_an_earlier_one_stands)
{
    conversion result = started();
    EXPECT_EQ(result.of("YWJj"), 0);
    EXPECT_EQ(result.of("Y!Jj"), 64);
    EXPECT_EQ(result.length, 0U);
}

TEST_P(url_form, is_made_without_a_word)
{
    const std::string said = standard_error_of([] {
        conversion result = started();
        EXPECT_EQ(result.of("YWJj"), 0);
        EXPECT_EQ(result.of("Y!Jj"), 64);
        EXPECT_EQ(result.of(""), GetParam().nothing);
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(machine.trace(), texts{});
}

INSTANTIATE_TEST_SUITE_P(whether, url_form,
                         testing::Values(direction{"there", transform_to_url, 67},
                                         direction{"back", transform_from_url, 65}));
