// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine.h"
#include "ratio_reporter.h"

#include <cstdio>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    if (const std::string reason = constructed_machine::unavailable(); !reason.empty()) {
        std::fprintf(stderr, "orvane_bench: %s\n", reason.c_str());
        return 1;
    }

    // Looked up once, and not on the constructed machine.
    static_cast<void>(benchmark::CPUInfo::Get());

    constructed_machine machine;
    machine.start();
    machine.file("/sys/devices/virtual/dmi/id/product_uuid",
                 "4c4c4544-0042-3510-8052-b4c04f4d3132\n", 0400);
    // Both sides append to a log that is there.
    machine.directory("/var/log/orvane");

    ratio_reporter reporter({
        {"trace_line", "four_system_calls"},
        {"system_uuid_query", "open_read_close"},
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
