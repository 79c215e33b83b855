// SPDX-License-Identifier: LGPL-2.1-or-later
#include "isolation.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void check(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

// The first process of a process namespace: the kernel ends all others of it when it ends.
[[noreturn]] void be_first_process(int parent, int (*program)())
{
    check(::prctl(PR_SET_PDEATHSIG, SIGKILL), "the end of the parent");
    pollfd end_of_parent = {parent, 0, 0};
    if (::poll(&end_of_parent, 1, 0) != 0)
        ::_exit(1); // it has ended before
    check(::mount("none", "/", "none", MS_REC | MS_PRIVATE, ""), "make mounts private");
    check(::mount("proc", "/proc", "proc", 0, ""), "mount /proc");
    // A project that stands there stays visible.
    if (!std::string_view(PRIVATE_SIGNING_KEY).starts_with("/tmp/"))
        check(::mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID, "mode=1777"), "cover /tmp");
    std::exit(program());
}

} // namespace

int run_isolated(int (*program)())
{
    int ends[2] = {};
    check(::pipe2(ends, O_CLOEXEC), "pipe");
    check(::unshare(CLONE_NEWNS | CLONE_NEWPID), "no private namespaces, which need root");
    std::fflush(nullptr);
    const pid_t child = ::fork();
    check(child, "fork");
    if (child == 0) {
        ::close(ends[1]);
        be_first_process(ends[0], program);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
