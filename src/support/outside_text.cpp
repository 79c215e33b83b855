// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/outside_text.h"

#include "orvane.h"
#include "support/bounded_text.h"

#include <cstdarg>
#include <cstddef>
#include <string_view>

#include <glib.h>

namespace orvane {

namespace {

constexpr std::size_t line_bytes = 1024;
using trace_message = bounded_text<line_bytes>;

struct character {
    std::string_view bytes;
    gunichar value;
};

// A byte of no UTF-8 character stands for itself, as for a terminal that reads Latin-1.
character first_character(std::string_view text) noexcept
{
    const gunichar value =
        ::g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    constexpr gunichar greatest = 0x10ffff; // what is above stands for a failure
    if (value > greatest)
        return {{text.data(), 1}, static_cast<unsigned char>(text.front())};
    return {{text.data(), static_cast<std::size_t>(::g_unichar_to_utf8(value, nullptr))}, value};
}

// No terminal has a meaning for 0x80 to 0x83.
bool is_obeyed(gunichar value) noexcept
{
    const bool is_control = value < 0x20 || value == 0x7f || (value >= 0x84 && value < 0xa0);
    const bool ends_a_line = value == 0x2028 || value == 0x2029; // or a paragraph
    return (is_control && value != '\t') || ends_a_line;
}

// False where the escapes could be truncated at the end of the trace line.
bool append_escaped(trace_message &message, std::string_view bytes) noexcept
{
    constexpr std::size_t stamp_bytes = 69; // the most of time_string()
    constexpr std::size_t prefix_bytes = stamp_bytes + std::string_view(" [-2147483648]: ").size();
    constexpr std::size_t escape_bytes = 4;
    const std::size_t end = message.length() + bytes.size() * escape_bytes;
    if (prefix_bytes + end + sizeof "\n" > line_bytes)
        return false;
    for (const char byte : bytes) {
        char escape[escape_bytes + 1];
        const std::size_t length =
            store_format(escape, sizeof escape, "\\x%02x",
                         static_cast<unsigned>(static_cast<unsigned char>(byte)));
        message.append({escape, length});
    }
    return true;
}

} // namespace

void trace_outside_text(const char *format, ...) noexcept
{
    char formatted[line_bytes];
    va_list arguments;
    va_start(arguments, format);
    std::string_view text(formatted, store_vformat(formatted, sizeof formatted, format, arguments));
    va_end(arguments);

    const bool has_newline = text.ends_with('\n');
    if (has_newline)
        text.remove_suffix(1);
    trace_message message;
    while (!text.empty()) {
        const character next = first_character(text);
        if (!is_obeyed(next.value))
            message.append(next.bytes);
        else if (!append_escaped(message, next.bytes))
            break;
        text.remove_prefix(next.bytes.size());
    }
    ::orvane_trace(has_newline ? "%s\n" : "%s", message.c_str());
}

} // namespace orvane
