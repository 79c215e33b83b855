// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "host.h"

// What the header says of the functions, as far as it matters to a host.
namespace documented {

functions operator+(functions first, const functions &rest);

// Run tools, through the shell or without it.
extern const functions to_run_tools;

// Have the shell find a tool by PATH.
extern const functions to_search_path;

// Ask sources that are root's alone.
extern const functions to_need_root;

// Write files beside the trace log; or write the log, and that is all they do.
extern const functions to_write_files;

// Leave lines in the trace log on their way.
extern const functions to_trace;

// Read below /proc, below /sys.
extern const functions to_read_proc;
extern const functions to_read_sys;

// Read a file that the caller names, wherever it is.
extern const functions to_read_named_files;

// Put requests to devices or sockets.
extern const functions to_make_requests;

// End the process where GLib has no memory.
extern const functions to_end_without_memory;

// Make the locale of the process the environment's, and a default SIGPIPE ignored.
extern const functions to_change_the_process;

// Wait for any child of the process.
extern const functions to_wait_for_any_child;

// Count a read that a signal handler breaks off as failed.
extern const functions to_fail_when_interrupted;

} // namespace documented
