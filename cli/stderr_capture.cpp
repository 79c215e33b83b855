// SPDX-License-Identifier: LGPL-2.1-or-later
#include "stderr_capture.h"

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

constexpr std::size_t trace_line_bytes = 1024; // the library truncates longer lines
bool log_refused = false;
int original_stderr = -1;

void write_original(std::string_view text)
{
    [[maybe_unused]] const ssize_t written = ::write(original_stderr, text.data(), text.size());
}

// Prints the last line of the captured text where it is the library's. Async-signal-safe.
extern "C" void report_abort(int signal)
{
    char buffer[256];
    const off_t end = ::lseek(STDERR_FILENO, 0, SEEK_END);
    const off_t start = end > off_t{sizeof buffer} ? end - off_t{sizeof buffer} : 0;
    const ssize_t size = ::pread(STDERR_FILENO, buffer, sizeof buffer, start);
    std::string_view line(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    while (line.ends_with('\n'))
        line.remove_suffix(1);
    line.remove_prefix(line.rfind('\n') + 1);

    if (!line.starts_with("liborvane: fatal: ")) {
        std::signal(signal, SIG_DFL);
        std::raise(signal); // pending until this handler returns
        return;
    }
    write_original("orvane: ");
    write_original(line);
    write_original("\n");
    ::_exit(1);
}

} // namespace

stream_capture::stream_capture(std::FILE *stream)
    : stream_(stream), original_(::fcntl(::fileno(stream), F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    std::fflush(stream);
    const int memory = ::memfd_create("capture", MFD_CLOEXEC);
    if (original_ < 0 || memory < 0 || ::dup2(memory, ::fileno(stream)) < 0)
        throw std::runtime_error(std::string("a file in memory: ") + std::strerror(errno));
    ::close(memory);
}

stream_capture::~stream_capture()
{
    std::fflush(stream_);
    ::dup2(original_, ::fileno(stream_));
    ::close(original_);
}

std::string stream_capture::text() const
{
    std::fflush(stream_);
    const off_t size = ::lseek(::fileno(stream_), 0, SEEK_END);
    std::string written(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    const ssize_t count = ::pread(::fileno(stream_), written.data(), written.size(), 0);
    written.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return written;
}

stderr_capture::stderr_capture() : capture_(stderr)
{
    original_stderr = capture_.original();
    std::signal(SIGABRT, report_abort);
}

stderr_capture::~stderr_capture()
{
    std::signal(SIGABRT, SIG_DFL);
}

bool trace_log_refused()
{
    return log_refused;
}

// Replaces the library's function, which reports for each line that the log cannot be opened: the
// command reports it once.
extern "C" int orvane_trace(const char *format, ...)
{
    char message[trace_line_bytes];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): wrong after another source in one run.
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);

    using trace_function = int (*)(const char *, ...);
    static const auto library_trace =
        reinterpret_cast<trace_function>(::dlsym(RTLD_NEXT, "orvane_trace"));
    const bool opened = library_trace != nullptr && library_trace("%s", message) != 0;
    log_refused = log_refused || !opened;
    return opened ? 1 : 0;
}
