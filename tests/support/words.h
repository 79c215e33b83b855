// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The texts of a recorded machine are lines of words. A word that holds blanks or unprintable bytes
// stands between quotation marks, where a backslash makes the next character an ordinary one, "\n"
// and "\t" are what they are in C, and "\xNN" is a byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace recorded {

struct word {
    std::string text;
    bool is_quoted;
};
using line = std::vector<word>;

line words_of(std::string_view text);

// The lines of a file, without empty ones and those that begin with "#".
std::vector<std::string> lines_of(const std::string &path);
std::vector<line> word_lines_of(const std::string &path);

// The text between quotation marks.
std::string quoted(std::string_view text);

} // namespace recorded
