// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Each text is said on standard output.
    require(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    int count = 12345;
    const orvane::heap_bytes bytes(base64_decode_clean(text.c_str(), &count));
    require(count != 12345 && (bytes != nullptr) == (count > 0));
    if (count > 0)
        require(static_cast<std::size_t>(count) <= text.size() / 4 * 3 + 3);
    return 0;
}
