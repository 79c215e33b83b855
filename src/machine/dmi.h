// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/shell.h"

namespace orvane {

// dmidecode reads the firmware's tables: the second source of every DMI query. The command lines
// below run it by the same path.
inline bool has_dmidecode() noexcept
{
    return is_runnable("/usr/sbin/dmidecode");
}

inline constexpr char family_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Family' |awk '{print $2}'";
inline constexpr char version_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Version' |awk '{print $2}'";
// Splits at ": ", so that blanks inside the value are kept.
inline constexpr char serial_number_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | awk -F': ' '{print $2}'";
inline constexpr char manufacturer_keyword_command[] = "/usr/sbin/dmidecode -s system-manufacturer";
inline constexpr char manufacturer_table_command[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}'";
// dmidecode prints a remark in place of a UUID that the firmware does not have; grep drops it.
inline constexpr char system_uuid_command[] =
    "/usr/sbin/dmidecode -s system-uuid | grep "
    R"('[0-9a-fA-F]\{8\}-[0-9a-fA-F]\{4\}-[0-9a-fA-F]\{4\}-[0-9a-fA-F]\{4\}-[0-9a-fA-F]\{12\}')";

// The product serial number: new text, or nullptr.
char *get_service_tag() noexcept;

} // namespace orvane
