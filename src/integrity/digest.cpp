// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether a file has an expected digest.
#include "integrity/digest.h"

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

// Asking for 1 KiB at a time would cost half as much again as hashing; beyond 16 KiB little is won.
constexpr std::size_t read_bytes = 16384;

// The low-level calls, because the others look their algorithm up first, for which a fresh process
// could have hashed many small files.
template <class Context, auto Init, auto Update, auto Final>
bool digest_to_end(int fd, unsigned char *digest) noexcept
{
    unsigned char block[read_bytes] = {};
    Context context = {};
    bool is_whole = Init(&context) == 1;
    ssize_t size = 0;
    while ((size = ::read(fd, block, sizeof block)) > 0)
        is_whole = Update(&context, block, static_cast<std::size_t>(size)) == 1 && is_whole;
    is_whole = Final(digest, &context) == 1 && is_whole;
    return is_whole && size == 0;
}

struct algorithm {
    std::size_t digest_bytes;
    bool (*digest_to_end)(int fd, unsigned char *digest) noexcept; // false when a step failed
};

constexpr algorithm sha256 = {
    SHA256_DIGEST_LENGTH,
    digest_to_end<SHA256_CTX, ::SHA256_Init, ::SHA256_Update, ::SHA256_Final>,
};
constexpr algorithm sha1 = {
    SHA_DIGEST_LENGTH,
    digest_to_end<SHA_CTX, ::SHA1_Init, ::SHA1_Update, ::SHA1_Final>,
};
constexpr algorithm md5 = {
    MD5_DIGEST_LENGTH,
    digest_to_end<MD5_CTX, ::MD5_Init, ::MD5_Update, ::MD5_Final>,
};

constexpr std::size_t longest_digest_bytes = SHA256_DIGEST_LENGTH;

char hex_digit(unsigned int value) noexcept
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto digit = static_cast<unsigned char>(digits[value & 0xFU]);
    // Deliberate: the digits are lower-case already, but what a capital is, the C library says.
    return static_cast<char>(::isupper(digit) != 0 ? ::tolower(digit) : digit);
}

int file_hex(const algorithm &with, const char *path, char *hex, std::size_t size) noexcept
{
    if (size < 2 * with.digest_bytes || hex == nullptr)
        return -1;
    const unique_fd file(path == nullptr ? -1 : ::open(path, O_RDONLY));
    unsigned char digest[longest_digest_bytes];
    if (!file || !with.digest_to_end(file.get(), digest))
        return -1;

    for (std::size_t i = 0; i < with.digest_bytes; ++i) {
        *hex++ = hex_digit(digest[i] >> 4U);
        *hex++ = hex_digit(digest[i]);
    }
    return 0;
}

int check(const char *path, const char *expected, hex_routine hex_of_file,
          const algorithm &with) noexcept
{
    if (expected == nullptr)
        return 0;
    return file_check_digest(path, expected, hex_of_file, with.digest_bytes);
}

} // namespace

int file_sha256_hex(const char *path, char *hex, std::size_t size) noexcept
{
    return file_hex(sha256, path, hex, size);
}

int file_sha1_hex(const char *path, char *hex, std::size_t size) noexcept
{
    return file_hex(sha1, path, hex, size);
}

int file_md5_hex(const char *path, char *hex, std::size_t size) noexcept
{
    return file_hex(md5, path, hex, size);
}

int file_check_digest(const char *path, const char *expected, hex_routine hex_of_file,
                      std::size_t digest_bytes) noexcept
{
    bounded_text<1024> computed;
    if (hex_of_file(path, computed.data(), computed.capacity()) != 0)
        return 0;
    return ::strncmp(expected, computed.c_str(), 2 * digest_bytes) == 0 ? 1 : 0;
}

} // namespace orvane

extern "C" int file_check_sha256(const char *path, const char *expected)
{
    return orvane::check(path, expected, orvane::file_sha256_hex, orvane::sha256);
}

extern "C" int file_check_sha1(const char *path, const char *expected)
{
    return orvane::check(path, expected, orvane::file_sha1_hex, orvane::sha1);
}

extern "C" int file_check_md5(const char *path, const char *expected)
{
    return orvane::check(path, expected, orvane::file_md5_hex, orvane::md5);
}
