// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the library does while it answers a query: the files that it opens, the tools that it runs,
// what they print, its trace lines, and the calls among its own exported functions.
#pragma once

#include "facts.h"

#include <string>
#include <string_view>
#include <vector>

enum class event_kind : unsigned char {
    entered,  // an exported function, with its argument
    left,     // the same, with its result; `error` is not 0 where there is none
    examined, // access(): whether a file or tool can be used
    opened,   // a file
    ran,      // a command line
    read,     // text of a file or from a tool
    ended,    // a tool, with what it wrote to standard error; `error` is the wait status
    traced,   // a line of the trace; `error` is not 0 where it did not reach the log
    answered, // the query
};

struct event {
    event_kind kind;
    int error; // an errno where nothing else is said
    std::string subject;
    std::string text;
};

struct observation {
    std::vector<event> events;
    answer value;
    std::string last_words; // on standard error, of a query that ended its process
    bool has_ended = false; // the process, before there was an answer
};

// Calls the query in a child process, so that neither an abort nor what the tools print reaches
// this one. The trace lines go to the library's log only where that is wanted.
observation observe(answer (*query)(), bool to_trace_log);

// Records an event in a process that is observed; does nothing in any other.
void record(event_kind kind, std::string_view subject, std::string_view text = {}, int error = 0);

// For the functions that record.
bool is_observed();
bool is_trace_log_wanted();
std::string new_errors(); // on standard error since the last time
