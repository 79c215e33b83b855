// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "support/bounded_text.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

#include <dlfcn.h>

using namespace std::string_view_literals;
using orvane::bounded_text;
using orvane::text_buffer;

namespace {

bool memory_is_short = false;

// All bytes of the room, the terminator's included.
std::string room(text_buffer &text)
{
    return {text.data(), text.capacity()};
}

void fill(text_buffer &text, std::string_view bytes)
{
    text.clear();
    std::memcpy(text.data(), bytes.data(), bytes.size());
}

[[gnu::format(printf, 3, 4)]] void append_format(text_buffer &text, std::size_t spare,
                                                 const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    text.append_vformat(format, arguments, spare);
    va_end(arguments);
}

constexpr wchar_t no_character[] = L"\x20ac"; // not one of the C locale's

using heap_text = std::unique_ptr<char, decltype([](char *text) { std::free(text); })>;

} // namespace

// Found before the C library's.
extern "C" char *strdup(const char *text) noexcept
{
    using function = char *(const char *);
    static auto *const real = reinterpret_cast<function *>(::dlsym(RTLD_NEXT, "strdup"));
    return memory_is_short ? nullptr : real(text);
}

static_assert(!std::is_copy_constructible_v<bounded_text<8>> &&
              !std::is_copy_assignable_v<bounded_text<8>>);

// A new text.

TEST(bounded_text, is_empty_at_first)
{
    const bounded_text<8> text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.length(), 0U);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.view(), "");
}

TEST(bounded_text, is_filled_with_zeros_at_first)
{
    alignas(bounded_text<8>) unsigned char storage[sizeof(bounded_text<8>)];
    std::memset(storage, 'x', sizeof storage);
    auto *const text = new (storage) bounded_text<8>;
    EXPECT_EQ(room(*text), "\0\0\0\0\0\0\0\0"sv);
    text->~bounded_text();
}

TEST(bounded_text, counts_the_terminator_in_its_capacity)
{
    EXPECT_EQ(bounded_text<8>().capacity(), 8U);
    EXPECT_EQ(bounded_text<1024>().capacity(), 1024U);
}

// What a call stored in the room.

TEST(stored_text, ends_at_the_first_zero_byte)
{
    bounded_text<8> text;
    fill(text, "ab\0cd"sv);
    EXPECT_EQ(text.length(), 2U);
    EXPECT_STREQ(text.c_str(), "ab");
    EXPECT_EQ(text.view(), "ab");
    EXPECT_FALSE(text.empty());
}

TEST(stored_text, is_empty_when_it_begins_with_a_zero_byte)
{
    bounded_text<8> text;
    fill(text, "\0bcd"sv);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.view(), "");
}

TEST(stored_text, ends_in_the_last_byte_when_terminated)
{
    bounded_text<8> text;
    fill(text, "12345678");
    text.terminate();
    EXPECT_EQ(room(text), "1234567\0"sv);
    EXPECT_EQ(text.length(), 7U);
}

TEST(stored_text, stays_when_terminated_with_room_left)
{
    bounded_text<8> text;
    fill(text, "1234567");
    text.terminate();
    EXPECT_EQ(text.view(), "1234567");
}

TEST(stored_text, leaves_zeros_when_cleared)
{
    bounded_text<8> text;
    fill(text, "12345678");
    text.clear();
    EXPECT_EQ(room(text), "\0\0\0\0\0\0\0\0"sv);
}

// Adding to a text, by appending and by formatting behind it.

namespace {

struct addition : named_case {
    std::string_view before;
    std::size_t spare; // bytes left free for what must still follow
    const char *added;
    std::string_view room;
};

class appended_text : public testing::TestWithParam<addition> {};
class text_formatted_behind : public testing::TestWithParam<addition> {};

const auto without_spare_bytes =
    testing::Values(addition{"nothing_to_nothing", "", 0, "", "\0\0\0\0\0\0\0\0"sv},
                    addition{"nothing", "ab", 0, "", "ab\0\0\0\0\0\0"sv},
                    addition{"behind_a_text", "ab", 0, "cd", "abcd\0\0\0\0"sv},
                    addition{"one_below", "", 0, "123456", "123456\0\0"sv},
                    addition{"exactly", "", 0, "1234567", "1234567\0"sv},
                    addition{"one_above", "", 0, "12345678", "1234567\0"sv},
                    addition{"far_above", "", 0, "12345678901234567890", "1234567\0"sv},
                    addition{"one_below_behind_a_text", "1234", 0, "56", "123456\0\0"sv},
                    addition{"exactly_behind_a_text", "1234", 0, "567", "1234567\0"sv},
                    addition{"one_above_behind_a_text", "1234", 0, "5678", "1234567\0"sv},
                    addition{"one_byte_left", "123456", 0, "78", "1234567\0"sv},
                    addition{"behind_a_full_text", "1234567", 0, "8", "1234567\0"sv},
                    addition{"any_bytes", "\x80", 0, "\x01\xff", "\x80\x01\xff\0\0\0\0\0"sv});

} // namespace

