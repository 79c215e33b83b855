// SPDX-License-Identifier: LGPL-2.1-or-later
//
// RSA signatures: reading the public key, and whether a text carries a valid signature.
#include "orvane.h"
#include "support/owned.h"
#include "support/text.h"
#include "support/write_or_lose.h"

#include <cstdio>
#include <cstring>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

namespace orvane {

namespace {

constexpr char public_key_path[] = "/etc/orvane/public.pem";

// Removes at the end of its life what was added to the thread's queue of libcrypto errors since its
// start: a caller that uses TLS would take that for a failure of its own connection. What was
// pushed out of a full queue meanwhile is lost. libcrypto 1.1 does not count marks, so no guard
// lives inside another.
class crypto_errors_guard {
public:
    crypto_errors_guard() noexcept { ::ERR_set_mark(); }
    crypto_errors_guard(const crypto_errors_guard &) = delete;
    crypto_errors_guard &operator=(const crypto_errors_guard &) = delete;
    // An empty queue takes no mark; everything in it now is ours.
    ~crypto_errors_guard() { ::ERR_pop_to_mark(); }
};

using unique_rsa = owned<RSA, ::RSA_free>;

void initialise_crypto() noexcept
{
    ::OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    ::OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

bool fail(const char *reason) noexcept
{
    print_or_lose("%s", reason);
    return false;
}

// Stores the digest of the message, and the bytes of the signature with their number. Prints the
// reason where it returns false.
bool read_signature(const char *message, const char *signature, unsigned char *digest,
                    heap_bytes &bytes, int &size) noexcept
{
    const crypto_errors_guard guard;
    initialise_crypto();
    if (message == nullptr || signature == nullptr)
        return fail("Invalid parameters: message or signature is NULL\n");
    bytes.reset(::base64_decode_clean(signature, &size));
    // Deliberate: "si11gnature" is how the line has always read, and logs are searched for it.
    if (!bytes || size <= 0)
        return fail("Failed to decode base64 si11gnature\n");
    return ::compute_sha256(message, digest) || fail("Failed to compute SHA256 hash of message\n");
}

} // namespace

} // namespace orvane

extern "C" RSA *load_public_key(const char *path)
{
    const orvane::crypto_errors_guard guard;
    orvane::unique_file file(path == nullptr ? nullptr : ::fopen(path, "re"));
    if (!file) {
        orvane::print_or_lose("Error opening public key file: %s\n", orvane::or_null(path));
        return nullptr;
    }
    RSA *const key = ::PEM_read_RSAPublicKey(file.get(), nullptr, nullptr, nullptr);
    file.reset();
    if (key == nullptr)
        orvane::print_or_lose("Error reading public key from file: %s\n", path);
    return key;
}

extern "C" bool verify_signature(const char *message, const char *signature)
{
    unsigned char digest[SHA256_DIGEST_LENGTH];
    orvane::heap_bytes bytes;
    int size = 0;
    if (!orvane::read_signature(message, signature, digest, bytes, size))
        return false;
    const orvane::unique_rsa key(::load_public_key(orvane::public_key_path));
    if (!key)
        return orvane::fail("Failed to load public key\n");
    const orvane::crypto_errors_guard guard;
    return ::RSA_verify(NID_sha256, digest, sizeof digest, bytes.get(),
                        static_cast<unsigned int>(size), key.get()) == 1;
}

extern "C" bool compute_sha256(const char *text, unsigned char *digest)
{
    if (text == nullptr || digest == nullptr)
        return false;
    SHA256_CTX context;
    return ::SHA256_Init(&context) == 1 && ::SHA256_Update(&context, text, ::strlen(text)) == 1 &&
           ::SHA256_Final(digest, &context) == 1;
}
