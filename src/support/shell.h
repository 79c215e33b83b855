// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Running system tools, and building their command lines.
#pragma once

#include "support/bounded_text.h"
#include "support/owned.h"

#include <string_view>

namespace orvane {

// Whether the caller may read and execute the tool at this path: asked before each run, so that a
// missing tool costs no process.
bool is_runnable(const char *path) noexcept;

// Runs a command line through the shell for its output; empty when it cannot be started.
tool_output run_tool(const char *command) noexcept;

// Appends a text to a command line between single quotes. What is too long is cut, and the word is
// closed all the same; without room for both quotes nothing is appended.
void append_quoted(text_buffer &command, std::string_view text) noexcept;

// Appends a name to a command line as one literal word. A name of letters, digits and
// "/_-.:+@,=" stands as it is, and is cut where it is too long; any other is quoted, so that no
// name becomes shell syntax.
void append_word(text_buffer &command, std::string_view name) noexcept;

} // namespace orvane
