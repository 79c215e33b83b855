// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/bonding.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::mac_text greatest;
    orvane::read_bonding_report(report.get(), greatest);
    require(has_none_of(greatest.view(), " \t\n\r\v\fABCDEFGHIJKLMNOPQRSTUVWXYZ"));
    return 0;
}
