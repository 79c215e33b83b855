// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Words of a command line that nothing takes.
#pragma once

#include "words.h"

#include <string>
#include <vector>

// What stands behind a subcommand, and what may stand there.
struct words_behind {
    std::string call; // "orvane gpg verify"
    words options;
    words subcommands;
    words remaining;
};

// Of the subcommands, from the command itself to the one that the words are probably meant for.
using remaining_words = std::vector<words_behind>;

// Each throws for the first such word. The given words are those of the command line.
void check_no_option_remains(const remaining_words &remaining, const words &given);
void check_no_word_remains(const remaining_words &remaining);
