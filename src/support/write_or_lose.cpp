// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/write_or_lose.h"

#include "support/bounded_text.h"
#include "support/guards.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

#include <unistd.h>

namespace orvane {

namespace {

// `print` returns a negative number where it fails, as printf() does.
template <class Print> void print_guarded(Print print) noexcept
{
    const write_signal_guard text_may_be_lost;
    if (print() < 0)
        text_may_be_lost.consume_signal_of(errno);
}

} // namespace

ssize_t write_or_lose(int fd, std::string_view text) noexcept
{
    const write_signal_guard text_may_be_lost;
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0)
        text_may_be_lost.consume_signal_of(errno);
    return written;
}

void print_or_lose(const char *format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    print_guarded([&]() noexcept { return ::vfprintf(stderr, format, arguments); });
    va_end(arguments);
}

void print_error_or_lose(const char *what) noexcept
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps a text for each thread.
    const char *const reason = ::strerror(errno);
    const int orientation = ::fwide(stderr, 0);
    // Formatted here: for a stream without a buffer, printf() takes one of 8 KiB from the stack,
    // and wprintf() one of 32 KiB.
    if (orientation > 0) {
        wchar_t line[512];
        if (::swprintf(line, std::size(line), L"%s: %s\n", what, reason) >= 0)
            print_guarded([&]() noexcept { return ::fputws(line, stderr); });
        return;
    }
    bounded_text<1024> line;
    line.format("%s: %s\n", what, reason);
    const int fd = ::fileno(stderr);
    if (orientation < 0 || fd < 0)
        return print_guarded([&]() noexcept { return ::fputs(line.c_str(), stderr); });
    // The program's own first output decides whether the stream is of bytes or of wide characters.
    write_or_lose(fd, line.view());
}

} // namespace orvane
