// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/handles.h"

namespace orvane {

// Whether the caller may read and execute the tool at this path: asked before each run, so that a
// missing tool costs no process.
bool is_runnable(const char *path) noexcept;

// Runs a command line through the shell for its output; empty when it cannot be started.
tool_output run_tool(const char *command) noexcept;

} // namespace orvane
