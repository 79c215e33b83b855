// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <string_view>

#include <sys/types.h>

// Which of the library's fallible calls fail, and what is known of those that it made. The calls of
// the process that it forks are numbered apart from its caller's, because the two run side by side.
namespace injection {

enum class side { caller, forked };

struct plan {
    side where = side::caller;
    unsigned call = 0;    // the number of the call that fails, from 1; 0 for none
    bool lasting = false; // whether every later one fails too
    unsigned way = 0;     // in which of its ways, where it fails alone
};

constexpr std::size_t most_functions = 256;
constexpr int none = -1;

// Stands in memory that the process shares with those that it forks.
struct record {
    std::atomic<pid_t> caller; // the process whose calls count, and whose children's; 0 for none
    plan planned;
    std::atomic<unsigned> calls[2]; // by side
    std::atomic<int> first_failed;  // the number of the function
    std::atomic<int> fails_next;    // at its next call, whatever the plan; a number too
    std::atomic<unsigned> reached[most_functions];
    std::atomic<unsigned> failures[most_functions];
    std::atomic<bool> is_told; // whether the call came back, and what was wrong is known
    std::atomic<bool> has_returned_twice;
    std::atomic<std::size_t> complaint_length;
    char complaint[16384];
};

record &shared();

// Forgets what was recorded.
void prepare(const plan &planned);

// The plan counts for this process until disarm().
void arm() noexcept;
void disarm() noexcept;

// Of the functions, the one with this number fails when it is called next.
void fail_next(int function) noexcept;

// Asked before each fallible call: in which of its ways it fails, or not at all. One that does not
// last fails alone, and not for another call's failure before it.
std::optional<unsigned> next_failure(int function, bool lasts) noexcept;

} // namespace injection
