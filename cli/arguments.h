// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "words.h"

// Runs what the words of a command line say, and returns the exit status.
int run(const words &command_line);
