// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Each case has to fail in the build that is for its fault: CMakeLists.txt says which, and what has
// to be reported.
#include "planted_faults.h"

#include <climits>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

TEST(planted, leak)
{
    planted_leak();
}

TEST(planted, slice_leak)
{
    planted_slice_leak();
}

TEST(planted, overflow)
{
    const std::unique_ptr<char[]> buffer(new char[24]);
    planted_overflow(buffer.get(), 24);
}

TEST(planted, race)
{
    // ThreadSanitizer may miss one pair of accesses.
    const auto race_often = [] {
        for (int i = 0; i < 1000; ++i)
            planted_race();
    };
    std::thread other(race_often);
    race_often();
    other.join();
}

TEST(planted, signed_overflow)
{
    EXPECT_NE(planted_signed_overflow(INT_MAX), 0);
}
