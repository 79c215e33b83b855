// SPDX-License-Identifier: LGPL-2.1-or-later
#include "checksum_list.h"

#include "input.h"

#include "orvane.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace {

constexpr digest_algorithm algorithms[] = {
    {"sha256", 64, file_check_sha256},
    {"sha1", 40, file_check_sha1},
    {"md5", 32, file_check_md5},
};

constexpr char hexadecimal[] = "0123456789abcdefABCDEF";

template <class Predicate> const digest_algorithm *find_algorithm_if(Predicate predicate)
{
    const auto *const found = std::find_if(std::begin(algorithms), std::end(algorithms), predicate);
    return found != std::end(algorithms) ? found : nullptr;
}

// In a line that starts with "\", the name has "\n", "\r" and "\\" for the characters.
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

std::optional<checksum> parse_line(const std::string &line)
{
    const bool is_escaped = line.starts_with('\\');
    const std::size_t start = is_escaped ? 1 : 0;
    const std::size_t end = std::min(line.find_first_not_of(hexadecimal, start), line.size());
    const auto *const algorithm = find_algorithm_if(
        [digits = end - start](const digest_algorithm &known) { return known.digits == digits; });
    // Two characters separate digest and name: a blank, and a blank or the "*" of binary mode.
    const bool has_name =
        line.size() > end + 2 && line[end] == ' ' && (line[end + 1] == ' ' || line[end + 1] == '*');
    if (algorithm == nullptr || !has_name)
        return std::nullopt;

    const std::string name = line.substr(end + 2);
    const std::optional<std::string> file = is_escaped ? unescaped(name) : name;
    if (!file)
        return std::nullopt;
    return checksum{algorithm, line.substr(start, end - start), *file,
                    (is_escaped ? "\\" : "") + name};
}

} // namespace

const digest_algorithm *find_algorithm(std::string_view name)
{
    return find_algorithm_if([name](const digest_algorithm &known) { return known.name == name; });
}

std::string read_checksum_list(const std::string &path)
{
    std::string list;
    text_lines lines(path);
    for (std::string line; lines.next(line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (line.empty() || line.starts_with('#'))
            continue;
        if (!parse_line(line))
            throw std::runtime_error(path + ": line " + std::to_string(lines.number()) +
                                     " is not one of sha256sum, sha1sum or md5sum without --tag");
        list.append(line).push_back('\n');
    }
    if (list.empty())
        throw std::runtime_error(path + ": it lists no file");
    return list;
}

checksum next_checksum(std::string_view &list)
{
    const std::size_t end = list.find('\n');
    const std::string line(list.substr(0, end));
    list.remove_prefix(end + 1);
    return parse_line(line).value();
}
