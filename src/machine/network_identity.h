// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine/network_interface.h"

namespace orvane {

// The wired interfaces as the kernel lists them, once for each of their addresses, and behind them
// the slaves of every bond. The first interface on the USB bus ends the walk if it is to be left
// out.
interface_list network_interface_list(bool ignore_usb) noexcept;

} // namespace orvane
