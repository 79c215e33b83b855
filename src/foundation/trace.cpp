// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The trace log: one line for each notable step of a query, in one fixed file.
#include "orvane.h"
#include "support/bounded_text.h"
#include "support/guards.h"
#include "support/owned.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr char trace_directory[] = "/var/log/orvane/";
constexpr char trace_file[] = "/var/log/orvane/liborvane.log";
constexpr std::size_t line_bytes = 1024;

void end_with_newline(text_buffer &line) noexcept
{
    if (!line.view().ends_with('\n'))
        line.append("\n");
}

// Standard error may be a file, which has a size limit as the log has.
void print_error(const char *what) noexcept
{
    const file_size_signal_guard message_may_be_lost;
    ::perror(what);
}

// One write for each line, so that lines of several processes never mix.
ssize_t write_line(int log, const text_buffer &line) noexcept
{
    const file_size_signal_guard line_may_be_lost;
    return ::write(log, line.c_str(), line.length());
}

} // namespace

} // namespace orvane

extern "C" const char *time_string(void)
{
    static char stamp[70];

    const std::time_t now = ::time(nullptr);
    std::tm local = {};
    ::localtime_r(&now, &local);

    // A second reading of the clock, so at the turn of a minute the old minute may
    // stand beside the new second, as the header documents.
    std::timespec precise = {};
    ::clock_gettime(CLOCK_REALTIME, &precise);

    orvane::bounded_text<49> minutes;
    ::strftime(minutes.data(), minutes.capacity(), "%Y-%m-%d %H:%M", &local);
    orvane::bounded_text<sizeof stamp> made;
    made.format("%s:%02d.%03d", minutes.c_str(), static_cast<int>(precise.tv_sec % 60),
                static_cast<int>(precise.tv_nsec / 1000000));

    // Stored in one piece: a thread that reads it meanwhile may see digits of two stamps, but never
    // the early terminator that formatting in place would write for a moment.
    ::memcpy(stamp, made.c_str(), sizeof stamp);
    return stamp;
}

extern "C" int orvane_logger_env_init(void)
{
    if (::access(orvane::trace_directory, R_OK | X_OK) != 0)
        static_cast<void>(::mkdir(orvane::trace_directory, 0777));
    return 1;
}

extern "C" int orvane_is_tracing(void)
{
    return 1;
}

extern "C" int orvane_trace(const char *format, ...)
{
    // A trace line often stands between a failed call and the caller's look at errno.
    const orvane::errno_guard callers_errno;
    // A program may replace these two functions.
    // cppcheck-suppress knownConditionTrueFalse
    if (::orvane_logger_env_init() == 0 || ::orvane_is_tracing() == 0)
        return 0;

    const orvane::unique_fd log(
        ::open(orvane::trace_file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (!log) {
        orvane::print_error("Open log file failed");
        return 0;
    }

    orvane::bounded_text<orvane::line_bytes> line;
    line.format("%s [%d]: ", ::time_string(), ::getpid());

    // For "%m", which stands for the caller's errno.
    callers_errno.restore();
    constexpr std::size_t newline_bytes = 1;
    va_list arguments;
    va_start(arguments, format);
    line.append_vformat(format, arguments, newline_bytes);
    va_end(arguments);
    orvane::end_with_newline(line);

    if (orvane::write_line(log.get(), line) < 0)
        orvane::print_error("Write to log file failed");
    return 1;
}
