// SPDX-License-Identifier: LGPL-2.1-or-later
#include "commands.h"

#include <cstdio>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int status_of(std::vector<char *> &arguments)
{
    pid_t child = 0;
    if (::posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0)
        return -1;
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

} // namespace

void run_each_time(benchmark::State &state, std::vector<std::string> command)
{
    std::vector<char *> arguments;
    for (std::string &argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);

    const silent_output silence;
    for ([[maybe_unused]] auto _ : state) {
        if (status_of(arguments) != 0)
            state.SkipWithError((command.front() + " fails").c_str());
    }
}

silent_output::silent_output()
{
    std::fflush(stdout);
    kept_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::close(nowhere);
}

silent_output::~silent_output()
{
    std::fflush(stdout);
    ::dup2(kept_, STDOUT_FILENO);
    ::close(kept_);
}
