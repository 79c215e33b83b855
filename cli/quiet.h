// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Turns standard error off for its lifetime. The tools that the library runs complain there, each
// in its own words and some of them once for every fact.
class quiet_standard_error {
public:
    quiet_standard_error();
    quiet_standard_error(const quiet_standard_error &) = delete;
    quiet_standard_error &operator=(const quiet_standard_error &) = delete;
    ~quiet_standard_error();

private:
    int kept_;
};

// Whether the trace log could not be opened for a line of this run.
bool trace_log_refused();
