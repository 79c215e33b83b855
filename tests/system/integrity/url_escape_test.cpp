// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The escapes of base64 text in the query of a URL.
#include "fixture.h"
#include "orvane.h"
#include "url_conversion.h"

#include <future>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

conversion to_url(std::size_t room_size)
{
    return {transform_to_url, room_size};
}

conversion from_url(std::size_t room_size)
{
    return {transform_from_url, room_size};
}

struct converted : named_case {
    std::string text;
    std::string result;
};

constexpr char letters_and_digits[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

} // namespace

// To the form for a URL.

namespace {

const converted to_url_cases[] = {
    {"a_plus_sign", "+", "%2B"},
    {"a_slash", "/", "%2F"},
    {"a_pad", "=", "%3D"},
    {"all_three_among_letters", "a+b/c=", "a%2Bb%2Fc%3D"},
    {"each_twice", "++//==", "%2B%2B%2F%2F%3D%3D"},
    {"letters_and_digits", letters_and_digits, letters_and_digits},
    {"a_percent_sign", "a%b", "a%b"},
    {"a_percent_sign_alone", "%", "%"},
    {"an_escape", "%2B", "%2B"},
    {"an_escape_and_what_it_stands_for", "%2F/", "%2F%2F"},
    {"pads_out_of_place", "=a=", "%3Da%3D"},
    {"no_whole_group", "abcde", "abcde"},
    {"base64", "+/v/YWI=", "%2B%2Fv%2FYWI%3D"},
};

class text_for_url : public on_machine, public testing::WithParamInterface<converted> {};

} // namespace

