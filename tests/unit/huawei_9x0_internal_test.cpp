// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "machine/huawei_9x0.h"
#include "stepped_stream.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The steps in which a processor report is read.
struct read_report : named_case {
    std::vector<read_step> steps;
    bool names_it;
    std::size_t steps_left = 0;
};

class processor_report_read : public testing::TestWithParam<read_report> {};

const read_report read_reports[] = {
    {"in_one", {{"processor: 0\nHardware: Kirin 990\n"}}, true},
    {"in_two_within_a_line", {{"Hardware: Kir"}, {"in 990\n"}}, true},
    {"byte_by_byte",
     {{"H"}, {"a"}, {"r"}, {"d"}, {"w"}, {"a"}, {"r"}, {"e"}, {":"}, {"kirin990"}, {"\n"}},
     true},
    {"in_nothing", {}, false},
    {"broken_off_before_it", {broken_off, {"Hardware: Kirin 990\n"}}, true},
    {"broken_off_within_the_label", {{"Hard"}, broken_off, {"ware: Kirin 990\n"}}, true},
    {"broken_off_within_the_name", {{"Hardware: Kir"}, broken_off, {"in 990\n"}}, true},
    {"broken_off_twice", {{"Hardware: "}, broken_off, broken_off, {"Kirin 990\n"}}, true},
    {"broken_off_between_lines", {{"cpu: 0\n"}, broken_off, {"Hardware: Kirin 990\n"}}, true},
    {"broken_off_at_the_end", {{"Hardware: Kirin 990"}, broken_off}, true},
    {"failing_at_once", {failed, {"Hardware: Kirin 990\n"}}, false, 1},
    {"failing_before_the_line", {{"cpu: 0\n"}, failed, {"Hardware: Kirin 990\n"}}, false, 1},
    {"failing_within_the_line", {{"Hardware: Kirin 990"}, failed, {"\n"}}, false, 1},
    {"no_further_than_the_line", {{"Hardware: Kirin 990\n"}, {"Features: fp\n"}}, true, 1},
    {"to_the_end_for_another", {{"Hardware: other\n"}, {"Features: fp\n"}}, false},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(huawei, processor_report_read, testing::ValuesIn(read_reports));

TEST_P(processor_report_read, is_read_as_far_as_needed)
{
    const stepped_stream cpuinfo(GetParam().steps);
    EXPECT_EQ(orvane::names_kirin_9x0(cpuinfo.get()), GetParam().names_it);
    EXPECT_EQ(cpuinfo.steps_left(), GetParam().steps_left);
}
