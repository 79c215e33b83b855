// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <set>
#include <string>
#include <vector>

// What comes of a call that does not do its work.
enum class effect {
    failure,
    truncation, // a text that the call was to make or to write is there in part, or not at all
    part,       // a part of the work, which the call reports: nothing has failed
};

// A function that may fail, and what is called in its place.
struct fallible_function {
    std::string name;
    std::vector<effect> faults; // the first is the one that lasts
    void *replacement;
    void (*keep)(int number, void *genuine); // called when the replacement is in place
};

// Every function that may fail the library, with the other members of its family: the library may
// take any of them. Those that it does not import are never called.
const std::vector<fallible_function> &fallible_functions();

struct imported_names {
    std::set<std::string> fallible;
    std::set<std::string> unknown; // neither fallible nor known to be infallible
};

// Puts the replacements into the library, once.
const imported_names &replace_fallible_functions();
