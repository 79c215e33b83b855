// SPDX-License-Identifier: LGPL-2.1-or-later
#include "api_cases/api_case.h"
#include "fixture.h"
#include "summary.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iterator>
#include <latch>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

namespace {

constexpr std::size_t threads = 32;

// A case that runs tools runs a few times, any other as often as fits.
constexpr int fewest_rounds = 2;
constexpr int most_rounds = 20;
constexpr std::chrono::milliseconds time_for_rounds(50);

using answers = std::map<std::string, std::set<std::string>>; // by the case

// Each thread runs its case, all of them at once.
void run_at_once(const std::function<const api_case &(std::size_t)> &case_of, answers &all)
{
    std::vector<std::string> answered(threads);
    std::latch start(threads);
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < threads; ++thread) {
        running.emplace_back([&start, &answered, &one = case_of(thread), thread] {
            start.arrive_and_wait();
            answered[thread] = one.run();
        });
    }
    for (std::thread &thread : running)
        thread.join();
    for (std::size_t thread = 0; thread < threads; ++thread)
        all[case_of(thread).full_name()].insert(answered[thread]);
}

api_case_list cases_for_threads(const api_case_list &from)
{
    api_case_list safe;
    std::ranges::copy_if(from, std::back_inserter(safe), [](const api_case &one) {
        return !one.has(single_thread) && one.ends_with.empty();
    });
    return safe;
}

class case_of_many_threads : public on_machine, public testing::WithParamInterface<api_case> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

TEST_P(case_of_many_threads, gives_each_the_answer)
{
    const auto this_case = [](std::size_t) -> const api_case & { return GetParam(); };
    answers all;
    const auto end = std::chrono::steady_clock::now() + time_for_rounds;
    for (int round = 0;
         round < fewest_rounds || (round < most_rounds && std::chrono::steady_clock::now() < end);
         ++round)
        run_at_once(this_case, all);
    EXPECT_EQ(all, (answers{{GetParam().full_name(), {GetParam().answer}}}));
}

INSTANTIATE_TEST_SUITE_P(of, case_of_many_threads,
                         testing::ValuesIn(cases_for_threads(representative_cases())),
                         [](const auto &one) { return one.param.full_name(); });

// Two threads in each of two queries, of which one takes any child when its own tool has ended.
TEST_F(on_machine, has_no_child_left_by_threads)
{
    const int calls = is_sanitized() ? 30 : 300;
    const auto find = [](const std::string &name) -> const api_case & {
        return *std::ranges::find(representative_cases(), name, &api_case::full_name);
    };
    const std::array queries = {&find("harddisk_id_mapped_whole_disk"),
                                &find("harddisk_id_smartctl_report")};
    for (const api_case *query : queries)
        query->furnish(machine);
    std::vector<std::thread> running;
    for (const api_case *query : {queries[0], queries[0], queries[1], queries[1]})
        running.emplace_back([query, calls] {
            for (int call = 0; call < calls; ++call)
                EXPECT_EQ(query->run(), query->answer);
        });
    for (std::thread &thread : running)
        thread.join();
    int left = 0;
    while (::waitpid(-1, nullptr, WNOHANG) > 0)
        ++left;
    EXPECT_EQ(left, 0);
}

using case_pointers = std::vector<const api_case *>;

// Whether the machine can be furnished for this case too.
bool is_furnished(constructed_machine &machine, const api_case &one)
{
    try {
        if (one.furnish != nullptr)
            one.furnish(machine);
        return true;
    } catch (const std::filesystem::filesystem_error &) {
        return false; // another case needs a file where this one needs a directory
    }
}

// Removes those cases from the list that give their answer on one machine that is furnished for all
// of them: what one of them needs another may have replaced.
case_pointers take_group(case_pointers &waiting, constructed_machine &machine)
{
    case_pointers furnished;
    case_pointers others;
    for (const api_case *one : waiting)
        (is_furnished(machine, *one) ? furnished : others).push_back(one);
    case_pointers group;
    for (const api_case *one : furnished)
        (one->run() == one->answer ? group : others).push_back(one);
    // The next machine is furnished for those first that were last here.
    waiting.assign(others.rbegin(), others.rend());
    return group;
}

class different_cases : public on_machine {};

// Over the rounds every thread runs every case of a group, and at no time do two threads run the
// same, as long as there are cases enough.
TEST_F(different_cases, do_not_disturb_one_another)
{
    const api_case_list safe = cases_for_threads(api_cases());
    case_pointers waiting;
    for (const api_case &one : safe)
        waiting.push_back(&one);
    std::size_t made = 0;
    while (!waiting.empty()) {
        machine.stop();
        machine.start();
        const case_pointers group = take_group(waiting, machine);
        // What is left over bears no other case on its machine.
        if (group.size() < 2)
            break;
        made += group.size();
        answers all;
        answers expected;
        for (std::size_t first = 0; first < group.size(); first += threads / 2)
            run_at_once(
                [&](std::size_t thread) -> const api_case & {
                    return *group[(first + thread) % group.size()];
                },
                all);
        for (const api_case *one : group)
            expected[one->full_name()] = {one->answer};
        EXPECT_EQ(all, expected);
    }
    EXPECT_GT(made, safe.size() * 9 / 10) << "cases that share a machine with others";
}

} // namespace
