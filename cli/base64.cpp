// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane base64: from standard input to standard output.
#include "commands.h"
#include "input.h"
#include "output.h"
#include "result_message.h"

#include "orvane.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

// The library counts the result, three characters for one at most, in an unsigned int.
constexpr std::size_t longest_for_url = std::numeric_limits<unsigned int>::max() / 3;

// What a conversion stores, in a block that is not filled before.
struct converted {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    char *allocate(std::size_t capacity)
    {
        bytes.reset(new char[capacity]);
        return bytes.get();
    }
    void end_line(std::size_t length)
    {
        bytes[length] = '\n';
        size = length + 1;
    }
};

// Each takes line ends from its input where that is a text, and returns a result of the library.
using conversion = int (*)(std::string &input, converted &output);

int encode(std::string &bytes, converted &text)
{
    unsigned int length = 0;
    const int result = base64_encode(bytes.data(), static_cast<int>(bytes.size()),
                                     text.allocate((bytes.size() + 2) / 3 * 4 + 1), &length);
    text.end_line(length);
    return result;
}

void remove_line_end(std::string &line)
{
    if (line.ends_with('\n'))
        line.pop_back();
    if (line.ends_with('\r'))
        line.pop_back();
}

// Encoders wrap long lines, and the library takes one line alone.
void join_lines(std::string &text)
{
    std::size_t kept = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.compare(at, 2, "\r\n") == 0)
            ++at;
        if (text[at] != '\n')
            text[kept++] = text[at];
    }
    text.resize(kept);
}

int decode(std::string &text, converted &bytes)
{
    join_lines(text);
    if (text.find('\0') != std::string::npos)
        return ORVANE_BASE64_CHARACTER;
    unsigned int size = 0;
    const int result = base64_decode(text.c_str(), static_cast<int>(text.size()),
                                     bytes.allocate(text.size()), &size);
    if (result == ORVANE_OK && (size == 0 || size > text.size()))
        throw std::runtime_error(std::string(input_name) + ": it decodes to nothing");
    bytes.size = size;
    return result;
}

template <int (*Transform)(const char *, unsigned int, char *, unsigned int *)>
int transform(std::string &text, converted &form, std::size_t capacity)
{
    remove_line_end(text);
    if (text.find('\0') != std::string::npos)
        return ORVANE_URL_CHARACTER;
    unsigned int length = 0;
    const int result = Transform(text.c_str(), static_cast<unsigned int>(text.size()),
                                 form.allocate(capacity), &length);
    form.end_line(length);
    return result;
}

int to_url(std::string &text, converted &url)
{
    return transform<transform_to_url>(text, url, 3 * text.size() + 1);
}

int from_url(std::string &url, converted &text)
{
    return transform<transform_from_url>(url, text, url.size() + 1);
}

int convert_input(conversion convert, std::uintmax_t limit = longest_input)
{
    std::string from = read_input(limit);
    converted to;
    const int result = convert(from, to);
    if (result != ORVANE_OK)
        throw_result(input_name, result);
    write_output("-", {to.bytes.get(), to.size});
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
    return convert_input(to_url, longest_for_url);
}

int convert_base64_from_url()
{
    return convert_input(from_url);
}
