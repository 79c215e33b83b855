// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"
#include "recorded_calls.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace {

constexpr char cpuinfo[] = "/proc/cpuinfo";

class huawei_9x0 : public on_machine {
protected:
    [[nodiscard]] int answer_for(std::string_view report)
    {
        machine.file(cpuinfo, report);
        return is_huawei_9x0();
    }
};

struct processor_report : named_case {
    std::string_view text;
};

class kirin_report : public huawei_9x0, public testing::WithParamInterface<processor_report> {};
class other_report : public huawei_9x0, public testing::WithParamInterface<processor_report> {};

using report = processor_report;

// The rest of a long line.
std::string filler(std::size_t bytes)
{
    return std::string(bytes, 'x');
}

} // namespace

TEST_P(kirin_report, is_recognised)
{
    EXPECT_EQ(answer_for(GetParam().text), 1);
}

TEST_P(other_report, is_not_recognised)
{
    EXPECT_EQ(answer_for(GetParam().text), 0);
}

// The name of the processor.

INSTANTIATE_TEST_SUITE_P(
    processor, kirin_report,
    testing::Values(report{"kirin_990", "Hardware\t: HUAWEI Kirin 990\n"},
                    report{"kirin_9006c", "Hardware\t:Kirin 9006C\n"},
                    report{"kirin_9a0", "Hardware\t: Kirin 9A0\n"},
                    report{"without_blanks", "Hardware:kirin990\n"},
                    report{"in_capitals", "HARDWARE\t: KIRIN 9006C\n"},
                    report{"in_small_letters", "hardware\t: kirin 9a0\n"},
                    report{"in_mixed_case", "hArDwArE: kIrIn 9A0\n"},
                    report{"with_tabs", "Hardware\t:\tKirin\t9\t9\t0\n"},
                    report{"with_blanks_between_all_letters",
                           "H a r d w a r e : K i r i n 9 0 0 6 C\n"},
                    report{"with_more_behind_it", "Hardware: Kirin 990 5G\n"},
                    report{"with_a_letter_behind_it", "Hardware: Kirin 990E\n"},
                    report{"with_a_letter_before_it", "Hardware: xKirin9A0\n"},
                    report{"beside_bytes_beyond_ascii", "Hardware: \xe5\x8d\x8e Kirin990 \xff\n"},
                    report{"behind_another_name", "Hardware: Kirin 980, Kirin 990\n"},
                    report{"behind_its_own_start", "Hardware: kirinkirin990\n"},
                    report{"without_a_final_newline", "Hardware\t: Kirin 990"},
                    report{"before_a_carriage_return", "Hardware\t: Kirin 990\r\n"}));

INSTANTIATE_TEST_SUITE_P(processor, other_report,
                         testing::Values(report{"kirin_980", "Hardware\t: HUAWEI Kirin 980\n"},
                                         report{"kirin_9000", "Hardware\t: Kirin 9000\n"},
                                         report{"kirin_9006", "Hardware\t: Kirin 9006\n"},
                                         report{"kirin_9a", "Hardware\t: Kirin 9A\n"},
                                         report{"kirin_99", "Hardware\t: Kirin 99\n"},
                                         report{"without_the_maker", "Hardware\t: 990\n"},
                                         report{"none", "Hardware\t:\n"},
                                         report{"with_a_dash", "Hardware: Kirin-990\n"},
                                         report{"with_a_no_break_space", "Hardware: Kirin\xc2\xa0"
                                                                         "990\n"},
                                         report{"with_a_form_feed", "Hardware: Kirin\f990\n"},
                                         report{"with_a_carriage_return", "Hardware: Kirin\r990\n"},
                                         report{"with_a_newline", "Hardware: Kirin\n990\n"}));

// The label of the line.

INSTANTIATE_TEST_SUITE_P(
    label, kirin_report,
    testing::Values(
        report{"behind_blanks_and_tabs", " \t Hardware: Kirin 990\n"},
        report{"that_goes_on", "Hardware Version: Kirin 990\n"},
        report{"without_a_colon", "Hardware Kirin 990\n"},
        report{"behind_the_processor", "HardwareKirin990: yes\n"},
        report{"that_is_a_longer_word", "Hardwares: Kirin 990\n"},
        report{"in_the_last_line", "processor\t: 0\nmodel name\t: ARMv8\n\n"
                                   "Hardware\t: Kirin 990\n"},
        report{"behind_a_line_without_a_processor", "Hardware: other\nHardware: Kirin 9A0\n"},
        report{"before_a_line_without_a_processor", "Hardware: Kirin 9A0\nHardware: other\n"},
        report{"behind_empty_lines", "\n\n \n\t\nHardware: Kirin 9A0\n"}));

