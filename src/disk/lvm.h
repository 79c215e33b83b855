// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <cstdio>

namespace orvane {

using lvm_name = bounded_text<511>;

// Takes the volume group of a logical volume out of lvdisplay's report; empty where none is
// reported.
void read_volume_group(std::FILE *report, lvm_name &group) noexcept;

// Takes the last physical volume out of pvdisplay's report. True when the report has one in a group
// whose name begins with this one, which must not be empty.
bool read_physical_volume(std::FILE *report, const lvm_name &group, lvm_name &volume) noexcept;

// Replaces an encrypted physical volume named after its partition, as in sda3_crypt, by that
// partition. A name without a block device is kept.
void undo_encryption(lvm_name &volume) noexcept;

} // namespace orvane
