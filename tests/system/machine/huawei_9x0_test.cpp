// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace {

constexpr char cpuinfo[] = "/proc/cpuinfo";

class huawei_9x0 : public on_machine {
protected:
    int answer_for(std::string_view report)
    {
        machine.file(cpuinfo, report);
        return is_huawei_9x0();
    }
};

std::string filler(std::size_t bytes)
{
    return std::string(bytes, 'x');
}

struct report : named_case {
    std::string text;
    int answer;
};

const report reports[] = {
    {"of_kirin_990", "Hardware\t: HUAWEI Kirin 990\n", 1},
    {"of_kirin_9006c", "Hardware\t:Kirin 9006C\n", 1},
    {"of_kirin_9a0", "Hardware\t: Kirin 9A0\n", 1},
    {"of_kirin_980", "Hardware\t: HUAWEI Kirin 980\n", 0},
    {"of_kirin_9000", "Hardware\t: Kirin 9000\n", 0},
    {"of_kirin_9006", "Hardware\t: Kirin 9006\n", 0},
    {"of_kirin_9a", "Hardware\t: Kirin 9A\n", 0},
    {"of_kirin_99", "Hardware\t: Kirin 99\n", 0},
    {"of_990_alone", "Hardware\t: 990\n", 0},
    {"of_no_processor", "Hardware\t:\n", 0},
    {"of_nothing", "", 0},

    // The name of the processor.
    {"without_blanks", "Hardware:kirin990\n", 1},
    {"in_capitals", "HARDWARE\t: KIRIN 9006C\n", 1},
    {"in_small_letters", "hardware\t: kirin 9a0\n", 1},
    {"with_tabs", "Hardware\t:\tKirin\t9\t9\t0\n", 1},
    {"with_blanks_between_all_letters", "H a r d w a r e : K i r i n 9 0 0 6 C\n", 1},
    {"with_more_behind_the_name", "Hardware: Kirin 990E 5G\n", 1},
    {"with_a_letter_before_the_name", "Hardware: xKirin9A0\n", 1},
    {"beside_bytes_beyond_ascii", "Hardware: \xe5\x8d\x8e Kirin990 \xff\n", 1},
    {"behind_another_name", "Hardware: Kirin 980, Kirin 990\n", 1},
    {"behind_the_start_of_the_name", "Hardware: kirinkirin990\n", 1},
    {"without_a_final_newline", "Hardware\t: Kirin 990", 1},
    {"before_a_carriage_return", "Hardware\t: Kirin 990\r\n", 1},
    {"with_a_dash", "Hardware: Kirin-990\n", 0},
    {"with_a_no_break_space",
     "Hardware: Kirin\xc2\xa0"
     "990\n",
     0},
    {"with_a_form_feed", "Hardware: Kirin\f990\n", 0},
    {"with_a_carriage_return", "Hardware: Kirin\r990\n", 0},
    {"with_a_newline", "Hardware: Kirin\n990\n", 0},

    // The label of the line.
    {"behind_blanks_and_tabs", " \t Hardware: Kirin 990\n", 1},
    {"with_a_longer_label", "Hardware Version: Kirin 990\n", 1},
    {"with_a_longer_word_as_label", "Hardwares: Kirin 990\n", 1},
    {"without_a_colon", "Hardware Kirin 990\n", 1},
    {"with_the_processor_in_the_label", "HardwareKirin990: yes\n", 1},
    {"in_the_last_line", "processor\t: 0\nmodel name\t: ARMv8\n\nHardware\t: Kirin 990\n", 1},
    {"behind_a_line_without_a_processor", "Hardware: other\nHardware: Kirin 9A0\n", 1},
    {"before_a_line_without_a_processor", "Hardware: Kirin 9A0\nHardware: other\n", 1},
    {"behind_empty_lines", "\n\n \n\t\nHardware: Kirin 9A0\n", 1},
    {"without_the_label", "processor\t: 0\nmodel name\t: ARMv8\n\n", 0},
    {"of_a_model", "Hardware\t: other\nmodel name\t: HUAWEI Kirin 990\n", 0},
    {"with_the_label_inside", "The Hardware: Kirin 990\n", 0},
    {"with_a_shorter_label", "Hardwar: Kirin 990\n", 0},
    {"with_another_spelling", "Hard-ware: Kirin 990\n", 0},
    {"behind_a_carriage_return", "\rHardware: Kirin 990\n", 0},
    {"on_the_line_behind", "Hardware\t:\nKirin 990\n", 0},
    {"on_the_line_before", "Kirin 990\nHardware\t:\n", 0},

    // Zero bytes end a line early, and only that line.
    {"with_a_zero_byte_behind_the_name", {"Hardware: Kirin 990\0x\n", 22}, 1},
    {"with_a_zero_byte_in_the_line_before", {"Hardware\0x\nHardware: Kirin 990\n", 31}, 1},
    {"with_a_zero_byte_before_the_label", {"\0Hardware: Kirin 990\n", 21}, 0},
    {"with_a_zero_byte_behind_the_label", {"Hardware:\0Kirin 990\n", 20}, 0},
    {"with_a_zero_byte_in_the_name", {"Hardware: Kirin\0990\n", 20}, 0},

    // Lines are read in pieces of at most 1023 bytes, blanks included.
    {"that_ends_at_the_bound", "Hardware:" + filler(1006) + "kirin990\n", 1},
    {"that_the_bound_cuts", "Hardware:" + filler(1007) + "kirin990\n", 0},
    {"of_blanks_that_ends_at_the_bound", "Hardware:" + std::string(1006, ' ') + "kirin990\n", 1},
    {"of_blanks_that_the_bound_cuts", "Hardware:" + std::string(1007, ' ') + "kirin990\n", 0},
    {"at_the_start_of_5000_bytes", "Hardware: Kirin 990" + filler(5000) + "\n", 1},
    {"at_the_end_of_5000_bytes", "Hardware:" + filler(5000) + "kirin990\n", 0},
    {"behind_1022_bytes", filler(1022) + "Hardware: Kirin 990\n", 0},
    {"behind_1023_bytes", filler(1023) + "Hardware: Kirin 990\n", 1},
    {"behind_2046_bytes", filler(2046) + "Hardware: Kirin 990\n", 1},
    {"behind_a_megabyte_of_lines", std::string(1024 * 1024, '\n') + "Hardware: Kirin 990\n", 1},
};

