// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The stamp of a trace line.
#include "interpose.h"
#include "orvane.h"
#include "trace_machine.h"

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

void set_time_zone(const char *zone)
{
    ::setenv("TZ", zone, 1);
    ::tzset();
}

} // namespace

using trace_stamp = trace_machine;

TEST_F(trace_stamp, is_date_time_and_milliseconds)
{
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:20.042");
}

TEST_F(trace_stamp, pads_every_field_with_zeros)
{
    set_clock(1704164645, {1704164645, 7000000});
    EXPECT_STREQ(time_string(), "2024-01-02 03:04:05.007");
}

TEST_F(trace_stamp, is_local_time_east_of_greenwich)
{
    set_time_zone("XYZ-05:30");
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-15 03:43:20.042");
}

TEST_F(trace_stamp, is_local_time_west_of_greenwich)
{
    set_time_zone("XYZ+08");
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-14 14:13:20.042");
}

TEST_F(trace_stamp, may_pair_the_old_minute_with_the_new_second)
{
    set_clock(1700000039, {1700000040, 250000000});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:00.250");
}

TEST_F(trace_stamp, counts_its_second_from_the_epoch_where_the_zone_is_half_a_minute_off)
{
    set_time_zone("XYZ-00:00:30");
    set_clock(november_14, {november_14, 0});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:20.000");
}

TEST_F(trace_stamp, reads_the_clock_twice_and_formats_the_first_reading)
{
    interpose::time = [this](time_t *) {
        calls.emplace_back("time");
        return november_14;
    };
    interpose::localtime_r = [this](const time_t *when, tm *parts) {
        calls.push_back("localtime_r " + std::to_string(*when));
        return interpose::localtime_r.real(when, parts);
    };
    interpose::clock_gettime = [this](clockid_t clock, timespec *now) {
        calls.emplace_back(clock == CLOCK_REALTIME ? "clock_gettime" : "another clock");
        return interpose::clock_gettime.real(clock, now);
    };
    interpose::strftime = [this](char *room, size_t size, const char *format, const tm *parts) {
        calls.push_back("strftime " + std::to_string(size) + " " + format);
        return interpose::strftime.real(room, size, format, parts);
    };
    time_string();
    EXPECT_EQ(calls, (texts{"time", "localtime_r 1700000000", "clock_gettime",
                            "strftime 49 %Y-%m-%d %H:%M"}));
}

TEST_F(trace_stamp, stands_in_the_same_place_every_time)
{
    set_clock(november_14, {november_14, 0});
    const char *const first = time_string();
    set_clock(november_14 + 1, {november_14 + 1, 0});
    EXPECT_EQ(time_string(), first);
    EXPECT_STREQ(first, "2023-11-14 22:13:21.000");
}

TEST_F(trace_stamp, has_room_for_a_year_of_ten_digits)
{
    set_clock(67767976201996800, {-59, 999999999});
    EXPECT_STREQ(time_string(), "2147483647-01-01 00:00:-59.999");
}

namespace {

struct second_case : named_case {
    timespec reading;
    const char *seconds;
};

class trace_stamp_seconds : public trace_machine,
                            public testing::WithParamInterface<second_case> {};

} // namespace

TEST_P(trace_stamp_seconds, come_from_the_remainder_and_whole_milliseconds)
{
    set_clock(0, GetParam().reading);
    EXPECT_EQ(time_string(), "1970-01-01 00:00:" + std::string(GetParam().seconds));
}

INSTANTIATE_TEST_SUITE_P(
    cut_not_rounded, trace_stamp_seconds,
    testing::Values(second_case{"no_time", {0, 0}, "00.000"},
                    second_case{"almost_a_millisecond", {0, 999999}, "00.000"},
                    second_case{"one_millisecond", {0, 1000000}, "00.001"},
                    second_case{"almost_two_milliseconds", {0, 1999999}, "00.001"},
                    second_case{"almost_a_second", {0, 999999999}, "00.999"},
                    second_case{"almost_a_minute", {59, 999999999}, "59.999"},
                    second_case{"one_minute", {60, 0}, "00.000"},
                    second_case{"just_over_a_minute", {61, 10000000}, "01.010"}));

INSTANTIATE_TEST_SUITE_P(
    signed_before_the_epoch, trace_stamp_seconds,
    testing::Values(second_case{"half_a_second_before", {-1, 500000000}, "-1.500"},
                    second_case{"almost_a_minute_before", {-59, 0}, "-59.000"},
                    second_case{"a_minute_before", {-60, 1000000}, "00.001"},
                    second_case{"over_a_minute_before", {-61, 0}, "-1.000"}));
