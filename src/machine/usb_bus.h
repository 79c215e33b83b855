// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// Whether a network interface sits on the USB bus, as removable adapters do. One whose place
// cannot be found out counts as if it did; where there is no such bus, none does.
bool network_interface_on_usb_bus(const char *name) noexcept;

} // namespace orvane
