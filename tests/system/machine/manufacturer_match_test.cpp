// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How a key file's patterns are compared with the manufacturer.
#include "manufacturer_machine.h"

#include <cstring>
#include <string>
#include <string_view>

namespace {

// A machine, the patterns that it is compared with, its type and what the trace log says.
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
        EXPECT_EQ(machine.trace(), expected.trace);
    }
};

class exact_match : public manufacturer_match, public testing::WithParamInterface<matching> {};
class match_without_case : public manufacturer_match,
                           public testing::WithParamInterface<matching> {};

std::string trace_line(const std::string &manufacturer, const std::string &pattern)
{
    return "system_manufacturer: " + manufacturer + ", glIdentifications: " + pattern + ".";
}

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
        matching{"by_the_first", "HUAWEI", {{"k", "HU|Suma"}}, 12, {trace_line("HUAWEI", "HU")}},
        matching{"by_the_second", "HUAWEI", {{"k", "Suma|HU"}}, 12, {trace_line("HUAWEI", "HU")}},
        matching{"by_the_last_of_four",
                 "Haier Group",
                 {{"k", "Suma|THTF|H3C|Haier"}},
                 6,
                 {trace_line("Haier Group", "Haier")}},
        matching{"by_none", "HUAWEI", {{"k", "Suma|THTF|huawei"}}, -1, {}},
        matching{"by_two_the_first", "HUAWEI", {{"k", "H|HU"}}, 6, {trace_line("HUAWEI", "H")}},
        matching{
            "by_two_the_longer_first", "HUAWEI", {{"k", "HU|H"}}, 12, {trace_line("HUAWEI", "HU")}},
        matching{"by_one_that_is_not_known",
                 "HUAWEI Ltd",
                 {{"k", "HUAWEI L|HU"}},
                 -1,
                 {trace_line("HUAWEI Ltd", "HUAWEI L")}},
        matching{"with_blanks_around", "HUAWEI", {{"k", "Suma | HU"}}, -1, {}},
        matching{
            "by_their_whole_value", "H|HU", {{"k", "Suma|H|HU"}}, 6, {trace_line("H|HU", "H")}},
        matching{"of_a_name_with_percent_signs",
                 "100%s%n",
                 {{"k", "x|100%s"}},
                 -1,
                 {trace_line("100%s%n", "100%s")}}));

INSTANTIATE_TEST_SUITE_P(
    of_joined_patterns, match_without_case,
    testing::Values(
        matching{"by_the_first",
                 "Great Wall",
                 {{"k", "GREAT WALL|Suma"}},
                 1,
                 {trace_line("greatwall", "greatwall")}},
        matching{"by_the_second",
                 " INSPUR Ltd",
                 {{"k", "Great Wall| In Spur "}},
                 2,
                 {trace_line("inspurltd", "inspur")}},
        matching{"by_none", "Great Wall", {{"k", "Great\tWall|Suma"}}, -1, {}},
        matching{"by_one_that_is_not_known",
                 "Huawei",
                 {{"k", "HUAWEI|H"}},
                 -1,
                 {trace_line("huawei", "huawei")}},
        matching{
            "by_one_of_blanks_alone", "Dell", {{"k", "Suma|  |x"}}, 0, {trace_line("dell", "")}}));

// A pattern that is empty beside others is the start of every name.

