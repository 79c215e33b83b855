// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>

namespace orvane {

// Which bytes base64 text is made of, the pad included. A table, because the test of each character
// must not cost as much as its decoding.
constexpr std::array<bool, 256> base64_alphabet = [] {
    std::array<bool, 256> alphabet = {};
    for (const char c : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=")
        alphabet[static_cast<unsigned char>(c)] = c != '\0';
    return alphabet;
}();

constexpr bool is_base64(char c) noexcept
{
    return base64_alphabet[static_cast<unsigned char>(c)];
}

} // namespace orvane
