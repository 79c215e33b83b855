// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Cleaning texts in place.
#include "orvane.h"

#include <cctype>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

// A locale may pair an ASCII capital with another letter, as Turkish does with 'I'; such an
// answer is not taken.
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

// Moving the rest left by one for every zero byte would leave the range's last byte in each place
// that is freed. Callers may look there, so one pass that packs the range writes it too.
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