INSTANTIATE_TEST_SUITE_P(
    of_an_empty_pattern, exact_match,
    testing::Values(
        matching{"at_the_start", "HUAWEI", {{"k", "|HU"}}, 0, {trace_line("HUAWEI", "")}},
        matching{"at_the_end", "Dell", {{"k", "Suma|"}}, 0, {trace_line("Dell", "")}},
        matching{"at_the_end_behind_a_match",
                 "HUAWEI",
                 {{"k", "HU|"}},
                 12,
                 {trace_line("HUAWEI", "HU")}},
        matching{"between_two", "HUAWEI", {{"k", "Suma||HU"}}, 0, {trace_line("HUAWEI", "")}},
        matching{"beside_another", "Dell", {{"k", "|"}}, 0, {trace_line("Dell", "")}},
        matching{"for_an_empty_name", "", {{"k", "Suma|"}}, 0, {trace_line("", "")}},
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
                 {trace_line("HUAWEI Ltd", "HUAWEI L")}},
        matching{"behind_joined_ones",
                 "HUAWEI",
                 {{"a", "Suma|THTF"}, {"b", "H3C|HU"}, {"c", "H"}},
                 12,
                 {trace_line("HUAWEI", "HU")}},
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
    const owned_key_file kf = loaded_patterns("# Patterns of the example\n"
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
    const owned_key_file kf = loaded_patterns("[manufacturer_patterns]\n"
                                              "a=great\\swall\n"
                                              "b=great\n");
    EXPECT_EQ(type_of("great wall", kf, false), 1);
    EXPECT_EQ(type_of("great\\swall", kf, false), -1);
}

TEST_F(manufacturer_match, passes_over_a_key_without_a_value)
{
    interpose::g_key_file_get_value = [](GKeyFile *kf, const char *group, const char *key,
                                         GError **error) -> char * {
        return std::strcmp(key, "a") == 0
                   ? nullptr
                   : interpose::g_key_file_get_value.real(kf, group, key, error);
    };
    EXPECT_EQ(type_of("HUAWEI", patterns_of({{"a", "H"}, {"b", "HU"}}), false), 12);
}

TEST_F(manufacturer_match, has_no_type_without_the_group)
{
    EXPECT_EQ(type_of("Suma", loaded_patterns(""), false), -1);
    EXPECT_EQ(type_of("Suma", loaded_patterns("[Manufacturer_patterns]\na=Suma\n"), false), -1);
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(manufacturer_match, traces_that_the_group_has_no_keys)
{
    EXPECT_EQ(type_of("Suma", loaded_patterns("[manufacturer_patterns]\n[x]\na=Suma\n"), false),
              -1);
    EXPECT_EQ(machine.trace(), (texts{"manufacturer_patterns: keys are empty."}));
}

TEST_F(manufacturer_match, traces_that_the_keys_cannot_be_listed)
{
    interpose::g_key_file_get_keys = [](GKeyFile *, const char *, gsize *, GError **) -> char ** {
        return nullptr;
    };
    EXPECT_EQ(type_of("Suma", patterns_of({{"a", "Suma"}}), true), -1);
    EXPECT_EQ(machine.trace(), (texts{"manufacturer_patterns: keys are empty."}));
}

TEST_F(manufacturer_match, leaves_the_key_file_as_it_was)
{
    const char *const text = "[manufacturer_patterns]\na=Suma | TH TF\nb=Great Wall\nc=H3C|UNIS\n";
    const owned_key_file kf = loaded_patterns(text);
    for (const char *const manufacturer : {"GREAT WALL", "H3C", "Dell Inc.", "Thtf"}) {
        type_of(manufacturer, kf, true);
        type_of(manufacturer, kf, false);
    }
    const glib_text left(::g_key_file_to_data(kf.get(), nullptr, nullptr));
    EXPECT_STREQ(left.get(), text);
}

// What a program may put in the place of the steps.

TEST_F(manufacturer_match, compares_with_each_pattern_in_turn)
{
    texts compared;
    interpose::maching_machine_type_with_dmidecode = [&](const char *name, const char *pattern) {
        compared.push_back(name + std::string(" with ") + pattern);
        return false;
    };
    EXPECT_EQ(type_of("Dell Inc.", patterns_of({{"b", "Su ma"}, {"a", "H3C| |UNIS"}}), false), -1);
    EXPECT_EQ(compared, (texts{"Dell Inc. with Su ma", "Dell Inc. with H3C", "Dell Inc. with  ",
                               "Dell Inc. with UNIS"}));
}

TEST_F(manufacturer_match, believes_the_comparison)
{
    interpose::maching_machine_type_with_dmidecode = [](const char *, const char *pattern) {
        return std::strcmp(pattern, "UNIS") == 0;
    };
    EXPECT_EQ(type_of("Dell Inc.", patterns_of({{"a", "Suma"}, {"b", "H3C|UNIS"}}), false), 9);
    EXPECT_EQ(machine.trace(), (texts{trace_line("Dell Inc.", "UNIS")}));
}

TEST_F(manufacturer_match, looks_up_the_pattern_as_it_was_compared)
{
    texts looked_up;
    interpose::findTypeEnum = [&looked_up](const char *name) {
        looked_up.emplace_back(name);
        return 77;
    };
    const owned_key_file kf = patterns_of({{"a", "Suma | TH TF"}, {"b", "Great Wall"}});
    EXPECT_EQ(type_of("Great Wall Ltd", kf, false), 77);
    EXPECT_EQ(type_of("Great Wall Ltd", kf, true), 77);
    EXPECT_EQ(type_of("THTF Ltd", kf, true), 77);
    EXPECT_EQ(looked_up, (texts{"Great Wall", "greatwall", "thtf"}));
}

TEST_F(manufacturer_match, takes_blanks_out_before_it_lowers)
{
    texts steps;
    interpose::removeSpaces = [&steps](char *text) {
        steps.push_back("take blanks out of " + std::string(text));
        interpose::removeSpaces.real(text);
    };
    interpose::toLowerCase = [&steps](char *text) {
        steps.push_back("lower " + std::string(text));
        interpose::toLowerCase.real(text);
    };
    EXPECT_EQ(type_of("Great Wall", patterns_of({{"a", "Su ma"}, {"b", "Great Wall"}}), true), 1);
    EXPECT_EQ(steps,
              (texts{"take blanks out of Great Wall", "lower GreatWall", "take blanks out of Su ma",
                     "lower Suma", "take blanks out of Great Wall", "lower GreatWall"}));
}

TEST_F(manufacturer_match, is_the_same_in_a_turkish_locale)
{
    interpose::tolower = [](int character) {
        return character == 'I' ? 0xfd : interpose::tolower.real(character);
    };
    EXPECT_EQ(type_of("INSPUR", patterns_of({{"a", "Inspur"}}), true), 2);
}

TEST_F(manufacturer_match, is_the_same_where_the_trace_log_cannot_be_written)
{
    machine.file("/var/log/orvane", "no directory");
    const owned_key_file kf = patterns_of({{"a", "Suma|HU"}});
    standard_error_of([&kf] { EXPECT_EQ(type_of("HUAWEI", kf, false), 12); });
}