class huawei_9x0_by_a_report : public huawei_9x0, public testing::WithParamInterface<report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, huawei_9x0_by_a_report, testing::ValuesIn(reports));

TEST_P(huawei_9x0_by_a_report, is_known_by_the_processor_on_a_hardware_line)
{
    EXPECT_EQ(answer_for(GetParam().text), GetParam().answer);
}

TEST_F(huawei_9x0, is_not_known_without_a_readable_report)
{
    EXPECT_EQ(is_huawei_9x0(), 0);
    machine.directory(cpuinfo);
    EXPECT_EQ(is_huawei_9x0(), 0);
    machine.file(cpuinfo, "Hardware: Kirin 990\n", 0400);
    const other_user user;
    EXPECT_EQ(is_huawei_9x0(), 0);
}

TEST_F(huawei_9x0, is_looked_up_afresh_on_every_call_and_in_silence)
{
    EXPECT_EQ(standard_error_of([this] {
                  EXPECT_EQ(answer_for("Hardware: Kirin 990\n"), 1);
                  EXPECT_EQ(answer_for("Hardware: other\n"), 0);
              }),
              "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(huawei_9x0, is_known_by_the_exported_text_functions)
{
    interpose::toLowerCase = [](char *) {};
    EXPECT_EQ(answer_for("Hardware: Kirin990\n"), 0);
    EXPECT_EQ(answer_for("Hardware: kirin 990\n"), 1);
    interpose::removeSpacesTabs = [](char *) {};
    EXPECT_EQ(answer_for("Hardware: kirin 990\n"), 0);
}
