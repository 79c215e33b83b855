// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Bytes to base64 on one line, and back; the tolerant decoder accepts line breaks and blanks too.
#include "integrity/base64.h"

#include "orvane.h"
#include "support/owned.h"
#include "support/text.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <openssl/bio.h>
#include <openssl/buffer.h>
#include <openssl/evp.h>

namespace orvane {

namespace {

using bio_chain = owned<BIO, ::BIO_free_all>;

// A base64 filter for text on one line, pushed on the memory BIO, which it owns from then on. Holds
// nullptr when either cannot be allocated.
bio_chain one_line_base64(bio_chain memory) noexcept
{
    bio_chain filter(::BIO_new(::BIO_f_base64()));
    if (!filter || !memory)
        return nullptr;
    ::BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    ::BIO_push(filter.get(), memory.release());
    return filter;
}

// The text of this many bytes is shorter than INT_MAX, the most that a memory BIO holds.
constexpr std::size_t piece_bytes = std::size_t{3} << 28U;

std::size_t encoded_length(std::size_t size) noexcept
{
    return (size + 2) / 3 * 4;
}

// A memory BIO that fills the caller's buffer: one that grows, or is copied from, costs more than
// the encoding. It never has to grow, because the text has just this length.
bio_chain memory_over(BUF_MEM &buffer) noexcept
{
    bio_chain memory(::BIO_new(::BIO_s_mem()));
    if (!memory || BIO_set_mem_buf(memory.get(), &buffer, BIO_NOCLOSE) <= 0)
        return nullptr;
    return memory;
}

// The end of the text, or nullptr when there is no memory.
char *encode_piece(const unsigned char *data, std::size_t size, char *text) noexcept
{
    BUF_MEM buffer = {0, text, encoded_length(size), 0};
    const bio_chain chain = one_line_base64(memory_over(buffer));
    if (!chain)
        return nullptr;
    // What cannot be written is not in the length.
    ::BIO_write(chain.get(), data, static_cast<int>(size));
    static_cast<void>(BIO_flush(chain.get()));
    BUF_MEM *written = nullptr;
    if (BIO_get_mem_ptr(chain.get(), &written) <= 0)
        return nullptr;
    return text + written->length;
}

std::size_t pads_behind(std::string_view text) noexcept
{
    std::size_t pads = 0;
    while (pads < 2 && pads < text.size() && text[text.size() - 1 - pads] == '=')
        ++pads;
    return pads;
}

// Sixteen characters at a time, so that the test costs a small part of the decoding.
bool is_unpadded_base64(std::string_view text) noexcept
{
    using vector [[gnu::vector_size(16)]] = unsigned char;
    auto all = in_base64(vector{} + 'A');
    for (; text.size() >= sizeof(vector); text.remove_prefix(sizeof(vector))) {
        vector bytes;
        ::memcpy(&bytes, text.data(), sizeof bytes);
        all &= in_base64(bytes);
    }
    bool is_all = std::all_of(text.begin(), text.end(),
                              [](char c) { return in_base64(static_cast<unsigned char>(c)) != 0; });
    for (std::size_t i = 0; i < sizeof(vector); ++i)
        is_all = is_all && all[i] != 0;
    return is_all;
}

// The pads behind it included.
bool is_plain_base64(std::string_view text) noexcept
{
    return text.size() % 4 == 0 &&
           is_unpadded_base64(leading(text, text.size() - pads_behind(text)));
}

int check_base64(std::string_view text) noexcept
{
    if (text.size() % 4 != 0)
        return ORVANE_BASE64_LENGTH;
    if (is_plain_base64(text))
        return ORVANE_OK;
    return std::all_of(text.begin(), text.end(), is_base64) ? ORVANE_BASE64_PADDING
                                                            : ORVANE_BASE64_CHARACTER;
}

// Every release of libcrypto decodes plain base64 alike. What callers stored of all else is what
// OpenSSL 3.0 gives: newer releases take blanks inside the text, and refuse pads that 3.0 takes. So
// nothing but plain base64 is left to libcrypto.
//
// Returns what BIO_read() returned, -1 where there is no memory.
int decode_plain(std::string_view text, void *data) noexcept
{
    const bio_chain chain =
        one_line_base64(bio_chain(::BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))));
    return chain ? ::BIO_read(chain.get(), data, static_cast<int>(text.size() / 4 * 3)) : -1;
}

