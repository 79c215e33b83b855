// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// Prints the product serial number of the firmware's System Information, blanks inside it kept.
inline constexpr char serial_number_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | awk -F': ' '{print $2}'";

// The product serial number that the maker put on this machine: new text, or nullptr.
char *get_service_tag() noexcept;

} // namespace orvane
