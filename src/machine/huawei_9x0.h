// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdio>

namespace orvane {

// Whether a line of the processor report that begins with "Hardware" names one of the processors,
// however it is spaced and capitalised.
bool names_kirin_9x0(std::FILE *cpuinfo) noexcept;

} // namespace orvane
