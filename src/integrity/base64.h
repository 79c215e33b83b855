// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

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

} // namespace orvane
