// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

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
};

// Whether the trace log could not be opened for a line of this run.
bool trace_log_refused();
