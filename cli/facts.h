// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>

// What the library says to one question: nothing, a text or a number.
using answer = std::variant<std::monostate, std::string, unsigned int>;

// Takes over a text of the library's.
answer taken(char *text);

bool is_answered(const answer &value);

// The answer as a person reads it.
std::string to_text(const answer &value);

struct fact {
    const char *name; // stable: scripts know facts by it
    const char *description;
    // How the answer reads, if there is one, where root's sources would not talk; nullptr for what
    // every user is told.
    const char *untold;
    answer (*ask)();
};

// Every fact, in the order in which they are shown.
std::span<const fact> all_facts();

// The fact of that name, or nullptr.
const fact *find_fact(std::string_view name);
