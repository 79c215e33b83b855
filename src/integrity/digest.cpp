// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether a file has an expected digest.
#include "orvane.h"
#include "support/bounded_text.h"
#include "support/owned.h"

#include <cctype>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <openssl/md5.h>
#include <openssl/sha.h>
#include <unistd.h>

namespace orvane {

namespace {

static_assert(sizeof(off_t) == 8, "a file of any size must have a digest");

using hex_text = bounded_text<2 * SHA256_DIGEST_LENGTH + 1>;

// Reads of 1 KiB would cost half as much again as hashing; beyond 8 KiB little is gained, and a
// thread's stack may be small.
constexpr std::size_t read_bytes = 8192;

char hex_digit(unsigned int value) noexcept
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto digit = static_cast<unsigned char>(digits[value & 0xFU]);
    // The locale decides which of them are capitals.
    return static_cast<char>(::isupper(digit) != 0 ? ::tolower(digit) : digit);
}

void append_hex(hex_text &hex, unsigned char byte) noexcept
{
    const char digits[] = {hex_digit(byte >> 4U), hex_digit(byte)};
    hex.append({digits, sizeof digits});
}

// Appends a file's digest as hexadecimal digits. False when the file cannot be read to its end.
//
// The low-level calls, because the EVP interface first fetches the algorithm, which takes a new
// process longer than hashing a small file.
template <std::size_t DigestBytes, class Context, auto Init, auto Update, auto Final>
bool file_hex(const char *path, hex_text &hex) noexcept
{
    const unique_fd file(path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file)
        return false;
    unsigned char block[read_bytes] = {};
    Context context = {};
    bool is_whole = Init(&context) == 1;
    ssize_t size = 0;
    while ((size = ::read(file.get(), block, sizeof block)) > 0)
        is_whole = Update(&context, block, static_cast<std::size_t>(size)) == 1 && is_whole;
    unsigned char digest[DigestBytes];
    is_whole = Final(digest, &context) == 1 && is_whole;
    if (!is_whole || size != 0)
        return false;
    for (const unsigned char byte : digest)
        append_hex(hex, byte);
    return true;
}

using hex_routine = bool (*)(const char *path, hex_text &hex) noexcept;

constexpr hex_routine file_sha256_hex =
    file_hex<SHA256_DIGEST_LENGTH, SHA256_CTX, ::SHA256_Init, ::SHA256_Update, ::SHA256_Final>;
constexpr hex_routine file_sha1_hex =
    file_hex<SHA_DIGEST_LENGTH, SHA_CTX, ::SHA1_Init, ::SHA1_Update, ::SHA1_Final>;
constexpr hex_routine file_md5_hex =
    file_hex<MD5_DIGEST_LENGTH, MD5_CTX, ::MD5_Init, ::MD5_Update, ::MD5_Final>;

// Whether the expected text begins with the file's digest.
bool file_check_digest(const char *path, const char *expected, hex_routine hex_of_file) noexcept
{
    hex_text computed;
    return expected != nullptr && hex_of_file(path, computed) &&
           ::strncmp(expected, computed.c_str(), computed.length()) == 0;
}

} // namespace

} // namespace orvane

extern "C" int file_check_sha256(const char *path, const char *expected)
{
    return orvane::file_check_digest(path, expected, orvane::file_sha256_hex) ? 1 : 0;
}

extern "C" int file_check_sha1(const char *path, const char *expected)
{
    return orvane::file_check_digest(path, expected, orvane::file_sha1_hex) ? 1 : 0;
}

extern "C" int file_check_md5(const char *path, const char *expected)
{
    return orvane::file_check_digest(path, expected, orvane::file_md5_hex) ? 1 : 0;
}
