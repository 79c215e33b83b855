// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// Ends the process on purpose, in every build type, with one line on standard error: a text that
// must be whole does not fit its bound, and half of it could name another device.
[[noreturn]] void fatal_bounds_violation(const char *what) noexcept;

} // namespace orvane
