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

struct told {
    std::string model;
    std::string serial;
    bool operator==(const told &) const = default;
};

std::ostream &operator<<(std::ostream &stream, const told &told)
{
    return stream << "model '" << told.model << "' and serial number '" << told.serial << "'";
}

told read(std::string_view report)
{
    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    orvane::read_smartctl_report(report_of(report).get(), model, serial);
    return {model.c_str(), serial.c_str()};
}

struct report_case : named_case {
    std::string report;
    told expected;
};

class smartctl_report : public testing::TestWithParam<report_case> {};

} // namespace

TEST_P(smartctl_report, tells_model_and_serial_number)
{
    EXPECT_EQ(read(GetParam().report), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    without_either, smartctl_report,
    testing::Values(report_case{"nothing", "", {}}, report_case{"an_empty_line", "\n", {}},
                    report_case{"colons", "::::\n:\n", {}},
                    report_case{
                        "other_lines", "Firmware Version: 1\nRotation Rate: 5400 rpm\n", {}},
                    report_case{"zero_bytes", "\0\0\n\0Model: A\n"s, {}},
                    report_case{"other_bytes", "\xff\xfe: \x80\n", {}}));

// Which lines count.

INSTANTIATE_TEST_SUITE_P(
    with_a_word_for_the_model, smartctl_report,
    testing::Values(report_case{"model", "Model: A\n", {"A", ""}},
                    report_case{"product", "product: A\n", {"A", ""}},
                    report_case{"product_with_a_capital", "Product: A\n", {"A", ""}},
                    report_case{"device_model", "Device Model: A\n", {"A", ""}},
                    report_case{"model_number", "Model Number: A\n", {"A", ""}},
                    report_case{"model_family", "Model Family: A\n", {"A", ""}},
                    report_case{"added_product_id", "Add. Product Id: A\n", {"A", ""}},
                    report_case{"inside_another", "xyModelled: A\n", {"A", ""}},
                    report_case{"product_inside_another", "byproducts: A\n", {"A", ""}}));

INSTANTIATE_TEST_SUITE_P(
    with_a_word_for_the_serial_number, smartctl_report,
    testing::Values(report_case{"serial_number_in_capitals", "Serial Number: A\n", {"", "A"}},
                    report_case{"serial_number_with_a_capital", "Serial number: A\n", {"", "A"}},
                    report_case{"serial_number", "serial number: A\n", {"", "A"}},
                    report_case{"serial", "serial: A\n", {"", "A"}},
                    report_case{"inside_another", "xySerial Numbers: A\n", {"", "A"}},
                    report_case{"serial_inside_another", "serialised: A\n", {"", "A"}}));

INSTANTIATE_TEST_SUITE_P(
    with_no_such_word, smartctl_report,
    testing::Values(report_case{"model_in_small_letters", "device model: A\n", {}},
                    report_case{"model_in_capitals", "MODEL: A\nPRODUCT: A\n", {}},
                    report_case{"model_with_a_gap", "Mo del: A\nPro duct: A\n", {}},
                    report_case{"serial_with_a_capital", "Serial: A\n", {}},
                    report_case{"serial_no", "Serial No: A\n", {}},
                    report_case{"serial_number_in_capitals", "SERIAL NUMBER: A\n", {}},
                    report_case{"serial_number_with_two_blanks", "Serial  Number: A\n", {}},
                    report_case{"small_number", "SerialNumber: A\n", {}}));

// Which line wins.

INSTANTIATE_TEST_SUITE_P(
    with_several_lines, smartctl_report,
    testing::Values(
        report_case{"family_before_model", "Model Family: F\nDevice Model: D\n", {"D", ""}},
        report_case{"model_before_family", "Device Model: D\nModel Family: F\n", {"F", ""}},
        report_case{"vendor_and_product", "Vendor: V\nProduct: P\n", {"P", ""}},
        report_case{"two_serial_numbers", "Serial Number: 1\nserial: 2\n", {"", "2"}},
        report_case{"serial_before_model", "Serial number: S\nProduct: P\n", {"P", "S"}},
        report_case{"a_product_id_behind",
                    "Device Model: D\nSerial Number: S\n"
                    "Add. Product Id:  DELL(tm)\n",
                    {"DELL(tm)", "S"}},
        report_case{"a_shorter_one_behind",
                    "Product: a longer one\nProduct: P\n"
                    "serial: 123456\nserial: 7\n",
                    {"P", "7"}},
        report_case{"an_empty_one_behind", "Product: P\nProduct:  \nserial: S\nserial:\n", {}},
        report_case{
            "a_word_alone_behind", "Product: P\nProduct\nserial: S\nserial\n", {"P", "S"}}));

// Which field of a line.

INSTANTIATE_TEST_SUITE_P(
    with_several_fields, smartctl_report,
    testing::Values(
        report_case{"last_of_the_model", "Model Number: A:B\n", {"B", ""}},
        report_case{"last_of_the_serial_number", "Serial Number: A:B:C\n", {"", "C"}},
        report_case{"colon_last", "Model: A:\n", {"", ""}},
        report_case{"colon_last_without_a_line_end", "Model: A:", {"A", ""}},
        report_case{"colons_in_a_row", "Model::: A\nserial:: B\n", {"A", "B"}},
        report_case{"colon_first", ": Model: A\n: serial: B\n", {"A", "B"}},
        report_case{"value_first", "A: Model\nB: serial\n", {"A", "B"}},
        report_case{"value_around_the_word", "A: Model : B\n", {"B", ""}},
        report_case{"no_colon", "Model A\nserial B\n", {"", ""}},
        report_case{"word_in_the_last", "Product: 5: Model\nserial: 6: serial\n", {"5", "6"}},
        report_case{
            "word_between", "Product: 5: Model: 7\nserial: 6: Serial Number: 8\n", {"7", "8"}},
        report_case{"word_in_the_value", "Device Model: Productive 5\nserial: serial 6\n", {}}));

// A line that mentions the model is no longer whole when it is looked at for the serial number.

INSTANTIATE_TEST_SUITE_P(
    with_both_words_in_a_line, smartctl_report,
    testing::Values(
        report_case{
            "serial_in_the_value_of_the_model", "Device Model: a serial one\n", {"aserialone", ""}},
        report_case{"serial_behind_the_model", "Model: A: serial: B\n", {"B", ""}},
        report_case{"serial_in_the_label_of_the_model", "Product serial number: A\n", {"A", ""}},
        report_case{"serial_before_the_model", "Serial Number: A Model: B\n", {"B", ""}},
        report_case{
            "model_in_the_serial_number", "Serial Number: Product7\n", {"SerialNumber", ""}},
        report_case{"model_in_the_serial_number_behind_a_whole_one",
                    "serial: S\nserial: Model7\n",
                    {"serial", "S"}},
        report_case{"no_colon", "Model A serial B\n", {"", ""}}));

// What becomes of the value.

INSTANTIATE_TEST_SUITE_P(
    with_a_value, smartctl_report,
    testing::Values(
        report_case{"with_blanks", "Product:   A  B C \nserial:  1 2  \n", {"ABC", "12"}},
        report_case{"with_other_white_space",
                    "Product:\tA\v\r\nserial: \f1\t2\r\n",
                    {"\tA\v\r", "\f1\t2\r"}},
        report_case{
            "with_percent_signs", "Product: 100%s%n%d\nserial: %5c%%\n", {"100%s%n%d", "%5c%%"}},
        report_case{"beyond_ascii",
                    "Product: \xe9\xff\nserial: \x80\xc3\xa9\n",
                    {"\xe9\xff", "\x80\xc3\xa9"}},
        report_case{"with_a_zero_byte", "Product: A\0B\nserial: 1\0002\n"s, {"A", "1"}},
        report_case{"without_a_line_end", "Product: A\nserial: 1", {"A", "1"}}));

INSTANTIATE_TEST_SUITE_P(
    with_a_value_of, smartctl_report,
    testing::Values(
        report_case{"509_bytes",
                    "Product:" + std::string(509, 'm') + "\nserial:" + std::string(509, 's') + "\n",
                    {std::string(509, 'm'), std::string(509, 's')}},
        report_case{"510_bytes",
                    "Product:" + std::string(510, 'm') + "\nserial:" + std::string(510, 's') + "\n",
                    {std::string(510, 'm'), std::string(510, 's')}},
        report_case{"511_bytes",
                    "Product:" + std::string(511, 'm') + "\nserial:" + std::string(511, 's') + "\n",
                    {std::string(510, 'm'), std::string(510, 's')}},
        report_case{"900_bytes",
                    "Product:" + std::string(900, 'm') + "\nserial:" + std::string(900, 's') + "\n",
                    {std::string(510, 'm'), std::string(510, 's')}},
        report_case{"510_bytes_behind_four_blanks",
                    "Product:    " + std::string(510, 'm') +
                        "\nserial:    " + std::string(510, 's') + "\n",
                    {std::string(506, 'm'), std::string(506, 's')}},
        report_case{"nothing_but_blanks_up_to_the_bound",
                    "Product:" + std::string(510, ' ') + "m\nserial:" + std::string(509, ' ') +
                        "s\n",
                    {"", "s"}}));

// Lines that are longer than the buffer are read as several.

INSTANTIATE_TEST_SUITE_P(
    with_a_line_in_pieces, smartctl_report,
    testing::Values(
        report_case{"word_in_the_second_piece", std::string(1023, 'x') + "Model: A\n", {"A", ""}},
        report_case{"word_in_the_last_piece", std::string(5115, 'x') + "serial: A\n", {"", "A"}},
        report_case{"word_in_the_middle_of_a_piece", std::string(1022, 'x') + "Model: A\n", {}},
        report_case{"word_cut_in_two", std::string(1020, 'x') + "Model: A\n", {}},
        report_case{"value_cut_in_two", "Model" + std::string(1016, ':') + "ABCD\n", {"AB", ""}},
        report_case{"value_in_the_second_piece", "Model" + std::string(1018, ':') + "ABCD\n", {}},
        report_case{"another_line_behind",
                    std::string(5000, 'x') + "\nModel: A\nserial: B\n",
                    {"A", "B"}}));
