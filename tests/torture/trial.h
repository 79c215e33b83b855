// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fallible_functions.h"
#include "injection.h"
#include "library_calls.h"
#include "machine.h"

#include <chrono>
#include <string>

// What came of one call under one plan.
struct trial_result {
    const fallible_function *failed; // whose call failed first; nullptr for none
    std::string complaint;           // what was wrong; empty where nothing was
};

// What libcrypto's queue of errors holds before the call.
enum class error_queue { empty, with_an_error };

// Makes the call once in a process of its own, which then has to be as it was before: nothing
// crashed, leaked or hung, and the answer is one that the documentation allows.
trial_result try_call(const constructed_machine &machine, const library_call &call,
                      const injection::plan &planned, error_queue queue = error_queue::empty,
                      std::chrono::seconds limit = std::chrono::seconds(20));

// Whether the documentation promises that the function leaves libcrypto's errors as they were.
bool leaves_libcrypto_errors(const std::string &function);
