// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whole machines, and what every query about their makers promises.
#include "manufacturer_machine.h"

#include <csignal>
#include <string>
#include <tuple>

// Machines and the library's own patterns.

namespace {

struct made_machine : named_case {
    const char *manufacturer;
    int exact;  // by the exact set
    int folded; // by the set without case
    texts trace;
};

class classified_machine : public manufacturer_machine,
                           public testing::WithParamInterface<made_machine> {};

const made_machine made_machines[] = {
    {"lenovo", "LENOVO", 0, -1, {"system_manufacturer: LENOVO, glIdentifications: LENOVO."}},
    {"thtf", "THTF Computer", 3, -1, {}},
    {"unicompute",
     "UNICOMPUTER Technology",
     9,
     -1,
     {"system_manufacturer: UNICOMPUTER Technology, glIdentifications: UNICOMPUTE."}},
    {"great_wall", "Great Wall", -1, 1, {}},
    {"inspur", "INSPUR", -1, 2, {}},
    {"institute", "Beijing Institute of Computer Technology and Application Ltd", -1, 7, {}},
    {"huawei", "Huawei", -1, -1, {}},
    {"huawei_in_capitals", "HUAWEI", 12, -1, {}},
    {"somebody_else", "Dell Inc.", -1, -1, {}},
    {"a_filler", "To be filled by O.E.M.", -1, -1, {}},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, classified_machine, testing::ValuesIn(made_machines));

TEST_P(classified_machine, has_its_type_by_each_of_the_sets)
{
    dmidecode_prints(std::string(GetParam().manufacturer) + "\n", "");
    const owned_key_file exact(generate_machine_whitelist());
    const owned_key_file folded(generate_machine_whitelist_ignore_case());
    EXPECT_EQ(maching_machine_type(exact.get(), false), GetParam().exact);
    EXPECT_EQ(maching_machine_type(folded.get(), true), GetParam().folded);
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

// What every query about the maker promises.

namespace {

int type_by_the_exact_set()
{
    const owned_key_file exact(generate_machine_whitelist());
    return maching_machine_type(exact.get(), false);
}

struct maker_query : named_case {
    int (*ask)();
    int known;   // answer for the machine below
    int unknown; // answer without a source
    texts trace;
};

const maker_query maker_queries[] = {
    {"type",
     type_by_the_exact_set,
     0,
     -1,
     {"system_manufacturer: KaiTian, glIdentifications: KaiTian."}},
    {"lenovo", is_lenovo_machine, 1, 0, {}},
    {"huawei_9x0", is_huawei_9x0, 1, 0, {}},
};

template <class Parameter>
class known_maker : public manufacturer_machine, public testing::WithParamInterface<Parameter> {
protected:
    void furnish() override
    {
        dmidecode_prints("", "\tManufacturer: KaiTian\n");
        machine.file("/proc/cpuinfo", "Hardware\t: Kirin 9006C\n");
    }
};

class every_maker_query : public known_maker<maker_query> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, every_maker_query, testing::ValuesIn(maker_queries));

TEST_P(every_maker_query, answers_with_no_more_than_its_trace_line)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(GetParam().ask(), GetParam().known); }), "");
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

TEST_P(every_maker_query, says_nothing_about_a_machine_without_sources)
{
    machine.remove(dmidecode);
    machine.remove("/proc/cpuinfo");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(GetParam().ask(), GetParam().unknown); }), "");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_P(every_maker_query, works_where_the_caller_ignores_its_children)
{
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(GetParam().ask(), GetParam().known);
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

namespace {

class maker_query_without_standard_descriptors
    : public known_maker<std::tuple<maker_query, std::vector<int>>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(manufacturer, maker_query_without_standard_descriptors,
                         testing::Combine(testing::ValuesIn(maker_queries),
                                          testing::ValuesIn(every_set_of_standard_descriptors())));

TEST_P(maker_query_without_standard_descriptors, works_and_leaves_them_closed)
{
    const auto &[query, closed] = GetParam();
    int answer = -2;
    EXPECT_EQ(left_open(closed, [&answer, ask = query.ask] { answer = ask(); }),
              std::vector<int>{});
    EXPECT_EQ(answer, query.known);
    EXPECT_EQ(machine.trace(), query.trace);
}
