// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/shell.h"

#include "support/text.h"

#include <unistd.h>

namespace orvane {

namespace {

bool is_plain(std::string_view name) noexcept
{
    return name.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                  "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "0123456789"
                                  "/_-.:+@,=") == std::string_view::npos;
}

// A single quote cannot stand inside single quotes: it closes them, is escaped, and reopens them.
std::string_view escaped(const char &character) noexcept
{
    return character == '\'' ? std::string_view("'\\''") : std::string_view(&character, 1);
}

} // namespace

bool is_runnable(const char *path) noexcept
{
    return ::access(path, R_OK | X_OK) == 0;
}

tool_output run_tool(const char *command) noexcept
{
    // NOLINTNEXTLINE(cert-env33-c): some tools are pipelines, which need a shell.
    return tool_output(command == nullptr ? nullptr : ::popen(command, "re"));
}

tool_output run_tool_on_device(std::string_view tool, std::string_view device) noexcept
{
    bounded_text<256> command;
    command.append(tool);
    command.append(" ");
    // Otherwise the tool would take the name for an option.
    if (has_prefix(device, "-"))
        command.append("./");
    append_word(command, device);
    return run_tool(command.c_str());
}

void append_quoted(text_buffer &command, std::string_view text) noexcept
{
    constexpr std::string_view quote = "'";
    const std::size_t available = command.capacity() - 1 - command.length();
    if (available < 2 * quote.size())
        return;
    command.append(quote);
    std::size_t left = available - 2 * quote.size();
    for (const char &character : text) {
        const std::string_view piece = escaped(character);
        if (piece.size() > left)
            break;
        command.append(piece);
        left -= piece.size();
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
