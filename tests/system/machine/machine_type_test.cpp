// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "orvane.h"

#include <climits>
#include <cstddef>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

// Numbers and their names.

namespace {

struct type_name : named_case {
    int type;
};

class machine_type : public testing::TestWithParam<type_name> {};

} // namespace

TEST_P(machine_type, has_its_name)
{
    EXPECT_STREQ(machineTypeToString(GetParam().type), GetParam().name);
}

TEST_P(machine_type, has_a_static_name)
{
    EXPECT_EQ(machineTypeToString(GetParam().type), machineTypeToString(GetParam().type));
}

INSTANTIATE_TEST_SUITE_P(known, machine_type,
                         testing::Values(type_name{"TYPE_LENOVO", 0},
                                         type_name{"TYPE_GREATWALL", 1},
                                         type_name{"TYPE_INSPUR", 2}, type_name{"TYPE_TONGFANG", 3},
                                         type_name{"TYPE_BAIXIN", 4}, type_name{"TYPE_SHUGUANG", 5},
                                         type_name{"TYPE_HAIER", 6}, type_name{"TYPE_706SUO", 7},
                                         type_name{"TYPE_KUNTAI", 8}, type_name{"TYPE_ZIGUANG", 9},
                                         type_name{"TYPE_SEEWO", 10},
                                         type_name{"TYPE_LIANSHUO", 11},
                                         type_name{"TYPE_HUAWEI", 12}));

namespace {

class no_machine_type : public testing::TestWithParam<int> {};

} // namespace

TEST_P(no_machine_type, is_of_an_unknown_name)
{
    EXPECT_STREQ(machineTypeToString(GetParam()), "TYPE_UNKNOWN");
}

INSTANTIATE_TEST_SUITE_P(number, no_machine_type,
                         testing::Values(-1, -2, 13, 14, 255, 256, 65536, INT_MIN, INT_MIN + 1,
                                         INT_MAX));

// The table of those who are known.

namespace {

struct known_name : named_case {
    std::size_t entry;
    int type;
};

const known_name known_names[] = {
    {"lenovo", 0, 0},
    {"KaiTian", 1, 0},
    {"LENOVO", 2, 0},
    {"greatwall", 3, 1},
    {"great wall", 4, 1},
    {"GreatWall", 5, 1},
    {"Great Wall", 6, 1},
    {"Great wall", 7, 1},
    {"inspur", 8, 2},
    {"Inspur", 9, 2},
    {"THTF", 10, 3},
    {"Baixin", 11, 4},
    {"Suma", 12, 5},
    {"Haier", 13, 6},
    {"beijinginstituteofcomputertechnologyandapplication", 14, 7},
    {"Beijing Institute of Computer Technology and Application", 15, 7},
    {"yunke china", 16, 8},
    {"H3C", 17, 9},
    {"UNIS", 18, 9},
    {"UNICOMPUTE", 19, 9},
    {"LANXCBCOMPUTER", 20, 9},
    {"seewo", 21, 10},
    {"LIANSHUO COMPUTER", 22, 11},
    {"HUAWEI", 23, 12},
};

class known_manufacturer : public testing::TestWithParam<known_name> {};

} // namespace

TEST(manufacturer_type, has_24_entries)
{
    EXPECT_EQ(std::size(manufacturerType), 24U);
}

INSTANTIATE_TEST_SUITE_P(table, known_manufacturer, testing::ValuesIn(known_names));

TEST_P(known_manufacturer, has_its_entry)
{
    const orvane_manufacturer_type &entry = manufacturerType[GetParam().entry];
    EXPECT_STREQ(entry.identification, GetParam().name);
    EXPECT_EQ(entry.type, GetParam().type);
}

TEST_P(known_manufacturer, is_found_by_the_whole_name)
{
    EXPECT_EQ(findTypeEnum(GetParam().name), GetParam().type);
}

TEST_P(known_manufacturer, is_found_without_the_last_letter)
{
    const std::string name = GetParam().name;
    EXPECT_EQ(findTypeEnum(name.substr(0, name.size() - 1).c_str()), GetParam().type);
}

TEST_P(known_manufacturer, is_not_found_with_a_letter_more)
{
    EXPECT_EQ(findTypeEnum((std::string(GetParam().name) + "x").c_str()), -1);
}

TEST_P(known_manufacturer, is_not_found_without_the_first_letter)
{
    EXPECT_EQ(findTypeEnum(GetParam().name + 1), -1);
}

// The start of a name.

namespace {

struct start_of_a_name : named_case {
    int type;
};

class looked_up_start : public testing::TestWithParam<start_of_a_name> {};

} // namespace