// OpenSSL 3.0 reads blocks of this many characters, and judges each on its own.
constexpr std::size_t block_characters = 1024;

// The characters of a text that a length counts, in whole groups. Zero bytes stand for what is
// counted behind the text; a group of them spoils its block.
std::string_view counted_groups(std::string_view text, int length) noexcept
{
    const auto counted = static_cast<std::size_t>(std::max(length, 0)) / 4 * 4;
    const bool has_zeros = counted > text.size();
    return leading(text, has_zeros ? text.size() / block_characters * block_characters : counted);
}

// Tabs may stand in front of a block, and tabs and hyphens behind it.
std::string_view trimmed_block(std::string_view block) noexcept
{
    block.remove_prefix(std::min(block.find_first_not_of('\t'), block.size()));
    while (block.size() > 3 && (block.back() == '\t' || block.back() == '-'))
        block.remove_suffix(1);
    return block;
}

// A pad stands for zero bits wherever it is; those behind the block leave out their bytes.
int decode_block(std::string_view block, unsigned char *data) noexcept
{
    const std::string_view trimmed = trimmed_block(block);
    if (trimmed.size() % 4 != 0 || !std::all_of(trimmed.begin(), trimmed.end(), is_base64))
        return 0;
    char groups[block_characters];
    char *const end = std::replace_copy(trimmed.begin(), trimmed.end(), groups, '=', 'A');
    const int count = decode_plain({groups, static_cast<std::size_t>(end - groups)}, data);
    return count - static_cast<int>(pads_behind(block));
}

// Up to the first block that gives nothing. Less than 0 where there is no memory.
int decode_blocks(std::string_view text, unsigned char *data) noexcept
{
    text.remove_suffix(text.size() % 4);
    if (is_plain_base64(text))
        return decode_plain(text, data);
    int decoded = 0;
    while (!text.empty()) {
        const std::string_view block = leading(text, block_characters);
        const int count = decode_block(block, data + decoded);
        if (count <= 0)
            return count < 0 ? count : decoded;
        decoded += count;
        text.remove_prefix(block.size());
    }
    return decoded;
}

bool is_layout(char c) noexcept
{
    return c == '\n' || c == '\r' || c == ' ';
}

// Holds nullptr where there is no memory, or more text than an int counts.
heap_text without_layout(const char *text) noexcept
{
    const std::size_t length = ::strlen(text);
    heap_text kept(length > INT_MAX ? nullptr : static_cast<char *>(::malloc(length + 1)));
    if (!kept)
        return kept;
    char *const end = std::remove_copy_if(text, text + length, kept.get(), is_layout);
    *end = '\0';
    return kept;
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
    const std::string_view whole(text);
    if (const int code = orvane::check_base64(whole); code != ORVANE_OK)
        return code;
    const int count = orvane::decode_plain(orvane::counted_groups(whole, length), data);
    // A count of 0 or less is stored as it is, with ORVANE_OK: callers look at the count.
    *size = static_cast<unsigned int>(count);
    return ORVANE_OK;
}

extern "C" unsigned char *base64_decode_clean(const char *text, int *size)
{
    if (text == nullptr || size == nullptr)
        return nullptr;
    const orvane::heap_text cleaned = orvane::without_layout(text);
    if (!cleaned)
        return nullptr;
    const std::size_t length = ::strlen(cleaned.get());
    // Printed for every text, valid or not, so that a program's output shows which one was decoded.
    ::printf("Cleaned Base64 (%d chars): %s\n", static_cast<int>(length), cleaned.get());

    const auto capacity = static_cast<std::size_t>(std::uint64_t{3} * length / 4 + 4);
    orvane::heap_bytes decoded(static_cast<unsigned char *>(::malloc(capacity)));
    if (!decoded)
        return nullptr;
    *size = orvane::decode_blocks({cleaned.get(), length}, decoded.get());
    return *size > 0 ? decoded.release() : nullptr;
}
