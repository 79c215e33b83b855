// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <cstring>

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Every character is six bits, and a pad is zeros. Empty where another character is among them.
std::string bytes_of_groups(std::string_view groups)
{
    std::string bytes;
    unsigned int bits = 0;
    for (std::size_t at = 0; at < groups.size(); ++at) {
        const std::size_t value = groups[at] == '=' ? 0 : alphabet.find(groups[at]);
        if (value == std::string_view::npos)
            return "";
        bits = bits << 6U | static_cast<unsigned int>(value);
        if (at % 4 == 3)
            bytes += {static_cast<char>(bits >> 16U), static_cast<char>(bits >> 8U),
                      static_cast<char>(bits)};
    }
    return bytes;
}

std::string decoded_block(const std::string &block)
{
    std::string groups = block;
    groups.erase(0, groups.find_first_not_of('\t'));
    while (groups.size() > 3 && (groups.ends_with('\t') || groups.ends_with('-')))
        groups.pop_back();
    std::string bytes = groups.size() % 4 == 0 ? bytes_of_groups(groups) : "";
    if (!bytes.empty() && block.ends_with('='))
        bytes.resize(bytes.size() - (block.ends_with("==") ? 2 : 1));
    return bytes;
}

// What OpenSSL 3.0 makes of a text once its layout is out of it.
std::string decoded(std::string text)
{
    std::erase_if(text, [](char c) { return c == '\n' || c == '\r' || c == ' '; });
    text.resize(text.size() / 4 * 4);
    std::string all;
    for (std::string block; !(block = text.substr(0, 1024)).empty(); text.erase(0, 1024)) {
        const std::string bytes = decoded_block(block);
        if (bytes.empty())
            break;
        all += bytes;
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Each text is printed on standard output.
    require(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    int count = 12345;
    const orvane::heap_bytes bytes(base64_decode_clean(text.c_str(), &count));
    const std::string expected = decoded(text);
    require(count == static_cast<int>(expected.size()) && (bytes != nullptr) == (count > 0));
    require(!bytes || std::memcmp(bytes.get(), expected.data(), expected.size()) == 0);
    return 0;
}
