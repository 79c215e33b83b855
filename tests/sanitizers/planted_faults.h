// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A library with faults, compiled as liborvane is. The tests that are compiled once must report
// them in each build that examines the library.
#pragma once

#include <cstddef>

void planted_leak();
void planted_slice_leak();                             // of a small block, which GLib allocates
void planted_overflow(char *buffer, std::size_t size); // writes one byte more
void planted_race();
int planted_signed_overflow(int number);
