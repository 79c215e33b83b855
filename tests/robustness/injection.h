// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <optional>

#include <sys/types.h>

// Which of the library's fallible calls fail, and which it made. The calls of the process that it
// forks are numbered apart from its caller's, because the two run side by side.
namespace injection {

enum class side { caller, forked };

struct plan {
    side where = side::caller;
    unsigned call = 0;    // the number of the call that fails, from 1; 0 for none
    bool lasting = false; // whether every later one fails too
    unsigned fault = 0;   // which of the function's faults, where it fails alone
};

constexpr std::size_t most_functions = 256;
constexpr int none = -1;

// Shared with the processes that this one forks.
struct record {
    std::atomic<pid_t> caller; // the process whose calls count, and whose children's; 0 for none
    plan planned;
    std::atomic<unsigned> calls[2]; // by side
    std::atomic<int> first_failed;  // the number of the function
    std::atomic<int> fails_next;    // at its next call, whatever the plan; a number too
    std::atomic<bool> reached[most_functions];
    std::atomic<unsigned> failures[most_functions];
};

record &shared();

// Clears the record.
void prepare(const plan &planned);

// The plan counts for this process until disarm().
void arm() noexcept;
void disarm() noexcept;

// The function with this number fails when it is called next.
void fail_next(int function) noexcept;

// Queried before each fallible call: the fault that it has, if any. One that does not last occurs
// alone, and not after another call's fault.
std::optional<unsigned> next_fault(int function, bool lasts) noexcept;

} // namespace injection
