// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// What a line for people says of a text that may be absent.
inline const char *printable(const char *text) noexcept
{
    return text != nullptr ? text : "(null)";
}

} // namespace orvane
