// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <climits>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    // Just as large as promised, so that one byte more is seen.
    std::vector<char> url(3 * text.size() + 1);
    unsigned int length = 12345;
    const int result =
        transform_to_url(text.c_str(), static_cast<unsigned int>(text.size()), url.data(), &length);
    require(length == (text.empty() ? 12345 : result == ORVANE_OK ? std::strlen(url.data()) : 0));
    if (result != ORVANE_OK)
        return 0;

    // A length that is too great takes the terminator as well, and nothing behind it.
    const std::vector<char> bare(text.c_str(), text.c_str() + text.size() + 1);
    std::vector<char> more(url.size() + 1);
    unsigned int more_length = 0;
    require(transform_to_url(bare.data(), UINT_MAX, more.data(), &more_length) == ORVANE_OK);
    require(more_length == length + 1 && std::strcmp(more.data(), url.data()) == 0);

    if (text.find('%') != std::string::npos)
        return 0;
    require(has_none_of(url.data(), "+/="));
    std::vector<char> back(length + 1);
    require(transform_from_url(url.data(), length, back.data(), &length) == ORVANE_OK);
    require(length == text.size() && text == back.data());
    return 0;
}
