// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// The group of a key file whose keys name classes of manufacturers. Each value holds one pattern,
// or several that "|" joins.
inline constexpr char manufacturer_patterns_group[] = "manufacturer_patterns";

} // namespace orvane
