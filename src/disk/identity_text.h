// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cctype>

namespace orvane {

// A printable character other than space, in the caller's locale. Vendors pad models and serial
// numbers with other bytes. Each source replaces or removes those by a rule of its own, and callers
// compare identities with ones stored earlier, so the rules must stay different.
inline bool is_graphic(char c) noexcept
{
    return ::isgraph(static_cast<unsigned char>(c)) != 0;
}

} // namespace orvane
