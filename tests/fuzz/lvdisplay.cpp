// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/lvm.h"
#include "lvm_lines.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::lvm_name group;
    orvane::read_volume_group(report.get(), group);
    require(group.view() == last_value(bytes_of(data, size), "VG Name"));
    return 0;
}
