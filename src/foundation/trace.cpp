// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The trace log: one line for each notable step of a query, in one fixed file.
#include "orvane.h"
#include "support/bounded_text.h"
#include "support/guards.h"
#include "support/owned.h"
#include "support/write_or_lose.h"

#include <cerrno>
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

// Not by fstat(): after one, the kernel gives the next write a time of its own, and stores it.
// A log that is being rotated may have none left.
bool is_regular_without_other_links(int log) noexcept
{
    struct statx status = {};
    return ::statx(log, "", AT_EMPTY_PATH, STATX_TYPE | STATX_NLINK, &status) == 0 &&
           S_ISREG(status.stx_mode) && status.stx_nlink <= 1;
}

// Where anyone else may write the directory, what stands at the log's path may be another user's.
bool is_trusted_directory() noexcept
{
    struct stat status = {};
    return ::stat(trace_directory, &status) == 0 && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 &&
           (status.st_uid == 0 || status.st_uid == ::geteuid());
}

// Waits for nobody: a FIFO without a reader cannot be opened. The directory is examined only where
// the log is a link or anything but a regular file with one name.
int open_log() noexcept
{
    constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    constexpr mode_t mode = 0644;
    const int log = ::open(trace_file, flags | O_NOFOLLOW, mode);
    if (log < 0 && errno == ELOOP) {
        if (is_trusted_directory())
            return ::open(trace_file, flags, mode);
        errno = ELOOP;
    } else if (log >= 0 && !is_regular_without_other_links(log) && !is_trusted_directory()) {
        ::close(log);
        errno = EPERM;
        return -1;
    }
    return log;
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
    // stand beside the new second, as the manual documents.
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

    const orvane::unique_fd log(orvane::open_log());
    if (!log) {
        orvane::print_error_or_lose("Open log file failed");
        return 0;
    }

    char line[orvane::line_bytes];
    // One byte is always left for a newline.
    constexpr std::size_t size = sizeof line - 1;
    std::size_t length = orvane::store_format(line, size, "%s [%d]: ", ::time_string(), ::getpid());

    // For "%m", which stands for the caller's errno.
    callers_errno.restore();
    va_list arguments;
    va_start(arguments, format);
    length += orvane::store_vformat(line + length, size - length, format, arguments);
    va_end(arguments);
    if (length == 0 || line[length - 1] != '\n')
        line[length++] = '\n';

    // One write for each line, so that lines of several processes never mix.
    if (orvane::write_or_lose(log.get(), {line, length}) < 0)
        orvane::print_error_or_lose("Write to log file failed");
    return 1;
}
