// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "disk/smartctl.h"
#include "report.h"

#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

struct fields {
    std::string model;
    std::string serial;
    bool operator==(const fields &) const = default;
};

std::ostream &operator<<(std::ostream &stream, const fields &fields)
{
    return stream << "model '" << fields.model << "' and serial number '" << fields.serial << "'";
}

fields read(std::string_view report)
{
    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    orvane::read_smartctl_report(report_of(report).get(), model, serial);
    return {model.c_str(), serial.c_str()};
}

struct report_case : named_case {
    std::string report;
    fields expected;
};

class smartctl_report : public testing::TestWithParam<report_case> {};

} // namespace

TEST_P(smartctl_report, has_a_model_and_a_serial_number)
{
    EXPECT_EQ(read(GetParam().report), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    with_a_line, smartctl_report,
    testing::Values(report_case{"product", "product: A\n", {"A", ""}},
                    report_case{"product_with_a_capital", "Product: A\n", {"A", ""}},
                    report_case{"device_model", "Device Model: A\n", {"A", ""}},
                    report_case{"model_number", "Model Number: A\n", {"A", ""}},
                    report_case{"model_family", "Model Family: A\n", {"A", ""}},
                    report_case{"model_inside_a_word", "xyModelled: A\n", {"A", ""}},
                    report_case{"model_in_other_cases", "device model: A\nMODEL: A\n", {}},
                    report_case{"product_in_capitals", "PRODUCT: A\n", {}},
                    report_case{"serial_number_in_capitals", "Serial Number: A\n", {"", "A"}},
                    report_case{"serial_number_with_a_capital", "Serial number: A\n", {"", "A"}},
                    report_case{"serial_number", "serial number: A\n", {"", "A"}},
                    report_case{"serial", "serial: A\n", {"", "A"}},
                    report_case{"serial_inside_a_word", "serialised: A\n", {"", "A"}},
                    report_case{"serial_with_a_capital", "Serial: A\nSerial No: A\n", {}},
                    report_case{"serial_number_in_other_forms",
                                "SERIAL NUMBER: A\nSerial  Number: A\nSerialNumber: A\n",
                                {}},
                    report_case{"others", "Firmware Version: 1\nRotation Rate: 5400 rpm\n", {}}));

INSTANTIATE_TEST_SUITE_P(
    with_lines, smartctl_report,
    testing::Values(
        report_case{"family_before_model", "Model Family: F\nDevice Model: D\n", {"D", ""}},
        report_case{"model_before_family", "Device Model: D\nModel Family: F\n", {"F", ""}},
        report_case{"serial_before_model", "Serial number: S\nProduct: P\n", {"P", "S"}},
        report_case{"a_shorter_value_last",
                    "Product: a longer one\nProduct: P\nserial: 123456\nserial: 7\n",
                    {"P", "7"}},
        report_case{"an_empty_value_last", "Product: P\nProduct:  \nserial: S\nserial:\n", {}},
        report_case{"a_word_alone_last", "Product: P\nProduct\nserial: S\nserial\n", {"P", "S"}}));

INSTANTIATE_TEST_SUITE_P(
    with_fields, smartctl_report,
    testing::Values(
        report_case{"several", "Model Number: A:B\nSerial Number: A:B:C\n", {"B", "C"}},
        report_case{"an_empty_one_last", "Model: A:\nserial: A:\n", {}},
        report_case{"runs_of_colons", "Model::: A\nserial:: B\n", {"A", "B"}},
        report_case{"a_colon_first", ": Model: A\n: serial: B\n", {"A", "B"}},
        report_case{"the_value_first", "A: Model\nB: serial\n", {"A", "B"}},
        report_case{"no_colon", "Model A\nserial B\n", {}},
        report_case{
            "a_word_between", "Product: 5: Model: 7\nserial: 6: Serial Number: 8\n", {"7", "8"}},
        report_case{"a_word_in_the_value", "Device Model: Productive 5\nserial: serial 6\n", {}}));

// A line for the model is split before it is searched for the serial number.
INSTANTIATE_TEST_SUITE_P(
    with_both_words_in_a_line, smartctl_report,
    testing::Values(
        report_case{
            "serial_in_the_value_of_the_model", "Device Model: a serial one\n", {"aserialone", ""}},
        report_case{"serial_behind_the_model", "Model: A: serial: B\n", {"B", ""}},
        report_case{"serial_before_the_model", "Serial Number: A Model: B\n", {"B", ""}},
        report_case{"model_in_the_serial_number", "serial: S\nserial: Model7\n", {"serial", "S"}}));

INSTANTIATE_TEST_SUITE_P(
    with_a_value, smartctl_report,
    testing::Values(
        report_case{"with_blanks", "Product:   A  B C \nserial:  1 2  \n", {"ABC", "12"}},
        report_case{"with_other_white_space",
                    "Product:\tA\v\r\nserial: \f1\t2\r\n",
                    {"\tA\v\r", "\f1\t2\r"}},
        report_case{"with_percent_signs", "Product: %s%n%d\nserial: %5c%%\n", {"%s%n%d", "%5c%%"}},
        report_case{"beyond_ascii", "Product: \xe9\xff\nserial: \x80\n", {"\xe9\xff", "\x80"}},
        report_case{"with_a_zero_byte", "Product: A\0B\nserial: 1\0002\n"s, {"A", "1"}},
        report_case{"without_a_line_end", "Product: A\nserial: 1", {"A", "1"}},
        report_case{"of_510_bytes",
                    "Product:" + std::string(510, 'm') + "\nserial:" + std::string(510, 's') + "\n",
                    {std::string(510, 'm'), std::string(510, 's')}},
        report_case{"of_511_bytes",
                    "Product:" + std::string(511, 'm') + "\nserial:" + std::string(511, 's') + "\n",
                    {std::string(510, 'm'), std::string(510, 's')}},
        report_case{"of_510_bytes_behind_four_blanks",
                    "Product:    " + std::string(510, 'm') + "\n",
                    {std::string(506, 'm'), ""}}));

// A line that exceeds the buffer is read as several.
INSTANTIATE_TEST_SUITE_P(
    with_a_line_in_pieces, smartctl_report,
    testing::Values(
        report_case{"word_in_the_second", std::string(1023, 'x') + "Model: A\n", {"A", ""}},
        report_case{"word_split", std::string(1020, 'x') + "Model: A\n", {}},
        report_case{"value_split", "Model" + std::string(1016, ':') + "ABCD\n", {"AB", ""}},
        report_case{"another_line_behind",
                    std::string(5000, 'x') + "\nModel: A\nserial: B\n",
                    {"A", "B"}}));
