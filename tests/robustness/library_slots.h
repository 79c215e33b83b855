// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

// A function of another object that the library refers to, with every place of the library's own
// where its address stands.
struct imported_function {
    std::string name;
    std::vector<void **> slots;
};

// What the loaded liborvane.so takes from others, without what nobody provides.
std::vector<imported_function> imported_functions();

// Puts another function there, for the library alone.
//
// The library goes through its slots for every call, those that end a function by a jump included;
// those leave no return address that would show the caller. Nobody else uses the slots, so other
// objects and the sanitizers, whose own replacements are the genuine functions here, see nothing of
// it.
void replace(const imported_function &function, void *replacement);
