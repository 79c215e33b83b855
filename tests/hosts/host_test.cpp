// SPDX-License-Identifier: LGPL-2.1-or-later
#include "built_locales.h"
#include "host.h"
#include "library_calls.h"
#include "machine.h"
#include "machine_process.h"
#include "resident_memory.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

struct call_on_host {
    const library_call *call;
    const host *place;

    friend std::ostream &operator<<(std::ostream &stream, const call_on_host &one)
    {
        return stream << one.call->function << ", " << one.call->way << ", on " << one.place->name;
    }
};

// What cannot be told apart from the test's own doing: the call closes the descriptors by itself,
// its own file is one that cannot grow, or it stands on a log that the host replaces.
bool is_of_no_use(const library_call &call, const host &place)
{
    const bool has_own_log =
        call.function.starts_with("orvane_") && (call.way == "no_directory" || call.way == "there");
    return (call.function == "redirect_stdio" && place.name.starts_with("closed")) ||
           (call.way == "old_file" && place.name.starts_with("no_growing_files")) ||
           (has_own_log && place.name.find("log") != std::string::npos);
}

// All hosts of one call come one after the other, because they share its machine.
std::vector<call_on_host> every_call_on_every_host()
{
    std::vector<call_on_host> all;
    for (const library_call &call : library_calls()) {
        for (const host &place : hosts()) {
            if (!is_of_no_use(call, place))
                all.push_back({&call, &place});
        }
    }
    return all;
}

std::string end_of(const outcome &made)
{
    if (WIFSIGNALED(made.status))
        return "ended by " + std::string(::strsignal(WTERMSIG(made.status)));
    return "ended with status " + std::to_string(WEXITSTATUS(made.status));
}

bool is_ended_by(const outcome &made, const std::set<int> &signals)
{
    return WIFSIGNALED(made.status) && signals.contains(WTERMSIG(made.status));
}

// Whether standard error could tell why.
bool has_standard_error(const host &place)
{
    return place.name.find("closed") == std::string::npos ||
           place.name.find('2') == std::string::npos;
}

bool is_documented_end(const call_on_host &one, const outcome &made)
{
    const library_call &call = *one.call;
    const host &place = *one.place;
    const bool by_call =
        !call.ends_with.empty() && is_ended_by(made, {SIGABRT}) &&
        (made.said.find(call.ends_with) != std::string::npos || !has_standard_error(place));
    return by_call || (place.may_end.contains(call.function) && is_ended_by(made, place.ends_by) &&
                       made.said.find(place.ends_with) != std::string::npos);
}

bool is_documented_answer(const call_on_host &one, const outcome &made)
{
    const library_call &call = *one.call;
    const bool may_fail = one.place->may_fail.contains(call.function);
    if (made.answer == call.answer)
        return call.ends_with.empty() || may_fail;
    return may_fail && std::ranges::find(call.failures, made.answer) != call.failures.end();
}

// What is wrong with what came of a call; nothing when nothing is.
std::string objection(const call_on_host &one, const outcome &made)
{
    if (made.has_hung)
        return "it hangs";
    if (!made.trouble.empty())
        return made.trouble;
    if (!made.has_answered)
        return is_documented_end(one, made) ? "" : end_of(made);
    if (!is_documented_answer(one, made))
        return "it tells '" + made.answer + "' for '" + one.call->answer + "'";
    if (!made.changes.empty())
        return made.changes;
    return made.status == 0 ? "" : end_of(made);
}

// How many calls came through, in the words of a summary.
class survivors : public testing::Environment {
public:
    static void count(const std::string &host) { ++numbers()[host]; }

    void TearDown() override
    {
        int total = 0;
        for (const auto &[host, number] : numbers()) {
            std::cout << "hosts: " << host << " " << number << " calls survived\n";
            total += number;
        }
        std::cout << "hosts: total " << total << "\n";
    }

private:
    static std::map<std::string, int> &numbers()
    {
        static std::map<std::string, int> counted;
        return counted;
    }
};

const testing::Environment *const summary = testing::AddGlobalTestEnvironment(new survivors);

class library : public testing::TestWithParam<call_on_host> {
protected:
    static void SetUpTestSuite()
    {
        if (constructed_machine::unavailable().empty())
            built_locales();
    }
    static void TearDownTestSuite() { machine.reset(); }

    void SetUp() override
    {
        if (const std::string reason = constructed_machine::unavailable(); !reason.empty())
            GTEST_SKIP() << reason;
        if (is_sanitized && !GetParam().place->bears_sanitizers)
            GTEST_SKIP() << "the sanitizers need an address space without limit";
    }

    static machine_process &machine_of(const library_call &call)
    {
        if (!machine || &machine->call() != &call) {
            machine.reset();
            machine = std::make_unique<machine_process>(call);
        }
        return *machine;
    }

private:
    static inline std::unique_ptr<machine_process> machine;
};

std::string name_of(const testing::TestParamInfo<call_on_host> &info)
{
    return info.param.place->name + "_" + info.param.call->function + "_" + info.param.call->way;
}

} // namespace

TEST_P(library, survives_a_host)
{
    const outcome made = machine_of(*GetParam().call).ask(*GetParam().place);
    if (made.lacks_memory && !GetParam().place->bears_sanitizers)
        GTEST_SKIP() << "the test itself has no memory for this call";
    const std::string wrong = objection(GetParam(), made);
    EXPECT_EQ(wrong, "") << GetParam() << "; it said: " << made.said.substr(0, 1000);
    if (wrong.empty())
        survivors::count(GetParam().place->name);
    if (made.has_hung)
        TearDownTestSuite();
}

INSTANTIATE_TEST_SUITE_P(each, library, testing::ValuesIn(every_call_on_every_host()), name_of);

TEST(caller_with_much_memory, is_answered_as_any_other)
{
    if (const std::string reason = constructed_machine::unavailable(); !reason.empty())
        GTEST_SKIP() << reason;
    if (is_sanitized)
        GTEST_SKIP() << "the sanitizers look through all of the memory at each end of a process";
    if (available_memory() < least_available_memory)
        GTEST_SKIP() << "less than 12 GiB of memory are available";
    const resident_memory much;
    const host place = {"much_memory", [] { return std::make_unique<condition>(); }};
    std::ostringstream objections;
    for (const library_call &call : library_calls()) {
        machine_process machine(call);
        const call_on_host one = {&call, &place};
        const outcome made = machine.ask(place);
        const std::string wrong = objection(one, made);
        if (wrong.empty())
            survivors::count(place.name);
        else
            objections << one << ": " << wrong << "; it said: " << made.said.substr(0, 1000)
                       << "\n";
    }
    EXPECT_EQ(objections.str(), "");
}
