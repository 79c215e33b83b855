// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// The class of a manufacturer that has none.
inline constexpr int no_machine_type = -1;

} // namespace orvane
