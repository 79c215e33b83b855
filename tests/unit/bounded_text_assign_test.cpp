// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "support/bounded_text.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_view_literals;
using orvane::bounded_text;

namespace {

struct assignment : named_case {
    std::string_view text;
    std::string_view room; // all bytes, the terminator's included
};

class assigned_text : public testing::TestWithParam<assignment> {};

} // namespace

TEST_P(assigned_text, takes_the_place_of_the_old_one_and_fills_up_with_zeros)
{
    bounded_text<8> text;
    text.append("xxxxxxx");
    text.assign(GetParam().text);
    EXPECT_EQ(std::string_view(text.data(), text.capacity()), GetParam().room);
}

INSTANTIATE_TEST_SUITE_P(bounded_text, assigned_text,
                         testing::Values(assignment{"empty", "", "\0\0\0\0\0\0\0\0"sv},
                                         assignment{"no_text", {}, "\0\0\0\0\0\0\0\0"sv},
                                         assignment{"short", "ab", "ab\0\0\0\0\0\0"sv},
                                         assignment{"one_below", "123456", "123456\0\0"sv},
                                         assignment{"exactly", "1234567", "1234567\0"sv},
                                         assignment{"one_above", "12345678", "1234567\0"sv},
                                         assignment{"far_above", "123456789012345", "1234567\0"sv},
                                         assignment{"a_format", "%s%n%%", "%s%n%%\0\0"sv},
                                         assignment{"any_bytes", "\x01\x80\xff",
                                                    "\x01\x80\xff\0\0\0\0\0"sv}));

TEST(assigning, ends_the_text_at_its_first_zero_byte)
{
    bounded_text<8> text;
    text.assign("ab\0cd"sv);
    EXPECT_EQ(text.view(), "ab");
    text.append("x");
    EXPECT_EQ(text.view(), "abx");
}

TEST(assigning, needs_no_terminator)
{
    bounded_text<8> text;
    text.assign("abcd"sv.substr(1, 2));
    EXPECT_EQ(text.view(), "bc");
}

TEST(assigning, takes_what_another_text_holds)
{
    bounded_text<16> other;
    other.append("0123456789");
    bounded_text<8> text;
    text.assign(other.view());
    EXPECT_EQ(text.view(), "0123456");
    EXPECT_EQ(other.view(), "0123456789");
}

TEST(assigning, leaves_the_smallest_room_empty)
{
    bounded_text<1> text;
    text.assign("x");
    EXPECT_TRUE(text.empty());
}
