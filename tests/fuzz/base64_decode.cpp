// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    // Just as large as promised, so that one byte more is seen.
    std::vector<unsigned char> bytes(text.size());
    unsigned int count = 12345;
    const int result = base64_decode(text.c_str(), static_cast<int>(text.size()),
                                     bytes.empty() ? nullptr : bytes.data(), &count);
    if (result != ORVANE_OK) {
        require(count == 12345);
        return 0;
    }
    require(has_none_of(text, " \t\r\n%-_") && text.size() % 4 == 0);
    require(count <= text.size() / 4 * 3);

    std::string again(text.size(), '?');
    unsigned int length = 0;
    require(base64_encode(bytes.data(), static_cast<int>(count), again.data(), &length) ==
            ORVANE_OK);
    // The last character may hold bits that come to nothing.
    const std::size_t last = text.find_last_not_of('=');
    require(length == text.size() && again.compare(0, last, text, 0, last) == 0);
    return 0;
}
