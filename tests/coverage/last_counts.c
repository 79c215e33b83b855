// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Linked into the library where coverage is recorded. The counters are written when a process ends;
// these two ways to end it would lose them.

#include <stdlib.h>
#include <unistd.h>

void __gcov_dump(void);
_Noreturn void __real__exit(int status);
_Noreturn void __real_abort(void);
_Noreturn void __wrap__exit(int status);
_Noreturn void __wrap_abort(void);

_Noreturn void __wrap__exit(int status)
{
    __gcov_dump();
    __real__exit(status);
}

_Noreturn void __wrap_abort(void)
{
    __gcov_dump();
    __real_abort();
}
