// SPDX-License-Identifier: LGPL-2.1-or-later
#include "input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t longest_line = std::size_t{1} << 20U;

[[noreturn]] void fail(const std::string &name)
{
    throw unreadable_input(name, std::strerror(errno));
}

[[noreturn]] void fail_of_length(const std::string &name, std::uintmax_t limit)
{
    throw std::runtime_error(name + ": it is longer than " + std::to_string(limit) + " bytes");
}

unique_stream opened(const std::string &path)
{
    // No terminal at a stranger's path becomes the process's own.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    unique_stream file(fd >= 0 ? ::fdopen(fd, "r") : nullptr);
    if (!file)
        fail(path);
    return file;
}

std::string read_all(input_blocks blocks)
{
    std::string all;
    for (std::string_view block = blocks.next(); !block.empty(); block = blocks.next())
        all.append(block);
    return all;
}

} // namespace

std::string read_input(std::uintmax_t limit)
{
    return read_all({stdin, input_name, content::bytes, limit});
}

std::string read_input_text()
{
    return read_all({stdin, input_name, content::text, longest_input});
}

std::string read_text(const std::string &path)
{
    const unique_stream file = opened(path);
    return read_all({file.get(), path, content::text, longest_input});
}

std::string read_file(const std::string &path)
{
    const unique_stream file = open_input(path);
    return read_all({file.get(), name_of_input(path), content::bytes, longest_input});
}

std::string first_line_of(const std::string &path)
{
    const unique_stream file(std::fopen(path.c_str(), "re"));
    char line[256];
    if (!file || std::fgets(line, sizeof line, file.get()) == nullptr)
        return "";
    const std::string text = line;
    return text.substr(0, text.find('\n'));
}

void check_readable(const std::string &path)
{
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0 || ::access(path.c_str(), R_OK) != 0)
        fail(path);
    if (!S_ISREG(file.st_mode) && !S_ISDIR(file.st_mode))
        return;
    const unique_stream stream = opened(path);
    input_blocks blocks(stream.get(), path, content::bytes, any_length);
    for (std::string_view block = blocks.next(); !block.empty();)
        block = blocks.next();
}

unique_stream open_input(const std::string &path)
{
    return path == "-" ? unique_stream(stdin) : opened(path);
}

std::string name_of_input(const std::string &path)
{
    return path == "-" ? input_name : path;
}

input_blocks::input_blocks(std::FILE *stream, std::string name, content kind, std::uintmax_t limit)
    : stream_(stream), name_(std::move(name)), kind_(kind), left_(limit), limit_(limit)
{
}

std::string_view input_blocks::next()
{
    const std::string_view read(block_.data(),
                                std::fread(block_.data(), 1, block_.size(), stream_));
    if (read.empty() && std::ferror(stream_) != 0)
        fail(name_);
    if (read.size() > left_)
        fail_of_length(name_, limit_);
    if (kind_ == content::text && read.find('\0') != std::string_view::npos)
        throw std::runtime_error(name_ + ": a zero byte is not of a text");
    left_ -= read.size();
    return read;
}

text_lines::text_lines(const std::string &path)
    : stream_(open_input(path)),
      blocks_(stream_.get(), name_of_input(path), content::bytes, longest_input)
{
}

bool text_lines::next(std::string &line)
{
    line.clear();
    ++number_;
    while (true) {
        if (unread_.empty())
            unread_ = blocks_.next();
        if (unread_.empty())
            return !line.empty();
        const std::size_t end = unread_.find('\n');
        const std::string_view part = unread_.substr(0, end);
        if (part.size() > longest_line - line.size())
            fail_of_length(blocks_.name() + ": line " + std::to_string(number_), longest_line);
        line.append(part);
        unread_.remove_prefix(std::min(part.size() + 1, unread_.size()));
        if (end != std::string_view::npos)
            return true;
    }
}
