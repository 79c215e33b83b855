// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

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
    if (result != ORVANE_OK || text.find('%') != std::string::npos)
        return 0;

    require(has_none_of(url.data(), "+/="));
    std::vector<char> back(length + 1);
    require(transform_from_url(url.data(), length, back.data(), &length) == ORVANE_OK);
    require(length == text.size() && text == back.data());
    return 0;
}
