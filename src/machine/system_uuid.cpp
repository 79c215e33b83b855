// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The SMBIOS system UUID, with the placeholders of unconfigured boards refused.
#include "machine/dmi.h"
#include "orvane.h"
#include "support/line_reader.h"

#include <algorithm>
#include <iterator>

#include <strings.h>

namespace orvane {

namespace {

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";

// Left by firmware vendors in unconfigured boards, so that many machines share each.
constexpr const char *placeholders[] = {
    "12345678-1234-5678-90ab-cddeefaabbcc",
    "03000200-0400-0500-0006-000700080009",
    "fefefefe-fefe-fefe-fefe-fefefefefefe",
    "ffffffff-ffff-ffff-ffff-ffffffffffff",
};

bool is_placeholder(const char *uuid) noexcept
{
    return std::any_of(std::begin(placeholders), std::end(placeholders),
                       [uuid](const char *known) { return ::strcasecmp(uuid, known) == 0; });
}

char *copy_unless_placeholder(const line_buffer &uuid) noexcept
{
    return is_placeholder(uuid.c_str()) ? nullptr : uuid.copy();
}

char *get_system_uuid_from_sysfs() noexcept
{
    line_buffer uuid;
    return first_line_of_file(uuid_file, uuid) ? copy_unless_placeholder(uuid) : nullptr;
}

char *get_system_uuid_from_dmidecode() noexcept
{
    line_buffer uuid;
    return has_dmidecode() && first_line_of_command(system_uuid_command, uuid)
               ? copy_unless_placeholder(uuid)
               : nullptr;
}

} // namespace

} // namespace orvane

extern "C" char *system_uuid(void)
{
    char *const uuid = orvane::get_system_uuid_from_sysfs();
    return uuid != nullptr ? uuid : orvane::get_system_uuid_from_dmidecode();
}

extern "C" char *orvane_get_system_uuid(void)
{
    return ::system_uuid();
}
