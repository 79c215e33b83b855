// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "orvane.h"
#include "rsa_samples.h"
#include "standard_output.h"

#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

inline constexpr char public_key_file[] = "/etc/orvane/public.pem";

// The result of a check, and what it printed.
struct verdict {
    bool valid = false;
    std::string output;
    std::string error;

    bool operator==(const verdict &) const = default;
    friend std::ostream &operator<<(std::ostream &stream, const verdict &one)
    {
        return stream << (one.valid ? "valid" : "not valid") << "\nstandard output: " << one.output
                      << "\nstandard error: " << one.error;
    }
};

inline verdict check_of(const char *text, const char *signature)
{
    verdict found;
    found.output = standard_output_of([&found, text, signature] {
        found.error = standard_error_of(
            [&found, text, signature] { found.valid = verify_signature(text, signature); });
    });
    return found;
}

struct release_rsa {
    void operator()(RSA *key) const noexcept { RSA_free(key); }
};
using owned_rsa = std::unique_ptr<RSA, release_rsa>;

using bytes = std::vector<unsigned char>;

inline std::string base64_of(const bytes &data)
{
    std::string text(4 * ((data.size() + 2) / 3) + 1, '\0');
    text.resize(
        static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()),
                                                 data.data(), static_cast<int>(data.size()))));
    return text;
}

inline owned_rsa private_key()
{
    BIO *const pem = BIO_new_mem_buf(private_key_for_tests_only, -1);
    owned_rsa key(PEM_read_bio_RSAPrivateKey(pem, nullptr, nullptr, nullptr));
    BIO_free(pem);
    return key;
}

inline bytes digest_of(std::string_view text)
{
    bytes digest(SHA256_DIGEST_LENGTH);
    SHA256(reinterpret_cast<const unsigned char *>(text.data()), text.size(), digest.data());
    return digest;
}

// The signature of a digest by the private half of public_key_2048.
inline bytes signature_of_digest(int type, const bytes &digest)
{
    const owned_rsa key = private_key();
    bytes signature(256);
    unsigned int size = 0;
    if (RSA_sign(type, digest.data(), static_cast<unsigned int>(digest.size()), signature.data(),
                 &size, key.get()) != 1 ||
        size != signature.size())
        throw std::runtime_error("the key for tests does not sign");
    return signature;
}

inline std::string signature_of(std::string_view text)
{
    return base64_of(signature_of_digest(NID_sha256, digest_of(text)));
}

inline bytes sample_signature()
{
    return signature_of_digest(NID_sha256, digest_of(sample_text));
}

// A machine with the public key of those who may sign for it.
class rsa_machine : public on_machine {
protected:
    void furnish() override { machine.file(public_key_file, public_key_2048); }
};

// The errors of libcrypto in the thread's queue, the oldest first, when the action has been run
// with these in it. None is left in it.
inline std::vector<int> crypto_errors_after(const std::function<void()> &action,
                                            const std::vector<int> &before)
{
    ERR_clear_error();
    for (const int reason : before)
        ERR_raise(ERR_LIB_USER, reason);
    action();
    std::vector<int> reasons;
    while (const unsigned long error = ERR_get_error())
        reasons.push_back(ERR_GET_REASON(error));
    return reasons;
}
