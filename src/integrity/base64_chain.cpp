// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/base64_chain.h"

#include <openssl/evp.h>

namespace orvane {

bio_chain one_line_base64(bio_chain memory) noexcept
{
    bio_chain filter(::BIO_new(::BIO_f_base64()));
    if (!filter || !memory)
        return nullptr;
    ::BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    ::BIO_push(filter.get(), memory.release());
    return filter;
}

int decode_one_line(const char *text, int length, void *room, int room_bytes) noexcept
{
    const bio_chain chain = one_line_base64(bio_chain(::BIO_new_mem_buf(text, length)));
    return chain ? ::BIO_read(chain.get(), room, room_bytes) : -1;
}

} // namespace orvane
