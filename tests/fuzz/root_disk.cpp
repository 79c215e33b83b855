// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    silence_complaints();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string listing = text_of(data, size);
    const orvane::heap_text disk(find_root_disk(listing.c_str()));
    require(!disk || std::string_view(disk.get()).size() <= listing.size());
    return 0;
}
