// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the disk queries that run tools have in common.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

constexpr char no_text[] = "(no text)";

struct answered_call : named_case {
    std::string (*ask)();
    const char *answer;
    const char *none; // where a tool is missing
};

const answered_call smartctl_call = {
    {"smartctl"},
    [] { return owned_text(harddisk_id_smartctl("/dev/sda3")).value(); },
    "DISK1_SN2",
    no_text};
const answered_call model_call = {
    {"model"}, [] { return owned_text(harddisk_id_nvme_new("nvme0n1")).value(); }, "Exa", no_text};
const answered_call type_call = {
    {"type"}, [] { return std::to_string(is_logical_volume("/dev/dm-0")); }, "1", "0"};
const answered_call volume_call = {{"volume"},
                                   [] { return owned_text(harddisk_id_lvm("/dev/dm-0")).value(); },
                                   "DISK1_SN2",
                                   no_text};

struct printing_tool {
    const char *path;
    const char *prints;
};

const printing_tool smartctl = {"/usr/sbin/smartctl",
                                "Device Model: DISK 1\nSerial Number: SN 2\n"};
const printing_tool lsblk = {"/bin/lsblk", "lvm\n"};
const printing_tool lvdisplay = {"/sbin/lvdisplay", "  VG Name   vg0\n"};
const printing_tool pvdisplay = {"/sbin/pvdisplay", "  PV Name   /dev/sda3\n  VG Name   vg0\n"};

// A machine on which every call has its answer.
template <class Parameter>
class answering_machine : public on_machine, public testing::WithParamInterface<Parameter> {
protected:
    void furnish() override
    {
        machine.block_device("/dev/dm-0");
        machine.block_device("/dev/sda3");
        machine.file("/sys/block/nvme0n1/device/model", "Example\n");
        for (const printing_tool &tool : {smartctl, lsblk, lvdisplay, pvdisplay})
            machine.tool(tool.path, tool.prints);
    }

    // Whatever the commands do, the tool prints what it always does.
    void tool_runs(const printing_tool &tool, const std::string &commands_before,
                   const std::string &commands_behind = "", mode_t mode = 0755)
    {
        machine.script(tool.path,
                       commands_before + "\nprintf '" + tool.prints + "'\n" + commands_behind,
                       mode);
    }
};

struct tool_of_call : named_case {
    answered_call call;
    printing_tool tool;
};

const tool_of_call tools_of_calls[] = {
    {"smartctl", smartctl_call, smartctl},           {"lsblk", type_call, lsblk},
    {"lvdisplay", volume_call, lvdisplay},           {"pvdisplay", volume_call, pvdisplay},
    {"smartctl_of_a_volume", volume_call, smartctl},
};

class disk_tool : public answering_machine<tool_of_call> {
protected:
    static std::string asked() { return GetParam().call.ask(); }
    void expect_answer() { EXPECT_EQ(asked(), GetParam().call.answer); }
    void expect_no_answer_without_a_run()
    {
        EXPECT_EQ(asked(), GetParam().call.none);
        EXPECT_TRUE(machine.runs(GetParam().tool.path).empty());
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(disk, disk_tool, testing::ValuesIn(tools_of_calls));

TEST_P(disk_tool, is_run_once_for_an_answer)
{
    expect_answer();
    EXPECT_EQ(machine.runs(GetParam().tool.path).size(), 1U);
}

TEST_P(disk_tool, is_missed)
{
    machine.remove(GetParam().tool.path);
    expect_no_answer_without_a_run();
}

TEST_P(disk_tool, is_not_run_when_it_is_not_executable)
{
    tool_runs(GetParam().tool, "", "", 0644);
    expect_no_answer_without_a_run();
}

TEST_P(disk_tool, is_not_run_for_a_user_who_may_not_read_it)
{
    tool_runs(GetParam().tool, "", "", 0711);
    const other_user caller;
    expect_no_answer_without_a_run();
}

TEST_P(disk_tool, is_not_run_for_a_user_who_may_not_execute_it)
{
    tool_runs(GetParam().tool, "", "", 0744);
    const other_user caller;
    expect_no_answer_without_a_run();
}

TEST_P(disk_tool, is_run_for_an_ordinary_user)
{
    const other_user caller;
    expect_answer();
}

TEST_P(disk_tool, is_believed_whatever_its_exit_status)
{
    tool_runs(GetParam().tool, "", "exit 4");
    expect_answer();
}

TEST_P(disk_tool, is_believed_when_a_signal_ends_it)
{
    tool_runs(GetParam().tool, "", "kill -9 $$");
    expect_answer();
}

TEST_P(disk_tool, complains_on_the_standard_error_of_the_caller)
{
    tool_runs(GetParam().tool, "echo complaint >&2");
    EXPECT_EQ(standard_error_of([this] { expect_answer(); }), "complaint\n");
}

TEST_P(disk_tool, is_run_with_the_environment_of_the_caller)
{
    ::setenv("ORVANE_TEST", "kept", 1);
    expect_answer();
    const std::vector<std::string> environment =
        machine.runs(GetParam().tool.path).at(0).environment;
    EXPECT_EQ(std::count(environment.begin(), environment.end(), "ORVANE_TEST=kept"), 1);
}

TEST_P(disk_tool, has_no_answer_where_no_shell_can_be_started)
{
    interpose::popen = [](const char *command, const char *mode) {
        const bool is_ours =
            std::string_view(command).substr(0, std::string_view(GetParam().tool.path).size()) ==
            GetParam().tool.path;
        return is_ours ? nullptr : interpose::popen.real(command, mode);
    };
    expect_no_answer_without_a_run();
}

// The caller's process.

namespace {

const answered_call answered_calls[] = {smartctl_call, model_call, type_call, volume_call};

class disk_tools_query : public answering_machine<answered_call> {};
class disk_tools_without_standard_descriptors
    : public answering_machine<std::tuple<answered_call, std::vector<int>>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(disk, disk_tools_query, testing::ValuesIn(answered_calls));

TEST_P(disk_tools_query, is_answered_where_the_caller_ignores_the_end_of_children)
{
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(GetParam().ask(), GetParam().answer);
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

TEST_P(disk_tools_query, prints_nothing)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(GetParam().ask(), GetParam().answer); }), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_P(disk_tools_query, is_answered_where_nothing_can_be_traced)
{
    machine.remove("/var/log");
    standard_error_of([] { EXPECT_EQ(GetParam().ask(), GetParam().answer); });
}

TEST_P(disk_tools_query, is_answered_again)
{
    EXPECT_EQ(GetParam().ask(), GetParam().answer);
    EXPECT_EQ(GetParam().ask(), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(disk, disk_tools_without_standard_descriptors,
                         testing::Combine(testing::ValuesIn(answered_calls),
                                          testing::ValuesIn(every_set_of_standard_descriptors())));

TEST_P(disk_tools_without_standard_descriptors, works_and_leaves_them_closed)
{
    const auto &[call, closed] = GetParam();
    std::string answer;
    EXPECT_EQ(left_open(closed, [&answer, ask = call.ask] { answer = ask(); }), std::vector<int>{});
    EXPECT_EQ(answer, call.answer);
}
