// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <cstdio>

namespace orvane {

using lvm_name = bounded_text<511>;

// Takes the volume group of a logical volume out of lvdisplay's report; empty where none is told.
void read_volume_group(std::FILE *report, lvm_name &group) noexcept;

// Takes the physical volume of that group, whose name is not empty, out of pvdisplay's report.
// False where the report has none of the group.
bool read_physical_volume(std::FILE *report, const lvm_name &group, lvm_name &volume) noexcept;

} // namespace orvane
