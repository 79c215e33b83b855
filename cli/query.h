// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the subcommands that query the machine have in common.
#pragma once

#include "commands.h"
#include "findings.h"

// Each name where it stands first.
std::vector<std::string> each_once(const std::vector<std::string> &names);

// Examines the facts as the options say, and reports a trace log that cannot be written.
findings queried(const query_options &options);

// The exit status for facts of which an answer is wanted.
int status_of_all(const findings &found);

// One line about a fact without an answer: its status, the reason, and what to do.
std::string missing_line(const finding &one);

// Replaces what identifies this machine by short hashes, which are the same on it every time.
void redact(findings &found);
