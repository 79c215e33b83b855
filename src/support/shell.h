// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Running system tools, and building their command lines.
#pragma once

#include "support/bounded_text.h"
#include "support/owned.h"

#include <string_view>

namespace orvane {

// Whether the caller may read and execute the tool at this path. Tested before each run, so that a
// missing tool starts no process.
bool is_runnable(const char *path) noexcept;

// Runs a command line through the shell and returns its output; none when it cannot be started.
tool_output run_tool(const char *command) noexcept;

// Runs a tool, given with its options, on the device of this name, which is never one of them.
tool_output run_tool_on_device(std::string_view tool, std::string_view device) noexcept;

// Appends text to a command line between single quotes. Text that is too long is truncated and the
// quotes are closed; nothing is appended when both quotes do not fit.
void append_quoted(text_buffer &command, std::string_view text) noexcept;

// Appends a name to a command line as one literal word. A name made of letters, digits and
// "/_-.:+@,=" is appended unchanged, truncated where it is too long; any other is quoted, so that
// no name becomes shell syntax.
void append_word(text_buffer &command, std::string_view name) noexcept;

} // namespace orvane
