// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Recorded machines that differ in their paths through the library, queried with each fault.
#include "fixture.h"
#include "queries.h"
#include "replay.h"
#include "replayed_kernel.h"
#include "trial.h"
#include "words.h"

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace {

struct machine_query {
    const char *function;
    const char *query;
};
constexpr machine_query queries[] = {
    {"orvane_get_harddisk_id", "orvane_get_harddisk_id()"},
    {"orvane_get_network_interface_max_mac", "orvane_get_network_interface_max_mac()"},
    {"orvane_get_system_uuid", "orvane_get_system_uuid()"},
    {"orvane_get_vendor", "orvane_get_vendor()"},
    {"find_root_disk", "find_root_disk(get_lsblk_output())"},
};

constexpr const char *machines[] = {"sata", "lvm-in-luks", "nvme", "bond", "kirin-990"};

using machine_and_query = std::tuple<const char *, machine_query>;

const char *queried;

class recorded_machine_with_faults : public on_machine,
                                     public testing::WithParamInterface<machine_and_query> {
protected:
    void furnish() override
    {
        recording.furnish(machine);
        queried = std::get<machine_query>(GetParam()).query;
    }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    // Where one source fails, the next one may answer: anything that some function reports of this
    // machine, and any address of its interfaces.
    [[nodiscard]] texts answers_of_other_sources() const
    {
        std::set<std::string> all = {"NULL", recorded::quoted(""),
                                     recorded::quoted("00:00:00:00:00:00")};
        for (const auto &[query, answer] : recording.expected())
            all.insert(answer);
        for (const recorded::line &words : recorded::word_lines_of(folder + "/network")) {
            for (const recorded::word &word : words)
                all.insert(recorded::quoted(word.text));
        }
        return {all.begin(), all.end()};
    }

    const std::string name = std::get<const char *>(GetParam());
    const std::string folder = std::string(MACHINES) + "/" + name;
    const recorded_machine recording{folder};
};

TEST_P(recorded_machine_with_faults, gives_a_documented_answer)
{
    const api_case one = {.function = std::get<machine_query>(GetParam()).function,
                          .name = name,
                          .run = [] { return answer_to(queried); },
                          .answer = recording.expected().at(queried),
                          .failures = answers_of_other_sources(),
                          .traits = takes_first_read};
    for (const std::string &violation : try_with_faults(machine, one))
        ADD_FAILURE() << violation;
}

std::string test_name(const testing::TestParamInfo<machine_and_query> &info)
{
    std::string name = std::string(std::get<const char *>(info.param)) + "_" +
                       std::get<machine_query>(info.param).function;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(of, recorded_machine_with_faults,
                         testing::Combine(testing::ValuesIn(machines), testing::ValuesIn(queries)),
                         test_name);

} // namespace
