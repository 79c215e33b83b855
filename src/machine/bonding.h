// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine/mac_address.h"

#include <cstdio>

namespace orvane {

// Keep in `greatest` the greatest permanent address of a bond's slaves, whose own interfaces show
// the bond's address in place of theirs: of every bond, or of the one whose report this is.
void network_interface_list_bonding_slaves(mac_text &greatest) noexcept;
void read_bonding_report(std::FILE *report, mac_text &greatest) noexcept;

} // namespace orvane
