// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <climits>
#include <vector>

namespace {

int expected_result(const std::string &text)
{
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    if (text.empty())
        return ORVANE_BASE64_NOTHING_TO_DECODE;
    if (text.size() % 4 != 0)
        return ORVANE_BASE64_LENGTH;
    if (text.find_first_not_of(alphabet) != std::string::npos)
        return ORVANE_BASE64_CHARACTER;
    const std::string pads = text.substr(std::min(text.find('='), text.size()));
    return pads.empty() || pads == "=" || pads == "==" ? ORVANE_OK : ORVANE_BASE64_PADDING;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    // Just as large as promised, so that one byte more is seen.
    std::vector<unsigned char> bytes(text.size());
    unsigned int count = 12345;
    const int result = base64_decode(text.c_str(), static_cast<int>(text.size()),
                                     bytes.empty() ? nullptr : bytes.data(), &count);
    require(result == expected_result(text));
    if (result != ORVANE_OK) {
        require(count == 12345);
        return 0;
    }
    require(count <= text.size() / 4 * 3);

    // A length that is too great reads nothing behind the terminator, which it takes as well.
    const std::vector<char> bare(text.c_str(), text.c_str() + text.size() + 1);
    std::vector<unsigned char> same(text.size());
    unsigned int same_count = 0;
    require(base64_decode(bare.data(), static_cast<int>(bare.size()), same.data(), &same_count) ==
            ORVANE_OK);
    require(same_count == count && same == bytes);
    require(base64_decode(bare.data(), INT_MAX, same.data(), &same_count) == ORVANE_OK);

    std::string again(text.size(), '?');
    unsigned int length = 0;
    require(base64_encode(bytes.data(), static_cast<int>(count), again.data(), &length) ==
            ORVANE_OK);
    // The last character may hold bits that come to nothing.
    const std::size_t last = text.find_last_not_of('=');
    require(length == text.size() && again.compare(0, last, text, 0, last) == 0);
    return 0;
}
