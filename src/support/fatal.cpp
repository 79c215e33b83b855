// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/fatal.h"

#include <cstdio>
#include <cstdlib>

namespace orvane {

void fatal_bounds_violation(const char *what) noexcept
{
    static_cast<void>(::fprintf(stderr, "liborvane: fatal: %s\n", what));
    ::abort();
}

} // namespace orvane
