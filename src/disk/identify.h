// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct hd_driveid;

namespace orvane {

// Model and serial number that an ATA device tells when asked, as "MODEL_SERIAL". The question
// goes to the node of this name under /dev, be it a disk or a partition. New text, or nullptr.
char *ata_identity(const char *device) noexcept;

// The same of what the kernel delivered.
char *join_identity(const hd_driveid &identity) noexcept;

} // namespace orvane
