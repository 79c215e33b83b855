// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// Two ways to have the firmware tables' reader print the system manufacturer.
inline constexpr char manufacturer_keyword_command[] = "/usr/sbin/dmidecode -s system-manufacturer";
inline constexpr char manufacturer_table_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}'";

// Who made this machine, as the firmware says it; empty where it does not.
heap_text get_system_manufacturer() noexcept;

} // namespace orvane
