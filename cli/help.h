// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

// What --help prints for a subcommand such as "gpg verify", or for the command itself: "".
std::string help_of(std::string_view subcommand);
