// SPDX-License-Identifier: LGPL-2.1-or-later
#include "summary.h"

#include <iostream>
#include <map>
#include <numeric>
#include <string>

#include <gtest/gtest.h>

namespace {

using counts = std::map<std::string, unsigned long>;

unsigned long sum(const counts &counted)
{
    return std::accumulate(counted.begin(), counted.end(), 0UL,
                           [](unsigned long sum, const auto &one) { return sum + one.second; });
}

// The injected failures of all tests: by the library's function and by the one that failed.
class injected_failures : public testing::Environment {
public:
    void add(const library_call &call, const torture_result &result)
    {
        std::cout << "torture: " << call.function << " " << call.way << " " << sum(result.failures)
                  << " (" << result.runs << " runs)\n";
        by_caller_[call.function] += sum(result.failures);
        for (const auto &[name, count] : result.failures)
            by_failed_[name] += count;
    }

    void TearDown() override
    {
        for (const auto &[name, count] : by_caller_)
            std::cout << "torture: " << name << " total " << count << "\n";
        for (const auto &[name, count] : by_failed_)
            std::cout << "torture: failed " << name << " " << count << "\n";
        std::cout << "torture: total " << sum(by_caller_) << "\n";
    }

private:
    counts by_caller_;
    counts by_failed_;
};

auto &injected =
    *static_cast<injected_failures *>(testing::AddGlobalTestEnvironment(new injected_failures));

} // namespace

void report(const library_call &call, const torture_result &result)
{
    injected.add(call, result);
    for (const std::string &complaint : result.complaints)
        ADD_FAILURE() << complaint;
}
