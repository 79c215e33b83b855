// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/url_form.h"

#include <string>

#include <gtest/gtest.h>

namespace {

int checked(const std::string &text)
{
    return orvane::check_base64_chars(text.c_str());
}

// The bytes that may stand between these two texts.
std::string accepted_between(const std::string &before, const std::string &behind)
{
    std::string accepted;
    for (int byte = 1; byte < 256; ++byte) {
        const int code = checked(before + static_cast<char>(byte) + behind);
        if (code == 0)
            accepted += static_cast<char>(byte);
        else
            EXPECT_EQ(code, 64) << byte;
    }
    return accepted;
}

constexpr char base64_and_percent_sign[] =
    "%+/0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

} // namespace

TEST(characters_for_url, are_those_of_base64_and_the_percent_sign)
{
    EXPECT_EQ(accepted_between("", ""), base64_and_percent_sign);
}

TEST(characters_for_url, are_the_same_at_every_place)
{
    EXPECT_EQ(accepted_between("", "Ab0"), base64_and_percent_sign);
    EXPECT_EQ(accepted_between("Ab0", "Ab0"), base64_and_percent_sign);
    EXPECT_EQ(accepted_between("Ab0", ""), base64_and_percent_sign);
}

TEST(characters_for_url, may_be_none)
{
    EXPECT_EQ(checked(""), 0);
}

TEST(characters_for_url, may_be_in_any_order)
{
    EXPECT_EQ(checked("=%%/+=a%2b"), 0);
}

TEST(characters_for_url, may_be_many)
{
    EXPECT_EQ(checked(std::string(1048576, '+')), 0);
    EXPECT_EQ(checked(std::string(1048576, '+') + "!"), 64);
}

TEST(characters_for_url, end_at_the_terminator)
{
    EXPECT_EQ(orvane::check_base64_chars("ab\0!"), 0);
    EXPECT_EQ(orvane::check_base64_chars("\0!"), 0);
}
