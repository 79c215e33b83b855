// SPDX-License-Identifier: LGPL-2.1-or-later
#include "words.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace recorded {

namespace {

constexpr std::string_view blanks = " \t";

[[noreturn]] void refuse(std::string_view text)
{
    throw std::runtime_error("no words: " + std::string(text));
}

// Takes a byte of two hexadecimal digits.
char take_byte(std::string_view &rest)
{
    constexpr std::size_t digits = 2;
    if (rest.size() < digits)
        refuse(rest);
    unsigned char byte = 0;
    const char *const last = rest.data() + digits;
    const auto [end, error] = std::from_chars(rest.data(), last, byte, 16);
    if (error != std::errc() || end != last)
        refuse(rest);
    rest.remove_prefix(digits);
    return static_cast<char>(byte);
}

// Takes what stands behind a backslash.
char take_escape(std::string_view &rest)
{
    if (rest.empty())
        refuse(rest);
    const char kind = rest.front();
    rest.remove_prefix(1);
    switch (kind) {
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case 'x':
        return take_byte(rest);
    default:
        return kind;
    }
}

word take_quoted(std::string_view &rest)
{
    word taken{{}, true};
    rest.remove_prefix(1);
    while (!rest.empty()) {
        const char c = rest.front();
        rest.remove_prefix(1);
        if (c == '"')
            return taken;
        taken.text += c == '\\' ? take_escape(rest) : c;
    }
    refuse(taken.text);
}

word take_bare(std::string_view &rest)
{
    const std::string_view taken = rest.substr(0, rest.find_first_of(blanks));
    rest.remove_prefix(taken.size());
    return {std::string(taken), false};
}

} // namespace

line words_of(std::string_view text)
{
    line words;
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        if (text.empty())
            return words;
        words.push_back(text.front() == '"' ? take_quoted(text) : take_bare(text));
    }
}

std::vector<std::string> lines_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    std::vector<std::string> lines;
    for (std::string text; std::getline(file, text);) {
        if (!text.empty() && text.front() != '#')
            lines.push_back(text);
    }
    return lines;
}

std::vector<line> word_lines_of(const std::string &path)
{
    std::vector<line> lines;
    for (const std::string &text : lines_of(path))
        lines.push_back(words_of(text));
    return lines;
}

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += {'\\', c};
        else if (c == '\n')
            result += "\\n";
        else if (c == '\t')
            result += "\\t";
        else if (c >= ' ' && c <= '~')
            result += c;
        else {
            char escape[sizeof "\\xNN"];
            std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(c));
            result += escape;
        }
    }
    return result + '"';
}

} // namespace recorded
