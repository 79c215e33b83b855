// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/line.h"

#include "support/handles.h"
#include "support/tool.h"

#include <cerrno>

namespace orvane {

namespace {

bool was_interrupted(std::FILE *stream) noexcept
{
    return ::ferror(stream) != 0 && errno == EINTR;
}

unique_file open_for_reading(const char *path) noexcept
{
    return unique_file(path == nullptr ? nullptr : ::fopen(path, "r"));
}

bool first_line_of(std::FILE *stream, text_buffer &line) noexcept
{
    if (stream == nullptr || !read_line(stream, line))
        return false;
    cut_at_line_end(line);
    return true;
}

} // namespace

// A signal handler of the caller's may break a read off in the middle of a line. The stream has
// handed over what came before, and the zero-filled buffer shows where that ends.
bool read_line(std::FILE *stream, text_buffer &line) noexcept
{
    line.clear();
    std::size_t kept = 0;
    while (::fgets(line.data() + kept, static_cast<int>(line.capacity() - kept), stream) ==
           nullptr) {
        if (!was_interrupted(stream))
            return kept > 0 && ::feof(stream) != 0;
        ::clearerr(stream);
        kept = line.length();
    }
    return true;
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

bool start_of_file(const char *path, text_buffer &text) noexcept
{
    const unique_file file = open_for_reading(path);
    text.clear();
    if (!file || ::fread(text.data(), 1, text.capacity(), file.get()) == 0)
        return false;
    text.terminate();
    return true;
}

void cut_at_line_end(text_buffer &text) noexcept
{
    text.cut_at_any("\r\n");
}

} // namespace orvane
