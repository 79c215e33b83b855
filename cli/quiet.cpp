// SPDX-License-Identifier: LGPL-2.1-or-later
#include "quiet.h"

#include "orvane.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t trace_line_bytes = 1024; // the library keeps no more of a line
bool log_refused = false;
int kept_standard_error = -1;

void say_outside(std::string_view text)
{
    [[maybe_unused]] const ssize_t written = ::write(kept_standard_error, text.data(), text.size());
}

// What the library said while standard error was off, if it was the library that ended the process.
// It runs in a signal handler.
extern "C" void tell_last_words(int signal)
{
    char room[256];
    const off_t end = ::lseek(STDERR_FILENO, 0, SEEK_END);
    const off_t start = end > off_t{sizeof room} ? end - off_t{sizeof room} : 0;
    const ssize_t size = ::pread(STDERR_FILENO, room, sizeof room, start);
    std::string_view words(room, size > 0 ? static_cast<std::size_t>(size) : 0);
    while (words.ends_with('\n'))
        words.remove_suffix(1);
    words.remove_prefix(words.rfind('\n') + 1);

    if (!words.starts_with("liborvane: fatal: ")) {
        std::signal(signal, SIG_DFL);
        std::raise(signal); // comes when this handler is left
        return;
    }
    say_outside("orvane: ");
    say_outside(words);
    say_outside("\n");
    ::_exit(1);
}

} // namespace

set_aside::set_aside(std::FILE *stream)
    : stream_(stream), kept_(::fcntl(::fileno(stream), F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    std::fflush(stream);
    const int aside = ::memfd_create("aside", MFD_CLOEXEC);
    if (kept_ < 0 || aside < 0 || ::dup2(aside, ::fileno(stream)) < 0)
        throw std::runtime_error(std::string("a file in memory: ") + std::strerror(errno));
    ::close(aside);
}

set_aside::~set_aside()
{
    std::fflush(stream_);
    ::dup2(kept_, ::fileno(stream_));
    ::close(kept_);
}

std::string set_aside::text() const
{
    std::fflush(stream_);
    const off_t size = ::lseek(::fileno(stream_), 0, SEEK_END);
    std::string written(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    const ssize_t got = ::pread(::fileno(stream_), written.data(), written.size(), 0);
    written.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return written;
}

quiet_standard_error::quiet_standard_error() : aside_(stderr)
{
    kept_standard_error = aside_.kept();
    std::signal(SIGABRT, tell_last_words);
}

quiet_standard_error::~quiet_standard_error()
{
    std::signal(SIGABRT, SIG_DFL);
}

bool trace_log_refused()
{
    return log_refused;
}

// Takes the place of the library's own, whose complaint about a log that cannot be opened would be
// one for every line: the command notes it and says it once.
extern "C" int orvane_trace(const char *format, ...)
{
    char message[trace_line_bytes];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);

    using trace_function = int (*)(const char *, ...);
    static const auto library_trace =
        reinterpret_cast<trace_function>(::dlsym(RTLD_NEXT, "orvane_trace"));
    const bool opened = library_trace != nullptr && library_trace("%s", message) != 0;
    log_refused = log_refused || !opened;
    return opened ? 1 : 0;
}
