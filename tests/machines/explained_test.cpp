// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The command explains every recorded machine, and its reasons are compared with the true ones.
#include "fixture.h"
#include "replay.h"
#include "replayed_kernel.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include <nlohmann/json.hpp>

namespace {

using facts = std::map<std::string, std::string>;
using outcome = constructed_machine::program_result;

const texts names = {"disk",     "huawei_9x0", "lenovo",      "mac",    "manufacturer", "model",
                     "oem_info", "os_version", "root_device", "serial", "system_uuid",  "vendor"};

std::string test_name(const testing::TestParamInfo<std::string> &info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

// A line for each fact that is not answered.
std::string missing(const facts &reasons)
{
    std::string lines;
    for (const auto &[fact, reason] : reasons) {
        if (reason != "answered")
            lines.append(fact).append(" ").append(reason).append("\n");
    }
    return lines;
}

// At paths that every user can reach.
class explained_computer : public on_machine, public testing::WithParamInterface<std::string> {
protected:
    void furnish() override
    {
        const std::filesystem::path kernel = RECORDED_KERNEL;
        recording.furnish(machine);
        machine.show(build_folder() + "/stage", "/opt/orvane");
        machine.show(kernel.parent_path(), "/opt/kernel");
        machine.show(folder, "/opt/recording");
    }
    void TearDown() override
    {
        recorded::replay_kernel("");
        on_machine::TearDown();
    }

    [[nodiscard]] outcome explained() const
    {
        const std::filesystem::path kernel = RECORDED_KERNEL;
        texts command =
            recorded::with_kernel("/opt/kernel/" + kernel.filename().string(), "/opt/recording");
        command.insert(command.end(), {"/opt/orvane/bin/orvane", "explain", "--json"});
        return machine.run(command, recording.user());
    }

    const std::string folder = MACHINES "/" + GetParam();
    const recorded_machine recording{folder};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, explained_computer,
                         testing::ValuesIn(recorded_machine::names_in(MACHINES)), test_name);

TEST_P(explained_computer, has_the_true_reason_for_each_missing_fact)
{
    const outcome result = explained();
    const auto document = nlohmann::json::parse(result.output, nullptr, false);
    ASSERT_TRUE(document.contains("facts"))
        << "status " << result.status << ": " << result.output << result.error;
    facts reasons;
    texts explained_facts;
    texts without_source; // of their answers
    for (const auto &[fact, answer] : document["facts"].items()) {
        reasons[fact] = answer.value("reason", "(none)");
        explained_facts.push_back(fact);
        if (reasons[fact] == "answered" &&
            (!answer["source"].is_string() || answer["source"].get<std::string>().empty()))
            without_source.push_back(fact);
    }
    std::sort(explained_facts.begin(), explained_facts.end());

    EXPECT_EQ(explained_facts, names);
    EXPECT_EQ(without_source, texts());
    EXPECT_EQ(missing(reasons), missing(recording.reasons()));
    EXPECT_EQ(recorded_machine::unrecorded(machine), texts()) << "command lines without an output";
}
