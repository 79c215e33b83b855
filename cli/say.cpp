// SPDX-License-Identifier: LGPL-2.1-or-later
#include "say.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>

#include <unistd.h>

namespace {

// A text from outside may hold what a terminal obeys, in the user's encoding.
std::string without_controls(const std::string &text)
{
    std::string plain;
    std::mbstate_t state = {};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t wide = 0;
        const std::size_t size = std::mbrtowc(&wide, &text[at], text.size() - at, &state);
        const bool is_character = size <= text.size() - at && size > 0;
        if (is_character && std::iswcntrl(static_cast<std::wint_t>(wide)) == 0)
            plain.append(text, at, size);
        else
            plain.push_back(is_character ? ' ' : '?');
        if (!is_character)
            state = {};
        at += is_character ? size : 1;
    }
    return plain;
}

} // namespace

void complain(const std::string &message)
{
    std::fprintf(stderr, "orvane: %s\n", without_controls(message).c_str());
}

void say(const std::string &line)
{
    std::puts((::isatty(STDOUT_FILENO) != 0 ? without_controls(line) : line).c_str());
}
