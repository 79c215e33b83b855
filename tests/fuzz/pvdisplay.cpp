// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/lvm_report.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::lvm_name group;
    group.append("vg0");
    orvane::lvm_name volume;
    static_cast<void>(orvane::read_physical_volume(report.get(), group, volume));
    orvane::undo_encryption(volume);
    require(has_none_of(volume.view(), " \n"));
    return 0;
}
