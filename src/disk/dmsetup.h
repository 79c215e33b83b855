// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"
#include "support/owned.h"

namespace orvane {

// The name, without "/dev/", of the device under a mapped one, as dmsetup reports it; none without
// the tool or without such a device. The names of several devices run together.
heap_text dependency_name(const char *mapped) noexcept;

// Takes that name out of what dmsetup printed, which is modified. The name stays empty where there
// is none.
void find_dependency(char *report, text_buffer &name) noexcept;

} // namespace orvane
