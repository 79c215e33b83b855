// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Reading an RSA public key.
#include "integrity/crypto_errors.h"
#include "orvane.h"
#include "support/owned.h"
#include "support/text.h"

#include <cstdio>

#include <openssl/pem.h>

extern "C" RSA *load_public_key(const char *path)
{
    const orvane::crypto_errors_guard guard;
    orvane::unique_file file(path == nullptr ? nullptr : ::fopen(path, "r"));
    if (!file) {
        ::fprintf(stderr, "Error opening public key file: %s\n", orvane::or_null(path));
        return nullptr;
    }
    RSA *const key = ::PEM_read_RSAPublicKey(file.get(), nullptr, nullptr, nullptr);
    file.reset();
    if (key == nullptr)
        ::fprintf(stderr, "Error reading public key from file: %s\n", path);
    return key;
}
