// SPDX-License-Identifier: LGPL-2.1-or-later
#include "built_locales.h"
#include "documented.h"
#include "host.h"
#include "judgement.h"
#include "library_calls.h"
#include "machine.h"
#include "machine_process.h"
#include "resident_memory.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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

// With a sanitizer, which takes many times as long, every host sees a third of the calls, and every
// call a third of the hosts.
bool is_one_of_three(std::size_t call, std::size_t place)
{
    return !is_sanitized || (call + place) % 3 == 0;
}

// All hosts of one call come one after the other, because they share its machine.
std::vector<call_on_host> every_call_on_every_host()
{
    const std::vector<library_call> &calls = library_calls();
    std::vector<call_on_host> all;
    for (std::size_t call = 0; call < calls.size(); ++call) {
        for (std::size_t place = 0; place < hosts().size(); ++place) {
            if (!is_of_no_use(calls[call], hosts()[place]) && is_one_of_three(call, place))
                all.push_back({&calls[call], &hosts()[place]});
        }
    }
    return all;
}

// The first way through each function, and those that start processes.
std::vector<const library_call *> calls_of_each_function()
{
    std::set<std::string> functions;
    std::vector<const library_call *> chosen;
    for (const library_call &call : library_calls()) {
        if (functions.insert(call.function).second || has(documented::answers_of_tools, call))
            chosen.push_back(&call);
    }
    return chosen;
}

// How many calls came through, in the words of a summary, and how many could not be made.
class call_counts : public testing::Environment {
public:
    static void survive(const std::string &host) { ++numbers()[host].survivors; }
    static void skip(const std::string &host) { ++numbers()[host].skipped; }

    void TearDown() override
    {
        int total = 0;
        for (const auto &[host, number] : numbers()) {
            std::cout << "hosts: " << host << " " << number.survivors << " calls survived\n";
            total += number.survivors;
            // More would hide what goes wrong in all of them.
            EXPECT_LE(number.skipped, number.survivors / 20) << "calls not made on " << host;
        }
        std::cout << "hosts: total " << total << "\n";
    }

private:
    struct counts {
        int survivors = 0;
        int skipped = 0;
    };

    static std::map<std::string, counts> &numbers()
    {
        static std::map<std::string, counts> counted;
        return counted;
    }
};

const testing::Environment *const summary = testing::AddGlobalTestEnvironment(new call_counts);

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
    if (made.lacks_memory && !GetParam().place->bears_sanitizers) {
        call_counts::skip(GetParam().place->name);
        GTEST_SKIP() << "the test itself has no memory for this call";
    }
    const std::string wrong = objection(*GetParam().call, *GetParam().place, made);
    EXPECT_EQ(wrong, "") << GetParam() << "; it said: " << made.said.substr(0, 1000);
    if (wrong.empty())
        call_counts::survive(GetParam().place->name);
    if (made.has_hung)
        TearDownTestSuite();
}

INSTANTIATE_TEST_SUITE_P(each, library, testing::ValuesIn(every_call_on_every_host()), name_of);

// What must fail is what shows that a host is as said: a name that no call has would show nothing.
TEST(hosts, name_calls_that_there_are)
{
    for (const host &place : hosts()) {
        for (const std::string &name : place.must_fail) {
            EXPECT_TRUE(std::ranges::any_of(library_calls(),
                                            [&](const library_call &call) {
                                                return has({name}, call) && !call.failures.empty();
                                            }))
                << name << " on " << place.name;
        }
    }
}

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
    for (const library_call *const call : calls_of_each_function()) {
        machine_process machine(*call);
        const call_on_host one = {call, &place};
        const outcome made = machine.ask(place);
        const std::string wrong = objection(*call, place, made);
        if (wrong.empty())
            call_counts::survive(place.name);
        else
            objections << one << ": " << wrong << "; it said: " << made.said.substr(0, 1000)
                       << "\n";
    }
    EXPECT_EQ(objections.str(), "");
}
