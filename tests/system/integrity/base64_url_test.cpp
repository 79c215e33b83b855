// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Base64 text to the form for the query of a URL, and back.
#include "base64_samples.h"
#include "built_locale.h"
#include "fixture.h"
#include "guarded_buffer.h"
#include "orvane.h"

#include <cctype>
#include <climits>
#include <cstddef>
#include <string>

using namespace std::string_literals;

namespace {

constexpr unsigned int untouched = 4711;

using transform = int (*)(const char *text, unsigned int length, char *result,
                          unsigned int *result_length);

// What a conversion stores.
struct conversion {
    explicit conversion(transform by, std::size_t size = 64) : convert(by), buffer(size) {}

    int of(const std::string &text, std::size_t given_length)
    {
        return convert(text.c_str(), static_cast<unsigned int>(given_length), buffer.data(),
                       &length);
    }
    int of(const std::string &text) { return of(text, text.size()); }

    // Whether this is all that was written, with a terminator.
    [[nodiscard]] testing::AssertionResult stored(const std::string &result) const
    {
        if (length != result.size())
            return testing::AssertionFailure() << "the length is " << length;
        return buffer.holds(result + '\0');
    }

    transform convert;
    guarded_buffer buffer;
    unsigned int length = untouched;
};

struct converted : named_case {
    std::string text;
    std::size_t length;
    std::string result;
};

converted whole(const char *name, const std::string &text, const std::string &result)
{
    return {name, text, text.size(), result};
}

constexpr char letters_and_digits[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

class text_for_url : public testing::TestWithParam<converted> {};
class text_of_url : public testing::TestWithParam<converted> {};
class wrong_escape : public testing::TestWithParam<converted> {};

} // namespace

// To the form for a URL.

TEST_P(text_for_url, has_its_punctuation_escaped)
{
    conversion result(transform_to_url, 3 * GetParam().length + 1);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 0);
    EXPECT_TRUE(result.stored(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(
    of, text_for_url,
    testing::Values(whole("a_plus_sign", "+", "%2B"), whole("a_slash", "/", "%2F"),
                    whole("a_pad", "=", "%3D"),
                    whole("all_three_among_letters", "a+b/c=", "a%2Bb%2Fc%3D"),
                    whole("each_twice", "++//==", "%2B%2B%2F%2F%3D%3D"),
                    whole("letters_and_digits", letters_and_digits, letters_and_digits),
                    whole("a_percent_sign", "a%b", "a%b"), whole("an_escape", "%2B", "%2B"),
                    whole("an_escape_and_what_it_is_for", "%2F/", "%2F%2F"),
                    whole("pads_out_of_place", "=a=", "%3Da%3D"),
                    whole("no_whole_group", "abcde", "abcde"),
                    whole("base64", "+/v/YWI=", "%2B%2Fv%2FYWI%3D"),
                    whole("more_than_its_terminator", "a\0!+"s, "a\0"s),
                    converted{"an_empty_text", "", 1, "\0"s},
                    converted{"a_part_before_an_escape", "a+b/c=", 1, "a"},
                    converted{"a_part_with_an_escape", "a+b/c=", 2, "a%2B"},
                    converted{"a_part_with_a_percent_sign", "%2B", 1, "%"}));

// And back. An escape that begins within the length is converted whole.

TEST_P(text_of_url, has_its_punctuation_back)
{
    conversion result(transform_from_url, GetParam().length + 1);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 0);
    EXPECT_TRUE(result.stored(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(
    of, text_of_url,
    testing::Values(whole("a_plus_sign", "%2B", "+"), whole("a_slash", "%2F", "/"),
                    whole("a_pad", "%3D", "="),
                    whole("all_three_among_letters", "a%2Bb%2Fc%3D", "a+b/c="),
                    whole("each_twice", "%2B%2B%2F%2F%3D%3D", "++//=="),
                    whole("letters_and_digits", letters_and_digits, letters_and_digits),
                    whole("what_needs_no_escape_here", "+/=", "+/="),
                    whole("digits_without_a_percent_sign", "2B2F3D", "2B2F3D"),
                    whole("an_escape_and_more_digits", "%2B2B", "+2B"),
                    whole("lower_case_behind_an_escape", "%2Bb%3Dd", "+b=d"),
                    whole("base64", "%2B%2Fv%2FYWI%3D", "+/v/YWI="),
                    whole("more_than_its_terminator", "a\0!%2B"s, "a\0"s),
                    converted{"an_empty_text", "", 1, "\0"s},
                    converted{"a_part_before_an_escape", "a%2Bb", 1, "a"},
                    converted{"a_part_with_a_percent_sign", "a%2Bb", 2, "a+"},
                    converted{"a_part_with_half_an_escape", "a%2Bb", 3, "a+"},
                    converted{"a_part_with_an_escape", "a%2Bb", 4, "a+"},
                    converted{"a_part_before_a_wrong_escape", "a%zz", 1, "a"}));

TEST_P(wrong_escape, ends_the_text_without_a_terminator_or_a_length)
{
    conversion result(transform_from_url, GetParam().length + 1);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 66);
    EXPECT_TRUE(result.buffer.holds(GetParam().result));
    EXPECT_EQ(result.length, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    of, wrong_escape,
    testing::Values(whole("lower_case_plus_sign", "%2b", ""), whole("lower_case_slash", "%2f", ""),
                    whole("lower_case_pad", "%3d", ""), whole("a_blank", "%20", ""),
                    whole("a_percent_sign", "%25", ""), whole("a_letter", "ab%41", "ab"),
                    whole("a_neighbour", "%2A", ""), whole("digits_of_two_escapes", "%3B", ""),
                    whole("digits_of_two_others", "%2D", ""), whole("digits_reversed", "%B2", ""),
                    whole("one_digit", "YWJj%2", "YWJj"), whole("no_digit", "YWJj%", "YWJj"),
                    whole("two_percent_signs", "%%2B", ""),
                    whole("a_percent_sign_inside", "%2%B", ""),
                    whole("behind_a_right_one", "a%2B%2g", "a+"),
                    whole("behind_all_three", "%2B%2F%3D%", "+/="),
                    whole("a_terminator_first", "a%\0"s, "a"),
                    whole("a_terminator_before_the_digits", "a%\0002B"s, "a"),
                    whole("a_terminator_inside", "a%2\0B"s, "a")));

TEST(url_escapes, may_be_many)
{
    const std::string plain = repeated("+/=a", 1048576);
    const std::string escaped = repeated("%2B%2F%3Da", 1048576);
    conversion there(transform_to_url, 3 * plain.size() + 1);
    EXPECT_EQ(there.of(plain), 0);
    EXPECT_TRUE(there.stored(escaped));
    conversion back(transform_from_url, escaped.size() + 1);
    EXPECT_EQ(back.of(escaped), 0);
    EXPECT_TRUE(back.stored(plain));
}

// Both directions.

namespace {

struct direction : named_case {
    transform convert;
    int nothing; // the code for a missing argument
};

class url_form : public on_machine, public testing::WithParamInterface<direction> {
protected:
    static void expect_refused(const std::string &text, std::size_t length)
    {
        conversion result(GetParam().convert);
        EXPECT_EQ(result.of(text, length), 64) << testing::PrintToString(text);
        EXPECT_TRUE(result.buffer.holds(""));
        EXPECT_EQ(result.length, 0U);
    }
};

} // namespace

TEST_P(url_form, has_no_character_but_those_of_base64_and_the_percent_sign)
{
    std::string accepted;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = "a" + std::string(1, static_cast<char>(byte));
        if (conversion(GetParam().convert).of(text, 1) == 0)
            accepted += static_cast<char>(byte);
        else
            expect_refused(text, 1);
    }
    EXPECT_EQ(accepted, "%+/0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

TEST_P(url_form, is_refused_for_a_character_anywhere_in_the_text)
{
    for (const std::string &text :
         {"!WJj"s, "YW!j"s, "YWJ!"s, "YWJj!"s, "YWJj" + std::string(5000, 'W') + "\n"})
        expect_refused(text, 4);
}

TEST_P(url_form, has_no_other_letters_in_any_locale)
{
    const built_locale locale(machine, "odd", "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00E4>\n");
    ASSERT_TRUE(std::isalpha(0xe4) && std::isalpha('Y'));
    expect_refused("YWJ\xe4", 4);
}

TEST_P(url_form, needs_a_text_and_destinations)
{
    conversion result(GetParam().convert);
    char *const buffer = result.buffer.data();
    EXPECT_EQ(result.convert(nullptr, 4, buffer, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 4, nullptr, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 4, buffer, nullptr), GetParam().nothing);
    EXPECT_EQ(result.convert("YWJj", 0, buffer, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("Y W", 0, buffer, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert("Y W", 3, nullptr, &result.length), GetParam().nothing);
    EXPECT_EQ(result.convert(nullptr, 0, nullptr, nullptr), GetParam().nothing);
    EXPECT_TRUE(result.buffer.holds(""));
    EXPECT_EQ(result.length, untouched);
}

// A length that is too great takes the terminator for a character.
TEST_P(url_form, is_of_nothing_behind_the_terminator)
{
    const guarded_text guarded("YWJj");
    for (const unsigned int length : {5U, 6U, 1000000U, UINT_MAX}) {
        conversion result(GetParam().convert);
        EXPECT_EQ(result.convert(guarded.data(), length, result.buffer.data(), &result.length), 0);
        EXPECT_TRUE(result.stored("YWJj\0"s)) << length;
    }
}

TEST_P(url_form, prints_nothing_and_leaves_no_trace)
{
    testing::internal::CaptureStdout();
    const std::string error = standard_error_of([] {
        conversion result(GetParam().convert);
        EXPECT_EQ(result.of("YWJj"), 0);
        EXPECT_EQ(result.of("Y!Jj"), 64);
        EXPECT_EQ(result.of(""), GetParam().nothing);
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout() + error, "");
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(which, url_form,
                         testing::Values(direction{"to_a_url", transform_to_url, 67},
                                         direction{"from_a_url", transform_from_url, 65}));
