// SPDX-License-Identifier: LGPL-2.1-or-later
#include "process.h"
#include "support/fatal.h"

#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int killed_by_abort = 128 + SIGABRT;

// How a process ends that prepares itself and then breaks a bound.
constructed_machine::program_result broken_bound(const std::function<void()> &prepare,
                                                 const char *what = "too long")
{
    return run_program({"true"}, [&prepare, what]() -> bool {
        const rlimit no_core = {0, 0};
        ::setrlimit(RLIMIT_CORE, &no_core);
        prepare();
        orvane::fatal_bounds_violation(what);
    });
}

const auto as_it_is = [] {};

} // namespace

TEST(fatal_bounds_violation, tells_what_in_one_line_and_aborts)
{
    const auto end = broken_bound(as_it_is);
    EXPECT_EQ(end.status, killed_by_abort);
    EXPECT_EQ(end.error, "liborvane: fatal: too long\n");
    EXPECT_EQ(end.output, "");
}

TEST(fatal_bounds_violation, takes_its_text_for_no_format)
{
    EXPECT_EQ(broken_bound(as_it_is, "100%s %n\xff").error, "liborvane: fatal: 100%s %n\xff\n");
}

TEST(fatal_bounds_violation, ends_a_process_that_ignores_the_signal)
{
    const auto end = broken_bound([] { std::signal(SIGABRT, SIG_IGN); });
    EXPECT_EQ(end.status, killed_by_abort);
}

TEST(fatal_bounds_violation, ends_a_process_that_blocks_the_signal)
{
    const auto end = broken_bound([] {
        sigset_t blocked = {};
        ::sigaddset(&blocked, SIGABRT);
        ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    });
    EXPECT_EQ(end.status, killed_by_abort);
}

TEST(fatal_bounds_violation, ends_a_process_whose_handler_returns)
{
    const auto end = broken_bound([] {
        std::signal(SIGABRT,
                    [](int) { static_cast<void>(!::write(STDERR_FILENO, "handled\n", 8)); });
    });
    EXPECT_EQ(end.status, killed_by_abort);
    EXPECT_EQ(end.error, "liborvane: fatal: too long\nhandled\n");
}

TEST(fatal_bounds_violation, ends_a_process_without_standard_error)
{
    const auto end = broken_bound([] { ::close(STDERR_FILENO); });
    EXPECT_EQ(end.status, killed_by_abort);
    EXPECT_EQ(end.error, "");
}

TEST(fatal_bounds_violation, ends_a_process_whose_standard_error_is_full)
{
    const auto end = broken_bound([] { ::dup2(::open("/dev/full", O_WRONLY), STDERR_FILENO); });
    EXPECT_EQ(end.status, killed_by_abort);
}
