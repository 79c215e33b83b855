// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// Throws the message for a result code of the library that is no success, for what is named.
// Whether that is negative or undetermined is the same in every subcommand.
[[noreturn]] void throw_result(const std::string &name, int result);
