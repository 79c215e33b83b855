// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every recorded machine is furnished, asked everything, and compared.
#include "fixture.h"
#include "questions.h"
#include "replay.h"
#include "replayed_kernel.h"
#include "words.h"

#include "orvane.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace {

using facts = std::map<std::string, std::string>;

// The answer, or that there is no such question.
std::string said_to(const std::string &question)
{
    try {
        return answer_to(question);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

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

    const std::string folder = std::string(MACHINES) + "/" + GetParam();
    const recorded_machine recording{folder};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, recorded_computer,
                         testing::ValuesIn(recorded_machine::names_in(MACHINES)), test_name);

TEST_P(recorded_computer, answers_as_expected)
{
    const facts expected = recording.expected();
    const std::string complaints = standard_error_of([&] {
        for (const std::string &question : questions_of_this_machine())
            EXPECT_TRUE(expected.contains(question)) << "not in the file: " << question;
        for (const auto &[question, answer] : expected)
            EXPECT_EQ(said_to(question), answer) << question;
    });
    EXPECT_EQ(recorded_machine::unrecorded(machine), texts()) << "command lines without an output";
    RecordProperty("standard_error", complaints);
}

TEST_P(recorded_computer, lists_its_devices_as_recorded)
{
    EXPECT_EQ(owned_text(get_lsblk_output()).value(), recording.output_of("lsblk -J"));
}

TEST_P(recorded_computer, is_described_in_one_line)
{
    EXPECT_EQ(recorded::lines_of(folder + "/readme").size(), 1U);
}

TEST(recorded_computers, are_at_least_thirty)
{
    EXPECT_GE(recorded_machine::names_in(MACHINES).size(), 30U);
}
