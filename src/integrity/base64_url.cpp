// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Base64 text to the form that survives in the query of a URL, and back.
#include "integrity/base64.h"
#include "orvane.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

struct escape {
    char plain;
    std::string_view escaped;
};

constexpr escape escapes[] = {{'+', "%2B"}, {'/', "%2F"}, {'=', "%3D"}};

const escape *escape_of(char plain) noexcept
{
    const escape *const found =
        std::find_if(std::begin(escapes), std::end(escapes),
                     [plain](const escape &known) { return known.plain == plain; });
    return found != std::end(escapes) ? found : nullptr;
}

// Does not read past the terminator of the text.
bool starts_with(const char *text, std::string_view start) noexcept
{
    return std::all_of(start.begin(), start.end(), [&text](char c) { return *text++ == c; });
}

const escape *escape_at(const char *text) noexcept
{
    const escape *const found =
        std::find_if(std::begin(escapes), std::end(escapes),
                     [text](const escape &known) { return starts_with(text, known.escaped); });
    return found != std::end(escapes) ? found : nullptr;
}

// How many characters a conversion takes: its terminator is the last one that a text has.
std::size_t characters(const char *text, unsigned int length) noexcept
{
    return std::min<std::size_t>(length, ::strlen(text) + 1);
}

bool check_base64_chars(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char c) { return is_base64(c) || c == '%'; });
}

} // namespace

} // namespace orvane

extern "C" int transform_to_url(const char *text, unsigned int length, char *url,
                                unsigned int *url_length)
{
    if (text == nullptr || url == nullptr || url_length == nullptr || length == 0)
        return ORVANE_TO_URL_NOTHING;
    *url_length = 0;
    if (!orvane::check_base64_chars(text))
        return ORVANE_URL_CHARACTER;

    char *end = url;
    const std::size_t count = orvane::characters(text, length);
    for (std::size_t at = 0; at < count; ++at) {
        if (const orvane::escape *const known = orvane::escape_of(text[at]))
            end = std::copy(known->escaped.begin(), known->escaped.end(), end);
        else
            *end++ = text[at];
    }
    *end = '\0';
    *url_length = static_cast<unsigned int>(end - url);
    return ORVANE_OK;
}

extern "C" int transform_from_url(const char *url, unsigned int length, char *text,
                                  unsigned int *text_length)
{
    if (url == nullptr || text == nullptr || text_length == nullptr || length == 0)
        return ORVANE_FROM_URL_NOTHING;
    *text_length = 0;
    if (!orvane::check_base64_chars(url))
        return ORVANE_URL_CHARACTER;

    char *end = text;
    const std::size_t count = orvane::characters(url, length);
    for (std::size_t at = 0; at < count;) {
        if (url[at] != '%') {
            *end++ = url[at++];
            continue;
        }
        const orvane::escape *const known = orvane::escape_at(url + at);
        if (known == nullptr)
            return ORVANE_URL_ESCAPE;
        *end++ = known->plain;
        at += known->escaped.size();
    }
    *end = '\0';
    *text_length = static_cast<unsigned int>(end - text);
    return ORVANE_OK;
}
