// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/fatal.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace orvane {

void fatal_bounds_violation(const char *what) noexcept
{
    // Not through stderr, which the caller may have buffered: abort() does not flush it.
    static_cast<void>(::dprintf(STDERR_FILENO, "liborvane: fatal: %s\n", what));
    ::abort();
}

} // namespace orvane
