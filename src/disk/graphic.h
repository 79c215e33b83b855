// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cctype>

namespace orvane {

// A printed character that is no space, in the caller's locale. Makers fill models and serial
// numbers with others; each source that tells them has its own rule for what becomes of those, and
// callers compare what they recorded earlier, so each keeps its rule.
inline bool is_graphic(char c) noexcept
{
    return ::isgraph(static_cast<unsigned char>(c)) != 0;
}

} // namespace orvane
