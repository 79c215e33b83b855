// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

namespace orvane {

using sysfs_attribute = bounded_text<1024>;

// Whether a device of this name, without "/dev/", belongs to an NVMe disk.
bool is_nvme(const char *name) noexcept;

// "MODEL_SERIAL" of the disk whose name in /sys/block begins this name: new text, or nullptr.
char *nvme_id_from_sysfs(const char *name) noexcept;

// Reads an attribute of a disk in /sys/block into the empty `out`: without what is not graphic at
// its ends, and with one "-" in the place of each run of that inside. 0, or -1 where there is
// nothing to read.
int read_sysfs_disk_attribute(const char *disk, const char *attr, sysfs_attribute &out) noexcept;

} // namespace orvane
