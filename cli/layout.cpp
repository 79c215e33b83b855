// SPDX-License-Identifier: LGPL-2.1-or-later
#include "layout.h"

#include "output.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// From the start of the text.
std::string_view take_word(std::string_view &text, bool keeps_brackets)
{
    int depth = 0;
    std::size_t size = 0;
    for (; size < text.size() && (depth > 0 || text[size] != ' '); ++size) {
        if (keeps_brackets)
            depth += text[size] == '[' ? 1 : text[size] == ']' ? -1 : 0;
    }
    const std::string_view word = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    return word;
}

} // namespace

std::size_t output_columns()
{
    constexpr std::size_t usual = 80;
    constexpr std::size_t least = 40;
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return usual;
    return std::max<std::size_t>(size.ws_col, least);
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

std::string wrapped(const std::string &words, const wrapping &how, std::size_t columns)
{
    const std::string plain = without_controls(words);
    std::string_view text = plain;
    std::string lines = how.first;
    std::size_t used = columns_of(how.first);
    for (bool is_line_empty = true; !text.empty(); is_line_empty = false) {
        const std::string_view word = take_word(text, how.keeps_brackets);
        const std::size_t width = columns_of(word);
        const std::size_t reserved = text.empty() ? 0 : std::strlen(how.mark);
        if (!is_line_empty && used + 1 + width + reserved > columns) {
            lines.append(how.mark).append("\n").append(how.others);
            used = columns_of(how.others);
        } else if (!is_line_empty) {
            lines.append(" ");
            ++used;
        }
        lines.append(word);
        used += width;
    }
    return lines + "\n";
}

const branches &branches_of_locale()
{
    static constexpr branches drawn = {"├─", "└─", "│ ", "  "};
    static constexpr branches in_ascii = {"|-", "`-", "| ", "  "};
    return std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0 ? drawn : in_ascii;
}
