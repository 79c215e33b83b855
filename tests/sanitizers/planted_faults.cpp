// SPDX-License-Identifier: LGPL-2.1-or-later
#include "planted_faults.h"

#include <cstdlib>
#include <cstring>

#include <glib.h>

namespace {

int shared_number = 0;
void *volatile lost = nullptr;

} // namespace

void planted_leak()
{
    lost = ::strdup("a text that nobody releases");
    lost = nullptr;
}

void planted_slice_leak()
{
    lost = ::g_slice_alloc0(24);
    lost = nullptr;
}

void planted_overflow(char *buffer, std::size_t size)
{
    for (std::size_t i = 0; i <= size; ++i)
        buffer[i] = 'x';
}

void planted_race()
{
    ++shared_number;
}

int planted_signed_overflow(int number)
{
    return number + 1;
}
