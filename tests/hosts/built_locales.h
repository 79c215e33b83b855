// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// A directory that has the Turkish and the German locale, each in a character set of one byte. It
// is built when it is first asked for, and goes with the process that has built it.
const std::string &built_locales();
