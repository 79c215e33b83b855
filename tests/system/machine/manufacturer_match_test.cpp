// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How a key file's patterns are compared with the manufacturer.
#include "builtin_patterns.h"
#include "manufacturer_machine.h"
#include "trace_lines.h"

#include <cstring>
#include <filesystem>
#include <string>

namespace {

// A machine, the patterns that it is compared with, its type and its trace.
struct matching : named_case {
    const char *manufacturer;
    pattern_list list;
    int type;
    texts trace;
};

class manufacturer_match : public manufacturer_machine {
protected:
    static int type_of(const char *manufacturer, const owned_key_file &kf, bool ignore_case)
    {
        simulate(manufacturer);
        return maching_machine_type(kf.get(), ignore_case);
    }

    void expect(const matching &expected, bool ignore_case) const
    {
        EXPECT_EQ(type_of(expected.manufacturer, patterns_of(expected.list), ignore_case),
                  expected.type);
        expect_trace(expected.trace);
    }
};

class exact_match : public manufacturer_match, public testing::WithParamInterface<matching> {};
class match_without_case : public manufacturer_match,
                           public testing::WithParamInterface<matching> {};

} // namespace

TEST_P(exact_match, gives_the_type)
{
    expect(GetParam(), false);
}

TEST_P(match_without_case, gives_the_type)
{
    expect(GetParam(), true);
}

// One pattern for a key.

INSTANTIATE_TEST_SUITE_P(
    of_one_pattern, exact_match,
    testing::Values(matching{"that_is_the_name", "LENOVO", {{"k", "LENOVO"}}, 0, {}},
                    matching{"that_begins_the_name", "LENOVO Ltd", {{"k", "LENOVO"}}, 0, {}},
                    matching{"that_is_the_start_of_a_known_one", "HUAWEI", {{"k", "HU"}}, 12, {}},
                    matching{"that_is_not_known", "Dell Inc.", {{"k", "Dell"}}, -1, {}},
                    matching{"named_like_the_manufacturer", "LENOVO", {{"LENOVO", "Suma"}}, -1, {}},
                    matching{"longer_than_the_name", "LENOV", {{"k", "LENOVO"}}, -1, {}},
                    matching{"inside_the_name", "The LENOVO", {{"k", "LENOVO"}}, -1, {}},
                    matching{"in_other_case", "LENOVO", {{"k", "lenovo"}}, -1, {}},
                    matching{"with_blanks_around", "LENOVO", {{"k", " LENOVO "}}, -1, {}},
                    matching{"of_an_empty_name", "", {{"k", "LENOVO"}}, -1, {}},
                    matching{"that_is_empty", "LENOVO", {{"k", ""}}, -1, {}},
                    matching{"that_is_empty_as_the_name_is", "", {{"k", ""}}, -1, {}},
                    matching{"of_blanks_alone", "LENOVO", {{"k", "  "}}, -1, {}},
                    matching{"with_other_separators", "HUAWEI", {{"k", "HU;HUAWEI"}}, -1, {}}));

INSTANTIATE_TEST_SUITE_P(
    of_one_pattern, match_without_case,
    testing::Values(
        matching{"in_the_case_of_the_name", "inspur", {{"k", "inspur"}}, 2, {}},
        matching{"in_other_case", "INSPUR Co", {{"k", "inSpur"}}, 2, {}},
        matching{
            "with_blanks_where_the_name_has_none", "greatwall", {{"k", "G reat W all"}}, 1, {}},
        matching{"with_a_newline", "greatwall", {{"k", "Great\nWall"}}, 1, {}},
        matching{"without_the_blanks_of_the_name", " Great\n  Wall ", {{"k", "greatwall"}}, 1, {}},
        matching{"with_a_tab_that_the_name_has_not", "greatwall", {{"k", "great\twall"}}, -1, {}},
        matching{"without_the_tab_of_the_name", "Great\tWall", {{"k", "greatwall"}}, -1, {}},
        matching{"that_is_known_with_capitals_alone", "HUAWEI", {{"k", "HUAWEI"}}, -1, {}},
        matching{"that_is_known_with_blanks_alone", "yunke china", {{"k", "yunke china"}}, -1, {}},
        matching{"that_is_empty", "LENOVO", {{"k", ""}}, -1, {}},
        matching{"of_blanks_alone", "Dell Inc.", {{"k", "  "}}, 0, {}},
        matching{"for_a_name_of_blanks_alone", "  ", {{"k", "lenovo"}}, -1, {}},
        matching{"with_letters_beyond_ascii", "M\xc3\x9cLLER", {{"k", "m\xc3\xbcller"}}, -1, {}},
        matching{"of_the_same_letters_beyond_ascii", "L\xff", {{"k", "l"}}, 0, {}}));

// Several patterns for a key.

