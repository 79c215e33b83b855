// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The text that was signed on the first line, and behind it the signature.
#include "faked_system.h"
#include "orvane.h"

#include <openssl/bn.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace {

BIGNUM *all_ones(int bits)
{
    BIGNUM *const number = BN_new();
    BN_set_bit(number, bits);
    BN_sub_word(number, 1);
    return number;
}

// The same key in every run, of two primes that need not be searched for. It keeps no secret.
RSA *make_key()
{
    BN_CTX *const context = BN_CTX_new();
    BIGNUM *const p = all_ones(521);
    BIGNUM *const q = all_ones(607);
    BIGNUM *const n = BN_new();
    BIGNUM *const e = BN_new();
    BIGNUM *const d = BN_new();
    BN_mul(n, p, q, context);
    BN_set_word(e, RSA_F4);
    BN_sub_word(p, 1);
    BN_sub_word(q, 1);
    BN_mul(p, p, q, context);
    require(BN_mod_inverse(d, e, p, context) != nullptr);
    BN_free(p);
    BN_free(q);
    BN_CTX_free(context);
    RSA *const key = RSA_new();
    require(RSA_set0_key(key, n, e, d) == 1);
    return key;
}

RSA *const key = make_key();

std::string public_half()
{
    BIO *const memory = BIO_new(BIO_s_mem());
    require(PEM_write_bio_RSAPublicKey(memory, key) == 1);
    char *text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    const std::string pem(text, static_cast<std::size_t>(length));
    BIO_free(memory);
    return pem;
}

// A text has one such signature and no other.
std::string signature_of(const std::string &message)
{
    // Most inputs have the same message as the one before; signing it is the slowest step.
    static std::string signed_last;
    static std::string signature;
    if (!signature.empty() && message == signed_last)
        return signature;
    unsigned char digest[32];
    require(compute_sha256(message.c_str(), digest));
    signature.resize(static_cast<std::size_t>(RSA_size(key)));
    unsigned int length = 0;
    require(RSA_sign(NID_sha256, digest, sizeof digest,
                     reinterpret_cast<unsigned char *>(signature.data()), &length, key) == 1);
    require(length == signature.size());
    signed_last = message;
    return signature;
}

std::string in_lines(const std::string &bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4, '?');
    unsigned int length = 0;
    require(base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length) ==
            ORVANE_OK);
    for (std::size_t at = 64; at < text.size(); at += 65)
        text.insert(at, 1, '\n');
    return text;
}

std::string decoded(const std::string &text)
{
    int count = 0;
    const orvane::heap_bytes bytes(base64_decode_clean(text.c_str(), &count));
    return bytes ? bytes_of(bytes.get(), static_cast<std::size_t>(count)) : "";
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    silence_complaints();
    require(std::freopen("/dev/null", "w", stdout) != nullptr);
    faked::file = public_half();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string signature = text_of(data, size);
    const std::string message = take_line(signature);
    const std::string right = signature_of(message);
    require(verify_signature(message.c_str(), signature.c_str()) == (decoded(signature) == right));
    require(verify_signature(message.c_str(), in_lines(right).c_str()));

    std::string altered = right;
    altered[size % altered.size()] ^= 1;
    require(!verify_signature(message.c_str(), in_lines(altered).c_str()));
    return 0;
}
