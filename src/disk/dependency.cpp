// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The device-mapper tool, which knows what a mapped device stands on.
#include "disk/dependency.h"

#include "orvane.h"
#include "support/text.h"
#include "support/guards.h"
#include "support/shell.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr char dmsetup[] = "/usr/sbin/dmsetup";
constexpr int cannot_execute = 127; // as shells say it

bool says_none(const char *field) noexcept
{
    return has_prefix(field, "0 dependencies");
}

void complain_about_execve() noexcept
{
    const char *const reason = ::strerrordesc_np(errno);
    bounded_text<256> message;
    message.append("execve: ");
    message.append(reason != nullptr ? reason : "Unknown error");
    message.append("\n");
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, message.c_str(), message.length());
}

// A program that another thread starts meanwhile would hold the pipe open for as long as it runs,
// and a tool that says nothing would then seem to go on.
void keep_from_other_programs(const unique_fd &fd) noexcept
{
    ::fcntl(fd.get(), F_SETFD, FD_CLOEXEC);
}

// execve() changes none of its texts; its type is older than const.
char *const *unchanged(const char *const *texts) noexcept
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
    return const_cast<char *const *>(texts);
}

// A caller without standard output may have it there already. The tool is to have it alone.
bool make_standard_output(int fd) noexcept
{
    if (fd == STDOUT_FILENO)
        return ::fcntl(fd, F_SETFD, 0) == 0;
    const bool is_made = ::dup2(fd, STDOUT_FILENO) >= 0;
    ::close(fd);
    return is_made;
}

// Becomes the tool in a child process. Other threads of the caller may have held locks at the time
// of the fork, so nothing here takes one: each call is async-signal-safe.
[[noreturn]] void run_dmsetup(int read_end, int write_end, const char *mapped) noexcept
{
    ::close(read_end);
    if (!make_standard_output(write_end))
        ::_exit(cannot_execute);

    const char *const arguments[] = {dmsetup, "deps", "-o", "devname", mapped, nullptr};
    const char *const environment[] = {nullptr};
    ::execve(dmsetup, unchanged(arguments), unchanged(environment));
    complain_about_execve();
    ::_exit(cannot_execute);
}

// Deliberate: one read. What the tool says of one device fits it, and comes in one piece.
void read_report(const unique_fd &output, text_buffer &report) noexcept
{
    retry_on_eintr([&] { return ::read(output.get(), report.data(), report.capacity() - 1); });
}

// Deliberate: any child will do. Where the caller ignores its children or reaps them by itself,
// this one may be gone already, and the wait lasts for as long as the caller has others.
void wait_for_child() noexcept
{
    retry_on_eintr([] { return ::wait(nullptr); });
}

} // namespace

void find_dependency(char *report, text_buffer &name) noexcept
{
    if (::strchr(report, ':') == nullptr && !says_none(report))
        return;
    tokenizer parts(report, ":");
    while (const char *const part = parts.next()) {
        if (says_none(part)) {
            ::orvane_trace("cannot found deps");
            return;
        }
        if (::strstr(part, "dependencies") != nullptr)
            continue;
        // Deliberate: what remains of several devices is no device's name. Only a mapping of one
        // is followed.
        name.append(part);
        ::removeSpecialChar(name.data());
        return;
    }
}

heap_text dependency_name(const char *mapped) noexcept
{
    if (!is_runnable(dmsetup))
        return {};

    int ends[2];
    if (::pipe(ends) != 0) {
        ::orvane_trace("pipe error.");
        return {};
    }
    unique_fd read_end(ends[0]);
    unique_fd write_end(ends[1]);
    keep_from_other_programs(read_end);
    keep_from_other_programs(write_end);
    const pid_t child = ::fork();
    if (child < 0) {
        ::orvane_trace("fork error.");
        return {};
    }
    if (child == 0)
        run_dmsetup(read_end.get(), write_end.get(), mapped);

    write_end.reset();
    bounded_text<1024> report;
    read_report(read_end, report);
    // A tool that has more to say must not wait for a reader.
    read_end.reset();

    bounded_text<1024> name;
    find_dependency(report.data(), name);
    wait_for_child();
    return heap_text(name.empty() ? nullptr : name.copy());
}

} // namespace orvane
