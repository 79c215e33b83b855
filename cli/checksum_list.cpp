// SPDX-License-Identifier: LGPL-2.1-or-later
#include "checksum_list.h"

#include <algorithm>

namespace {

constexpr char blanks[] = " \t";

// The letters behind a "\", and what they stand for.
constexpr std::string_view codes = "nr\\";
constexpr std::string_view characters = "\n\r\\";

std::optional<std::string> unescaped(std::string_view name)
{
    std::string plain;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] != '\\') {
            plain.push_back(name[at]);
            continue;
        }
        const char code = ++at < name.size() ? name[at] : '\0';
        const std::size_t known = codes.find(code);
        if (known == std::string_view::npos)
            return std::nullopt;
        plain.push_back(characters[known]);
    }
    return plain;
}

std::string escaped(const std::string &name)
{
    std::string text;
    for (const char character : name) {
        const std::size_t known = characters.find(character);
        if (known == std::string_view::npos)
            text.push_back(character);
        else
            text.append({'\\', codes[known]});
    }
    return text;
}

void skip_blanks(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

std::optional<checksum> checksum_of(const digest_algorithm *algorithm, std::string_view digest,
                                    std::string_view name)
{
    if (algorithm == nullptr || name.empty() || digest.size() != algorithm->digits ||
        !is_hexadecimal(digest))
        return std::nullopt;
    return checksum{algorithm, std::string(digest), std::string(name)};
}

// "DIGEST  NAME". Two characters separate them: a blank, and a blank or the "*" of binary mode.
std::optional<checksum> parse_untagged(std::string_view line)
{
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view rest = line.substr(end);
    if (!rest.starts_with("  ") && !rest.starts_with(" *"))
        return std::nullopt;
    return checksum_of(algorithm_with(end), line.substr(0, end), rest.substr(2));
}

// "TAG (NAME) = DIGEST", as also openssl writes it, without the blanks before "(" and "=". The name
// may have parentheses.
std::optional<checksum> parse_tagged(std::string_view line)
{
    const std::size_t end = line.find_first_of(" (");
    const std::size_t close = line.rfind(')');
    if (end == std::string_view::npos || close == std::string_view::npos || close < end)
        return std::nullopt;
    std::string_view name = line.substr(end, close - end);
    std::string_view digest = line.substr(close + 1);
    skip_blanks(name);
    skip_blanks(digest);
    if (!name.starts_with('(') || !digest.starts_with('='))
        return std::nullopt;
    name.remove_prefix(1);
    digest.remove_prefix(1);
    skip_blanks(digest);
    return checksum_of(algorithm_tagged(line.substr(0, end)), digest, name);
}

} // namespace

std::optional<checksum> parse_checksum(std::string_view line)
{
    skip_blanks(line);
    const bool is_escaped = line.starts_with('\\');
    line.remove_prefix(is_escaped ? 1 : 0);
    std::optional<checksum> found = parse_untagged(line);
    if (!found)
        found = parse_tagged(line);
    // A path ends at a zero byte.
    if (!found || found->file.find('\0') != std::string::npos)
        return std::nullopt;
    if (!is_escaped)
        return found;
    const std::optional<std::string> file = unescaped(found->file);
    if (!file)
        return std::nullopt;
    found->file = *file;
    return found;
}

std::string line_with_name(const std::string &before, const std::string &name,
                           const std::string &after)
{
    const std::string text = escaped(name);
    return (text == name ? "" : "\\") + before + text + after;
}
