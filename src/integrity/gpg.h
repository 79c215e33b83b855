// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "integrity/standard_descriptors.h"
#include "support/owned.h"

#include <cstddef>

#include <gpgme.h>

namespace orvane {

using gpg_context = owned<gpgme_context, ::gpgme_release>;
using gpg_data = owned<gpgme_data, ::gpgme_data_release>;

// What one call works with. What is declared first is released last.
struct gpg_objects {
    standard_descriptors descriptors;
    gpg_context context;
    gpg_data output;
    gpg_data input;
};

// Each holds nullptr when it cannot be made.
gpg_context new_gpg_context() noexcept;
gpg_data new_output() noexcept;
gpg_data data_of_file(const char *path) noexcept;
gpg_data data_of_text(const char *text) noexcept;

// Puts the built-in key into the user's key store. 0 always: a key that did not arrive is missed
// where it is needed.
int import_builtin_key(gpgme_ctx_t context) noexcept;

// Stores the first `size` bytes of the data and `zeros` zero bytes behind them as a new block in
// `*content`, which becomes nullptr where that fails, and `size` in `*length`, which becomes 0
// where the data ends early. `length` may be nullptr.
void hand_over(gpgme_data_t data, std::size_t size, std::size_t zeros, char **content,
               unsigned int *length) noexcept;

} // namespace orvane
