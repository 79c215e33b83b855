// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

// What a shell makes of a text that is one literal word to it; nothing where it is more than that.
inline std::optional<std::string> literal_word(std::string_view text)
{
    constexpr std::string_view special = " \t\n|&;<>()$`\\\"'*?[]#~!{}";
    std::string word;
    while (!text.empty()) {
        if (text.starts_with("\\'")) {
            word += '\'';
            text.remove_prefix(2);
        } else if (text.front() == '\'') {
            const std::size_t end = text.find('\'', 1);
            if (end == std::string_view::npos)
                return std::nullopt;
            word += text.substr(1, end - 1);
            text.remove_prefix(end + 1);
        } else if (special.find(text.front()) == std::string_view::npos) {
            word += text.front();
            text.remove_prefix(1);
        } else {
            return std::nullopt;
        }
    }
    return word;
}

// Whether a command runs a tool with one literal word behind it, which is the name or as much of
// it as fits.
inline bool runs_on(std::string_view command, std::string_view tool, std::string_view name,
                    std::string_view end = "")
{
    if (!command.starts_with(tool) || !command.ends_with(end))
        return false;
    command.remove_prefix(tool.size());
    command.remove_suffix(end.size());
    const std::optional<std::string> word = literal_word(command);
    return word && name.starts_with(*word);
}