INSTANTIATE_TEST_SUITE_P(
    label, other_report,
    testing::Values(report{"missing", "processor\t: 0\nmodel name\t: ARMv8\n\n"},
                    report{"of_a_model", "model name\t: HUAWEI Kirin 990\n"},
                    report{"not_at_the_start", "The Hardware: Kirin 990\n"},
                    report{"without_its_last_letter", "Hardwar: Kirin 990\n"},
                    report{"of_another_spelling", "Hard-ware: Kirin 990\n"},
                    report{"behind_a_carriage_return", "\rHardware: Kirin 990\n"},
                    report{"behind_a_colon", ": Hardware: Kirin 990\n"},
                    report{"on_the_line_before", "Hardware\t:\nKirin 990\n"},
                    report{"on_the_line_behind", "Kirin 990\nHardware\t:\n"},
                    report{"on_a_line_of_its_own_beside_a_model",
                           "Hardware\t: other\nmodel name\t: Kirin 990\n"}));

// Zero bytes end a line early, and only that line.

INSTANTIATE_TEST_SUITE_P(
    zero_byte, kirin_report,
    testing::Values(report{"behind_the_name", {"Hardware: Kirin 990\0x\n", 22}},
                    report{"in_the_line_before", {"Hardware\0x\nHardware: Kirin 990\n", 31}}));

INSTANTIATE_TEST_SUITE_P(
    zero_byte, other_report,
    testing::Values(report{"before_the_label", {"\0Hardware: Kirin 990\n", 21}},
                    report{"between_label_and_name", {"Hardware:\0Kirin 990\n", 20}},
                    report{"in_the_name", {"Hardware: Kirin\0990\n", 20}}));

// Lines are read in pieces of at most 1023 bytes, blanks included.

TEST_F(huawei_9x0, recognises_a_name_that_ends_before_the_bound)
{
    EXPECT_EQ(answer_for("Hardware:" + filler(1005) + "kirin990\n"), 1); // 1022 bytes
}

TEST_F(huawei_9x0, recognises_a_name_that_ends_at_the_bound)
{
    EXPECT_EQ(answer_for("Hardware:" + filler(1006) + "kirin990\n"), 1); // 1023 bytes
}

TEST_F(huawei_9x0, does_not_recognise_a_name_that_the_bound_cuts)
{
    EXPECT_EQ(answer_for("Hardware:" + filler(1007) + "kirin990\n"), 0); // 1024 bytes
}

TEST_F(huawei_9x0, counts_the_blanks_of_a_line)
{
    EXPECT_EQ(answer_for("Hardware:" + std::string(1006, ' ') + "kirin990\n"), 1);
    EXPECT_EQ(answer_for("Hardware:" + std::string(1007, ' ') + "kirin990\n"), 0);
}

TEST_F(huawei_9x0, recognises_a_name_at_the_start_of_5000_bytes)
{
    EXPECT_EQ(answer_for("Hardware: Kirin 990" + filler(5000) + "\n"), 1);
}

TEST_F(huawei_9x0, does_not_recognise_a_name_at_the_end_of_5000_bytes)
{
    EXPECT_EQ(answer_for("Hardware:" + filler(5000) + "kirin990\n"), 0);
}

TEST_F(huawei_9x0, takes_the_rest_of_a_line_of_1023_bytes_for_a_line)
{
    EXPECT_EQ(answer_for(filler(1023) + "Hardware: Kirin 990\n"), 1);
    EXPECT_EQ(answer_for(filler(2046) + "Hardware: Kirin 990\n"), 1);
}

TEST_F(huawei_9x0, does_not_find_a_label_inside_a_piece_of_a_line)
{
    EXPECT_EQ(answer_for(filler(1022) + "Hardware: Kirin 990\n"), 0);
    EXPECT_EQ(answer_for(filler(1024) + "Hardware: Kirin 990\n"), 0);
}

