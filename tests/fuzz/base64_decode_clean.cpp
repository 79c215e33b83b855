// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <cstring>

#include <openssl/bio.h>
#include <openssl/evp.h>

namespace {

// What libcrypto makes of a text once its layout is out of it.
std::string decoded(std::string text)
{
    std::erase_if(text, [](char c) { return c == '\n' || c == '\r' || c == ' '; });
    BIO *const filter = BIO_push(BIO_new(BIO_f_base64()),
                                 BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    BIO_set_flags(filter, BIO_FLAGS_BASE64_NO_NL);
    std::string bytes(3 * text.size() / 4 + 4, '?');
    const int count = BIO_read(filter, bytes.data(), static_cast<int>(bytes.size()));
    BIO_free_all(filter);
    bytes.resize(static_cast<std::size_t>(std::max(count, 0)));
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Each text is printed on standard output.
    require(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    int count = 12345;
    const orvane::heap_bytes bytes(base64_decode_clean(text.c_str(), &count));
    require(count != 12345 && (bytes != nullptr) == (count > 0));
    const std::string expected = decoded(text);
    require(static_cast<std::size_t>(std::max(count, 0)) == expected.size());
    require(!bytes || std::memcmp(bytes.get(), expected.data(), expected.size()) == 0);
    return 0;
}