TEST_P(text_for_url, has_its_punctuation_escaped)
{
    conversion result = to_url(3 * GetParam().text.size() + 1);
    EXPECT_EQ(result.of(GetParam().text), 0);
    EXPECT_TRUE(result.made(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(of, text_for_url, testing::ValuesIn(to_url_cases));

// And back.

namespace {

const converted from_url_cases[] = {
    {"a_plus_sign", "%2B", "+"},
    {"a_slash", "%2F", "/"},
    {"a_pad", "%3D", "="},
    {"all_three_among_letters", "a%2Bb%2Fc%3D", "a+b/c="},
    {"each_twice", "%2B%2B%2F%2F%3D%3D", "++//=="},
    {"letters_and_digits", letters_and_digits, letters_and_digits},
    {"what_needs_no_escape_here", "+/=", "+/="},
    {"digits_that_only_look_like_an_escape", "2B2F3D", "2B2F3D"},
    {"an_escape_and_more_digits", "%2B2B", "+2B"},
    {"lower_case_behind_an_escape", "%2Bb%3Dd", "+b=d"},
    {"base64", "%2B%2Fv%2FYWI%3D", "+/v/YWI="},
};

class text_of_url : public on_machine, public testing::WithParamInterface<converted> {};

const converted wrong_escapes[] = {
    {"lower_case_plus_sign", "%2b", ""},
    {"lower_case_slash", "%2f", ""},
    {"lower_case_pad", "%3d", ""},
    {"a_blank", "%20", ""},
    {"a_percent_sign", "%25", ""},
    {"a_letter", "ab%41", "ab"},
    {"a_neighbour", "%2A", ""},
    {"another_neighbour", "%2C", ""},
    {"the_first_of_one_and_the_last_of_another", "%3B", ""},
    {"the_other_way_round", "%2D", ""},
    {"digits_turned_round", "%B2", ""},
    {"one_digit", "YWJj%2", "YWJj"},
    {"no_digit", "YWJj%", "YWJj"},
    {"two_percent_signs", "%%2B", ""},
    {"a_percent_sign_inside", "%2%B", ""},
    {"behind_a_right_one", "a%2B%2g", "a+"},
    {"behind_all_three", "%2B%2F%3D%", "+/="},
};

class wrong_escape : public on_machine, public testing::WithParamInterface<converted> {};

} // namespace

TEST_P(text_of_url, has_its_punctuation_back)
{
    conversion result = from_url(GetParam().text.size() + 1);
    EXPECT_EQ(result.of(GetParam().text), 0);
    EXPECT_TRUE(result.made(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(of, text_of_url, testing::ValuesIn(from_url_cases));

TEST_P(wrong_escape, ends_the_text_without_a_terminator_or_a_length)
{
    conversion result = from_url(GetParam().text.size() + 1);
    EXPECT_EQ(result.of(GetParam().text), 66);
    EXPECT_TRUE(result.room.holds(GetParam().result));
    EXPECT_EQ(result.length, 0U);
}

INSTANTIATE_TEST_SUITE_P(of, wrong_escape, testing::ValuesIn(wrong_escapes));

// Lengths.

namespace {

struct cut : named_case {
    std::string text;
    unsigned int length;
    std::string result;
};

class cut_for_url : public on_machine, public testing::WithParamInterface<cut> {};
class cut_of_url : public on_machine, public testing::WithParamInterface<cut> {};

} // namespace

TEST_P(cut_for_url, is_at_the_given_length)
{
    conversion result = to_url(64);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 0);
    EXPECT_TRUE(result.made(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(behind, cut_for_url,
                         testing::Values(cut{"a_letter", "a+b/c=", 1, "a"},
                                         cut{"a_plus_sign", "a+b/c=", 2, "a%2B"},
                                         cut{"another_letter", "a+b/c=", 3, "a%2Bb"},
                                         cut{"the_letter_before_the_pad", "a+b/c=", 5, "a%2Bb%2Fc"},
                                         cut{"a_percent_sign", "%2B", 1, "%"}));

// An escape that begins in front of the cut is converted whole.
TEST_P(cut_of_url, is_at_the_given_length)
{
    conversion result = from_url(64);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 0);
    EXPECT_TRUE(result.made(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(behind, cut_of_url,
                         testing::Values(cut{"the_letter_before_an_escape", "a%2Bb", 1, "a"},
                                         cut{"the_percent_sign", "a%2Bb", 2, "a+"},
                                         cut{"the_first_digit", "a%2Bb", 3, "a+"},
                                         cut{"the_escape", "a%2Bb", 4, "a+"},
                                         cut{"the_letter_after_an_escape", "a%2Bb", 5, "a+b"},
                                         cut{"a_letter_before_a_wrong_escape", "a%zz", 1, "a"}));

namespace {

class url_escapes : public on_machine {};

constexpr int many = 1048576;

std::string many_times(const std::string &piece)
{
    std::string all;
    for (int times = 0; times < many; ++times)
        all += piece;
    return all;
}

} // namespace

TEST_F(url_escapes, may_be_many)
{
    const std::string plain = many_times("+/=a");
    const std::string escaped = many_times("%2B%2F%3Da");
    conversion there = to_url(3 * plain.size() + 1);
    EXPECT_EQ(there.of(plain), 0);
    EXPECT_TRUE(there.made(escaped));
    conversion back = from_url(escaped.size() + 1);
    EXPECT_EQ(back.of(escaped), 0);
    EXPECT_TRUE(back.made(plain));
}

TEST_F(url_escapes, are_made_and_undone_behind_the_terminator_too)
{
    conversion there = to_url(64);
    EXPECT_EQ(there.of("a\0!+"s), 0);
    EXPECT_TRUE(there.made("a\0!%2B"s));
    conversion back = from_url(64);
    EXPECT_EQ(back.of("a\0!%2B"s), 0);
    EXPECT_TRUE(back.made("a\0!+"s));
}

TEST_F(url_escapes, do_not_have_the_terminator_inside)
{
    for (const std::string &text : {"a%\0"s, "a%\0002B"s, "a%2\0B"s}) {
        conversion back = from_url(64);
        EXPECT_EQ(back.of(text), 66);
        EXPECT_TRUE(back.room.holds("a"));
        EXPECT_EQ(back.length, 0U);
    }
}

// The whole way, and in many threads at once.

namespace {

std::string there_and_back(const std::string &bytes)
{
    const std::size_t text_size = 4 * ((bytes.size() + 2) / 3);
    std::string text(text_size, '\0');
    unsigned int length = 0;
    base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length);
    std::string url(3 * text_size + 1, '\0');
    transform_to_url(text.c_str(), length, url.data(), &length);
    transform_from_url(url.c_str(), length, text.data(), &length);
    std::string decoded(text_size, '\0');
    base64_decode(text.c_str(), static_cast<int>(length), decoded.data(), &length);
    return decoded.substr(0, length);
}

} // namespace

TEST_F(url_escapes, do_not_change_the_bytes_of_any_thread)
{
    std::vector<std::future<int>> unchanged;
    for (int thread = 0; thread < 8; ++thread) {
        unchanged.push_back(std::async(std::launch::async, [thread] {
            int times = 0;
            for (std::size_t size = 1; size <= 100; ++size) {
                const std::string bytes(size, static_cast<char>(0xf8 + thread));
                times += there_and_back(bytes) == bytes ? 1 : 0;
            }
            return times;
        }));
    }
    for (std::future<int> &times : unchanged)
        EXPECT_EQ(times.get(), 100);
}
