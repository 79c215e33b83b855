// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <features.h>

// The symbols of functions that take the size of a file or a time. On 32-bit machines the library
// calls those of 64 bits. Fortified by clang++ 19 and later, it opens without a mode by a symbol of
// its own.
#if defined __USE_TIME_BITS64 && __TIMESIZE == 32
#define SYMBOL_OF_OPEN "open64"
#define SYMBOL_OF_CHECKED_OPEN "__open64_2"
#define SYMBOL_OF_IOCTL "__ioctl_time64"
#define SYMBOL_OF_TIME "__time64"
#define SYMBOL_OF_CLOCK_GETTIME "__clock_gettime64"
#else
#define SYMBOL_OF_OPEN "open"
#define SYMBOL_OF_CHECKED_OPEN "__open_2"
#define SYMBOL_OF_IOCTL "ioctl"
#define SYMBOL_OF_TIME "time"
#define SYMBOL_OF_CLOCK_GETTIME "clock_gettime"
#endif
