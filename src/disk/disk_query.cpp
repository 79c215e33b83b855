// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of the disk that holds the root file system.
#include "orvane.h"

#include "support/owned.h"

namespace orvane {

namespace {

// The kernel interfaces come first, then smartctl, which reaches disks that they do not. The LVM
// tools come last, and only for what may be a logical volume.
char *query_sources(const char *device) noexcept
{
    if (char *const identity = ::harddisk_id(device))
        return identity;
    if (char *const identity = ::harddisk_id_smartctl(device))
        return identity;
    return ::is_logical_volume(device) != 0 ? ::harddisk_id_lvm(device) : nullptr;
}

} // namespace

} // namespace orvane

extern "C" char *orvane_get_harddisk_id(void)
{
    const orvane::heap_text device(::root_device());
    return device ? orvane::query_sources(device.get()) : nullptr;
}
