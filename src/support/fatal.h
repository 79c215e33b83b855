// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// Writes one line to standard error and ends the process, in every build type: a text that must not
// be truncated exceeds its bound, and a part of it could name another device.
[[noreturn]] void fatal_bounds_violation(const char *what) noexcept;

} // namespace orvane
