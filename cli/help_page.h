// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// A word of the command line, or a whole one, and what it stands for. Arrays of them end with one
// that has no word.
struct described {
    const char *word = nullptr;
    const char *description = nullptr;
};

// What --help prints for a subcommand, but for the list of the subcommands below it and --help.
struct help_page {
    std::string_view subcommand;   // of a literal
    const char *usages[3] = {""};  // what stands behind the subcommand, in one form or another
    const char *purpose = nullptr; // neither a capital nor a full stop
    const char *details = "";
    described arguments[4] = {};
    described options[6] = {};
    bool lists_facts = false;
    described examples[4] = {};
    // What the exit status 0, 1 and 3 mean. There may be no 1 or 3.
    const char *success = "done";
    const char *negative = nullptr;
    const char *undetermined = nullptr;
    const char *more = "docs/troubleshooting.md";
};

// The text of a page in lines of this many columns.
std::string lay_out(const help_page &page, std::span<const help_page> all, std::size_t width);
