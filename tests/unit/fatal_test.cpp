// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "process.h"
#include "support/fatal.h"

#include <csignal>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

struct process_case : named_case {
    void (*prepare)();
    const char *error;
};

constexpr char message[] = "liborvane: fatal: 100%s %n\xff\n";

class fatal_bounds_violation : public testing::TestWithParam<process_case> {};

} // namespace

TEST_P(fatal_bounds_violation, writes_one_line_and_aborts)
{
    const auto end = run_program({"true"}, []() -> bool {
        const rlimit no_core = {0, 0};
        ::setrlimit(RLIMIT_CORE, &no_core);
        GetParam().prepare();
        orvane::fatal_bounds_violation("100%s %n\xff");
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error, GetParam().error);
    EXPECT_EQ(end.output, "");
}

INSTANTIATE_TEST_SUITE_P(
    in_a_process, fatal_bounds_violation,
    testing::Values(
        process_case{"that_does_nothing_about_it", [] {}, message},
        process_case{"that_ignores_the_signal", [] { std::signal(SIGABRT, SIG_IGN); }, message},
        process_case{"that_blocks_the_signal",
                     [] {
                         sigset_t blocked = {};
                         ::sigaddset(&blocked, SIGABRT);
                         ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
                     },
                     message},
        process_case{"whose_handler_returns", [] { std::signal(SIGABRT, [](int) {}); }, message},
        process_case{"without_standard_error", [] { ::close(STDERR_FILENO); }, ""},
        process_case{"whose_standard_error_is_full",
                     [] { ::dup2(::open("/dev/full", O_WRONLY), STDERR_FILENO); }, ""}));