INSTANTIATE_TEST_SUITE_P(
    of_joined_patterns, exact_match,
    testing::Values(
        matching{"by_the_first",
                 "HUAWEI",
                 {{"k", "HU|Suma"}},
                 12,
                 {trace_line::matched("HUAWEI", "HU")}},
        matching{"by_the_second",
                 "HUAWEI",
                 {{"k", "Suma|HU"}},
                 12,
                 {trace_line::matched("HUAWEI", "HU")}},
        matching{"by_the_last_of_four",
                 "Haier Group",
                 {{"k", "Suma|THTF|H3C|Haier"}},
                 6,
                 {trace_line::matched("Haier Group", "Haier")}},
        matching{"by_none", "HUAWEI", {{"k", "Suma|THTF|huawei"}}, -1, {}},
        matching{
            "by_two_the_first", "HUAWEI", {{"k", "H|HU"}}, 6, {trace_line::matched("HUAWEI", "H")}},
        matching{"by_two_the_longer_first",
                 "HUAWEI",
                 {{"k", "HU|H"}},
                 12,
                 {trace_line::matched("HUAWEI", "HU")}},
        matching{"by_one_that_is_not_known",
                 "HUAWEI Ltd",
                 {{"k", "HUAWEI L|HU"}},
                 -1,
                 {trace_line::matched("HUAWEI Ltd", "HUAWEI L")}},
        matching{"with_blanks_around", "HUAWEI", {{"k", "Suma | HU"}}, -1, {}},
        matching{"by_their_whole_value",
                 "H|HU",
                 {{"k", "Suma|H|HU"}},
                 6,
                 {trace_line::matched("H|HU", "H")}},
        matching{"of_a_name_with_percent_signs",
                 "100%s%n",
                 {{"k", "x|100%s"}},
                 -1,
                 {trace_line::matched("100%s%n", "100%s")}},
        matching{"of_a_name_with_control_characters",
                 "HUAWEI\n\x1b[2J",
                 {{"k", "x|HU"}},
                 12,
                 {trace_line::matched("HUAWEI\\x0a\\x1b[2J", "HU")}}));

INSTANTIATE_TEST_SUITE_P(
    of_joined_patterns, match_without_case,
    testing::Values(matching{"by_the_first",
                             "Great Wall",
                             {{"k", "GREAT WALL|Suma"}},
                             1,
                             {trace_line::matched("greatwall", "greatwall")}},
                    matching{"by_the_second",
                             " INSPUR Ltd",
                             {{"k", "Great Wall| In Spur "}},
                             2,
                             {trace_line::matched("inspurltd", "inspur")}},
                    matching{"by_none", "Great Wall", {{"k", "Great\tWall|Suma"}}, -1, {}},
                    matching{"by_one_that_is_not_known",
                             "Huawei",
                             {{"k", "HUAWEI|H"}},
                             -1,
                             {trace_line::matched("huawei", "huawei")}},
                    matching{"by_one_of_blanks_alone",
                             "Dell",
                             {{"k", "Suma|  |x"}},
                             0,
                             {trace_line::matched("dell", "")}}));

// A pattern that is empty beside others is the start of every name.

INSTANTIATE_TEST_SUITE_P(
    of_an_empty_pattern, exact_match,
    testing::Values(
        matching{"at_the_start", "HUAWEI", {{"k", "|HU"}}, 0, {trace_line::matched("HUAWEI", "")}},
        matching{"at_the_end", "Dell", {{"k", "Suma|"}}, 0, {trace_line::matched("Dell", "")}},
        matching{"at_the_end_behind_a_match",
                 "HUAWEI",
                 {{"k", "HU|"}},
                 12,
                 {trace_line::matched("HUAWEI", "HU")}},
        matching{
            "between_two", "HUAWEI", {{"k", "Suma||HU"}}, 0, {trace_line::matched("HUAWEI", "")}},
        matching{"beside_another", "Dell", {{"k", "|"}}, 0, {trace_line::matched("Dell", "")}},
        matching{"for_an_empty_name", "", {{"k", "Suma|"}}, 0, {trace_line::matched("", "")}},
        matching{"that_is_a_blank_here", "Dell", {{"k", "Suma| "}}, -1, {}}));

// Several keys.

