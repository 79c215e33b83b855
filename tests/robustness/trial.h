// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "api_cases/api_case.h"
#include "environments.h"
#include "faults.h"
#include "injection.h"
#include "machine.h"

#include <chrono>
#include <string>

// How an API case is run.
struct trial {
    injection::plan planned = {};
    const environment *place = nullptr;
    bool has_crypto_error = false; // whether libcrypto's error queue holds an error before
    std::chrono::seconds limit = std::chrono::seconds(20);
};

struct trial_result {
    const fallible_function *failed; // whose call failed first, or nullptr
    std::string violation;           // what was wrong, or empty
};

// Runs the case in a process of its own, which then has to be as it was before: nothing crashed,
// leaked or hung, and the answer is one that the documentation allows. A plain trial runs it twice.
trial_result try_case(const constructed_machine &machine, const api_case &tried,
                      const trial &how = {});

// Runs the case once for each fallible call in it and each fault of that, and once with every call
// from there on failing. Returns what was wrong.
texts try_with_faults(const constructed_machine &machine, const api_case &tried);
