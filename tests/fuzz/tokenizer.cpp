// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The separators on the first line, and behind it the text.
#include "fuzz.h"
#include "support/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string text = text_of(data, size);
    const std::string separators = take_line(text);
    std::string cut_up = text;
    orvane::tokenizer parts(cut_up.data(), separators.c_str());

    std::size_t start = 0;
    while ((start = text.find_first_not_of(separators, start)) != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
        const char *const part = parts.next();
        require(part != nullptr && part == text.substr(start, end - start));
        start = end;
    }
    require(parts.next() == nullptr && parts.next() == nullptr);
    return 0;
}