TEST_P(appended_text, stands_behind_the_old_one_as_far_as_there_is_room)
{
    bounded_text<8> text;
    fill(text, GetParam().before);
    text.append(GetParam().added);
    EXPECT_EQ(room(text), GetParam().room);
}

TEST_P(text_formatted_behind, stands_behind_the_old_one_before_the_spare_bytes)
{
    bounded_text<8> text;
    fill(text, GetParam().before);
    append_format(text, GetParam().spare, "%s", GetParam().added);
    EXPECT_EQ(room(text), GetParam().room);
}

INSTANTIATE_TEST_SUITE_P(without_spare_bytes, appended_text, without_spare_bytes);
INSTANTIATE_TEST_SUITE_P(without_spare_bytes, text_formatted_behind, without_spare_bytes);
INSTANTIATE_TEST_SUITE_P(
    with_spare_bytes, text_formatted_behind,
    testing::Values(addition{"one_below", "ab", 2, "34", "ab34\0\0\0\0"sv},
                    addition{"exactly", "ab", 2, "345", "ab345\0\0\0"sv},
                    addition{"one_above", "ab", 2, "3456", "ab345\0\0\0"sv},
                    addition{"far_above", "ab", 2, "345678901234567890", "ab345\0\0\0"sv},
                    addition{"room_for_one_byte", "12345", 1, "xy", "12345x\0\0"sv},
                    addition{"room_for_none", "123456", 1, "xy", "123456\0\0"sv},
                    addition{"spare_byte_taken", "1234567", 1, "xy", "1234567\0"sv},
                    addition{"spare_byte_and_terminator_taken", "1234567", 2, "xyz", "1234567\0"sv},
                    addition{"all_spare", "", 8, "xy", "\0\0\0\0\0\0\0\0"sv},
                    addition{"more_spare_than_there_is", "ab", 9, "xy", "ab\0\0\0\0\0\0"sv}));

TEST(appending, takes_an_empty_view_of_nothing)
{
    bounded_text<8> text;
    text.append("ab");
    text.append({});
    EXPECT_EQ(text.view(), "ab");
}

TEST(appending, ends_at_the_first_zero_byte)
{
    bounded_text<8> text;
    text.append("ab\0cd"sv);
    EXPECT_EQ(text.view(), "ab");
    text.append("x");
    EXPECT_EQ(text.view(), "abx");
}

TEST(appending, needs_no_terminator)
{
    bounded_text<8> text;
    text.append("abcd"sv.substr(1, 2));
    EXPECT_EQ(text.view(), "bc");
}

TEST(appending, ends_the_text_over_older_bytes)
{
    bounded_text<8> text;
    fill(text, "ab\0xxxx"sv);
    text.append("c");
    EXPECT_EQ(text.view(), "abc");
}

TEST(formatting_behind, leaves_the_spare_bytes_for_what_follows)
{
    bounded_text<8> text;
    append_format(text, 2, "%100000d", 7);
    text.append("\r\n");
    EXPECT_EQ(text.view(), "     \r\n");
}

TEST(formatting_behind, ends_at_the_first_zero_byte)
{
    bounded_text<8> text;
    text.append("a");
    append_format(text, 1, "b%cd", '\0');
    EXPECT_EQ(text.view(), "ab");
}

TEST(formatting_behind, keeps_what_comes_before_a_failed_conversion)
{
    bounded_text<16> text;
    text.append("old");
    append_format(text, 1, "new%lslost", no_character);
    EXPECT_EQ(text.view(), "oldnew");
}

// Formatting.

TEST(formatted_text, takes_the_place_of_the_old_one_and_fills_up_with_zeros)
{
    bounded_text<8> text;
    fill(text, "xxxxxxxx");
    text.format("%s-%d", "a", 42);
    EXPECT_EQ(room(text), "a-42\0\0\0\0"sv);
}

TEST(formatted_text, fits_with_a_byte_to_spare)
{
    bounded_text<8> text;
    text.format("%s", "123456");
    EXPECT_EQ(room(text), "123456\0\0"sv);
}

TEST(formatted_text, fits_exactly)
{
    bounded_text<8> text;
    text.format("%s", "1234567");
    EXPECT_EQ(room(text), "1234567\0"sv);
}