INSTANTIATE_TEST_SUITE_P(
    of_several_keys, exact_match,
    testing::Values(
        matching{"by_the_first", "HUAWEI", {{"b", "H"}, {"a", "HU"}}, 6, {}},
        matching{"by_the_first_though_it_is_longer", "HUAWEI", {{"b", "HU"}, {"a", "H"}}, 12, {}},
        matching{"by_the_last", "HUAWEI", {{"a", "Suma"}, {"b", "THTF"}, {"c", "HU"}}, 12, {}},
        matching{"by_none", "HUAWEI", {{"a", "Suma"}, {"b", "THTF|H3C"}}, -1, {}},
        matching{"behind_an_empty_one", "HUAWEI", {{"a", ""}, {"b", "HU"}}, 12, {}},
        matching{
            "by_one_that_is_not_known", "HUAWEI Ltd", {{"a", "HUAWEI L"}, {"b", "HU"}}, -1, {}},
        matching{"by_a_joined_one_that_is_not_known",
                 "HUAWEI Ltd",
                 {{"a", "x|HUAWEI L"}, {"b", "HU"}},
                 -1,
                 {trace_line::matched("HUAWEI Ltd", "HUAWEI L")}},
        matching{"behind_joined_ones",
                 "HUAWEI",
                 {{"a", "Suma|THTF"}, {"b", "H3C|HU"}, {"c", "H"}},
                 12,
                 {trace_line::matched("HUAWEI", "HU")}},
        matching{"by_a_single_one_behind_joined_ones",
                 "HUAWEI",
                 {{"a", "Suma|THTF"}, {"b", "HU"}},
                 12,
                 {}}));

INSTANTIATE_TEST_SUITE_P(
    of_several_keys, match_without_case,
    testing::Values(
        matching{"by_one_that_is_not_known", "Huawei", {{"a", "Huawei"}, {"b", "  "}}, -1, {}},
        matching{"by_the_last", "Huawei Inc", {{"a", "Suma"}, {"b", " "}}, 0, {}}));

// The key file.

TEST_F(manufacturer_match, takes_the_keys_in_the_order_of_the_file)
{
    const owned_key_file kf = key_file_of("# Patterns of the example\n"
                                          "[other]\n"
                                          "first=Suma\n"
                                          "[manufacturer_patterns]\n"
                                          "z=H3C\n"
                                          "# the longer one first\n"
                                          "m = HU\n"
                                          "a=H\n");
    EXPECT_EQ(type_of("HUAWEI", kf, false), 12);
    EXPECT_EQ(type_of("Haier", kf, false), 6);
    EXPECT_EQ(type_of("Suma", kf, false), -1);
}

TEST_F(manufacturer_match, takes_values_as_they_are_written)
{
    const owned_key_file kf = key_file_of("[manufacturer_patterns]\n"
                                          "a=great\\swall\n"
                                          "b=great\n");
    EXPECT_EQ(type_of("great wall", kf, false), 1);
    EXPECT_EQ(type_of("great\\swall", kf, false), -1);
}

