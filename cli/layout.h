// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Text for people: as wide as their terminal, in the characters that it has.
#pragma once

#include <string>
#include <string_view>

// The columns of the terminal behind standard output; 80 where it is none, and at least 40.
std::size_t output_columns();

// The columns that a text takes; a byte that is of no character takes one.
std::size_t columns_of(std::string_view text);

struct wrapping {
    std::string first = {};      // before the first line
    std::string others = {};     // before each that follows
    const char *mark = "";       // at the end of each line but the last
    bool keeps_brackets = false; // what stands in brackets is one word
};

// The words on lines of at most so many columns. A word that is longer has a line of its own.
// Control characters are replaced.
std::string wrapped(const std::string &words, const wrapping &how, std::size_t columns);

// The branches of a tree.
struct branches {
    const char *middle;
    const char *last;
    const char *past_middle;
    const char *past_last;
};
const branches &branches_of_locale();
