// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/line_reader.h"

#include "support/shell.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace orvane {

namespace {

// Whether the read was interrupted by a signal handler and can be continued.
bool can_continue(std::FILE *stream) noexcept
{
    if (::ferror(stream) == 0 || errno != EINTR)
        return false;
    ::clearerr(stream);
    return true;
}

unique_file open_for_reading(const char *path) noexcept
{
    return unique_file(path == nullptr ? nullptr : ::fopen(path, "re"));
}

bool first_line_of(std::FILE *stream, text_buffer &line) noexcept
{
    if (stream == nullptr || !read_line(stream, line))
        return false;
    cut_at_line_end(line);
    return true;
}

} // namespace

// An interrupted fgets() may have stored bytes, none of them a newline, and does not return their
// number. The buffer is filled with newlines beforehand, so the first one marks the end of them
// even when they include NUL bytes, and the next read continues there.
bool read_line(std::FILE *stream, text_buffer &line) noexcept
{
    char *const last = line.data() + line.capacity() - 1;
    char *end = line.data();
    do {
        std::fill(end, last + 1, '\n');
        if (::fgets(end, static_cast<int>(last + 1 - end), stream) != nullptr)
            return true;
        end = std::find(end, last, '\n');
    } while (can_continue(stream));

    *end = '\0';
    return end != line.data() && ::feof(stream) != 0;
}

bool has_read_error(std::FILE *stream) noexcept
{
    return ::ferror(stream) != 0;
}

bool first_line_of_file(const char *path, text_buffer &line) noexcept
{
    const unique_file file = open_for_reading(path);
    return first_line_of(file.get(), line);
}

bool first_line_of_command(const char *command, text_buffer &line) noexcept
{
    const tool_output output = run_tool(command);
    return first_line_of(output.get(), line);
}

heap_text whole_text(std::FILE *stream) noexcept
{
    char *contents = nullptr;
    std::size_t capacity = 0;
    const bool is_read =
        ::getdelim(&contents, &capacity, '\0', stream) >= 0 && ::ferror(stream) == 0;
    heap_text text(contents);
    return is_read ? std::move(text) : heap_text();
}

std::size_t read_bytes(std::FILE *stream, char *buffer, std::size_t size) noexcept
{
    std::size_t count = 0;
    do
        count += ::fread(buffer + count, 1, size - count, stream);
    while (count != size && can_continue(stream));
    return count;
}

unique_file open_without_waiting(const char *path) noexcept
{
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
    struct stat status = {};
    if (path == nullptr || ::stat(path, &status) != 0 || S_ISFIFO(status.st_mode))
        return nullptr;
    int fd = ::open(path, flags | O_NONBLOCK);
    // A process that has a lease on the file gives it up, or the kernel takes it.
    if (fd < 0 && errno == EWOULDBLOCK)
        fd = ::open(path, flags);
    unique_fd opened(fd);
    unique_file file(opened ? ::fdopen(opened.get(), "r") : nullptr);
    if (file)
        opened.release();
    return file;
}

void read_text(std::FILE *stream, text_buffer &text) noexcept
{
    text.clear();
    static_cast<void>(read_bytes(stream, text.data(), text.capacity() - 1));
}

bool start_of_file(const char *path, text_buffer &text) noexcept
{
    const unique_file file = open_for_reading(path);
    text.clear();
    if (!file || read_bytes(file.get(), text.data(), text.capacity()) == 0)
        return false;
    // After a read error the text may be incomplete.
    if (has_read_error(file.get())) {
        text.clear();
        return false;
    }
    text.terminate();
    return true;
}

void cut_at_line_end(text_buffer &text) noexcept
{
    text.cut_at_any("\r\n");
}

} // namespace orvane
