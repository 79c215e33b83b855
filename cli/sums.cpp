// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sums.h"

#include <algorithm>

namespace {

constexpr char hexadecimal[] = "0123456789abcdefABCDEF";

// The name behind a leading "\" has its line breaks and backslashes written "\n", "\r" and "\\".
std::optional<std::string> unescaped(const std::string &name)
{
    std::string plain;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] != '\\') {
            plain.push_back(name[at]);
            continue;
        }
        const char code = ++at < name.size() ? name[at] : '\0';
        if (code != 'n' && code != 'r' && code != '\\')
            return std::nullopt;
        plain.push_back(code == 'n' ? '\n' : code == 'r' ? '\r' : '\\');
    }
    return plain;
}

} // namespace

std::optional<sum> parse_sum(const std::string &line)
{
    const bool is_escaped = line.starts_with('\\');
    const std::size_t start = is_escaped ? 1 : 0;
    const std::size_t end = std::min(line.find_first_not_of(hexadecimal, start), line.size());
    // Two characters stand between digest and name: a blank, and "*" for a binary file.
    const bool has_name =
        line.size() > end + 2 && line[end] == ' ' && (line[end + 1] == ' ' || line[end + 1] == '*');
    if (end == start || !has_name)
        return std::nullopt;

    const std::string name = line.substr(end + 2);
    const std::optional<std::string> file = is_escaped ? unescaped(name) : name;
    if (!file)
        return std::nullopt;
    return sum{line.substr(start, end - start), *file, (is_escaped ? "\\" : "") + name};
}
