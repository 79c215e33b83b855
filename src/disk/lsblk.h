// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// "MODEL_SERIAL" that lsblk lists for the device of this name, without "/dev/". No device matches
// an absent name.
heap_text listed_identity(const char *device) noexcept;

// The same for a listing in JSON.
heap_text identity_in_listing(const char *listing, const char *device) noexcept;

} // namespace orvane
