// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// The address that an interface has at present, as text; empty where it cannot be had.
heap_text network_interface_get_mac(const char *name) noexcept;

// The address that the maker gave an interface; all zeros where its driver does not tell it, and
// empty where the interface cannot be asked.
heap_text network_interface_get_permanent_mac(const char *name) noexcept;

} // namespace orvane
