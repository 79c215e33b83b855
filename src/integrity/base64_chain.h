// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <openssl/bio.h>

namespace orvane {

using bio_chain = owned<BIO, ::BIO_free_all>;

// A base64 filter for text on one line, pushed on the memory, which it owns from then on. Holds
// nullptr when there is no memory BIO, or no memory for the filter.
bio_chain one_line_base64(bio_chain memory) noexcept;

// Decodes `length` characters into at most `room_bytes` bytes. As BIO_read() counts them: 0 or less
// when nothing can be decoded.
int decode_one_line(const char *text, int length, void *room, int room_bytes) noexcept;

} // namespace orvane
