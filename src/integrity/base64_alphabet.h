// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

namespace orvane {

// Which bytes are of base64's 64 characters, for one byte or for each of a vector's.
template <class Bytes> constexpr auto in_base64(Bytes bytes) noexcept
{
    const auto letters = static_cast<Bytes>((bytes | 0x20U) - 'a');
    const auto digits = static_cast<Bytes>(bytes - '0');
    // NOLINTNEXTLINE(readability-implicit-bool-conversion): vectors have no ||
    return (letters < 26U) | (digits < 10U) | (bytes == '+') | (bytes == '/');
}

// The pad included.
inline bool is_base64(char c) noexcept
{
    return in_base64(static_cast<unsigned char>(c)) != 0 || c == '=';
}

// Whether a text has none but the 64 characters. Sixteen at a time, so that the test costs a small
// part of the decoding.
inline bool is_unpadded_base64(std::string_view text) noexcept
{
    using vector [[gnu::vector_size(16)]] = unsigned char;
    auto all = in_base64(vector{} + 'A');
    for (; text.size() >= sizeof(vector); text.remove_prefix(sizeof(vector))) {
        vector bytes;
        ::memcpy(&bytes, text.data(), sizeof bytes);
        all &= in_base64(bytes);
    }
    bool is_all = std::all_of(text.begin(), text.end(),
                              [](char c) { return in_base64(static_cast<unsigned char>(c)) != 0; });
    for (std::size_t i = 0; i < sizeof(vector); ++i)
        is_all = is_all && all[i] != 0;
    return is_all;
}

} // namespace orvane
