// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

namespace orvane {

// The signing key's public half, a build input: one binary OpenPGP transferable public key and its
// length. In writable data of one size, though nothing changes it, so that the layout of the
// library is the same with every key.
struct signing_key {
    std::uint32_t length;
    unsigned char bytes[1024];
};
extern signing_key builtin_key; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

extern const char builtin_fingerprint[];          // 40 upper-case hexadecimal digits
extern const char builtin_long_key_id[];          // their last 16
extern const std::uint32_t builtin_creation_time; // Unix time

} // namespace orvane