TEST_F(manufacturer_match, has_no_type_without_the_group)
{
    EXPECT_EQ(type_of("Suma", key_file_of(""), false), -1);
    EXPECT_EQ(type_of("Suma", key_file_of("[Manufacturer_patterns]\na=Suma\n"), false), -1);
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(manufacturer_match, traces_that_the_group_has_no_keys)
{
    const owned_key_file kf = key_file_of("[manufacturer_patterns]\n[x]\na=Suma\n");
    EXPECT_EQ(maching_machine_type(kf.get(), false), -1); // no manufacturer either
    expect_trace({});
    EXPECT_EQ(type_of("Suma", kf, false), -1);
    expect_trace({trace_line::no_patterns});
}

TEST_F(manufacturer_match, has_no_type_without_a_key_file_and_runs_nothing)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    EXPECT_EQ(maching_machine_type(nullptr, false), -1);
    EXPECT_EQ(maching_machine_type(nullptr, true), -1);
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(manufacturer_match, leaves_the_key_file_as_it_was)
{
    const std::string text = "[manufacturer_patterns]\na=Suma | TH TF\nb=Great Wall\nc=H3C|UNIS\n";
    const owned_key_file kf = key_file_of(text);
    for (const char *const manufacturer : {"GREAT WALL", "H3C", "Dell Inc.", "Thtf"}) {
        type_of(manufacturer, kf, true);
        type_of(manufacturer, kf, false);
    }
    EXPECT_EQ(text_of(kf.get()), text);
}

TEST_F(manufacturer_match, is_the_same_where_the_trace_log_cannot_be_written)
{
    machine.file("/var/log/orvane", "no directory");
    const owned_key_file kf = patterns_of({{"a", "Suma|HU"}});
    standard_error_of([&kf] { EXPECT_EQ(type_of("HUAWEI", kf, false), 12); });
}

// Programs that define the exported steps themselves.

TEST_F(manufacturer_match, compares_and_looks_up_by_the_exported_functions)
{
    texts compared;
    interpose::maching_machine_type_with_dmidecode = [&](const char *name, const char *pattern) {
        compared.push_back(name + std::string(" with ") + pattern);
        return std::strcmp(pattern, "unis") == 0;
    };
    interpose::findTypeEnum = [](const char *name) {
        return std::strcmp(name, "unis") == 0 ? 77 : -1;
    };
    EXPECT_EQ(type_of("Dell Inc.", patterns_of({{"b", "Su ma"}, {"a", "H3C| |UN IS"}}), true), 77);
    EXPECT_EQ(compared, (texts{"dellinc. with suma", "dellinc. with h3c", "dellinc. with ",
                               "dellinc. with unis"}));
}

TEST_F(manufacturer_match, ignores_case_by_the_exported_text_functions)
{
    interpose::toLowerCase = [](char *) {};
    EXPECT_EQ(type_of("Great  Wall", patterns_of({{"a", "GreatWall"}}), true), 1);
    EXPECT_EQ(type_of("Great Wall", patterns_of({{"a", "greatwall"}}), true), -1);
    interpose::removeSpaces = [](char *) {};
    EXPECT_EQ(type_of("Great Wall", patterns_of({{"a", "GreatWall"}}), true), -1);
}

// The library's own sets.

namespace {

struct built_in_set : named_case {
    GKeyFile *(*build)();
    std::string text;
};

const built_in_set built_in_sets[] = {
    {"exact", generate_machine_whitelist, exact_patterns},
    {"ignore_case", generate_machine_whitelist_ignore_case, patterns_without_case},
};

class built_in_patterns : public on_machine, public testing::WithParamInterface<built_in_set> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, built_in_patterns, testing::ValuesIn(built_in_sets));

TEST_P(built_in_patterns, are_built_in_their_order_in_silence_and_for_each_caller)
{
    EXPECT_EQ(standard_error_of([] {
                  const owned_key_file one(GetParam().build());
                  EXPECT_EQ(text_of(one.get()), GetParam().text);
                  ::g_key_file_remove_group(one.get(), "manufacturer_patterns", nullptr);
                  const owned_key_file other(GetParam().build());
                  EXPECT_EQ(text_of(other.get()), GetParam().text);
              }),
              "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

namespace {

struct classification : named_case {
    const char *manufacturer;
    int exact;       // by the exact set
    int ignore_case; // by the set to ignore case with
    texts trace = {};
};

const classification classifications[] = {
    {"lenovo", "lenovo Group", 0, -1, {trace_line::matched("lenovo Group", "lenovo")}},
    {"kaitian", "KaiTian", 0, -1, {trace_line::matched("KaiTian", "KaiTian")}},
    {"lenovo_in_capitals", "LENOVO", 0, -1, {trace_line::matched("LENOVO", "LENOVO")}},
    {"lenovo_in_other_case", "Lenovo", -1, -1},
    {"thtf", "THTF Computer", 3, -1},
    {"baixin", "Baixin Co., Ltd.", 4, -1},
    {"suma", "Suma", 5, -1},
    {"haier", "Haier Group", 6, -1},
    {"yunke_china", "yunke china Ltd", 8, -1},
    {"h3c", "H3C Technologies", 9, -1, {trace_line::matched("H3C Technologies", "H3C")}},
    {"unis", "UNIS", 9, -1, {trace_line::matched("UNIS", "UNIS")}},
    {"unicompute", "UNICOMPUTER", 9, -1, {trace_line::matched("UNICOMPUTER", "UNICOMPUTE")}},
    {"lanxcb", "LANXCBCOMPUTER", 9, -1, {trace_line::matched("LANXCBCOMPUTER", "LANXCBCOMPUTER")}},
    {"seewo", "seewo Inc.", 10, -1},
    {"lianshuo", "LIANSHUO COMPUTER", 11, -1},
    {"lianshuo_with_two_blanks", "LIANSHUO  COMPUTER", -1, -1},
    {"huawei_in_capitals", "HUAWEI", 12, -1},
    {"huawei", "Huawei", -1, -1},
    {"great_wall", "Great Wall", -1, 1},
    {"inspur", "INSPUR Ltd", -1, 2},
    {"institute", "Beijing Institute of Computer Technology and Application Ltd", -1, 7},
    {"institute_cut", "Beijing Institute of Computer Technology and Applicatio", -1, -1},
    {"somebody_else", "Dell Inc.", -1, -1},
    {"a_filler", "To be filled by O.E.M.", -1, -1},
};

class classified_machine : public manufacturer_machine,
                           public testing::WithParamInterface<classification> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, classified_machine, testing::ValuesIn(classifications));

TEST_P(classified_machine, has_its_type_by_each_of_the_sets)
{
    dmidecode_prints(std::string(GetParam().manufacturer) + "\n", "");
    const owned_key_file exact(generate_machine_whitelist());
    const owned_key_file ignore_case(generate_machine_whitelist_ignore_case());
    EXPECT_EQ(maching_machine_type(exact.get(), false), GetParam().exact);
    EXPECT_EQ(maching_machine_type(ignore_case.get(), true), GetParam().ignore_case);
    expect_trace(GetParam().trace);
}
