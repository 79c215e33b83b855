// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The headline query beside the command that people ask instead.
#include "orvane.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>

namespace {

void disk_identity_query(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state) {
        char *const identity = orvane_get_harddisk_id();
        if (identity == nullptr)
            state.SkipWithError("the query has no answer");
        std::free(identity);
    }
}

// As a program would run it, and read its answer.
void lsblk_model_and_serial(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state) {
        char line[1024] = {};
        std::FILE *const output = ::popen("exec lsblk -ndo MODEL,SERIAL /dev/nvme0n1", "r");
        if (output == nullptr || std::fgets(line, sizeof line, output) == nullptr ||
            std::strstr(line, "S4EVNX0N123456") == nullptr)
            state.SkipWithError("lsblk does not know the disk");
        if (output != nullptr)
            ::pclose(output);
    }
}

} // namespace

BENCHMARK(disk_identity_query);
BENCHMARK(lsblk_model_and_serial);
