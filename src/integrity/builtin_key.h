// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

namespace orvane {

// The signing key's public half, as the build was given it: one binary OpenPGP transferable public
// key, and how long it is. Deliberate: in writable data of one size, so that the layout of the
// library is the same with every key, though nothing ever changes it.
struct signing_key {
    std::uint32_t length;
    unsigned char bytes[1024];
};
extern signing_key builtin_key; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

extern const char builtin_fingerprint[];          // 40 upper-case hexadecimal digits
extern const char builtin_long_key_id[];          // their last 16
extern const std::uint32_t builtin_creation_time; // Unix time

} // namespace orvane
