// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// The device that a table of mounted file systems names for "/"; none where it names none.
heap_text root_of_mount_table(std::FILE *table) noexcept;

} // namespace orvane
