// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct hd_driveid;

namespace orvane {

// Sends the ATA identify request to the node of this name under /dev, whether it is a disk or a
// partition. "MODEL_SERIAL" allocated with malloc(), or nullptr.
char *ata_identity(const char *device) noexcept;

// The same for the identify data that the kernel delivered.
char *join_identity(const hd_driveid &identity) noexcept;

} // namespace orvane
