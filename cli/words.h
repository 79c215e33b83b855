// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The words that users give: which are known, and what was probably meant by one that is not.
#pragma once

#include "commands.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

using words = std::vector<std::string>;

// Wrong use that is described elsewhere than in the help of the chosen subcommand: by the command
// line `page`.
struct usage_error_on_page : usage_error {
    usage_error_on_page(const std::string &message, std::string command_line)
        : usage_error(message), page(std::move(command_line))
    {
    }
    std::string page;
};

// The known word that was probably meant; nothing where none is close.
std::string nearest(std::string_view word, const words &known);

// The message for a word that is none of its kind, with what was probably meant, if anything.
std::string unknown(const char *kind, const std::string &word, const std::string &meant);

// Each throws for an unknown word.
void check_facts(const words &names);
show_format format_named(const std::string &name);

// A word may be several, with commas between.
words split_at_commas(const words &joined);

// The same command line with --check right before its list, where other options stand between, as
// sha256sum takes them.
words with_check_before_list(words given);
