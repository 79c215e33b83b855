// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstddef>

struct api_case;
struct trial;
struct trial_result;

// How many trials were made, of all processes of the program: printed at its end.
class trial_summary {
public:
    void count(const api_case &tried, const trial &how, const trial_result &result);
    void count_inconclusive() { ++inconclusive_; }
    void print() const;

private:
    static constexpr std::size_t most_places = 64;
    static constexpr std::size_t most_functions = 256;

    std::atomic<unsigned> trials_;
    std::atomic<unsigned> inconclusive_; // the test itself had no memory
    std::atomic<unsigned> injected_[most_functions];
    std::atomic<unsigned> survived_[most_places];
};

trial_summary &summary();

// Whether something in the process reports at its exit: a sanitizer, or the counters of coverage.
bool is_examined();
bool is_sanitized();
