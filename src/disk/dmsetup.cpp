// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The device-mapper tool, which reports the device under a mapped one.
#include "disk/dmsetup.h"

#include "orvane.h"
#include "support/guards.h"
#include "support/shell.h"
#include "support/text.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr char dmsetup[] = "/usr/sbin/dmsetup";
constexpr int cannot_execute = 127; // the exit status of shells in this case

bool reports_none(const char *field) noexcept
{
    return has_prefix(field, "0 dependencies");
}

const char *description_of(int error) noexcept
{
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 32)
    return ::strerrordesc_np(error); // takes no lock for a translation
#else
    return ::strerror(error);
#endif
}

void print_execve_error() noexcept
{
    const char *const reason = description_of(errno);
    bounded_text<256> message;
    message.append("execve: ");
    message.append(reason != nullptr ? reason : "Unknown error");
    message.append("\n");
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, message.c_str(), message.length());
}

// execve() does not modify its strings, although its prototype lacks the const.
char *const *as_vector(const char *const *texts) noexcept
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
    return const_cast<char *const *>(texts);
}

// In a caller without standard output the pipe may already have its descriptor.
bool make_standard_output(int fd) noexcept
{
    if (fd == STDOUT_FILENO)
        return ::fcntl(fd, F_SETFD, 0) == 0;
    const bool is_made = ::dup2(fd, STDOUT_FILENO) >= 0;
    ::close(fd); // or it may be standard error, where a failing execve() is reported
    return is_made;
}

// The caller's handlers are for the caller: a signal to the process group must not run them in the
// child, too.
void reset_handlers() noexcept
{
    struct sigaction reset = {};
    reset.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action = {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            ::sigaction(signal, &reset, nullptr);
    }
}

// Executes the tool in the child. Other threads of the caller may have held locks at the time of
// the fork, so only async-signal-safe functions are called.
[[noreturn]] void run_dmsetup(int write_end, const char *mapped) noexcept
{
    if (!make_standard_output(write_end))
        ::_exit(cannot_execute);

    const char *const arguments[] = {dmsetup, "deps", "-o", "devname", mapped, nullptr};
    const char *const environment[] = {nullptr};
    ::execve(dmsetup, as_vector(arguments), as_vector(environment));
    print_execve_error();
    ::_exit(cannot_execute);
}

// Returns the child's process id, or -1.
pid_t start_dmsetup(int write_end, const char *mapped) noexcept
{
    const all_signals_guard until_handlers_are_reset;
    const pid_t child = ::fork();
    if (child == 0) {
        reset_handlers();
        until_handlers_are_reset.restore();
        run_dmsetup(write_end, mapped);
    }
    return child;
}

// One read is enough: the tool writes what it reports of one device in one piece.
void read_report(const unique_fd &output, text_buffer &report) noexcept
{
    retry_on_eintr([&] { return ::read(output.get(), report.data(), report.capacity() - 1); });
}

// Waits for the tool and for no other process, then takes any child that has ended, the calling
// thread's first. None is taken where the tool is gone by itself: the caller ignores its children,
// or has reaped this one.
void wait_for(pid_t tool) noexcept
{
    const int waited = retry_on_eintr([tool] {
        siginfo_t end = {};
        return ::waitid(P_PID, static_cast<id_t>(tool), &end, WEXITED | WNOWAIT);
    });
    if (waited == 0)
        retry_on_eintr([] { return ::waitpid(-1, nullptr, WNOHANG); });
}

} // namespace

void find_dependency(char *report, text_buffer &name) noexcept
{
    if (::strchr(report, ':') == nullptr && !reports_none(report))
        return;
    tokenizer parts(report, ":");
    while (const char *const part = parts.next()) {
        if (reports_none(part)) {
            ::orvane_trace("cannot found deps");
            return;
        }
        if (::strstr(part, "dependencies") != nullptr)
            continue;
        // The names of several devices run together into one that does not exist: only a mapping
        // of a single device is followed.
        name.append(part);
        ::removeSpecialChar(name.data());
        return;
    }
}

heap_text dependency_name(const char *mapped) noexcept
{
    heap_buffer<1024> report;
    if (!report || !is_runnable(dmsetup))
        return {};

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        ::orvane_trace("pipe error.");
        return {};
    }
    unique_fd read_end(ends[0]);
    unique_fd write_end(ends[1]);
    const pid_t child = start_dmsetup(write_end.get(), mapped);
    if (child < 0) {
        ::orvane_trace("fork error.");
        return {};
    }

    write_end.reset();
    read_report(read_end, report);
    // A tool that writes more must not block.
    read_end.reset();

    bounded_text<1024> name;
    find_dependency(report.data(), name);
    wait_for(child);
    return heap_text(name.empty() ? nullptr : name.copy());
}

} // namespace orvane
