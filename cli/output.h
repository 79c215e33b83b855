// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

// One line on standard error, behind what was printed before, with control characters replaced.
void print_error(const std::string &message);

// A line on standard output. Control characters are replaced on a terminal alone.
void print_line(const std::string &line);

// Text of any number of lines on standard output. On a terminal control characters but the newline
// are replaced.
void print_text(const std::string &text);

// Each control character, and each byte that is of no character, replaced.
std::string without_controls(const std::string &text);

// Throws where standard output does not take what was printed.
void flush_output();

// Writes to standard output where the path is "-" or names the same file. Any other file holds
// either all of the bytes or its previous content afterwards. Throws where writing fails.
void write_output(const std::string &path, std::string_view bytes);
