// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What base64 costs beside the coding alone.
#include "orvane.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <openssl/bio.h>
#include <openssl/evp.h>

namespace {

std::vector<unsigned char> some_bytes(std::int64_t size)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 2654435761U >> 11U);
    return bytes;
}

// With a byte for the terminator that EVP_EncodeBlock() writes.
std::vector<char> room_for_text_of(const std::vector<unsigned char> &bytes)
{
    return std::vector<char>((bytes.size() + 2) / 3 * 4 + 1);
}

std::string text_of_length(std::int64_t length)
{
    const auto bytes = some_bytes(length / 4 * 3);
    std::vector<char> text = room_for_text_of(bytes);
    unsigned int stored = 0;
    if (base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &stored) !=
        ORVANE_OK)
        throw std::runtime_error("base64_encode() failed");
    return {text.data(), stored};
}

void encode(benchmark::State &state)
{
    const auto bytes = some_bytes(state.range(0));
    auto text = room_for_text_of(bytes);
    unsigned int length = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(
            base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length));
}

void encode_block(benchmark::State &state)
{
    const auto bytes = some_bytes(state.range(0));
    auto text = room_for_text_of(bytes);
    auto *const buffer = reinterpret_cast<unsigned char *>(text.data());
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(
            EVP_EncodeBlock(buffer, bytes.data(), static_cast<int>(bytes.size())));
}

void decode(benchmark::State &state)
{
    const std::string text = text_of_length(state.range(0));
    std::vector<unsigned char> bytes(text.size());
    unsigned int size = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(
            base64_decode(text.c_str(), static_cast<int>(text.size()), bytes.data(), &size));
}

void decoding_chain(benchmark::State &state)
{
    const std::string text = text_of_length(state.range(0));
    const int length = static_cast<int>(text.size());
    std::vector<unsigned char> bytes(text.size());
    for ([[maybe_unused]] auto _ : state) {
        BIO *const filter = BIO_new(BIO_f_base64());
        BIO_set_flags(filter, BIO_FLAGS_BASE64_NO_NL);
        BIO_push(filter, BIO_new_mem_buf(text.c_str(), length));
        benchmark::DoNotOptimize(BIO_read(filter, bytes.data(), length));
        BIO_free_all(filter);
    }
}

// The chain that does the encoding, made and released.
void encoding_chain(benchmark::State &state)
{
    for ([[maybe_unused]] auto _ : state)
        BIO_free_all(BIO_push(BIO_new(BIO_f_base64()), BIO_new(BIO_s_mem())));
}

} // namespace

BENCHMARK(encoding_chain);
BENCHMARK(encode)->Arg(1 << 10)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(64 << 20);
BENCHMARK(encode_block)->Arg(1 << 10)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(64 << 20);
BENCHMARK(decode)->Arg(16)->Arg(1 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(64 << 20);
BENCHMARK(decoding_chain)->Arg(16)->Arg(1 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(64 << 20);
