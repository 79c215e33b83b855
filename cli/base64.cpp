// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane base64: from standard input to standard output.
#include "command.h"
#include "files.h"
#include "say.h"
#include "words.h"

#include "orvane.h"

#include <limits>
#include <stdexcept>
#include <string>

namespace {

struct conversion {
    const char *name;
    const char *description;
    int (*convert)(const std::string &from, std::string &to); // a result of the library's
};

int encode(const std::string &bytes, std::string &text)
{
    unsigned int length = 0;
    text.resize((bytes.size() + 2) / 3 * 4);
    const int result =
        base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length);
    text.resize(length);
    text.push_back('\n');
    return result;
}

// A line of text without its end.
std::string as_text(std::string line)
{
    if (line.ends_with('\n'))
        line.pop_back();
    if (line.ends_with('\r'))
        line.pop_back();
    return line;
}

int decode(const std::string &line, std::string &bytes)
{
    const std::string text = as_text(line);
    if (text.find('\0') != std::string::npos)
        return ORVANE_BASE64_CHARACTER;
    unsigned int size = 0;
    bytes.resize(text.size());
    const int result =
        base64_decode(text.c_str(), static_cast<int>(text.size()), bytes.data(), &size);
    if (result == ORVANE_OK && (size == 0 || size > bytes.size()))
        throw std::runtime_error("standard input: it decodes to nothing");
    bytes.resize(size);
    return result;
}

using url_transform = int (*)(const char *, unsigned int, char *, unsigned int *);

template <url_transform Transform> int transform(const std::string &line, std::string &converted)
{
    const std::string text = as_text(line);
    if (text.find('\0') != std::string::npos)
        return ORVANE_URL_CHARACTER;
    if (text.size() > std::numeric_limits<unsigned int>::max() / 3)
        throw std::runtime_error("standard input: more than the library takes at once");
    unsigned int length = 0;
    converted.resize(3 * text.size() + 1);
    const int result =
        Transform(text.c_str(), static_cast<unsigned int>(text.size()), converted.data(), &length);
    converted.resize(length);
    converted.push_back('\n');
    return result;
}

constexpr conversion conversions[] = {
    {"encode", "Bytes to base64 on one line", encode},
    {"decode", "Base64 on one line to bytes", decode},
    {"to-url", "Base64 to the form for the query of a URL", transform<transform_to_url>},
    {"from-url", "The form for the query of a URL to base64", transform<transform_from_url>},
};

int run(const conversion &wanted)
{
    const std::string from = standard_input();
    if (from.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::runtime_error("standard input: more than the library takes at once");
    std::string to;
    const int result = wanted.convert(from, to);
    if (result != ORVANE_OK) {
        complain(std::string("standard input: ") + in_words(result));
        return failed;
    }
    write_to("-", to);
    return done;
}

} // namespace

void add_base64_commands(CLI::App &app, action &chosen)
{
    CLI::App *const base64 =
        app.add_subcommand("base64", "Convert standard input to or from base64");
    base64->require_subcommand(1);
    for (const conversion &known : conversions) {
        base64->add_subcommand(known.name, known.description)->callback([&known, &chosen] {
            chosen = [&known] { return run(known); };
        });
    }
}
