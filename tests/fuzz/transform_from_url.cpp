// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <climits>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string url = text_of(data, size);
    // Just as large as promised, so that one byte more is seen.
    std::vector<char> text(url.size() + 1);
    unsigned int length = 12345;
    const int result = transform_from_url(url.c_str(), static_cast<unsigned int>(url.size()),
                                          text.data(), &length);
    require(length == (url.empty() ? 12345 : result == ORVANE_OK ? std::strlen(text.data()) : 0));
    if (result != ORVANE_OK)
        return 0;

    // A length that is too great takes the terminator as well, and nothing behind it.
    const std::vector<char> bare(url.c_str(), url.c_str() + url.size() + 1);
    std::vector<char> more(text.size() + 1);
    unsigned int more_length = 0;
    require(transform_from_url(bare.data(), UINT_MAX, more.data(), &more_length) == ORVANE_OK);
    require(more_length == length + 1 && std::strcmp(more.data(), text.data()) == 0);

    require(has_none_of(text.data(), "% \t\r\n-_"));
    std::vector<char> again(3 * text.size() + 1);
    require(transform_to_url(text.data(), length, again.data(), &length) == ORVANE_OK);
    // What was escaped is again; what stood there plainly is escaped now.
    require(length >= url.size());
    return 0;
}
