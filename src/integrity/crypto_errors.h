// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <openssl/err.h>

namespace orvane {

// Takes away at the end of its life what came into the thread's queue of libcrypto errors since its
// start: a caller that talks TLS would take that for the failure of its own connection. What was
// pushed out of a full queue meanwhile is lost.
class crypto_errors_guard {
public:
    crypto_errors_guard() noexcept { ::ERR_set_mark(); }
    crypto_errors_guard(const crypto_errors_guard &) = delete;
    crypto_errors_guard &operator=(const crypto_errors_guard &) = delete;
    // Where the queue was empty and took no mark, everything in it is ours.
    ~crypto_errors_guard() { ::ERR_pop_to_mark(); }
};

} // namespace orvane
