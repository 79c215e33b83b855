// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "support/guards.h"

#include <cerrno>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The result of one system call and the errno that it leaves.
struct result {
    std::int64_t value;
    int error;
};

struct calls_case : named_case {
    std::vector<result> results; // of the calls, one after the other
    std::size_t calls;           // that are made
};

class retried_call : public testing::TestWithParam<calls_case> {};

} // namespace

TEST_P(retried_call, is_made_until_it_is_not_interrupted)
{
    std::size_t made = 0;
    const std::int64_t value = orvane::retry_on_eintr([&made] {
        const result &now = GetParam().results.at(made++);
        errno = now.error;
        return now.value;
    });
    EXPECT_EQ(made, GetParam().calls);
    EXPECT_EQ(value, GetParam().results[made - 1].value);
    EXPECT_EQ(errno, GetParam().results[made - 1].error);
}

INSTANTIATE_TEST_SUITE_P(
    that, retried_call,
    testing::Values(
        calls_case{"succeeds", {{std::int64_t{1} << 40, 0}, {8, 0}}, 1},
        calls_case{"returns_nothing", {{0, 0}, {8, 0}}, 1},
        calls_case{"is_interrupted", {{-1, EINTR}, {7, 0}, {8, 0}}, 2},
        calls_case{
            "is_interrupted_often", {{-1, EINTR}, {-1, EINTR}, {-1, EINTR}, {0, 0}, {8, 0}}, 4},
        calls_case{"fails", {{-1, EIO}, {8, 0}}, 1},
        calls_case{"fails_after_an_interruption", {{-1, EINTR}, {-1, ECHILD}, {8, 0}}, 2},
        calls_case{"succeeds_with_an_old_errno", {{7, EINTR}, {8, 0}}, 1}));

TEST(errno_guard, restores_errno)
{
    errno = EIO;
    {
        const orvane::errno_guard guard;
        errno = ENOENT;
        guard.restore();
        EXPECT_EQ(errno, EIO);
        errno = ENOENT;
    }
    EXPECT_EQ(errno, EIO);
}
