// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/root_device.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file table = stream_of(data, size);
    const orvane::heap_text device = orvane::root_of_mount_table(table.get());
    require(!device || std::string_view(device.get()) != "rootfs");
    return 0;
}
