// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdio>
#include <string>

// Lets what is written to a standard stream, by whomever, go to a file in memory for its lifetime.
class set_aside {
public:
    explicit set_aside(std::FILE *stream);
    set_aside(const set_aside &) = delete;
    set_aside &operator=(const set_aside &) = delete;
    ~set_aside();

    [[nodiscard]] std::string text() const;
    [[nodiscard]] int kept() const { return kept_; } // the descriptor that leads outside

private:
    std::FILE *stream_;
    int kept_;
};

// Turns standard error off for its lifetime. The tools that the library runs complain there, each
// in its own words and some of them once for every fact. Where the library ends the process, on a
// text that must be whole and does not fit, its line is said after all and the status is 1.
//
// One at a time.
class quiet_standard_error {
public:
    quiet_standard_error();
    quiet_standard_error(const quiet_standard_error &) = delete;
    quiet_standard_error &operator=(const quiet_standard_error &) = delete;
    ~quiet_standard_error();

private:
    set_aside aside_;
};

// Whether the trace log could not be opened for a line of this run.
bool trace_log_refused();
