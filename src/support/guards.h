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

// Blocks all signals for this thread during its lifetime, or until they are restored in a child.
class all_signals_guard {
public:
    all_signals_guard() noexcept
    {
        sigset_t all = {};
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &mask_before_);
    }
    all_signals_guard(const all_signals_guard &) = delete;
    all_signals_guard &operator=(const all_signals_guard &) = delete;
    ~all_signals_guard() { restore(); }

    void restore() const noexcept { ::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr); }

private:
    sigset_t mask_before_ = {};
};

// A failing write may raise a signal whose default action ends the process: SIGPIPE where nobody
// reads, SIGXFSZ beyond the process's file size limit. The guard blocks both for this thread during
// its lifetime, so that only what was to be written is lost.
class write_signal_guard {
public:
    write_signal_guard() noexcept
    {
        ::sigemptyset(&held_);
        ::sigaddset(&held_, SIGPIPE);
        ::sigaddset(&held_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &held_, &mask_before_);
        // Only a blocked signal can be pending.
        if (::sigismember(&mask_before_, SIGPIPE) == 1 ||
            ::sigismember(&mask_before_, SIGXFSZ) == 1)
            ::sigpending(&pending_before_);
    }
    write_signal_guard(const write_signal_guard &) = delete;
    write_signal_guard &operator=(const write_signal_guard &) = delete;
    ~write_signal_guard() { ::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr); }

    // Consumes the signal of a write that has failed with the error. After any other write a
    // pending signal is somebody else's, and one that was pending before is the caller's.
    void consume_signal_of(int error) const noexcept
    {
        const int raised = error == EPIPE ? SIGPIPE : error == EFBIG ? SIGXFSZ : 0;
        if (raised == 0 || ::sigismember(&pending_before_, raised) == 1)
            return;
        const errno_guard errno_of_the_write; // sigtimedwait() fails when none is pending
        constexpr std::timespec no_time = {};
        sigset_t wanted = {};
        ::sigemptyset(&wanted);
        ::sigaddset(&wanted, raised);
        ::sigtimedwait(&wanted, nullptr, &no_time);
    }

private:
    sigset_t held_ = {};
    sigset_t mask_before_ = {};
    sigset_t pending_before_ = {};
};

} // namespace orvane
