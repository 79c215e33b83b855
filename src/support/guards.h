// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a query must leave to its caller as it was: errno and signals.
#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace orvane {

// Leaves errno at the end of its life as it was at the start, for side work such as tracing that
// stands between a failed call and the caller's look at errno.
class errno_guard {
public:
    errno_guard() noexcept : before_(errno) {}
    errno_guard(const errno_guard &) = delete;
    errno_guard &operator=(const errno_guard &) = delete;
    ~errno_guard() { restore(); }

    void restore() const noexcept { errno = before_; }

private:
    int before_;
};

// Repeats a system call for as long as a caller's signal handler breaks it off.
template <class Call> auto retry_on_eintr(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// A write beyond the process's file size limit fails and raises SIGXFSZ, which ends a caller that
// knows nothing of it. For its lifetime the guard holds the signal back from this thread, and takes
// one that was raised meanwhile: a log line is lost, and nothing else happens.
class file_size_signal_guard {
public:
    file_size_signal_guard() noexcept
    {
        ::sigemptyset(&signal_);
        ::sigaddset(&signal_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &signal_, &mask_before_);
        ::sigpending(&pending_before_);
    }
    file_size_signal_guard(const file_size_signal_guard &) = delete;
    file_size_signal_guard &operator=(const file_size_signal_guard &) = delete;
    ~file_size_signal_guard()
    {
        const errno_guard errno_of_the_write; // that there is none to take is no news
        constexpr std::timespec no_time = {};
        // One that the caller itself keeps waiting is the caller's.
        if (::sigismember(&pending_before_, SIGXFSZ) == 0)
            ::sigtimedwait(&signal_, nullptr, &no_time);
        ::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    }

private:
    sigset_t signal_ = {};
    sigset_t mask_before_ = {};
    sigset_t pending_before_ = {};
};

} // namespace orvane
