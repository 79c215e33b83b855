// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// 1 when the path leads to a block device, 0 otherwise. Traces why a path cannot be examined.
int is_block_device(const char *dev_name) noexcept;

} // namespace orvane
