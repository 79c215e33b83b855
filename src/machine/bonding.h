// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine/mac_address.h"

#include <cstdio>

namespace orvane {

// Raise `greatest` to the greatest permanent address of the slaves of every bond, or of the bond
// whose report this is. A slave's own interface has the bond's address in place of its own.
void network_interface_list_bonding_slaves(mac_text &greatest) noexcept;
void read_bonding_report(std::FILE *report, mac_text &greatest) noexcept;

} // namespace orvane
