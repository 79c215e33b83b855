// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Linked into the library where coverage is recorded. The counters are written when a process ends;
// these two ways to end it would lose them.

#include <stdlib.h>
#include <unistd.h>

// A test program may have something to say to the calls that write the counters.
__attribute__((weak)) void counters_are_written_now(void);

void __gcov_dump(void);
_Noreturn void __real__exit(int status);
_Noreturn void __real_abort(void);
_Noreturn void __wrap__exit(int status);
_Noreturn void __wrap_abort(void);

static void write_counters(void)
{
    if (counters_are_written_now != NULL)
        counters_are_written_now();
    __gcov_dump();
}

_Noreturn void __wrap__exit(int status)
{
    write_counters();
    __real__exit(status);
}

_Noreturn void __wrap_abort(void)
{
    write_counters();
    __real_abort();
}
