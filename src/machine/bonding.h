// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine/network_interface.h"

#include <cstdio>

namespace orvane {

// The slaves of every bond, whose own interfaces show the bond's address in place of theirs.
interface_list network_interface_list_bonding_slaves() noexcept;

// The slaves in the kernel's report of one bond.
interface_list read_bonding_report(std::FILE *report) noexcept;

} // namespace orvane
