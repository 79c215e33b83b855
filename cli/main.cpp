// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: the library's queries, checks and encodings on the command line.
#include "arguments.h"
#include "commands.h"
#include "output.h"

#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Output that does not reach its destination leaves the result unreported.
int flushed(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    print_error(std::string("standard output: ") + std::strerror(errno));
    return undetermined;
}

} // namespace

int main(int argc, char **argv)
{
    const bool has_output = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    redirect_stdio();
    std::signal(SIGCHLD, SIG_DFL); // ignored, it would hide how a tool ended
    try {
        if (!has_output)
            throw std::runtime_error("standard output is closed");
        std::setlocale(LC_ALL, "");
        return flushed(run(words(argv + std::min(argc, 1), argv + argc)));
    } catch (const std::bad_alloc &) {
        print_error("out of memory");
    } catch (const std::exception &error) {
        print_error(error.what());
    }
    return undetermined;
}
