// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "library_calls.h"
#include "machine.h"

#include <map>
#include <string>
#include <vector>

// What came of a library call with every one of its fallible calls failing in turn.
struct torture_result {
    std::vector<std::string> complaints;
    std::map<std::string, unsigned long> failures; // injected ones, by function
    unsigned long runs = 0;
};

// Makes the call once for each fallible call in it and each way in which that fails alone, and once
// with every call from there on failing.
torture_result torture(const constructed_machine &machine, const library_call &call);
