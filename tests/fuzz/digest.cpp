// SPDX-License-Identifier: LGPL-2.1-or-later
//
// An expected digest on the first line, and behind it the file's content.
#include "fuzz.h"
#include "orvane.h"

#include <openssl/evp.h>

namespace {

struct algorithm {
    int (*check)(const char *path, const char *expected);
    const EVP_MD *(*other_way)();
};
constexpr algorithm algorithms[] = {
    {file_check_sha256, EVP_sha256}, {file_check_sha1, EVP_sha1}, {file_check_md5, EVP_md5}};

std::string digest_of(const std::string &bytes, const EVP_MD *with)
{
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int length = 0;
    require(EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char *>(digest.data()),
                       &length, with, nullptr) == 1);
    digest.resize(length);
    return digest;
}

std::string hex_of(const std::string &bytes)
{
    std::string hex;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        hex += "0123456789abcdef"[value / 16];
        hex += "0123456789abcdef"[value % 16];
    }
    return hex;
}

// Both the caller's own text and the right one with a character of the caller's in it somewhere.
void require_judged(const algorithm &with, const std::string &content, const std::string &text)
{
    static const memory_file file;
    file.fill(content);
    const std::string right = hex_of(digest_of(content, with.other_way()));
    require(with.check(file.path(), text.c_str()) == (text.starts_with(right) ? 1 : 0));
    require(with.check(file.path(), right.c_str()) == 1);
    require(with.check(file.path(), (right + text).c_str()) == 1);

    std::string altered = right;
    altered[content.size() % right.size()] = *text.c_str();
    require(with.check(file.path(), altered.c_str()) == (altered == right ? 1 : 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string content = bytes_of(data, size);
    const std::string expected = up_to_zero(take_line(content));
    for (const algorithm &with : algorithms)
        require_judged(with, content, expected);

    const std::string text = up_to_zero(content);
    std::string digest(32, '?');
    require(compute_sha256(text.c_str(), reinterpret_cast<unsigned char *>(digest.data())));
    require(digest == digest_of(text, EVP_sha256()));
    return 0;
}
