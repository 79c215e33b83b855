// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// What --version prints: the version, the built-in key, and what this build has.
std::string version_text();
