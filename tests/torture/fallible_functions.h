// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "replacement.h"

#include <set>
#include <string>
#include <vector>

// Every function of others that the library may call and that may fail it, with the ways in which
// each may, the lasting one first: where it fails from some call on, it fails in that way.
const std::vector<fallible_function> &fallible_functions();

// Those that cannot fail, or whose failure ends the process.
bool is_infallible(const std::string &name);

// What the library takes from others: the functions that may fail it, and those that are neither
// fallible nor infallible, because somebody has to say what they are.
struct imported_names {
    std::set<std::string> fallible;
    std::set<std::string> unknown;
};

// Puts the replacements into the library, once.
const imported_names &replace_fallible_functions();
