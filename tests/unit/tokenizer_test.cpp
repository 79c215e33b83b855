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
    orvane::tokenizer walk(text.data(), separators);
    while (const char *const field = walk.next())
        found.emplace_back(field);
    return found;
}

struct split_text : named_case {
    const char *text;
    const char *separators;
    texts fields;
};

class tokens_of : public testing::TestWithParam<split_text> {};

} // namespace

TEST_P(tokens_of, stand_between_runs_of_separators)
{
    EXPECT_EQ(all_fields(GetParam().text, GetParam().separators), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    a_text, tokens_of,
    testing::Values(split_text{"one", "one", "=", {"one"}},
                    split_text{"several", "a=b=c", "=", {"a", "b", "c"}},
                    split_text{"a_run", "a===b", "=", {"a", "b"}},
                    split_text{"a_run_at_the_start", "==a=b", "=", {"a", "b"}},
                    split_text{"a_run_at_the_end", "a=b==", "=", {"a", "b"}},
                    split_text{"a_run_of_different_separators", "a \t b", " \t", {"a", "b"}},
                    split_text{"the_separator_named_last", "a\tb", " \t", {"a", "b"}},
                    split_text{"other_white_space", "a\nb\rc\vd\fe", " \t", {"a\nb\rc\vd\fe"}},
                    split_text{
                        "bytes_above_ascii", "\xff\xa0=\xc3\xbc", "=", {"\xff\xa0", "\xc3\xbc"}},
                    split_text{"a_separator_above_ascii",
                               "a\xff"
                               "b",
                               "\xff",
                               {"a", "b"}},
                    split_text{"no_separator_named", "a=b c", "", {"a=b c"}},
                    split_text{"separators_alone", "===", "=", {}},
                    split_text{"nothing", "", "=", {}}));

TEST(tokenizer, are_cut_out_of_the_text_in_place)
{
    char text[] = "ab=c";
    orvane::tokenizer walk(text, "=");
    EXPECT_EQ(walk.next(), text);
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(walk.next(), text + 3);
}

TEST(tokenizer, stay_at_their_end)
{
    char text[] = "a=";
    orvane::tokenizer walk(text, "=");
    EXPECT_STREQ(walk.next(), "a");
    EXPECT_EQ(walk.next(), nullptr);
    EXPECT_EQ(walk.next(), nullptr);
}

TEST(tokenizer, of_nothing_stay_at_their_end)
{
    char text[] = "";
    orvane::tokenizer walk(text, "=");
    EXPECT_EQ(walk.next(), nullptr);
    EXPECT_EQ(walk.next(), nullptr);
}

TEST(tokenizer, of_two_texts_do_not_meet)
{
    char words[] = "a b";
    char parts[] = "c=d";
    orvane::tokenizer outer(words, " ");
    orvane::tokenizer inner(parts, "=");
    EXPECT_STREQ(outer.next(), "a");
    EXPECT_STREQ(inner.next(), "c");
    EXPECT_STREQ(outer.next(), "b");
    EXPECT_STREQ(inner.next(), "d");
}

TEST(tokenizer, of_a_field_leave_the_outer_walk_where_it_is)
{
    char text[] = "a=b c=d";
    orvane::tokenizer outer(text, " ");
    orvane::tokenizer inner(outer.next(), "=");
    EXPECT_STREQ(inner.next(), "a");
    EXPECT_STREQ(inner.next(), "b");
    EXPECT_EQ(inner.next(), nullptr);
    EXPECT_STREQ(outer.next(), "c=d");
}

TEST(tokenizer, leave_a_walk_of_the_process_where_it_is)
{
    char of_the_process[] = "one two";
    ASSERT_STREQ(std::strtok(of_the_process, " "), "one");
    EXPECT_EQ(all_fields("a b c", " "), (texts{"a", "b", "c"}));
    EXPECT_STREQ(std::strtok(nullptr, " "), "two");
}
