// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <string>
#include <vector>

// One way through an exported function: what the machine must hold for it, and what may come of it.
// The proofs (torture, hostile hosts, threads) run these calls under conditions of their own.
struct library_call {
    std::string function; // the exported name
    std::string way;      // which way through it, such as "nvme"

    // Adds to a machine that has started. May be null: the bare machine is enough.
    void (*furnish)(constructed_machine &machine);

    // Calls the function once, releases what it hands over, and tells the answer: a text as it is,
    // "NULL", a number in decimal digits. For functions that change what they are given, what
    // stands there after.
    std::string (*run)();

    // What run() tells where nothing fails.
    std::string answer;

    // What it may tell instead where the host fails it: the documented failure value, and the
    // answer of the next source where the documentation says that there is one.
    std::vector<std::string> failures;

    // Where the documentation says that the process is ended: with the line on standard error.
    std::string ends_with = {};

    // The documentation says that any number of threads may make this call at once.
    bool thread_safe = true;
};

// Every exported function, most of them in several ways.
const std::vector<library_call> &library_calls();
