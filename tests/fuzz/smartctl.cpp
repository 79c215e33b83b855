// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/smartctl.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    orvane::read_smartctl_report(report.get(), model, serial);
    require(has_none_of(model.view(), " \n:") && has_none_of(serial.view(), " \n:"));
    return 0;
}
