// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// The two sources of the system UUID: new text, or nullptr where there is none or a placeholder.
char *get_system_uuid_from_sysfs() noexcept;
char *get_system_uuid_from_dmidecode() noexcept;

} // namespace orvane
