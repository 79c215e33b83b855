// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "library_calls.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iterator>
#include <latch>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

constexpr std::size_t threads = 32;

// A call that runs tools is made a few times, any other as often as fits.
constexpr int fewest_rounds = 2;
constexpr int most_rounds = 20;
constexpr std::chrono::milliseconds time_for_rounds(200);

using answers = std::map<std::string, std::set<std::string>>; // by the call

std::string name_of_call(const library_call &call)
{
    return call.function + "_" + call.way;
}

// Each thread makes its call, all of them at once.
answers told_at_once(const std::function<const library_call &(std::size_t)> &call_of)
{
    std::vector<std::string> told(threads);
    std::latch start(threads);
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < threads; ++thread) {
        running.emplace_back([&start, &told, &call = call_of(thread), thread] {
            start.arrive_and_wait();
            told[thread] = call.run();
        });
    }
    for (std::thread &thread : running)
        thread.join();

    answers all;
    for (std::size_t thread = 0; thread < threads; ++thread)
        all[name_of_call(call_of(thread))].insert(told[thread]);
    return all;
}

// What all rounds together tell.
answers told_in_rounds(const std::function<const library_call &(int, std::size_t)> &call_of)
{
    answers all;
    const auto end = std::chrono::steady_clock::now() + time_for_rounds;
    for (int round = 0;
         round < fewest_rounds || (round < most_rounds && std::chrono::steady_clock::now() < end);
         ++round) {
        for (const auto &[call, told] :
             told_at_once([&](std::size_t thread) -> const library_call & {
                 return call_of(round, thread);
             }))
            all[call].insert(told.begin(), told.end());
    }
    return all;
}

std::vector<library_call> calls_for_many_threads()
{
    std::vector<library_call> safe;
    std::ranges::copy_if(library_calls(), std::back_inserter(safe), &library_call::thread_safe);
    return safe;
}

class call_of_many_threads : public on_machine, public testing::WithParamInterface<library_call> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

std::string name_of(const testing::TestParamInfo<library_call> &info)
{
    return name_of_call(info.param);
}

} // namespace

static void PrintTo(const library_call &call, std::ostream *stream)
{
    *stream << name_of_call(call);
}

TEST_P(call_of_many_threads, gives_each_the_answer)
{
    const library_call &call = GetParam();
    EXPECT_EQ(told_in_rounds([&](int, std::size_t) -> const library_call & { return call; }),
              (answers{{name_of_call(call), {call.answer}}}));
}

INSTANTIATE_TEST_SUITE_P(each, call_of_many_threads, testing::ValuesIn(calls_for_many_threads()),
                         name_of);

namespace {

using call_list = std::vector<const library_call *>;

// Whether the machine can be furnished for this call too.
bool is_furnished(constructed_machine &machine, const library_call &call)
{
    try {
        if (call.furnish != nullptr)
            call.furnish(machine);
        return true;
    } catch (const std::filesystem::filesystem_error &) {
        return false; // another call needs a file where this one needs a directory
    }
}

// Takes those calls out of the list that have their answer on one machine that is furnished for all
// that are on it: what one of them needs another may have replaced.
call_list take_group(call_list &waiting, constructed_machine &machine)
{
    call_list furnished;
    call_list others;
    for (const library_call *call : waiting)
        (is_furnished(machine, *call) ? furnished : others).push_back(call);
    call_list group;
    for (const library_call *call : furnished)
        (call->run() == call->answer ? group : others).push_back(call);
    // The next machine is furnished for those first that were last here.
    waiting.assign(others.rbegin(), others.rend());
    return group;
}

answers expected_of(const call_list &calls)
{
    answers expected;
    for (const library_call *call : calls)
        expected[name_of_call(*call)] = {call->answer};
    return expected;
}

// Each group has a machine of its own.
class different_calls : public testing::Test {
protected:
    void SetUp() override
    {
        if (const std::string reason = constructed_machine::unavailable(); !reason.empty())
            GTEST_SKIP() << reason;
        ::umask(022);
        ::setenv("LC_ALL", "C", 1);
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }
};

} // namespace

// Over the rounds every thread makes every call of a group, and at no time do two threads make the
// same, as long as there are calls enough.
TEST_F(different_calls, do_not_disturb_one_another)
{
    call_list waiting;
    for (const library_call &call : library_calls()) {
        if (call.thread_safe)
            waiting.push_back(&call);
    }
    const std::size_t all = waiting.size();
    std::size_t made = 0;
    while (!waiting.empty()) {
        constructed_machine shared;
        shared.start();
        const call_list group = take_group(waiting, shared);
        // What is left over bears no other call on its machine.
        if (group.size() < 2)
            break;
        made += group.size();
        answers told;
        for (std::size_t first = 0; first < group.size(); first += threads / 2) {
            const answers some = told_at_once([&](std::size_t thread) -> const library_call & {
                return *group[(first + thread) % group.size()];
            });
            for (const auto &[call, answered] : some)
                told[call].insert(answered.begin(), answered.end());
        }
        EXPECT_EQ(told, expected_of(group));
    }
    EXPECT_GT(made, all * 9 / 10) << "calls that share a machine with others";
}
