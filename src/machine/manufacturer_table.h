// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// What stands for no class.
inline constexpr int no_machine_type = -1;

} // namespace orvane
