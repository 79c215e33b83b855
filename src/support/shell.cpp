// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/shell.h"

#include <unistd.h>

namespace orvane {

bool is_runnable(const char *path) noexcept
{
    return ::access(path, R_OK | X_OK) == 0;
}

tool_output run_tool(const char *command) noexcept
{
    // NOLINTNEXTLINE(cert-env33-c): some tools are pipelines, and only a shell joins them.
    return tool_output(command == nullptr ? nullptr : ::popen(command, "r"));
}

namespace {

bool is_plain(std::string_view name) noexcept
{
    return name.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                  "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "0123456789"
                                  "/_-.:+@,=") == std::string_view::npos;
}

// How a character stands between single quotes: the quote itself ends them and starts them anew.
std::string_view quoted(const char &character) noexcept
{
    return character == '\'' ? std::string_view("'\\''") : std::string_view(&character, 1);
}

} // namespace

void append_quoted(text_buffer &command, std::string_view text) noexcept
{
    constexpr std::string_view quote = "'";
    const std::size_t room = command.capacity() - 1 - command.length();
    if (room < 2 * quote.size())
        return;
    command.append(quote);
    std::size_t left = room - 2 * quote.size();
    for (const char &character : text) {
        const std::string_view escaped = quoted(character);
        if (escaped.size() > left)
            break;
        command.append(escaped);
        left -= escaped.size();
    }
    command.append(quote);
}

void append_word(text_buffer &command, std::string_view name) noexcept
{
    if (is_plain(name))
        command.append(name);
    else
        append_quoted(command, name);
}

} // namespace orvane
