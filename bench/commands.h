// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// Measures a command, run to its end once for each iteration without a shell and without output.
// One that fails is reported as the benchmark's error.
void run_each_time(benchmark::State &state, std::vector<std::string> command);

// Keeps what is written to standard output away from the report for its lifetime.
class silent_output {
public:
    silent_output();
    silent_output(const silent_output &) = delete;
    silent_output &operator=(const silent_output &) = delete;
    ~silent_output();

private:
    int kept_;
};
