// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the library adds to the system calls that it cannot do without.
#include "orvane.h"
#include "support/guards.h"

#include <array>
#include <cstdlib>
#include <string_view>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::string_view line = "2026-11-16 03:55:07.042 [12345]: root_dev_name: /dev/sda2.\n";

void trace_line(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(orvane_trace("root_dev_name: %s.", "/dev/sda2"));
}

// What a trace line cannot do without.
template <class Write> void write_between_three_calls(benchmark::State &state, Write write)
{
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(::access("/var/log/orvane/", R_OK | X_OK));
        const int fd = ::open("/var/log/orvane/liborvane.log", O_WRONLY | O_CREAT | O_APPEND, 0644);
        benchmark::DoNotOptimize(write(fd));
        ::close(fd);
    }
}

ssize_t write_line(int fd)
{
    return ::write(fd, line.data(), line.size());
}

void four_system_calls(benchmark::State &state)
{
    write_between_three_calls(state, write_line);
}

void four_system_calls_with_write_signal_guard(benchmark::State &state)
{
    write_between_three_calls(state, [](int fd) {
        const orvane::write_signal_guard line_may_be_lost;
        return write_line(fd);
    });
}

void system_uuid_query(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state) {
        char *const uuid = orvane_get_system_uuid();
        benchmark::DoNotOptimize(uuid);
        std::free(uuid);
    }
}

void open_read_close(benchmark::State &state)
{
    std::array<char, 1024> buffer;
    for ([[maybe_unused]] auto _ : state) {
        const int fd = ::open("/sys/devices/virtual/dmi/id/product_uuid", O_RDONLY);
        benchmark::DoNotOptimize(::read(fd, buffer.data(), buffer.size()));
        ::close(fd);
    }
}

} // namespace

BENCHMARK(trace_line);
BENCHMARK(four_system_calls);
BENCHMARK(four_system_calls_with_write_signal_guard);
BENCHMARK(system_uuid_query);
BENCHMARK(open_read_close);
