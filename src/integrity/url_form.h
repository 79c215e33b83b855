// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// 0 when every character of the text is of base64 or "%", else the code for one that is not.
int check_base64_chars(const char *text) noexcept;

} // namespace orvane
