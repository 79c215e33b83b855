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

// Puts the replacements into the library, once. The functions that are neither fallible nor
// infallible are told, because somebody has to say what they are.
const std::set<std::string> &replace_fallible_functions();
