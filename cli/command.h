// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>

#include <CLI/CLI.hpp>

enum exit_status {
    done = 0,
    failed = 1, // no answer, not valid, or it could not be printed
    wrong_use = 2,
};

// What the words on the command line ask for; it runs once they are understood, and gives the exit
// status.
using action = std::function<int()>;

// Each adds its words to the command line and stores its action when they are used.
void add_identity_commands(CLI::App &app, action &chosen);
void add_digest_command(CLI::App &app, action &chosen);
void add_signature_command(CLI::App &app, action &chosen);
void add_gpg_commands(CLI::App &app, action &chosen);
void add_base64_commands(CLI::App &app, action &chosen);
