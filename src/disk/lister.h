// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// "MODEL_SERIAL" that lsblk lists for the device of this name, without "/dev/". An absent name is
// nobody's. New text, or none.
heap_text listed_identity(const char *device) noexcept;

// The same out of a listing in JSON.
heap_text identity_in_listing(const char *listing, const char *device) noexcept;

} // namespace orvane
