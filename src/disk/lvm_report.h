// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <cstdio>

namespace orvane {

using lvm_name = bounded_text<511>;

// Takes the volume group of a logical volume out of lvdisplay's report; empty where none is told.
void read_volume_group(std::FILE *report, lvm_name &group) noexcept;

// Takes the last physical volume out of pvdisplay's report. True where the report has one of a
// group whose name begins with this one, which is not empty.
bool read_physical_volume(std::FILE *report, const lvm_name &group, lvm_name &volume) noexcept;

// Puts the partition in the place of an encrypted physical volume that is named after it, as in
// sda3_crypt. A name that leads to no block device stays.
void undo_encryption(lvm_name &volume) noexcept;

} // namespace orvane
