// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "host.h"

// What the header says of the functions, as far as it matters to a host.
namespace documented {

functions operator+(functions first, const functions &rest);

// By what they need. to_...: functions and ways that may fail without it. answers_...: ways that
// have an answer, and certainly not without it.

// Tools; and those that the shell finds by PATH.
extern const functions to_run_tools;
extern const functions answers_of_tools;
extern const functions to_search_path;
extern const functions answers_by_path;

// Sources that are root's alone.
extern const functions to_need_root;
extern const functions answers_for_root;

// Files to write, and the trace log, where that is what they are called for.
extern const functions to_write_files;
extern const functions to_trace;
extern const functions answers_in_trace;

// Files below /proc, below /sys.
extern const functions to_read_proc;
extern const functions answers_of_proc;
extern const functions to_read_sys;
extern const functions answers_of_sys;

// Requests to disks or cards.
extern const functions to_make_requests;
extern const functions answers_of_requests;

// Look for words in any case of letters as the locale has them.
extern const functions to_pair_letters;

// Run gpg, which has a store of keys and files of its own.
extern const functions to_run_gpg;

// Have all that they need on the stack.
extern const functions to_need_no_memory;

// End the process where GLib has no memory.
extern const functions to_end_without_memory;

// Make the locale of the process the environment's, and a default SIGPIPE ignored.
extern const functions to_change_the_process;

// Wait for any child of the process.
extern const functions to_wait_for_any_child;

} // namespace documented
