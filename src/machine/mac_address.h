// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

namespace orvane {

// An Ethernet address such as "00:1a:2b:3c:4d:5e". The bound is that of a word in a bond's report.
inline constexpr std::size_t mac_bytes = 128;
using mac_text = bounded_text<mac_bytes>;

// The address in use. False where the interface cannot be queried or has none.
bool network_interface_get_mac(const char *name, mac_text &mac) noexcept;

// The maker's address, all zeros where the driver does not report it. False where the interface
// cannot be queried.
bool network_interface_get_permanent_mac(const char *name, mac_text &mac) noexcept;

// Stores an address in `greatest` if it is greater than the one there. Addresses are lower-case
// text of one form, so the order of the texts is that of the addresses.
void keep_greatest(mac_text &greatest, const mac_text &mac) noexcept;

} // namespace orvane
