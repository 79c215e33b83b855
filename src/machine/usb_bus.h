// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// Whether a network interface is on the USB bus, as removable adapters are. True where its device
// cannot be determined, false where the machine has no such bus.
bool network_interface_on_usb_bus(const char *name) noexcept;

} // namespace orvane
