// SPDX-License-Identifier: LGPL-2.1-or-later
#include "layout.h"

#include "output.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

unsigned int output_columns()
{
    constexpr unsigned int usual = 80;
    constexpr unsigned int least = 40;
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return usual;
    return std::max<unsigned int>(size.ws_col, least);
}

std::size_t columns_of(std::string_view text)
{
    std::size_t columns = 0;
    std::mbstate_t state = {};
    while (!text.empty()) {
        wchar_t wide = 0;
        const std::size_t size = std::mbrtowc(&wide, text.data(), text.size(), &state);
        const bool is_character = size > 0 && size <= text.size();
        const int width = is_character ? ::wcwidth(wide) : 1;
        columns += static_cast<std::size_t>(std::max(width, 0));
        text.remove_prefix(is_character ? size : 1);
        if (!is_character)
            state = {};
    }
    return columns;
}

std::string wrapped(const std::string &words, const std::string &first, const std::string &others,
                    unsigned int columns)
{
    const std::string plain = without_controls(words);
    std::string_view text = plain;
    std::string lines = first;
    std::size_t used = columns_of(first);
    bool is_line_empty = true;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        const std::size_t width = columns_of(word);
        if (!is_line_empty && used + 1 + width > columns) {
            lines.append("\n").append(others);
            used = columns_of(others);
            is_line_empty = true;
        }
        lines.append(is_line_empty ? "" : " ").append(word);
        used += width + (is_line_empty ? 0 : 1);
        is_line_empty = false;
    }
    return lines + "\n";
}

const branches &branches_of_locale()
{
    static constexpr branches drawn = {"├─", "└─", "│ ", "  "};
    static constexpr branches in_ascii = {"|-", "`-", "| ", "  "};
    return std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0 ? drawn : in_ascii;
}
