// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// Everything in a file, or on standard input. Both throw where it cannot be read.
std::string content_of(const std::string &path);
std::string standard_input();

// Puts the bytes on standard output where the path is "-". Otherwise into the file, which holds
// them all or what it held before. Throws where that fails.
void write_to(const std::string &path, const std::string &bytes);
