// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Text clean-up in place.
#include "orvane.h"

#include <cctype>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

// A locale may pair an ASCII capital with a letter outside ASCII, as Turkish does with 'I'.
char lower_ascii(char c) noexcept
{
    if (c < 'A' || c > 'Z')
        return c;
    const int lower = ::tolower(c);
    return lower >= 'a' && lower <= 'z' ? static_cast<char>(lower)
                                        : static_cast<char>(c - 'A' + 'a');
}

void remove_any_of(char *s, std::string_view unwanted) noexcept
{
    char *kept = s;
    for (; *s != '\0'; ++s) {
        if (unwanted.find(*s) == std::string_view::npos)
            *kept++ = *s;
    }
    *kept = '\0';
}

} // namespace

} // namespace orvane

extern "C" void toLowerCase(char *s)
{
    if (s == nullptr)
        return;
    for (; *s != '\0'; ++s)
        *s = orvane::lower_ascii(*s);
}

extern "C" void removeSpaces(char *s)
{
    if (s != nullptr)
        orvane::remove_any_of(s, " \n");
}

extern "C" void removeSpacesTabs(char *s)
{
    orvane::remove_any_of(s, " \t");
}

extern "C" void removeSpecialChar(char *s)
{
    if (s != nullptr)
        orvane::remove_any_of(s, "\n ()");
}

// The freed bytes repeat the range's last byte, as moving the rest left by one for each zero byte
// would leave it.
extern "C" void remove_null_chars(void *buf, uint32_t len)
{
    if (len == 0)
        return;
    auto *const bytes = static_cast<unsigned char *>(buf);
    const unsigned char last = bytes[len - 1];

    uint32_t kept = 0;
    for (uint32_t i = 0; i < len; ++i) {
        if (bytes[i] != 0)
            bytes[kept++] = bytes[i];
    }
    ::memset(bytes + kept, last, len - kept);
}
