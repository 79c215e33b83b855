// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "fixture.h"
#include "support/bounded_text.h"

#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

using namespace std::string_view_literals;
using orvane::bounded_text;
using orvane::text_buffer;

namespace {

// All bytes of the buffer, terminator included.
std::string_view buffer_of(text_buffer &text)
{
    return {text.data(), text.capacity()};
}

void store(text_buffer &text, std::string_view bytes)
{
    text.clear();
    std::memcpy(text.data(), bytes.data(), bytes.size());
}

constexpr wchar_t no_character[] = L"\x20ac"; // which the C locale cannot convert
constexpr std::string_view zeros = "\0\0\0\0\0\0\0\0"sv;

} // namespace

static_assert(!std::is_copy_constructible_v<bounded_text<8>> &&
              !std::is_copy_assignable_v<bounded_text<8>>);

TEST(new_text, is_filled_with_zeros)
{
    alignas(bounded_text<8>) unsigned char storage[sizeof(bounded_text<8>)];
    std::memset(storage, 'x', sizeof storage);
    auto *const text = new (storage) bounded_text<8>;
    EXPECT_EQ(buffer_of(*text), zeros);
    EXPECT_TRUE(text->empty());
    EXPECT_EQ(text->length(), 0U);
    text->~bounded_text();
}

// What a system call stored in the buffer.

TEST(stored_text, ends_at_the_first_zero_byte)
{
    bounded_text<8> text;
    store(text, "ab\0cd"sv);
    EXPECT_EQ(text.length(), 2U);
    EXPECT_STREQ(text.c_str(), "ab");
    EXPECT_EQ(text.view(), "ab");
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(owned_text(text.copy()).value(), "ab");
    text.append("x");
    EXPECT_EQ(text.view(), "abx");
}

TEST(stored_text, loses_its_last_byte_alone_when_terminated)
{
    bounded_text<8> text;
    store(text, "12345678");
    text.terminate();
    EXPECT_EQ(buffer_of(text), "1234567\0"sv);
    text.terminate();
    EXPECT_EQ(text.view(), "1234567");
}

TEST(stored_text, leaves_zeros_when_cleared)
{
    bounded_text<8> text;
    store(text, "12345678");
    text.clear();
    EXPECT_EQ(buffer_of(text), zeros);
}

// Adding to a text.

namespace {

struct addition : named_case {
    std::string_view before;
    const char *added;
    std::string_view buffer;
};

class addition_to_text : public testing::TestWithParam<addition> {};

} // namespace

TEST_P(addition_to_text, is_truncated_at_the_bound)
{
    bounded_text<8> appended;
    appended.append(GetParam().before);
    appended.append(GetParam().added);
    EXPECT_EQ(buffer_of(appended), GetParam().buffer);
    if (!GetParam().before.empty())
        return;

    store(appended, "xxxxxxxx");
    appended.assign(GetParam().added);
    EXPECT_EQ(buffer_of(appended), GetParam().buffer);
    store(appended, "xxxxxxxx");
    appended.format("%s", GetParam().added);
    EXPECT_EQ(buffer_of(appended), GetParam().buffer);
}

INSTANTIATE_TEST_SUITE_P(
    of, addition_to_text,
    testing::Values(addition{"nothing", "", "", zeros},
                    addition{"nothing_to_a_text", "ab", "", "ab\0\0\0\0\0\0"sv},
                    addition{"one_byte_fewer_than_fit", "", "123456", "123456\0\0"sv},
                    addition{"as_many_as_fit", "", "1234567", "1234567\0"sv},
                    addition{"one_more_than_fit", "", "12345678", "1234567\0"sv},
                    addition{"many_more_than_fit", "", "12345678901234567890", "1234567\0"sv},
                    addition{"any_bytes", "", "\x01\x80\xff", "\x01\x80\xff\0\0\0\0\0"sv},
                    addition{"as_many_as_fit_to_a_text", "1234", "567", "1234567\0"sv},
                    addition{"one_more_than_fit_to_a_text", "1234", "5678", "1234567\0"sv},
                    addition{"a_byte_to_a_full_text", "1234567", "8", "1234567\0"sv}));

TEST(appended_text, needs_no_terminator_and_ends_at_a_zero_byte)
{
    bounded_text<8> text;
    text.append("abcd"sv.substr(1, 2));
    text.append({});
    text.append("de\0fg"sv);
    EXPECT_EQ(text.view(), "bcde");
    text.assign("ab\0cd"sv);
    EXPECT_EQ(text.view(), "ab");
}

TEST(formatted_text, has_all_conversions)
{
    bounded_text<8> text;
    text.format("%s-%d", "a", 42);
    EXPECT_EQ(text.view(), "a-42");
    text.format("%100000d", 7);
    EXPECT_EQ(text.view(), "       ");
    text.format("ab%ccd", '\0');
    EXPECT_EQ(text.view(), "ab");
}

TEST(formatted_text, keeps_what_comes_before_a_failed_conversion)
{
    bounded_text<16> text;
    text.format("old%lslost", no_character);
    EXPECT_EQ(text.view(), "old");
}

TEST(stored_length, counts_zero_bytes_and_leaves_out_what_is_not_stored)
{
    char buffer[8];
    EXPECT_EQ(orvane::store_format(buffer, sizeof buffer, "a%cb", '\0'), 3U);
    EXPECT_EQ(std::string_view(buffer, 4), "a\0b\0"sv);
    EXPECT_EQ(orvane::store_format(buffer, sizeof buffer, "%s", "12345678"), 7U);
    EXPECT_STREQ(buffer, "1234567");
    EXPECT_EQ(orvane::store_format(buffer, sizeof buffer, "new%lslost", no_character), 3U);
    EXPECT_EQ(orvane::store_format(buffer, 1, "%s", "x"), 0U);
    EXPECT_STREQ(buffer, "");
}

// Truncating and copying.

namespace {

struct truncation : named_case {
    const char *text;
    const char *ends;
    const char *left;
};

class truncated_text : public testing::TestWithParam<truncation> {};

} // namespace

TEST_P(truncated_text, ends_at_the_first_of_the_ends)
{
    bounded_text<8> text;
    text.append(GetParam().text);
    text.cut_at_any(GetParam().ends);
    EXPECT_EQ(text.view(), GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(of, truncated_text,
                         testing::Values(truncation{"two_ends", "ab\nc\re", "\r\n", "ab"},
                                         truncation{"the_end_named_last", "ab\rc\ne", "\n\r", "ab"},
                                         truncation{"no_end", "1234567", "\r\n", "1234567"},
                                         truncation{"no_end_named", "abc", "", "abc"},
                                         truncation{"an_end_first", "\nabc", "\n", ""},
                                         truncation{"an_end_last", "123456\n", "\n", "123456"},
                                         truncation{"nothing", "", "\n", ""},
                                         truncation{"bytes_above_ascii", "a\xff\xfe", "\xfe",
                                                    "a\xff"}));

TEST(copied_text, is_a_block_of_its_own)
{
    bounded_text<8> text;
    EXPECT_EQ(owned_text(text.copy()).value(), "");
    text.append("1234567");
    const owned_text copy(text.copy());
    text.clear();
    EXPECT_EQ(copy.value(), "1234567");
}

TEST(text_of_one_byte, stays_empty)
{
    bounded_text<1> text;
    text.append("x");
    text.assign("x");
    text.format("%s", "x");
    EXPECT_EQ(buffer_of(text), "\0"sv);
    *text.data() = 'x';
    text.terminate();
    EXPECT_EQ(buffer_of(text), "\0"sv);
}