TEST_F(huawei_9x0, finds_the_line_behind_a_megabyte_of_others)
{
    std::string text;
    while (text.size() < 1024 * 1024)
        text += "processor\t: 0\n";
    EXPECT_EQ(answer_for(text + "Hardware\t: Kirin 990\n"), 1);
}

// The file.

TEST_F(huawei_9x0, says_no_where_the_file_is_missing)
{
    EXPECT_EQ(is_huawei_9x0(), 0);
}

TEST_F(huawei_9x0, says_no_where_the_file_is_empty)
{
    EXPECT_EQ(answer_for(""), 0);
}

TEST_F(huawei_9x0, says_no_where_the_file_is_a_directory)
{
    machine.directory(cpuinfo);
    EXPECT_EQ(is_huawei_9x0(), 0);
}

TEST_F(huawei_9x0, says_no_where_the_file_cannot_be_read)
{
    machine.file(cpuinfo, "Hardware: Kirin 990\n", 0400);
    const other_user user;
    EXPECT_EQ(is_huawei_9x0(), 0);
}

TEST_F(huawei_9x0, asks_afresh_on_every_call)
{
    EXPECT_EQ(answer_for("Hardware: Kirin 990\n"), 1);
    EXPECT_EQ(answer_for("Hardware: other\n"), 0);
    EXPECT_EQ(answer_for("Hardware: Kirin 9A0\n"), 1);
}

TEST_F(huawei_9x0, writes_nothing)
{
    machine.file(cpuinfo, "Hardware: Kirin 990\n");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(is_huawei_9x0(), 1); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

// The calls, and that the file is closed at every end.

TEST_F(huawei_9x0, closes_the_file_at_the_line_that_names_the_processor)
{
    machine.file(cpuinfo, "processor: 0\nHardware: Kirin 990\nFeatures: none\n");
    const recorded_calls calls;
    EXPECT_EQ(is_huawei_9x0(), 1);
    EXPECT_EQ(calls.made(), (texts{"fopen /proc/cpuinfo r", "fgets 1024", "fgets 1024", "fclose"}));
}

TEST_F(huawei_9x0, closes_the_file_at_its_end)
{
    machine.file(cpuinfo, "processor: 0\nHardware: other\n");
    const recorded_calls calls;
    EXPECT_EQ(is_huawei_9x0(), 0);
    EXPECT_EQ(calls.made(),
              (texts{"fopen /proc/cpuinfo r", "fgets 1024", "fgets 1024", "fgets 1024", "fclose"}));
}

TEST_F(huawei_9x0, closes_a_file_that_cannot_be_read)
{
    machine.directory(cpuinfo);
    const recorded_calls calls;
    EXPECT_EQ(is_huawei_9x0(), 0);
    EXPECT_EQ(calls.made(), (texts{"fopen /proc/cpuinfo r", "fgets 1024", "fclose"}));
}

TEST_F(huawei_9x0, asks_nothing_more_where_the_file_is_missing)
{
    const recorded_calls calls;
    EXPECT_EQ(is_huawei_9x0(), 0);
    EXPECT_EQ(calls.made(), (texts{"fopen /proc/cpuinfo r"}));
}

TEST_F(huawei_9x0, needs_no_memory_of_its_own)
{
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(answer_for("Hardware: Kirin 990\n"), 1);
}

TEST_F(huawei_9x0, lowers_each_line_before_it_takes_the_blanks_out)
{
    texts steps;
    interpose::toLowerCase = [&steps](char *text) {
        steps.push_back("lower " + std::string(text));
        interpose::toLowerCase.real(text);
    };
    interpose::removeSpacesTabs = [&steps](char *text) {
        steps.push_back("take blanks out of " + std::string(text));
        interpose::removeSpacesTabs.real(text);
    };
    EXPECT_EQ(answer_for("CPU part: 0xD0B\nHardware\t: Kirin 990\n"), 1);
    EXPECT_EQ(steps, (texts{"lower CPU part: 0xD0B\n", "take blanks out of cpu part: 0xd0b\n",
                            "lower Hardware\t: Kirin 990\n",
                            "take blanks out of hardware\t: kirin 990\n"}));
}

TEST_F(huawei_9x0, is_the_same_in_a_turkish_locale)
{
    interpose::tolower = [](int character) {
        return character == 'I' ? 0xfd : interpose::tolower.real(character);
    };
    EXPECT_EQ(answer_for("HARDWARE: KIRIN 990\n"), 1);
}
