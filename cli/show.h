// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "facts.h"

#include <string>
#include <vector>

// A fact and what the library said.
struct finding {
    const fact *what;
    answer value;
};

std::vector<finding> ask(std::span<const fact> facts);

// One row a fact, aligned, with a dash where there is no answer.
void print_table(const std::vector<finding> &findings);

// One object; a fact without an answer is null.
void print_json(const std::vector<finding> &findings);

// The names of the facts without an answer that root might get, separated by commas.
std::string names_for_root(const std::vector<finding> &findings);