TEST_P(looked_up_start, is_of_the_first_entry_that_goes_on_behind_it)
{
    EXPECT_EQ(findTypeEnum(GetParam().name), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    one_letter, looked_up_start,
    testing::Values(start_of_a_name{"l", 0}, start_of_a_name{"K", 0}, start_of_a_name{"L", 0},
                    start_of_a_name{"g", 1}, start_of_a_name{"G", 1}, start_of_a_name{"i", 2},
                    start_of_a_name{"I", 2}, start_of_a_name{"T", 3}, start_of_a_name{"B", 4},
                    start_of_a_name{"S", 5}, start_of_a_name{"H", 6}, start_of_a_name{"b", 7},
                    start_of_a_name{"y", 8}, start_of_a_name{"U", 9}, start_of_a_name{"s", 10}));

INSTANTIATE_TEST_SUITE_P(several_letters, looked_up_start,
                         testing::Values(start_of_a_name{"LE", 0}, start_of_a_name{"LI", 11},
                                         start_of_a_name{"LA", 9}, start_of_a_name{"Ba", 4},
                                         start_of_a_name{"Be", 7}, start_of_a_name{"Ha", 6},
                                         start_of_a_name{"H3", 9}, start_of_a_name{"HU", 12},
                                         start_of_a_name{"Great", 1}, start_of_a_name{"UNI", 9},
                                         start_of_a_name{"yunke ", 8}));

TEST(looked_up_name, is_of_the_first_entry_when_it_is_empty)
{
    EXPECT_EQ(findTypeEnum(""), 0);
}

TEST(looked_up_name, is_unknown_when_it_is_null)
{
    EXPECT_EQ(findTypeEnum(nullptr), -1);
}

TEST(looked_up_name, is_unknown_when_it_goes_on_for_5000_bytes)
{
    EXPECT_EQ(findTypeEnum(("LENOVO" + std::string(5000, 'O')).c_str()), -1);
}

// Names that are not known.

namespace {

class other_name : public testing::TestWithParam<const char *> {};

} // namespace

TEST_P(other_name, has_no_type)
{
    EXPECT_EQ(findTypeEnum(GetParam()), -1);
}

INSTANTIATE_TEST_SUITE_P(in_other_case, other_name,
                         testing::Values("Lenovo", "kaitian", "GREATWALL", "Great WALL", "INSPUR",
                                         "thtf", "baixin", "suma", "haier",
                                         "beijing institute of computer technology and application",
                                         "Yunke China", "h3c", "unis", "unicompute",
                                         "lanxcbcomputer", "Seewo", "lianshuo computer", "huawei",
                                         "Huawei"));

INSTANTIATE_TEST_SUITE_P(with_other_blanks, other_name,
                         testing::Values(" ", " lenovo", "lenovo ", "LENOVO\n", "Great  Wall",
                                         "Great\tWall", "yunkechina", "LIANSHUOCOMPUTER"));

INSTANTIATE_TEST_SUITE_P(of_somebody_else, other_name,
                         testing::Values("Dell Inc.", "enovo", "706suo", "tongfang", "TYPE_LENOVO",
                                         "0", "\xff", "lenovo\xc3\xbc"));

// Prefixes.

namespace {

struct compared : named_case {
    const char *manufacturer;
    const char *pattern;
    bool expected;
};

class prefix_test : public testing::TestWithParam<compared> {};

} // namespace

TEST_P(prefix_test, compares_byte_for_byte)
{
    EXPECT_EQ(maching_machine_type_with_dmidecode(GetParam().manufacturer, GetParam().pattern),
              GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    of_a_pattern, prefix_test,
    testing::Values(compared{"that_is_the_name", "LENOVO", "LENOVO", true},
                    compared{"that_begins_the_name", "THTF Computer", "THTF", true},
                    compared{"of_one_byte", "LENOVO", "L", true},
                    compared{"that_is_empty", "LENOVO", "", true},
                    compared{"that_is_empty_as_the_name_is", "", "", true},
                    compared{"beyond_ascii", "M\xc3\xbcller\xff", "M\xc3\xbc", true},
                    compared{"longer_than_the_name", "LENOV", "LENOVO", false},
                    compared{"of_an_empty_name", "", "LENOVO", false},
                    compared{"other_in_the_last_byte", "LENOVA", "LENOVO", false},
                    compared{"other_in_the_first_byte", "lENOVO", "LENOVO", false},
                    compared{"in_other_case", "LENOVO", "lenovo", false},
                    compared{"inside_the_name", "The LENOVO", "LENOVO", false},
                    compared{"with_other_blanks", "Great  Wall", "Great Wall", false},
                    compared{"of_no_name", nullptr, "LENOVO", false},
                    compared{"empty_of_no_name", nullptr, "", false},
                    compared{"that_is_none", "LENOVO", nullptr, false},
                    compared{"that_is_none_of_an_empty_name", "", nullptr, false},
                    compared{"that_is_none_of_no_name", nullptr, nullptr, false}));
