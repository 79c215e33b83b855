// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// A copy of the first word of a kernel command line that begins with "root=", or nullptr.
char *cmdline_find_root_token(const char *line) noexcept;

// A copy of the device path that a "root=" word stands for, or nullptr.
char *resolve_root_spec(const char *token) noexcept;

} // namespace orvane
