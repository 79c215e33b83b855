// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The machine types, their names, and the identifications they are known by.
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

const type_name type_names[] = {
    {"TYPE_LENOVO", 0},      {"TYPE_GREATWALL", 1},     {"TYPE_INSPUR", 2},
    {"TYPE_TONGFANG", 3},    {"TYPE_BAIXIN", 4},        {"TYPE_SHUGUANG", 5},
    {"TYPE_HAIER", 6},       {"TYPE_706SUO", 7},        {"TYPE_KUNTAI", 8},
    {"TYPE_ZIGUANG", 9},     {"TYPE_SEEWO", 10},        {"TYPE_LIANSHUO", 11},
    {"TYPE_HUAWEI", 12},     {"TYPE_UNKNOWN", -1},      {"TYPE_UNKNOWN", -2},
    {"TYPE_UNKNOWN", 13},    {"TYPE_UNKNOWN", 14},      {"TYPE_UNKNOWN", 256},
    {"TYPE_UNKNOWN", 65536}, {"TYPE_UNKNOWN", INT_MIN}, {"TYPE_UNKNOWN", INT_MAX},
};

class machine_type : public testing::TestWithParam<type_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, machine_type, testing::ValuesIn(type_names));

TEST_P(machine_type, has_a_static_name)
{
    EXPECT_STREQ(machineTypeToString(GetParam().type), GetParam().name);
    EXPECT_EQ(machineTypeToString(GetParam().type), machineTypeToString(GetParam().type));
}

// The table.

namespace {

struct identification : named_case {
    int type;
};

const identification identifications[] = {
    {"lenovo", 0},
    {"KaiTian", 0},
    {"LENOVO", 0},
    {"greatwall", 1},
    {"great wall", 1},
    {"GreatWall", 1},
    {"Great Wall", 1},
    {"Great wall", 1},
    {"inspur", 2},
    {"Inspur", 2},
    {"THTF", 3},
    {"Baixin", 4},
    {"Suma", 5},
    {"Haier", 6},
    {"beijinginstituteofcomputertechnologyandapplication", 7},
    {"Beijing Institute of Computer Technology and Application", 7},
    {"yunke china", 8},
    {"H3C", 9},
    {"UNIS", 9},
    {"UNICOMPUTE", 9},
    {"LANXCBCOMPUTER", 9},
    {"seewo", 10},
    {"LIANSHUO COMPUTER", 11},
    {"HUAWEI", 12},
};

class manufacturer_type : public testing::TestWithParam<std::size_t> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, manufacturer_type, testing::Range<std::size_t>(0, 24));

TEST_P(manufacturer_type, stands_in_its_place_and_is_found_by_its_start)
{
    ASSERT_EQ(std::size(manufacturerType), std::size(identifications));
    const auto &[identification, type] = manufacturerType[GetParam()];
    EXPECT_STREQ(identification, identifications[GetParam()].name);
    EXPECT_EQ(type, identifications[GetParam()].type);

    const std::string whole = identification;
    EXPECT_EQ(findTypeEnum(whole.c_str()), type);
    EXPECT_EQ(findTypeEnum(whole.substr(0, whole.size() - 1).c_str()), type);
    EXPECT_EQ(findTypeEnum((whole + "x").c_str()), -1);
    EXPECT_EQ(findTypeEnum(whole.substr(1).c_str()), -1);
}

namespace {

class identification_start : public testing::TestWithParam<identification> {};

} // namespace

TEST_P(identification_start, is_of_the_first_entry_that_begins_so)
{
    EXPECT_EQ(findTypeEnum(GetParam().name), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    of_one_letter, identification_start,
    testing::Values(identification{"l", 0}, identification{"K", 0}, identification{"L", 0},
                    identification{"g", 1}, identification{"G", 1}, identification{"i", 2},
                    identification{"I", 2}, identification{"T", 3}, identification{"B", 4},
                    identification{"S", 5}, identification{"H", 6}, identification{"b", 7},
                    identification{"y", 8}, identification{"U", 9}, identification{"s", 10}));

INSTANTIATE_TEST_SUITE_P(of_several_letters, identification_start,
                         testing::Values(identification{"LE", 0}, identification{"LI", 11},
                                         identification{"LA", 9}, identification{"Be", 7},
                                         identification{"H3", 9}, identification{"HU", 12},
                                         identification{"Great", 1}, identification{"UNI", 9},
                                         identification{"yunke ", 8}));

INSTANTIATE_TEST_SUITE_P(
    of_none, identification_start,
    testing::Values(identification{"Lenovo", -1}, identification{"kaitian", -1},
                    identification{"GREATWALL", -1}, identification{"INSPUR", -1},
                    identification{"h3c", -1}, identification{"Huawei", -1},
                    identification{"huawei", -1}, identification{" ", -1},
                    identification{" lenovo", -1}, identification{"lenovo ", -1},
                    identification{"LENOVO\n", -1}, identification{"Great  Wall", -1},
                    identification{"Great\tWall", -1}, identification{"yunkechina", -1},
                    identification{"LIANSHUOCOMPUTER", -1}, identification{"Dell Inc.", -1},
                    identification{"tongfang", -1}, identification{"TYPE_LENOVO", -1},
                    identification{"0", -1}, identification{"\xff", -1},
                    identification{"lenovo\xc3\xbc", -1}));

TEST(identification_start, of_nothing_is_of_the_first_entry_and_a_null_of_none)
{
    EXPECT_EQ(findTypeEnum(""), 0);
    EXPECT_EQ(findTypeEnum(nullptr), -1);
    EXPECT_EQ(findTypeEnum(("LENOVO" + std::string(5000, 'O')).c_str()), -1);
}

// Prefixes.

namespace {

struct comparison : named_case {
    const char *manufacturer;
    const char *pattern;
    bool expected;
};

const comparison comparisons[] = {
    {"that_is_the_name", "LENOVO", "LENOVO", true},
    {"that_begins_the_name", "THTF Computer", "THTF", true},
    {"of_one_byte", "LENOVO", "L", true},
    {"that_is_empty", "LENOVO", "", true},
    {"that_is_empty_as_the_name_is", "", "", true},
    {"beyond_ascii", "M\xc3\xbcller\xff", "M\xc3\xbc", true},
    {"longer_than_the_name", "LENOV", "LENOVO", false},
    {"of_an_empty_name", "", "LENOVO", false},
    {"other_in_the_last_byte", "LENOVA", "LENOVO", false},
    {"other_in_the_first_byte", "lENOVO", "LENOVO", false},
    {"in_other_case", "LENOVO", "lenovo", false},
    {"inside_the_name", "The LENOVO", "LENOVO", false},
    {"with_other_blanks", "Great  Wall", "Great Wall", false},
    {"of_no_name", nullptr, "LENOVO", false},
    {"empty_of_no_name", nullptr, "", false},
    {"that_is_none", "LENOVO", nullptr, false},
    {"that_is_none_of_no_name", nullptr, nullptr, false},
};

class pattern : public testing::TestWithParam<comparison> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, pattern, testing::ValuesIn(comparisons));

TEST_P(pattern, matches_where_it_begins_the_name_byte_for_byte)
{
    EXPECT_EQ(maching_machine_type_with_dmidecode(GetParam().manufacturer, GetParam().pattern),
              GetParam().expected);
}
