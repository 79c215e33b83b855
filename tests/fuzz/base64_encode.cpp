// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <vector>

namespace {

std::string encoded(const std::uint8_t *data, std::size_t size)
{
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < size; at += 3) {
        const std::size_t left = std::min<std::size_t>(size - at, 3);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < left ? data[at + i] : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= left ? alphabet[group >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string expected = encoded(data, size);
    // Just as large as promised, so that one byte more is seen.
    std::string text(expected.size(), '?');
    unsigned int length = 12345;
    const int result = base64_encode(size == 0 ? reinterpret_cast<const std::uint8_t *>("") : data,
                                     static_cast<int>(size), text.data(), &length);
    if (size == 0) {
        require(result == ORVANE_BASE64_NOTHING_TO_ENCODE && length == 12345);
        return 0;
    }
    require(result == ORVANE_OK && length == expected.size() && text == expected);

    std::vector<std::uint8_t> back(length);
    unsigned int count = 0;
    require(base64_decode(text.c_str(), static_cast<int>(length), back.data(), &count) ==
            ORVANE_OK);
    require(count == size && std::equal(data, data + size, back.begin()));
    return 0;
}
