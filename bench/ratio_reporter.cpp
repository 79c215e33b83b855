// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ratio_reporter.h"

#include <ostream>
#include <utility>

namespace {

// As it was registered, with its argument if it has one.
std::string name_of(const benchmark::BenchmarkReporter::Run &run)
{
    const benchmark::BenchmarkName &name = run.run_name;
    return name.args.empty() ? name.function_name : name.function_name + "/" + name.args;
}

} // namespace

ratio_reporter::ratio_reporter(std::vector<comparison> comparisons)
    : benchmark::ConsoleReporter(OO_Tabular), comparisons_(std::move(comparisons))
{
}

void ratio_reporter::ReportRuns(const std::vector<Run> &runs)
{
    benchmark::ConsoleReporter::ReportRuns(runs);
    for (const Run &run : runs) {
        if (run.aggregate_name == "median")
            median_[name_of(run)] = run.GetAdjustedRealTime();
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
