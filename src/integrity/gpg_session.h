// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What verifying and encrypting with the built-in key share.
#pragma once

#include "integrity/gpg_operation.h"
#include "support/owned.h"

#include <csignal>
#include <cstddef>

#include <gpgme.h>
#include <unistd.h>

namespace orvane {

// Whether the program has rights that its user does not have. GPGME would look for gpg along the
// PATH of the user, and run it with these rights.
bool is_secure_execution() noexcept;

// Ignores SIGPIPE where the caller leaves it at its default action, and restores that at the end of
// its lifetime, and a signal that was pending, which ignoring discards. GPGME ignores it at its
// first use in a process alone, and for good.
class ignored_sigpipe {
public:
    ignored_sigpipe() noexcept;
    ignored_sigpipe(const ignored_sigpipe &) = delete;
    ignored_sigpipe &operator=(const ignored_sigpipe &) = delete;
    ~ignored_sigpipe();

private:
    struct sigaction before_ = {};
    sigset_t pending_before_ = {};
};

// Holds /dev/null on whichever of the descriptors 0, 1 and 2 are closed, and closes them again at
// the end of its lifetime. GPGME would otherwise get them for its pipes, which gpg then cannot use.
class standard_descriptors {
public:
    standard_descriptors() noexcept;
    standard_descriptors(const standard_descriptors &) = delete;
    standard_descriptors &operator=(const standard_descriptors &) = delete;
    ~standard_descriptors();

private:
    bool is_held_[STDERR_FILENO + 1] = {};
};

using gpg_context = owned<gpgme_context, ::gpgme_release>;
using gpg_data = owned<gpgme_data, ::gpgme_data_release>;

// The objects of one call. What is declared first is released last.
struct gpg_session {
    ignored_sigpipe sigpipe;
    standard_descriptors descriptors;
    gpg_operation operation;
    gpg_context context;
    gpg_data output;
    gpg_data input;
    std::size_t input_bytes = 0;
};

// Each holds nullptr when it cannot be made.
gpg_context new_gpg_context() noexcept;
gpg_data data_of_file(const char *path, std::size_t &bytes) noexcept;
gpg_data data_of_text(const char *text, std::size_t &bytes) noexcept;

// Puts the built-in key into the user's key store. A key that was not imported is reported where it
// is needed.
void import_builtin_key(gpgme_ctx_t context) noexcept;

// Stores the first `size` bytes of the data and `zeros` zero bytes behind them as a new block in
// `*content`, which becomes nullptr where that fails, and `size` in `*length`, which becomes 0
// where the data ends early. `length` may be nullptr.
void store_data(gpgme_data_t data, std::size_t size, std::size_t zeros, char **content,
                unsigned int *length) noexcept;

} // namespace orvane
