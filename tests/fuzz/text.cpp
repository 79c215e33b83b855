// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <vector>

namespace {

void require_cleaned(void (*clean)(char *), const std::string &text, const std::string &expected)
{
    // Just as large as the text, so that one byte more is seen.
    std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
    clean(buffer.data());
    require(expected == buffer.data());
}

std::string without(std::string text, std::string_view unwanted)
{
    std::erase_if(text, [unwanted](char c) { return unwanted.find(c) != std::string_view::npos; });
    return text;
}

std::string lowered(std::string text)
{
    constexpr std::string_view capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (char &c : text) {
        const std::size_t place = capitals.find(c);
        c = place == std::string_view::npos ? c : "abcdefghijklmnopqrstuvwxyz"[place];
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    require_cleaned(toLowerCase, text, lowered(text));
    require_cleaned(removeSpaces, text, without(text, " \n"));
    require_cleaned(removeSpacesTabs, text, without(text, " \t"));
    require_cleaned(removeSpecialChar, text, without(text, "\n ()"));
    return 0;
}
