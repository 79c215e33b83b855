// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// The library's name for a benchmark and its peer's, both as they were registered.
struct comparison {
    std::string ours;
    std::string peer;
};

// Prints the usual table and, below it, how many times as long as its peer each benchmark took in
// the same run.
class ratio_reporter : public benchmark::ConsoleReporter {
public:
    explicit ratio_reporter(std::vector<comparison> comparisons);

    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

private:
    std::vector<comparison> comparisons_;
    std::map<std::string, double> median_; // seconds of real time
};
