// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <openssl/rsa.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// One file for all runs: its path, and the descriptor that it leads to.
const int file = ::memfd_create("key", 0);
const std::string path = "/proc/self/fd/" + std::to_string(file);

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Each failure is said on standard error, where the fuzzer's own words must stay readable.
    stderr = std::fopen("/dev/null", "w");
    // Nobody is there to be asked for the password of a block that says it is encrypted.
    ::setsid();
    require(stderr != nullptr && std::freopen("/dev/null", "r", stdin) != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    require(::ftruncate(file, 0) == 0);
    require(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    RSA *const key = load_public_key(path.c_str());
    if (key != nullptr)
        require(RSA_get0_n(key) != nullptr && RSA_get0_e(key) != nullptr);
    RSA_free(key);
    return 0;
}
