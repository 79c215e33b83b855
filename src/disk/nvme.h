// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

namespace orvane {

// Whether a device of this name, without "/dev/", belongs to an NVMe disk.
bool is_nvme(const char *name) noexcept;

// "MODEL_SERIAL" of the disk in /sys/block whose name is a prefix of this one, allocated with
// malloc(), or nullptr.
char *nvme_id_from_sysfs(const char *name) noexcept;

// Appends an attribute of a disk in /sys/block: without the non-graphic characters at both ends,
// and with each run of them inside replaced by one "-". False when nothing can be read.
bool read_sysfs_disk_attribute(const char *disk, const char *attr, text_buffer &out) noexcept;

} // namespace orvane
