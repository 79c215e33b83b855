// SPDX-License-Identifier: LGPL-2.1-or-later
#include "summary.h"

#include "library_slots.h"
#include "sanitizers.h"
#include "shared_memory.h"
#include "trial.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace {

texts unique_function_names()
{
    texts all;
    for (const api_case &one : api_cases()) {
        if (std::ranges::find(all, one.function) == all.end())
            all.push_back(one.function);
    }
    return all;
}

// The exported functions in their order.
const texts &function_names()
{
    static const texts &names = *new texts(unique_function_names());
    return names;
}

// Made before any other process, and printed by the first alone.
class printed_summary {
public:
    ~printed_summary()
    {
        if (::getpid() == owner_)
            counts.print();
    }

    trial_summary &counts = in_shared_memory<trial_summary>();

private:
    pid_t owner_ = ::getpid();
} printed;

} // namespace

trial_summary &summary()
{
    return printed.counts;
}

void trial_summary::count(const api_case &tried, const trial &how, const trial_result &result)
{
    ++trials_;
    const auto function = std::ranges::find(function_names(), tried.function);
    if (result.failed != nullptr && function != function_names().end())
        ++injected_[function - function_names().begin()];
    const auto place =
        std::ranges::find(environments(), how.place, [](const environment &one) { return &one; });
    if (place != environments().end() && result.violation.empty())
        ++survived_[place - environments().begin()];
}

void trial_summary::print() const
{
    if (trials_ == 0)
        return;
    for (std::size_t i = 0; i < function_names().size(); ++i) {
        if (injected_[i] != 0)
            std::printf("robustness: %s total %u\n", function_names()[i].c_str(),
                        injected_[i].load());
    }
    for (std::size_t i = 0; i < environments().size(); ++i) {
        if (survived_[i] != 0)
            std::printf("robustness: environment %s %u cases\n", environments()[i].name.c_str(),
                        survived_[i].load());
    }
    std::printf("robustness: %u trials, %u of them inconclusive for want of memory\n",
                trials_.load(), inconclusive_.load());
}

bool is_sanitized()
{
    return has_address_sanitizer() || has_thread_sanitizer();
}

bool is_examined()
{
    static const bool counts_lines =
        std::ranges::any_of(imported_functions(), [](const imported_function &one) {
            return one.name == "counters_are_written_now";
        });
    return is_sanitized() || counts_lines;
}
