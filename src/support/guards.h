// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a query owes its caller where signals are handled: an unchanged errno, no signal of its own,
// and system calls that go on after an interruption.
#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace orvane {

// Restores errno at the end of its lifetime, for work such as tracing that is done between a failed
// call and the caller's test of errno.
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

// Repeats a system call that was interrupted by a signal handler.
template <class Call> auto retry_on_eintr(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// A write beyond the process's file size limit fails and raises SIGXFSZ, whose default action ends
// the caller. The guard blocks the signal for this thread during its lifetime and then consumes the
// one that was raised, so that only the log line is lost.
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
        const errno_guard errno_of_the_write; // sigtimedwait() fails when none is pending
        constexpr std::timespec no_time = {};
        // A signal that was pending before belongs to the caller.
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
