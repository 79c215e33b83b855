// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every recorded machine is furnished and queried, and its answers are compared.
#include "fixture.h"
#include "queries.h"
#include "replay.h"
#include "replayed_kernel.h"
#include "words.h"

#include "orvane.h"

#include <algorithm>
#include <set>

namespace {

std::string test_name(const testing::TestParamInfo<std::string> &info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class recorded_computer : public on_machine, public testing::WithParamInterface<std::string> {
protected:
    void furnish() override { recording.furnish(machine); }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    const std::string folder = MACHINES "/" + GetParam();
    const recorded_machine recording{folder};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, recorded_computer,
                         testing::ValuesIn(recorded_machine::names_in(MACHINES)), test_name);

TEST_P(recorded_computer, answers_as_expected)
{
    standard_error_of([&] {
        EXPECT_EQ(owned_text(get_lsblk_output()).value(), recording.output_of("lsblk -J"));
        for (const auto &[query, answer] : recording.expected())
            EXPECT_EQ(answer_to(query), answer) << query;
    });
    EXPECT_EQ(recorded_machine::unrecorded(machine), texts()) << "command lines without an output";
}

TEST(recorded_computers, are_each_described_in_one_line)
{
    for (const std::string &name : recorded_machine::names_in(MACHINES))
        EXPECT_EQ(recorded::lines_of(MACHINES "/" + name + "/readme").size(), 1U) << name;
}

// Machines that were recorded before a query existed need no answer to it.
TEST(recorded_computers, answer_every_query_on_some_machine)
{
    const auto function = [](const std::string &query) { return query.substr(0, query.find('(')); };
    std::set<std::string> answered;
    for (const std::string &name : recorded_machine::names_in(MACHINES)) {
        for (const auto &[query, answer] : recorded_machine(MACHINES "/" + name).expected())
            answered.insert(function(query));
    }
    for (const std::string &query : queries_of_this_machine())
        EXPECT_TRUE(answered.contains(function(query))) << query;
}
