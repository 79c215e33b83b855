// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Bytes to base64 on one line, and back.
#include "integrity/base64_alphabet.h"
#include "integrity/base64_chain.h"
#include "orvane.h"

#include <algorithm>
#include <string_view>

#include <openssl/buffer.h>

namespace orvane {

namespace {

// Of this many bytes comes less text than an int counts, which is the most that a memory BIO holds.
constexpr std::size_t piece_bytes = std::size_t{3} << 28U;

std::size_t encoded_length(std::size_t size) noexcept
{
    return (size + 2) / 3 * 4;
}

// A memory BIO that fills the caller's buffer itself: one that grows, or is copied from, costs more
// than the coding. It never asks for more room than it has, because the text has just this length.
bio_chain memory_over(BUF_MEM &room) noexcept
{
    bio_chain memory(::BIO_new(::BIO_s_mem()));
    if (!memory || BIO_set_mem_buf(memory.get(), &room, BIO_NOCLOSE) <= 0)
        return nullptr;
    return memory;
}

// The end of the text, or nullptr when there is no memory.
char *encode_piece(const unsigned char *data, std::size_t size, char *text) noexcept
{
    BUF_MEM room = {0, text, encoded_length(size), 0};
    const bio_chain chain = one_line_base64(memory_over(room));
    if (!chain)
        return nullptr;
    // Deliberate: not examined. What could not be written is not in the length.
    ::BIO_write(chain.get(), data, static_cast<int>(size));
    static_cast<void>(BIO_flush(chain.get()));
    BUF_MEM *written = nullptr;
    if (BIO_get_mem_ptr(chain.get(), &written) <= 0)
        return nullptr;
    return text + written->length;
}

// "=" closes the text, once or twice, or is not there.
std::string_view without_pads(std::string_view text) noexcept
{
    for (int pads = 0; pads < 2 && !text.empty() && text.back() == '='; ++pads)
        text.remove_suffix(1);
    return text;
}

int refusal(std::string_view text) noexcept
{
    if (text.size() % 4 != 0)
        return ORVANE_BASE64_LENGTH;
    if (is_unpadded_base64(without_pads(text)))
        return ORVANE_OK;
    return std::all_of(text.begin(), text.end(), is_base64) ? ORVANE_BASE64_PADDING
                                                            : ORVANE_BASE64_CHARACTER;
}

} // namespace

} // namespace orvane

extern "C" int base64_encode(const void *data, int size, char *text, unsigned int *length)
{
    if (data == nullptr || text == nullptr || length == nullptr || size == 0)
        return ORVANE_BASE64_NOTHING_TO_ENCODE;
    const auto *const bytes = static_cast<const unsigned char *>(data);
    const auto end = static_cast<std::size_t>(std::max(size, 0));
    char *text_end = text;
    for (std::size_t at = 0; at < end; at += orvane::piece_bytes) {
        const std::size_t piece = std::min(end - at, orvane::piece_bytes);
        text_end = orvane::encode_piece(bytes + at, piece, text_end);
        if (text_end == nullptr)
            return ORVANE_BASE64_NOTHING_TO_ENCODE;
    }
    *length = static_cast<unsigned int>(text_end - text);
    return ORVANE_OK;
}

extern "C" int base64_decode(const char *text, int length, void *data, unsigned int *size)
{
    if (text == nullptr || data == nullptr || size == nullptr || length == 0)
        return ORVANE_BASE64_NOTHING_TO_DECODE;
    if (const int code = orvane::refusal(text); code != ORVANE_OK)
        return code;
    // Deliberate: what the decoder says of a text that it cannot make sense of is passed on as the
    // count. Callers look at the count.
    *size = static_cast<unsigned int>(orvane::decode_one_line(text, length, data, length));
    return ORVANE_OK;
}
