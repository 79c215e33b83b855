// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "library_calls.h"
#include "torture.h"

// Tells how many failures were injected, and again at the end of the program: for each of the
// library's functions, for each function that failed, and in total. What the torture has to
// complain of fails the test.
void report(const library_call &call, const torture_result &result);
