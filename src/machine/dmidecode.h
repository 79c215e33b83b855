// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/shell.h"

namespace orvane {

// The firmware tables' reader, the second source of every DMI query. The pipelines that run it
// name the same path.
inline bool has_dmidecode() noexcept
{
    return is_runnable("/usr/sbin/dmidecode");
}

} // namespace orvane
