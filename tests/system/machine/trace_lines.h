// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// The lines that the machine queries write to the trace log.
namespace trace_line {

inline std::string found(const std::string &interface)
{
    return "found network interface device: " + interface + ", ignoreMountUSB: true";
}
inline std::string on_usb_bus(const std::string &interface)
{
    return "<" + interface + "> mounted on the usb bus, ignore.";
}
inline std::string addresses(const std::string &current, const std::string &permanent)
{
    return "mac: <" + current + ">,  permanent_mac: <" + permanent + ">.";
}
inline constexpr char no_permanent_address[] = "no permanent mac!";
inline constexpr char permanent_address_unreadable[] = "Could not read permanent MAC.";
inline std::string interface_gone(const std::string &reason)
{
    return "Set device name error: " + reason + ".";
}

inline constexpr char no_device[] = "get stat error";
inline constexpr char device_is_no_link[] = "is not link file";
inline constexpr char readlink_not_started[] = "get real path error";
inline constexpr char device_has_no_name[] = "get basename error";

inline std::string matched(const std::string &manufacturer, const std::string &pattern)
{
    return "system_manufacturer: " + manufacturer + ", glIdentifications: " + pattern + ".";
}
inline constexpr char no_patterns[] = "manufacturer_patterns: keys are empty.";

} // namespace trace_line
