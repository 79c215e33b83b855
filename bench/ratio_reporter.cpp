// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ratio_reporter.h"

#include <ostream>
#include <utility>

ratio_reporter::ratio_reporter(std::vector<comparison> comparisons)
    : benchmark::ConsoleReporter(OO_Tabular), comparisons_(std::move(comparisons))
{
}

void ratio_reporter::ReportRuns(const std::vector<Run> &runs)
{
    benchmark::ConsoleReporter::ReportRuns(runs);
    for (const Run &run : runs) {
        if (run.aggregate_name == "median")
            median_[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
}

void ratio_reporter::Finalize()
{
    benchmark::ConsoleReporter::Finalize();
    for (const auto &[ours, peer] : comparisons_) {
        const auto of_ours = median_.find(ours);
        const auto of_peer = median_.find(peer);
        if (of_ours != median_.end() && of_peer != median_.end())
            GetOutputStream() << ours << " / " << peer << " = " << of_ours->second / of_peer->second
                              << "\n";
    }
}
