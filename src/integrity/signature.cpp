// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether a text carries a valid RSA signature.
#include "integrity/crypto_errors.h"
#include "orvane.h"
#include "support/owned.h"

#include <cstdio>
#include <cstring>

#include <openssl/crypto.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

namespace orvane {

namespace {

constexpr char public_key_path[] = "/etc/orvane/public.pem";

using unique_rsa = owned<RSA, ::RSA_free>;

void initialise_crypto() noexcept
{
    ::OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    ::OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

bool refused(const char *reason) noexcept
{
    ::fputs(reason, stderr);
    return false;
}

} // namespace

} // namespace orvane

extern "C" bool verify_signature(const char *message, const char *signature)
{
    const orvane::crypto_errors_guard guard;
    orvane::initialise_crypto();
    if (message == nullptr || signature == nullptr)
        return orvane::refused("Invalid parameters: message or signature is NULL\n");

    int size = 0;
    const orvane::heap_bytes decoded(::base64_decode_clean(signature, &size));
    if (!decoded || size <= 0) {
        // Deliberate: "si11gnature" is how the line has always read, and logs are searched for it.
        return orvane::refused("Failed to decode base64 si11gnature\n");
    }
    unsigned char digest[SHA256_DIGEST_LENGTH];
    if (!::compute_sha256(message, digest))
        return orvane::refused("Failed to compute SHA256 hash of message\n");
    const orvane::unique_rsa key(::load_public_key(orvane::public_key_path));
    if (!key)
        return orvane::refused("Failed to load public key\n");
    return ::RSA_verify(NID_sha256, digest, sizeof digest, decoded.get(),
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
