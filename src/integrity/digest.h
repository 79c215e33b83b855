// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>

namespace orvane {

// Each writes the digest of a file's content to `hex` as lower-case hexadecimal digits, 64, 40 or
// 32 of them and no terminator. 0, or -1 when `size` bytes are too few or the file cannot be read
// to its end.
int file_sha256_hex(const char *path, char *hex, std::size_t size) noexcept;
int file_sha1_hex(const char *path, char *hex, std::size_t size) noexcept;
int file_md5_hex(const char *path, char *hex, std::size_t size) noexcept;

using hex_routine = int (*)(const char *path, char *hex, std::size_t size) noexcept;

// 1 when the file's digest is what `expected` begins with, else 0.
int file_check_digest(const char *path, const char *expected, hex_routine hex_of_file,
                      std::size_t digest_bytes) noexcept;

} // namespace orvane
