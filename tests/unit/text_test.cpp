// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "support/text.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

texts all_fields(std::string text, const char *separators)
{
    texts found;
    orvane::tokenizer fields(text.data(), separators);
    while (const char *const field = fields.next())
        found.emplace_back(field);
    EXPECT_EQ(fields.next(), nullptr);
    return found;
}

struct split_text : named_case {
    const char *text;
    const char *separators;
    texts fields;
};

class tokenizer_of : public testing::TestWithParam<split_text> {};

} // namespace

TEST_P(tokenizer_of, returns_the_fields_between_runs_of_separators)
{
    EXPECT_EQ(all_fields(GetParam().text, GetParam().separators), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    a_text_with, tokenizer_of,
    testing::Values(split_text{"one_field", "one", "=", {"one"}},
                    split_text{"several_fields", "a=b=c", "=", {"a", "b", "c"}},
                    split_text{"runs_everywhere", "==a===b==", "=", {"a", "b"}},
                    split_text{"different_separators", "a \t b\tc", " \t", {"a", "b", "c"}},
                    split_text{"other_white_space", "a\nb\rc\vd\fe", " \t", {"a\nb\rc\vd\fe"}},
                    split_text{"bytes_above_ascii", "\xff\xa0=\xc3", "=", {"\xff\xa0", "\xc3"}},
                    split_text{"separators_alone", "===", "=", {}},
                    split_text{"nothing", "", "=", {}}));

TEST(tokenizer, keeps_its_position_to_itself)
{
    char of_the_process[] = "one two";
    ASSERT_STREQ(std::strtok(of_the_process, " "), "one");
    char text[] = "a=b c=d";
    orvane::tokenizer words(text, " ");
    orvane::tokenizer parts(words.next(), "=");
    EXPECT_STREQ(parts.next(), "a");
    EXPECT_STREQ(words.next(), "c=d");
    EXPECT_STREQ(parts.next(), "b");
    EXPECT_EQ(parts.next(), nullptr);
    EXPECT_STREQ(std::strtok(nullptr, " "), "two");
}

TEST(has_prefix, compares_whole_prefixes_alone)
{
    EXPECT_TRUE(orvane::has_prefix("nvme0n1", "nvme"));
    EXPECT_TRUE(orvane::has_prefix("nvme", "nvme"));
    EXPECT_TRUE(orvane::has_prefix("nvme", ""));
    EXPECT_FALSE(orvane::has_prefix("nvm", "nvme"));
    EXPECT_FALSE(orvane::has_prefix("NVME0n1", "nvme"));
    EXPECT_FALSE(orvane::has_prefix("xnvme", "nvme"));
}

TEST(or_null, names_an_absent_text)
{
    EXPECT_STREQ(orvane::or_null("text"), "text");
    EXPECT_STREQ(orvane::or_null(nullptr), "(null)");
}
