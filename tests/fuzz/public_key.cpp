// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <openssl/rsa.h>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    silence_complaints();
    // Nobody can enter the password of a block that is marked as encrypted.
    ::setsid();
    require(std::freopen("/dev/null", "r", stdin) != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const memory_file file;
    file.fill(bytes_of(data, size));
    RSA *const key = load_public_key(file.path());
    if (key != nullptr)
        require(RSA_get0_n(key) != nullptr && RSA_get0_e(key) != nullptr);
    RSA_free(key);
    return 0;
}
