// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// The device of the first entry for "/" in a mount table, or none.
heap_text root_of_mount_table(std::FILE *table) noexcept;

} // namespace orvane