TEST(formatted_text, is_cut_one_byte_above_the_bound)
{
    bounded_text<8> text;
    text.format("%s", "12345678");
    EXPECT_EQ(room(text), "1234567\0"sv);
}

TEST(formatted_text, is_cut_far_above_the_bound)
{
    bounded_text<8> text;
    text.format("%100000d", 7);
    EXPECT_EQ(room(text), "       \0"sv);
}

TEST(formatted_text, may_be_empty)
{
    bounded_text<8> text;
    text.append("old");
    text.format("%s", "");
    EXPECT_TRUE(text.empty());
}

TEST(formatted_text, ends_at_its_first_zero_byte)
{
    bounded_text<8> text;
    text.format("ab%ccd", '\0');
    EXPECT_EQ(text.view(), "ab");
    text.append("x");
    EXPECT_EQ(text.view(), "abx");
}

TEST(formatted_text, keeps_bytes_of_any_encoding)
{
    bounded_text<8> text;
    text.format("%s", "\x01\x80\xff");
    EXPECT_EQ(text.view(), "\x01\x80\xff");
}

TEST(formatted_text, keeps_what_comes_before_a_failed_conversion)
{
    bounded_text<8> text;
    text.append("old");
    text.format("new%lslost", no_character);
    EXPECT_EQ(text.view(), "new");
}

// Cutting.

TEST(cut_text, ends_at_the_first_of_its_bytes_that_is_an_end)
{
    bounded_text<16> text;
    text.append("ab\ncd\ref");
    text.cut_at_any("\r\n");
    EXPECT_EQ(text.view(), "ab");
}

TEST(cut_text, ends_at_an_end_that_is_named_last)
{
    bounded_text<16> text;
    text.append("ab\rcd\nef");
    text.cut_at_any("\n\r");
    EXPECT_EQ(text.view(), "ab");
}

TEST(cut_text, stays_without_an_end)
{
    bounded_text<8> text;
    text.append("1234567");
    text.cut_at_any("\r\n");
    EXPECT_EQ(room(text), "1234567\0"sv);
}

TEST(cut_text, stays_where_no_end_is_named)
{
    bounded_text<8> text;
    text.append("abc");
    text.cut_at_any("");
    EXPECT_EQ(text.view(), "abc");
}

TEST(cut_text, is_empty_when_it_begins_with_an_end)
{
    bounded_text<8> text;
    text.append("\nabc");
    text.cut_at_any("\n");
    EXPECT_TRUE(text.empty());
}

TEST(cut_text, loses_an_end_in_its_last_byte)
{
    bounded_text<8> text;
    text.append("123456\n");
    text.cut_at_any("\n");
    EXPECT_EQ(text.view(), "123456");
}

TEST(cut_text, may_be_empty_before)
{
    bounded_text<8> text;
    text.cut_at_any("\n");
    EXPECT_EQ(room(text), "\0\0\0\0\0\0\0\0"sv);
}

TEST(cut_text, may_end_at_a_byte_above_ascii)
{
    bounded_text<8> text;
    text.append("a\xff\xfe");
    text.cut_at_any("\xfe");
    EXPECT_EQ(text.view(), "a\xff");
}

// Copying.

TEST(copied_text, is_a_block_of_its_own)
{
    bounded_text<8> text;
    text.append("1234567");
    const heap_text copy(text.copy());
    text.clear();
    EXPECT_STREQ(copy.get(), "1234567");
}

TEST(copied_text, is_an_empty_text_for_an_empty_one)
{
    const bounded_text<8> text;
    EXPECT_STREQ(heap_text(text.copy()).get(), "");
}

TEST(copied_text, ends_at_the_first_zero_byte)
{
    bounded_text<8> text;
    fill(text, "ab\0cd"sv);
    EXPECT_STREQ(heap_text(text.copy()).get(), "ab");
}

TEST(copied_text, is_none_without_memory)
{
    bounded_text<8> text;
    text.append("ab");
    memory_is_short = true;
    const heap_text copy(text.copy());
    memory_is_short = false;
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(text.view(), "ab");
}

// The smallest room.

TEST(text_of_one_byte, stays_empty_whatever_is_stored)
{
    bounded_text<1> text;
    text.append("x");
    EXPECT_EQ(room(text), "\0"sv);
    text.format("%s", "x");
    EXPECT_EQ(room(text), "\0"sv);
    append_format(text, 1, "%s", "x");
    EXPECT_EQ(room(text), "\0"sv);
    *text.data() = 'x';
    text.terminate();
    EXPECT_EQ(room(text), "\0"sv);
}
