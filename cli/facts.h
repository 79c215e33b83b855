// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>

// What the library returns for one query: nothing, a text or a number.
using answer = std::variant<std::monostate, std::string, unsigned int>;

// Releases the text that the library returned.
answer taken(char *text);

bool is_answered(const answer &value);

// The answer in print, a dash where there is none.
std::string to_text(const answer &value);

struct fact {
    const char *name; // stable: scripts depend on it
    const char *description;
    // The answer, if there is one, where the sources that only root can read are missing; nullptr
    // for what every user can read.
    const char *without_root;
    answer (*ask)();
};

// Every fact, in the order in which they are shown.
std::span<const fact> all_facts();

// nullptr where there is no such fact.
const fact *find_fact(std::string_view name);
