// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/guards.h"

#include <cerrno>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/types.h>

namespace {

// What one system call comes to: its result, and the errno that it sets or leaves.
struct step {
    long result;
    int error;
};

// System calls that come to these steps one after the other.
class stepped_calls {
public:
    explicit stepped_calls(std::vector<step> steps) : steps_(std::move(steps)) {}

    long next()
    {
        const step now = steps_.at(made_++);
        errno = now.error;
        return now.result;
    }

    [[nodiscard]] std::size_t made() const { return made_; }

private:
    std::vector<step> steps_;
    std::size_t made_ = 0;
};

struct outcome {
    long result;
    std::size_t made;
    bool operator==(const outcome &) const = default;
};

outcome of(std::vector<step> steps)
{
    stepped_calls calls(std::move(steps));
    const long result = orvane::retry_on_eintr([&calls] { return calls.next(); });
    return {result, calls.made()};
}

} // namespace

TEST(uninterrupted_call, is_made_once_when_it_succeeds)
{
    EXPECT_EQ(of({{7, 0}, {8, 0}}), (outcome{7, 1}));
}

TEST(uninterrupted_call, is_made_once_when_it_comes_to_nothing)
{
    EXPECT_EQ(of({{0, 0}, {8, 0}}), (outcome{0, 1}));
}

TEST(uninterrupted_call, is_repeated_after_a_signal)
{
    EXPECT_EQ(of({{-1, EINTR}, {7, 0}, {8, 0}}), (outcome{7, 2}));
}

TEST(uninterrupted_call, is_repeated_after_every_signal)
{
    EXPECT_EQ(of({{-1, EINTR}, {-1, EINTR}, {-1, EINTR}, {0, 0}, {8, 0}}), (outcome{0, 4}));
}

TEST(uninterrupted_call, fails_for_any_other_reason)
{
    for (const int reason : {EIO, EAGAIN, ECHILD, EBADF}) {
        EXPECT_EQ(of({{-1, reason}, {8, 0}}), (outcome{-1, 1})) << reason;
        EXPECT_EQ(errno, reason);
    }
}

TEST(uninterrupted_call, fails_after_a_signal_for_the_reason_that_came_then)
{
    EXPECT_EQ(of({{-1, EINTR}, {-1, EIO}, {8, 0}}), (outcome{-1, 2}));
    EXPECT_EQ(errno, EIO);
}

TEST(uninterrupted_call, succeeds_with_a_signal_of_long_ago_in_errno)
{
    EXPECT_EQ(of({{7, EINTR}, {8, 0}}), (outcome{7, 1}));
    EXPECT_EQ(of({{0, EINTR}, {8, 0}}), (outcome{0, 1}));
}

TEST(uninterrupted_call, gives_the_result_in_its_own_type)
{
    EXPECT_TRUE(
        (std::is_same_v<decltype(orvane::retry_on_eintr([] { return ssize_t{1}; })), ssize_t>));
    EXPECT_TRUE((std::is_same_v<decltype(orvane::retry_on_eintr([] { return pid_t{1}; })), pid_t>));
    EXPECT_EQ(orvane::retry_on_eintr([] { return ssize_t{1} << 40; }), ssize_t{1} << 40);
}
