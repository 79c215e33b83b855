// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "machine/manufacturer.h"
#include "machine/manufacturer_match.h"
#include "support/glib_handles.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// What becomes of the manufacturer's own text.
struct matched_text : named_case {
    const char *key_file;
    int type;
};

class matched_manufacturer : public on_machine, public testing::WithParamInterface<matched_text> {
protected:
    static std::string text_after_match(bool ignore_case)
    {
        const orvane::unique_key_file patterns(::g_key_file_new());
        const std::string text = GetParam().key_file;
        ::g_key_file_load_from_data(patterns.get(), text.data(), text.size(), G_KEY_FILE_NONE,
                                    nullptr);
        std::string manufacturer = " Great Wall\tLtd\n";
        EXPECT_EQ(orvane::match_manufacturer(manufacturer.data(), patterns.get(), ignore_case),
                  ignore_case ? GetParam().type : -1);
        return manufacturer.c_str();
    }
};

const matched_text matched_texts[] = {
    {"with_a_match", "[manufacturer_patterns]\na=Suma\nb=Great Wall\n", 1},
    {"with_one_of_several", "[manufacturer_patterns]\na=Suma|Great Wall\n", 1},
    {"without_a_match", "[manufacturer_patterns]\na=Suma\n", -1},
    {"without_keys", "[manufacturer_patterns]\n", -1},
    {"without_the_group", "[other]\na=Great Wall\n", -1},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, matched_manufacturer, testing::ValuesIn(matched_texts));

TEST_P(matched_manufacturer, is_lowered_and_without_blanks_where_case_does_not_matter)
{
    EXPECT_EQ(text_after_match(true), "greatwall\tltd");
}

TEST_P(matched_manufacturer, stays_as_it_was_where_case_matters)
{
    EXPECT_EQ(text_after_match(false), " Great Wall\tLtd\n");
}

// Where the manufacturer comes from.

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

class system_manufacturer : public on_machine {
protected:
    [[nodiscard]] static owned_text asked()
    {
        return owned_text(orvane::get_system_manufacturer().release());
    }
};

} // namespace

TEST_F(system_manufacturer, is_what_dmidecode_prints_for_the_keyword)
{
    machine.script(dmidecode, "[ $1 != -s ] || echo ' Example Inc. '");
    EXPECT_EQ(asked().value(), " Example Inc. ");
    EXPECT_EQ(machine.runs(dmidecode).size(), 1U);
}

TEST_F(system_manufacturer, is_what_the_table_says_where_the_keyword_prints_nothing)
{
    machine.script(dmidecode, "[ $1 = -s ] || printf 'Family: X\\n\\tManufacturer: Example: Y\\n'");
    EXPECT_EQ(asked().value(), "Example");
    EXPECT_EQ(machine.runs(dmidecode).size(), 2U);
}

TEST_F(system_manufacturer, is_empty_where_the_first_line_is)
{
    machine.script(dmidecode, "echo");
    const owned_text manufacturer = asked();
    EXPECT_FALSE(manufacturer.is_null());
    EXPECT_EQ(manufacturer.value(), "");
}

TEST_F(system_manufacturer, is_none_without_dmidecode)
{
    EXPECT_TRUE(asked().is_null());
}

TEST_F(system_manufacturer, is_each_caller_s_own)
{
    machine.script(dmidecode, "echo Example");
    const orvane::heap_text one = orvane::get_system_manufacturer();
    const orvane::heap_text other = orvane::get_system_manufacturer();
    EXPECT_NE(one, other);
    EXPECT_STREQ(one.get(), "Example");
    EXPECT_STREQ(other.get(), "Example");
}
