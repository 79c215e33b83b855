// SPDX-License-Identifier: LGPL-2.1-or-later
#include "words.h"

#include "facts.h"

#include <algorithm>
#include <cstddef>

namespace {

// In how many places two words differ: characters inserted, removed or replaced, and neighbours
// that changed places.
std::size_t distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> before_above(other.size() + 1);
    std::vector<std::size_t> above(other.size() + 1);
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        before_above.swap(above);
        above.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const std::size_t replaced = above[j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U);
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], before_above[j - 2] + 1);
        }
    }
    return row.back();
}

constexpr std::size_t greatest_distance = 2;

// Short words resemble each other by chance. A word may be as long as a command line, which takes
// too long to compare.
bool is_close(std::string_view word, std::string_view known)
{
    if (word.size() > known.size() + greatest_distance)
        return false;
    const std::size_t places = distance(word, known);
    return places <= greatest_distance && 2 * places < word.size();
}

} // namespace

std::string nearest(std::string_view word, const words &known)
{
    std::string_view meant;
    for (const std::string &one : known) {
        if (is_close(word, one) && (meant.empty() || distance(word, one) < distance(word, meant)))
            meant = one;
    }
    return std::string(meant);
}

std::string unknown(const char *kind, const std::string &word, const std::string &meant)
{
    return std::string("unknown ") + kind + " '" + word + "'" +
           (meant.empty() ? "" : ": did you mean '" + meant + "'?");
}

void check_facts(const words &names)
{
    words known;
    for (const fact &one : all_facts())
        known.emplace_back(one.name);
    for (const std::string &name : names) {
        if (find_fact(name) == nullptr)
            throw usage_error_on_page(unknown("fact", name, nearest(name, known)),
                                      "orvane help facts");
    }
}

show_format format_named(const std::string &name)
{
    constexpr std::pair<const char *, show_format> formats[] = {
        {"table", show_format::table}, {"json", show_format::json}, {"shell", show_format::shell}};
    words known;
    for (const auto &[known_name, format] : formats) {
        if (name == known_name)
            return format;
        known.emplace_back(known_name);
    }
    throw usage_error(unknown("format", name, nearest(name, known)));
}

words split_at_commas(const words &joined)
{
    words parts;
    for (const std::string &one : joined) {
        std::size_t start = 0;
        for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
            end = one.find(',', start);
            parts.push_back(one.substr(start, end - start));
        }
    }
    return parts;
}

words with_check_before_list(words given)
{
    const auto is_check = [](const std::string &word) { return word == "--check" || word == "-c"; };
    const auto is_option = [](const std::string &word) {
        return word.size() > 1 && word.starts_with('-');
    };
    const auto end = std::find(given.begin(), given.end(), "--"); // of the options
    const auto check = std::find_if(given.begin(), end, is_check);
    if (check == end || given.front() != "digest")
        return given;
    const auto list = std::find_if_not(std::next(check), end, is_option);
    if (list != end)
        std::rotate(check, std::next(check), list);
    return given;
}
