// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a call must not leave behind, done on purpose: the tests of the proofs see that each is
// noticed.
#pragma once

#include "cases.h"

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

struct misdeed : named_case {
    void (*action)();
    std::string complaint; // what is in it

    // What hangs is not to be waited for; what is slow on a busy machine does not hang.
    [[nodiscard]] std::chrono::seconds seconds_to_wait() const
    {
        return std::chrono::seconds(complaint == "it hangs" ? 2 : 60);
    }
};

// Changes of the process that made the call.
inline std::vector<misdeed> misdeeds_of_any_call()
{
    return {
        {"an_open_descriptor", [] { ::open("/dev/null", O_RDONLY); }, "is left open"},
        {"a_closed_descriptor", [] { ::close(STDIN_FILENO); }, "descriptor 0 is closed"},
        {"a_descriptor_of_another_file",
         [] {
             const int other = ::open("/", O_RDONLY);
             ::dup2(other, STDIN_FILENO);
             ::close(other);
         },
         "descriptor 0 is of another file"},
        {"a_child_that_nobody_waits_for",
         [] {
             if (::fork() == 0)
                 ::_exit(0);
         },
         "a child is left"},
        {"a_child_that_goes_on",
         [] {
             if (::fork() == 0)
                 ::pause();
         },
         "a child is left"},
        {"a_changed_signal_mask",
         [] {
             sigset_t mask = {};
             ::sigaddset(&mask, SIGUSR1);
             ::sigprocmask(SIG_BLOCK, &mask, nullptr);
         },
         "another signal mask"},
        {"a_changed_disposition", [] { std::signal(SIGCHLD, SIG_IGN); },
         "another disposition of signal 17"},
        {"another_working_directory", [] { std::filesystem::current_path("/dev"); },
         "another working directory"},
        {"another_umask", [] { ::umask(077); }, "another umask"},
        {"a_changed_environment", [] { ::setenv("TZ", "CET", 1); }, "another environment"},
        {"another_locale", [] { std::setlocale(LC_ALL, "C.UTF-8"); }, "another locale"},
        {"an_abort", [] { std::abort(); }, "ended by Aborted"},
        {"an_exit", [] { ::_exit(3); }, "status 3"},
        {"an_exception", [] { throw std::runtime_error("on purpose"); }, "on purpose"},
        {"a_hang", [] { ::pause(); }, "it hangs"},
    };
}
