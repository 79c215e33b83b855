// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// All bytes of standard input. Throws where it cannot be read.
std::string read_input();

// The same of a text, from standard input or a file. Throws also for a zero byte, at which the
// library would take the text to end.
std::string read_input_text();
std::string read_text(const std::string &path);
