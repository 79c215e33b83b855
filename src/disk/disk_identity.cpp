// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which disk holds the root file system, told by that disk's identity.
#include "orvane.h"

#include "support/owned.h"

namespace orvane {

namespace {

// Deliberate: the order. The kernel knows best; smartctl asks disks that the kernel cannot; the LVM
// tools are asked only about what may be a logical volume.
char *ask_sources(const char *device) noexcept
{
    if (char *const told = ::harddisk_id(device))
        return told;
    if (char *const told = ::harddisk_id_smartctl(device))
        return told;
    return ::is_logical_volume(device) != 0 ? ::harddisk_id_lvm(device) : nullptr;
}

} // namespace

} // namespace orvane

extern "C" char *orvane_get_harddisk_id(void)
{
    const orvane::heap_text device(::root_device());
    return device ? orvane::ask_sources(device.get()) : nullptr;
}
