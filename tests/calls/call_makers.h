// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "library_calls.h"

#include <string>
#include <vector>

using furnishing = void (*)(constructed_machine &);
using running = std::string (*)();

// Without failures where nothing can make it tell anything else.
inline library_call call_for(const std::string &function, const std::string &way,
                             furnishing furnish, running run, const std::string &answer,
                             const std::vector<std::string> &failures = {})
{
    return {
        .function = function,
        .way = way,
        .furnish = furnish,
        .run = run,
        .answer = answer,
        .failures = failures,
    };
}

// One that needs nothing of its machine.
inline library_call bare_call(const std::string &function, const std::string &way, running run,
                              const std::string &answer,
                              const std::vector<std::string> &failures = {})
{
    return call_for(function, way, nullptr, run, answer, failures);
}

inline library_call not_for_threads(library_call call)
{
    call.thread_safe = false;
    return call;
}
