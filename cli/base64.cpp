// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane base64: from standard input to standard output.
#include "commands.h"
#include "input.h"
#include "output.h"
#include "result_message.h"

#include "orvane.h"

#include <limits>
#include <stdexcept>
#include <string>

namespace {

[[noreturn]] void fail(const std::string &reason)
{
    throw std::runtime_error("standard input: " + reason);
}

// Each converts the first argument into the second and returns a result of the library.
using conversion = int (*)(const std::string &, std::string &);

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

std::string without_line_end(std::string line)
{
    if (line.ends_with('\n'))
        line.pop_back();
    if (line.ends_with('\r'))
        line.pop_back();
    return line;
}

int decode(const std::string &line, std::string &bytes)
{
    const std::string text = without_line_end(line);
    if (text.find('\0') != std::string::npos)
        return ORVANE_BASE64_CHARACTER;
    unsigned int size = 0;
    bytes.resize(text.size());
    const int result =
        base64_decode(text.c_str(), static_cast<int>(text.size()), bytes.data(), &size);
    if (result == ORVANE_OK && (size == 0 || size > bytes.size()))
        fail("it decodes to nothing");
    bytes.resize(size);
    return result;
}

template <int (*Transform)(const char *, unsigned int, char *, unsigned int *)>
int transform(const std::string &line, std::string &converted)
{
    const std::string text = without_line_end(line);
    if (text.find('\0') != std::string::npos)
        return ORVANE_URL_CHARACTER;
    if (text.size() > std::numeric_limits<unsigned int>::max() / 3)
        fail("more than the library takes at once");
    unsigned int length = 0;
    converted.resize(3 * text.size() + 1);
    const int result =
        Transform(text.c_str(), static_cast<unsigned int>(text.size()), converted.data(), &length);
    converted.resize(length);
    converted.push_back('\n');
    return result;
}

int convert_input(conversion convert)
{
    const std::string from = read_input();
    if (from.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        fail("more than the library takes at once");
    std::string to;
    const int result = convert(from, to);
    if (result != ORVANE_OK)
        fail(result_message(result));
    write_output("-", to);
    return success;
}

} // namespace

int encode_base64()
{
    return convert_input(encode);
}

int decode_base64()
{
    return convert_input(decode);
}

int convert_base64_to_url()
{
    return convert_input(transform<transform_to_url>);
}

int convert_base64_from_url()
{
    return convert_input(transform<transform_from_url>);
}
