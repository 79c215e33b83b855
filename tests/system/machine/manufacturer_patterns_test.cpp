// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The library's own patterns, and whom they recognise.
#include "manufacturer_machine.h"

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

namespace {

struct free_glib_texts {
    void operator()(char **all) const noexcept { ::g_strfreev(all); }
};

texts taken(char **all)
{
    const std::unique_ptr<char *, free_glib_texts> owned(all);
    texts list;
    for (char **text = owned.get(); *text != nullptr; ++text)
        list.emplace_back(*text);
    return list;
}

std::string taken(char *text)
{
    const glib_text owned(text);
    return text == nullptr ? "(nothing)" : text;
}

std::string whole_text(GKeyFile *kf)
{
    return taken(::g_key_file_to_data(kf, nullptr, nullptr));
}

struct built_in_set : named_case {
    GKeyFile *(*build)();
    std::vector<std::pair<std::string, std::string>> patterns;
    const char *text;
};

const built_in_set built_in_sets[] = {
    {"exact",
     generate_machine_whitelist,
     {{"lenovo", "lenovo|KaiTian|LENOVO"},
      {"tongfang", "THTF"},
      {"Baixin", "Baixin"},
      {"shuguang", "Suma"},
      {"Haier", "Haier"},
      {"shenzhoukuntai", "yunke china"},
      {"ziguang", "H3C|UNIS|UNICOMPUTE|LANXCBCOMPUTER"},
      {"xiwo", "seewo"},
      {"lianshuo", "LIANSHUO COMPUTER"},
      {"HUAWEI", "HUAWEI"}},
     "[manufacturer_patterns]\n"
     "lenovo=lenovo|KaiTian|LENOVO\n"
     "tongfang=THTF\n"
     "Baixin=Baixin\n"
     "shuguang=Suma\n"
     "Haier=Haier\n"
     "shenzhoukuntai=yunke china\n"
     "ziguang=H3C|UNIS|UNICOMPUTE|LANXCBCOMPUTER\n"
     "xiwo=seewo\n"
     "lianshuo=LIANSHUO COMPUTER\n"
     "HUAWEI=HUAWEI\n"},
    {"without_case",
     generate_machine_whitelist_ignore_case,
     {{"greatwall", "greatwall"},
      {"Inspur", "Inspur"},
      {"706suo", "Beijing Institute of Computer Technology and Application"},
      {"Huawei", "Huawei"}},
     "[manufacturer_patterns]\n"
     "greatwall=greatwall\n"
     "Inspur=Inspur\n"
     "706suo=Beijing Institute of Computer Technology and Application\n"
     "Huawei=Huawei\n"},
};

class built_in_patterns : public on_machine, public testing::WithParamInterface<built_in_set> {
protected:
    static owned_key_file built() { return owned_key_file(GetParam().build()); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, built_in_patterns, testing::ValuesIn(built_in_sets));

TEST_P(built_in_patterns, stand_in_one_group)
{
    EXPECT_EQ(taken(::g_key_file_get_groups(built().get(), nullptr)),
              (texts{"manufacturer_patterns"}));
}

TEST_P(built_in_patterns, stand_in_their_order)
{
    const owned_key_file set = built();
    std::vector<std::pair<std::string, std::string>> patterns;
    for (const std::string &key :
         taken(::g_key_file_get_keys(set.get(), "manufacturer_patterns", nullptr, nullptr)))
        patterns.emplace_back(key, taken(::g_key_file_get_value(set.get(), "manufacturer_patterns",
                                                                key.c_str(), nullptr)));
    EXPECT_EQ(patterns, GetParam().patterns);
}

TEST_P(built_in_patterns, make_this_text)
{
    EXPECT_EQ(whole_text(built().get()), GetParam().text);
}

TEST_P(built_in_patterns, are_made_into_text_once_when_they_are_complete)
{
    std::vector<GKeyFile *> sets;
    std::string text;
    interpose::g_key_file_to_data = [&](GKeyFile *kf, gsize *length, GError **error) {
        sets.push_back(kf);
        char *const data = interpose::g_key_file_to_data.real(kf, length, error);
        text = data;
        return data;
    };
    const owned_key_file set = built();
    EXPECT_EQ(sets, (std::vector<GKeyFile *>{set.get()}));
    EXPECT_EQ(text, GetParam().text);
}

TEST_P(built_in_patterns, are_the_same_where_no_text_can_be_made)
{
    interpose::g_key_file_to_data = [](GKeyFile *, gsize *, GError **) -> char * {
        return nullptr;
    };
    EXPECT_EQ(whole_text(built().get()), GetParam().text);
}

TEST_P(built_in_patterns, are_each_caller_s_own)
{
    const owned_key_file one = built();
    const owned_key_file other = built();
    EXPECT_NE(one, other);
    ::g_key_file_remove_group(one.get(), "manufacturer_patterns", nullptr);
    EXPECT_EQ(whole_text(other.get()), GetParam().text);
    EXPECT_EQ(whole_text(built().get()), GetParam().text);
}

TEST_P(built_in_patterns, are_built_in_silence)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_NE(built(), nullptr); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

// Whom each of the patterns recognises. An answer is the machine type and, behind it, the pattern
// that was looked up.

namespace {

constexpr char nobody[] = "-1";

struct built_in_pattern : named_case {
    GKeyFile *(*set)();
    GKeyFile *(*other_set)();
    const char *exact;
    const char *other_case;
    const char *other_blanks;
    const char *and_more;
    const char *cut;
    const char *answer;              // when compared exactly
    const char *answer_without_case; // when compared with ignore_case
    // Of the other set.
    const char *other_answer_without_case = nobody;
};

constexpr auto *exact_set = generate_machine_whitelist;
constexpr auto *folded_set = generate_machine_whitelist_ignore_case;

const built_in_pattern each_pattern[] = {
    {"lenovo", exact_set, folded_set, "lenovo", "Lenovo", " len ovo ", "lenovo Group", "lenov",
     "0 lenovo", "0 lenovo"},
    {"KaiTian", exact_set, folded_set, "KaiTian", "KAITIAN", " Kai Tian", "KaiTian Tech", "KaiTia",
     "0 KaiTian", "-1 kaitian"},
    {"LENOVO", exact_set, folded_set, "LENOVO", "LeNoVo", "LENO VO", "LENOVO (Beijing)", "LENOV",
     "0 LENOVO", "0 lenovo"},
    {"THTF", exact_set, folded_set, "THTF", "Thtf", " TH TF", "THTF Computer", "THT", "3 THTF",
     "-1 thtf"},
    {"Baixin", exact_set, folded_set, "Baixin", "BAIXIN", " Bai  xin\n", "Baixin Co., Ltd.",
     "Baixi", "4 Baixin", "-1 baixin"},
    {"Suma", exact_set, folded_set, "Suma", "SUMA", " Su ma", "Sumatra", "Sum", "5 Suma",
     "-1 suma"},
    {"Haier", exact_set, folded_set, "Haier", "haier", " Hai er", "Haier Group", "Haie", "6 Haier",
     "-1 haier"},
    {"yunke_china", exact_set, folded_set, "yunke china", "Yunke China", "yunkechina",
     "yunke china Ltd", "yunke chin", "8 yunke china", "-1 yunkechina"},
    {"H3C", exact_set, folded_set, "H3C", "h3c", " H 3 C", "H3C Technologies", "H3", "9 H3C",
     "-1 h3c"},
    {"UNIS", exact_set, folded_set, "UNIS", "Unis", " UN IS", "UNIS Computer", "UNI", "9 UNIS",
     "-1 unis"},
    {"UNICOMPUTE", exact_set, folded_set, "UNICOMPUTE", "unicompute", "UNI COMPUTE", "UNICOMPUTER",
     "UNICOMPUT", "9 UNICOMPUTE", "-1 unicompute"},
    {"LANXCBCOMPUTER", exact_set, folded_set, "LANXCBCOMPUTER", "LanXcbComputer", "LANXCB COMPUTER",
     "LANXCBCOMPUTERS", "LANXCBCOMPUTE", "9 LANXCBCOMPUTER", "-1 lanxcbcomputer"},
    {"seewo", exact_set, folded_set, "seewo", "SEEWO", "see wo", "seewo Inc.", "seew", "10 seewo",
     "10 seewo"},
    {"LIANSHUO_COMPUTER", exact_set, folded_set, "LIANSHUO COMPUTER", "Lianshuo Computer",
     "LIANSHUO  COMPUTER", "LIANSHUO COMPUTER CO", "LIANSHUO COMPUTE", "11 LIANSHUO COMPUTER",
     "-1 lianshuocomputer"},
    {"HUAWEI", exact_set, folded_set, "HUAWEI", "hUAWEI", "HUA WEI", "HUAWEI Tech", "HUAWE",
     "12 HUAWEI", "-1 huawei", "-1 huawei"},
    {"greatwall", folded_set, exact_set, "greatwall", "GreatWall", "great wall", "greatwall Ltd",
     "greatwal", "1 greatwall", "1 greatwall"},
    {"Inspur", folded_set, exact_set, "Inspur", "INSPUR", " In spur ", "Inspur Ltd", "Inspu",
     "2 Inspur", "2 inspur"},
    {"Beijing_Institute", folded_set, exact_set,
     "Beijing Institute of Computer Technology and Application",
     "BEIJING INSTITUTE OF COMPUTER TECHNOLOGY AND APPLICATION",
     "Beijing Institute of  Computer Technology and Application",
     "Beijing Institute of Computer Technology and Application Ltd",
     "Beijing Institute of Computer Technology and Applicatio",
     "7 Beijing Institute of Computer Technology and Application",
     "7 beijinginstituteofcomputertechnologyandapplication"},
    {"Huawei", folded_set, exact_set, "Huawei", "hUaWeI", "Hua wei", "Huawei Tech", "Huawe",
     "-1 Huawei", "-1 huawei", "-1 huawei"},
};

class built_in_pattern_test : public manufacturer_machine,
                              public testing::WithParamInterface<built_in_pattern> {
protected:
    static std::string answer_for(const char *manufacturer, GKeyFile *(*set)(), bool ignore_case)
    {
        std::string looked_up;
        interpose::findTypeEnum = [&looked_up](const char *name) {
            looked_up += " " + std::string(name);
            return interpose::findTypeEnum.real(name);
        };
        simulate(manufacturer);
        const owned_key_file patterns(set());
        return std::to_string(maching_machine_type(patterns.get(), ignore_case)) + looked_up;
    }

    static std::string exactly(const char *manufacturer)
    {
        return answer_for(manufacturer, GetParam().set, false);
    }
    static std::string without_case(const char *manufacturer)
    {
        return answer_for(manufacturer, GetParam().set, true);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, built_in_pattern_test, testing::ValuesIn(each_pattern));

TEST_P(built_in_pattern_test, recognises_its_name_when_compared_exactly)
{
    EXPECT_EQ(exactly(GetParam().exact), GetParam().answer);
}

TEST_P(built_in_pattern_test, recognises_a_longer_name_when_compared_exactly)
{
    EXPECT_EQ(exactly(GetParam().and_more), GetParam().answer);
}

TEST_P(built_in_pattern_test, recognises_nothing_else_when_compared_exactly)
{
    EXPECT_EQ(exactly(GetParam().other_case), nobody);
    EXPECT_EQ(exactly(GetParam().other_blanks), nobody);
    EXPECT_EQ(exactly(GetParam().cut), nobody);
}

TEST_P(built_in_pattern_test, recognises_its_name_without_case)
{
    EXPECT_EQ(without_case(GetParam().exact), GetParam().answer_without_case);
}

TEST_P(built_in_pattern_test, recognises_other_letters_and_blanks_without_case)
{
    EXPECT_EQ(without_case(GetParam().other_case), GetParam().answer_without_case);
    EXPECT_EQ(without_case(GetParam().other_blanks), GetParam().answer_without_case);
}

TEST_P(built_in_pattern_test, recognises_a_longer_name_without_case)
{
    EXPECT_EQ(without_case(GetParam().and_more), GetParam().answer_without_case);
}

TEST_P(built_in_pattern_test, does_not_recognise_a_shorter_name_without_case)
{
    EXPECT_EQ(without_case(GetParam().cut), nobody);
}

TEST_P(built_in_pattern_test, is_not_in_the_other_set)
{
    EXPECT_EQ(answer_for(GetParam().exact, GetParam().other_set, false), nobody);
    EXPECT_EQ(answer_for(GetParam().exact, GetParam().other_set, true),
              GetParam().other_answer_without_case);
}
