// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/dependency.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string report = text_of(data, size);
    orvane::bounded_text<1024> name;
    orvane::find_dependency(report.data(), name);
    require(has_none_of(name.view(), "\n ():"));
    return 0;
}
