// SPDX-License-Identifier: LGPL-2.1-or-later
#include "input.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

constexpr char input_name[] = "standard input";

struct close_stream {
    void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};

[[noreturn]] void fail(const std::string &name)
{
    throw std::runtime_error(name + ": " + std::strerror(errno));
}

std::string read_stream(std::FILE *stream, const std::string &name)
{
    std::string content;
    char block[65536];
    while (const std::size_t size = std::fread(block, 1, sizeof block, stream))
        content.append(block, size);
    if (std::ferror(stream) != 0)
        fail(name);
    return content;
}

std::string without_zero_byte(std::string content, const std::string &name)
{
    if (content.find('\0') != std::string::npos)
        throw std::runtime_error(name + ": a zero byte is not of a text");
    return content;
}

} // namespace

std::string read_input()
{
    return read_stream(stdin, input_name);
}

std::string read_input_text()
{
    return without_zero_byte(read_input(), input_name);
}

std::string read_text(const std::string &path)
{
    const std::unique_ptr<std::FILE, close_stream> file(std::fopen(path.c_str(), "r"));
    if (!file)
        fail(path);
    return without_zero_byte(read_stream(file.get(), path), path);
}
