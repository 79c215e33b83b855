// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What was observed of a query, as a tree of the sources in the order in which they were queried.
#pragma once

#include "observation.h"

#include <string>
#include <string_view>
#include <vector>

struct step {
    std::string source; // a file, a command line, a request, an interface or a call
    std::string result; // "answered", "no-answer", "not-queried", or the code of a reason
    std::string text;   // what the source returned, or why it has no answer
    std::vector<step> below = {};
    std::string output = {}; // all that was read from it
};

namespace results {
constexpr char answered[] = "answered";
constexpr char no_answer[] = "no-answer";
constexpr char not_queried[] = "not-queried";
} // namespace results

std::vector<step> steps_in(const std::vector<event> &events);

// The interfaces that a query of the network walked over, and the reports of bonds.
std::vector<step> network_steps_in(const std::vector<event> &events);

// Whether a file is one in which a source of facts lies, and not the C library's or a tool's own.
bool is_source(std::string_view path);

bool is_tool(std::string_view path);

// The result of a source that cannot be opened or run.
const char *result_of_error(std::string_view path, int error);

// What stands behind a label in a line.
std::string behind(const std::string &line, std::string_view label);

// The steps that have none below, in their order.
std::vector<const step *> leaves_of(const std::vector<step> &steps);

// The last step with this result; nullptr where there is none.
const step *last_with(const std::vector<step> &steps, std::string_view result);

// The step of a call, such as "harddisk_id"; nullptr where it was not called.
const step *find_call(const std::vector<step> &steps, std::string_view function);
step *find_call(std::vector<step> &steps, std::string_view function);

// The first line of a text that has anything in it, without blanks around it.
std::string first_line_with_text(std::string_view text);

// Whether what a tool printed speaks of missing rights.
bool speaks_of_permission(std::string_view text);
