// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <climits>

namespace orvane {

using path_buffer = heap_buffer<PATH_MAX>;

// Whether the name leads to a block device. Traces why it cannot be examined.
bool is_block_device(const char *dev_name) noexcept;

// Resolves all symbolic links of a name; false when it does not exist, or for want of memory.
bool canonicalise(const char *name, path_buffer &path) noexcept;

// The same, for a name that must lead to a block device.
bool canonicalise_block_device(const char *name, path_buffer &path) noexcept;

// What follows the last slash of a path, or the whole text if it has none.
const char *last_component(const char *path) noexcept;

} // namespace orvane
