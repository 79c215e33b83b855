// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <cstdio>

namespace orvane {

using smartctl_field = bounded_text<511>;

// Takes model and serial number out of what smartctl reports of a disk; each stays empty where it
// is not reported.
void read_smartctl_report(std::FILE *report, smartctl_field &model,
                          smartctl_field &serial) noexcept;

} // namespace orvane
