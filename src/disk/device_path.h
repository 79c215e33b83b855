// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <climits>

namespace orvane {

using path_buffer = bounded_text<PATH_MAX>;

// Resolves every symbolic link of a name; false when that leads nowhere.
bool canonicalise(const char *name, path_buffer &path) noexcept;

// The same for a name that must lead to a block device.
bool canonicalise_block_device(const char *name, path_buffer &path) noexcept;

// What follows the last slash of a path; all of a text without one.
const char *last_component(const char *path) noexcept;

} // namespace orvane
