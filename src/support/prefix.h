// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstring>
#include <string_view>

namespace orvane {

// Whether a text begins with another. The standard's starts_with() needs the C++ runtime in a build
// without optimisation.
inline bool has_prefix(std::string_view text, std::string_view prefix) noexcept
{
    return text.size() >= prefix.size() && ::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

} // namespace orvane
