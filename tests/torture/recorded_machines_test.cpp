// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every recorded machine is asked what it is while one call of the library after the other fails.
#include "fixture.h"
#include "queries.h"
#include "replay.h"
#include "replayed_kernel.h"
#include "summary.h"
#include "torture.h"
#include "words.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

namespace {

// A function, and how the machine is asked for what it says.
using query = std::pair<const char *, const char *>;
constexpr std::array<query, 5> queries = {{
    {"orvane_get_harddisk_id", "orvane_get_harddisk_id()"},
    {"orvane_get_network_interface_max_mac", "orvane_get_network_interface_max_mac()"},
    {"orvane_get_system_uuid", "orvane_get_system_uuid()"},
    {"orvane_get_vendor", "orvane_get_vendor()"},
    {"find_root_disk", "find_root_disk(get_lsblk_output())"},
}};

using machine_and_query = std::tuple<std::string, query>;

std::string test_name(const testing::TestParamInfo<machine_and_query> &info)
{
    std::string name = std::get<std::string>(info.param) + "_" + std::get<query>(info.param).first;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

const char *asked;

class torture_of_recorded : public on_machine,
                            public testing::WithParamInterface<machine_and_query> {
protected:
    void furnish() override
    {
        recording.furnish(machine);
        asked = std::get<query>(GetParam()).second;
    }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    [[nodiscard]] library_call call() const
    {
        return {
            .function = std::get<query>(GetParam()).first,
            .way = std::get<std::string>(GetParam()),
            .furnish = nullptr,
            .run = [] { return answer_to(asked); },
            .answer = recording.expected().at(asked),
            .failures = what_another_source_says(),
        };
    }

private:
    // Where one source fails, the next one may answer: anything that some function says of this
    // machine, and any address of its interfaces.
    [[nodiscard]] texts what_another_source_says() const
    {
        std::set<std::string> all = {"NULL", recorded::quoted(""),
                                     recorded::quoted("00:00:00:00:00:00")};
        for (const auto &[question, answer] : recording.expected())
            all.insert(answer);
        for (const recorded::line &words : recorded::word_lines_of(folder + "/network")) {
            for (const recorded::word &word : words)
                all.insert(recorded::quoted(word.text));
        }
        return {all.begin(), all.end()};
    }

    const std::string folder = std::string(MACHINES) + "/" + std::get<std::string>(GetParam());
    const recorded_machine recording{folder};
};

TEST_P(torture_of_recorded, leaves_the_process_whole_and_tells_a_documented_failure)
{
    report(call(), torture(machine, call()));
}

INSTANTIATE_TEST_SUITE_P(machine, torture_of_recorded,
                         testing::Combine(testing::ValuesIn(recorded_machine::names_in(MACHINES)),
                                          testing::ValuesIn(queries)),
                         test_name);

} // namespace
