// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "process.h"

#include <cstdio>
#include <functional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

// What the action prints on both standard streams, in the order in which it reaches them.
inline std::string printed_by(const std::function<void()> &action)
{
    const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    const std::string printed = standard_error_of([&action, output] {
        std::fflush(stdout);
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        action();
        std::fflush(stdout);
        ::dup2(output, STDOUT_FILENO);
    });
    ::close(output);
    return printed;
}

// What the action prints on standard output, whoever prints it.
inline std::string standard_output_of(const std::function<void()> &action)
{
    const int error = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    const std::string printed = printed_by([&action, error] {
        ::dup2(error, STDERR_FILENO);
        action();
    });
    ::close(error);
    return printed;
}
