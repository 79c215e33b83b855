// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Runs a program in a child from which neither files nor processes stay, however it or this process
// ends: /tmp is its own, and whatever it starts ends with it. As root. Returns its exit status, or
// 128 and the signal's number.
int run_isolated(int (*program)());
