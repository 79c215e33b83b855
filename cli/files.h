// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// Everything on standard input. Throws where it cannot be read.
std::string standard_input();

// The same of what must be a text, in a file or on standard input. Throws also for a zero byte: the
// library would look at what stands before it, and say what holds for that alone.
std::string text_in(const std::string &path);
std::string text_on_standard_input();

// Puts the bytes on standard output where the path is "-" or leads there. Otherwise into the file,
// which holds them all or what it held before. Throws where that fails.
void write_to(const std::string &path, const std::string &bytes);
