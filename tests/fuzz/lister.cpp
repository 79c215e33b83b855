// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/lister.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string listing = text_of(data, size);
    for (const char *const device : {"sda", static_cast<const char *>(nullptr)}) {
        const orvane::heap_text identity = orvane::identity_in_listing(listing.c_str(), device);
        if (identity) {
            const std::string_view text = identity.get();
            require(device != nullptr && !text.empty() && text.size() < 1024);
            require(has_none_of(text, " \t\n\r\v\f\x7f"));
        }
    }
    return 0;
}
