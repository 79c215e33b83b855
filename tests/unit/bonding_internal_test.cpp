// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The slaves in the report of one bond.
#include "machine/bonding.h"
#include "network_records.h"
#include "report.h"
#include "stepped_stream.h"

#include <string>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

texts slaves_in(std::FILE *report)
{
    return records_of(orvane::read_bonding_report(report).get());
}

struct bond_report : named_case {
    std::string report;
    texts slaves;
};

class report_of_a_bond : public testing::TestWithParam<bond_report> {};

} // namespace

TEST_P(report_of_a_bond, tells_its_slaves)
{
    EXPECT_EQ(slaves_in(report_of(GetParam().report).get()), GetParam().slaves);
}

INSTANTIATE_TEST_SUITE_P(
    with, report_of_a_bond,
    testing::Values(
        bond_report{"nothing", "", {}}, bond_report{"empty_lines", "\n\n\n", {}},
        bond_report{"one_slave", "Slave Interface: a\nPermanent HW addr: 1\n", {"a 1 1"}},
        bond_report{"lines_between",
                    "Bonding Mode: x\n\nSlave Interface: a\nMII Status: up\n\nSpeed: 1 Mbps\n"
                    "Permanent HW addr: 1\nSlave queue ID: 0\n",
                    {"a 1 1"}},
        bond_report{"slaves_in_their_order",
                    "Slave Interface: b\nPermanent HW addr: 2\n\nSlave Interface: a\n"
                    "Permanent HW addr: 3\n\nSlave Interface: c\nPermanent HW addr: 1\n",
                    {"b 2 2", "a 3 3", "c 1 1"}},
        bond_report{"one_slave_twice",
                    "Slave Interface: a\nPermanent HW addr: 1\n"
                    "Slave Interface: a\nPermanent HW addr: 1\n",
                    {"a 1 1", "a 1 1"}},
        bond_report{"an_upper_case_address",
                    "Slave Interface: ETH1\nPermanent HW addr: 00:1A:2B:3C:4D:5E\n",
                    {"ETH1 00:1a:2b:3c:4d:5e 00:1a:2b:3c:4d:5e"}}));

INSTANTIATE_TEST_SUITE_P(
    without, report_of_a_bond,
    testing::Values(bond_report{"a_name", "Permanent HW addr: 1\n", {}},
                    bond_report{"an_address", "Slave Interface: a\nMII Status: up\n", {}},
                    bond_report{"the_first_name",
                                "Permanent HW addr: 1\nSlave Interface: b\nPermanent HW addr: 2\n",
                                {"b 2 2"}},
                    bond_report{"the_first_address",
                                "Slave Interface: a\nSlave Interface: b\nPermanent HW addr: 2\n",
                                {"a 2 2"}},
                    bond_report{"the_second_name",
                                "Slave Interface: a\nPermanent HW addr: 1\nPermanent HW addr: 2\n"
                                "Slave Interface: c\nPermanent HW addr: 3\n",
                                {"a 1 1", "c 3 3"}},
                    bond_report{"the_second_address",
                                "Slave Interface: a\nPermanent HW addr: 1\nSlave Interface: b\n"
                                "Slave Interface: c\nPermanent HW addr: 3\n",
                                {"a 1 1", "b 3 3"}},
                    bond_report{"the_last_address",
                                "Slave Interface: a\nPermanent HW addr: 1\nSlave Interface: b\n",
                                {"a 1 1"}},
                    bond_report{"a_name_behind_its_label",
                                "Slave Interface: \nSlave Interface:\nPermanent HW addr: 1\n"
                                "Slave Interface: b\nPermanent HW addr: 2\n",
                                {"b 2 2"}},
                    bond_report{"an_address_behind_its_label",
                                "Slave Interface: a\nPermanent HW addr: \t\nPermanent HW addr:\n"
                                "Permanent HW addr: 1\n",
                                {"a 1 1"}},
                    bond_report{"a_word_on_the_line_of_the_label",
                                "Slave Interface:\na\nPermanent HW addr:\n1\n",
                                {}}));

namespace {

// The slave "a" by a line of this text, and by one for its address.
std::string named_by(const std::string &line)
{
    return line + "\nPermanent HW addr: 1\n";
}
std::string addressed_by(const std::string &line)
{
    return "Slave Interface: a\n" + line + "\n";
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    with_the_label, report_of_a_bond,
    testing::Values(
        bond_report{"of_a_name_and_no_blank", named_by("SlaveInterface:a"), {"a 1 1"}},
        bond_report{"of_a_name_and_other_blanks",
                    named_by("Slave \t\v\f\rInterface:\t \v\f\ra"),
                    {"a 1 1"}},
        bond_report{"of_a_name_behind_a_blank", named_by(" Slave Interface: a"), {}},
        bond_report{"of_a_name_behind_a_word", named_by("Active Slave Interface: a"), {}},
        bond_report{"of_a_name_and_a_blank_before_the_colon", named_by("Slave Interface : a"), {}},
        bond_report{"of_a_name_without_the_colon", named_by("Slave Interface a"), {}},
        bond_report{"of_a_name_in_another_case", named_by("slave interface: a"), {}},
        bond_report{"of_another_name", named_by("Currently Active Slave: a"), {}},
        bond_report{"of_an_address_and_no_blank", addressed_by("PermanentHWaddr:1"), {"a 1 1"}},
        bond_report{"of_an_address_and_other_blanks",
                    addressed_by("Permanent\t\v\f\r HW\taddr:\r\v1"),
                    {"a 1 1"}},
        bond_report{"of_an_address_behind_a_blank", addressed_by("\tPermanent HW addr: 1"), {}},
        bond_report{"of_an_address_in_another_case", addressed_by("Permanent HW Addr: 1"), {}},
        bond_report{"of_another_address", addressed_by("System MAC address: 1"), {}}));

INSTANTIATE_TEST_SUITE_P(
    with_fields, report_of_a_bond,
    testing::Values(
        bond_report{"up_to_a_blank", "Slave Interface: a b\nPermanent HW addr: 1\t2\n", {"a 1 1"}},
        bond_report{"before_cr_lf", "Slave Interface: a\r\nPermanent HW addr: 1\r\n", {"a 1 1"}},
        bond_report{"of_which_the_last_ends_the_file",
                    "Slave Interface: a\nPermanent HW addr: 1",
                    {"a 1 1"}},
        bond_report{
            "before_a_zero_byte", "Slave Interface: a\0b\nPermanent HW addr: 1\0002\n"s, {"a 1 1"}},
        bond_report{"behind_a_zero_byte",
                    "\0Slave Interface: a\nSlave Interface: \0b\nPermanent HW addr: 1\n"s,
                    {}},
        bond_report{"beyond_ascii",
                    "Slave Interface: \x80\xff\nPermanent HW addr: \xc9\xa0\x85\n",
                    {"\x80\xff \xc9\xa0\x85 \xc9\xa0\x85"}},
        bond_report{"of_percent_signs",
                    "Slave Interface: %s%n\nPermanent HW addr: %d%%\n",
                    {"%s%n %d%% %d%%"}},
        bond_report{"of_other_words",
                    "Slave Interface: :\nPermanent HW addr: Permanent\n",
                    {": permanent permanent"}}));

namespace {

struct long_field : named_case {
    std::size_t length;
    std::size_t kept;
};

class report_with_fields : public testing::TestWithParam<long_field> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, report_with_fields,
                         testing::Values(long_field{"of_126_characters", 126, 126},
                                         long_field{"of_127_characters", 127, 127},
                                         long_field{"of_128_characters", 128, 127},
                                         long_field{"of_1000_characters", 1000, 127},
                                         long_field{"of_5000_characters", 5000, 127}));

TEST_P(report_with_fields, tells_their_first_127_characters)
{
    const std::string report = "Slave Interface: " + std::string(GetParam().length, 'n') +
                               "\nPermanent HW addr: " + std::string(GetParam().length, '1') +
                               "\nSlave Interface: a\nPermanent HW addr: 2\n";
    const std::string address(GetParam().kept, '1');
    const std::string name(GetParam().kept, 'n');
    EXPECT_EQ(slaves_in(report_of(report).get()),
              (texts{name + " " + address + " " + address, "a 2 2"}));
}

// Lines that are longer than the buffer are read as several.

namespace {

struct spread_line : named_case {
    std::size_t filler; // bytes before the value, or before the label
    texts slaves;
};

class report_with_a_value : public testing::TestWithParam<spread_line> {};
class report_with_a_label : public testing::TestWithParam<spread_line> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(behind, report_with_a_value,
                         testing::Values(spread_line{"1019_bytes", 1019, {"abc 1 1"}},
                                         spread_line{"1020_bytes", 1020, {"abc 1 1"}},
                                         spread_line{"1021_bytes", 1021, {"ab 1 1"}},
                                         spread_line{"1022_bytes", 1022, {"a 1 1"}},
                                         spread_line{"1023_bytes", 1023, {}},
                                         spread_line{"5000_bytes", 5000, {}}));

TEST_P(report_with_a_value, tells_what_of_it_is_within_1023_bytes)
{
    const std::string label = "Slave Interface:";
    const std::string blanks(GetParam().filler - label.size(), ' ');
    EXPECT_EQ(slaves_in(report_of(named_by(label + blanks + "abc")).get()), GetParam().slaves);
}

INSTANTIATE_TEST_SUITE_P(behind, report_with_a_label,
                         testing::Values(spread_line{"1022_bytes", 1022, {}},
                                         spread_line{"1023_bytes", 1023, {"a 1 1"}},
                                         spread_line{"1024_bytes", 1024, {}},
                                         spread_line{"5000_bytes", 5000, {}},
                                         spread_line{"5115_bytes", 5115, {"a 1 1"}}));

TEST_P(report_with_a_label, tells_what_begins_a_piece_of_1023_bytes)
{
    const std::string line = std::string(GetParam().filler, 'x') + "Slave Interface: a";
    EXPECT_EQ(slaves_in(report_of(named_by(line)).get()), GetParam().slaves);
}

// Reads that fail.

namespace {

struct stepped_report : named_case {
    std::vector<read_step> steps;
    texts slaves;
    std::size_t steps_left;
};

const stepped_report stepped_reports[] = {
    {"broken_off",
     {broken_off,
      {"Slave Inter"},
      broken_off,
      {"face: a"},
      broken_off,
      {"b\nPermanent HW addr: 1"},
      broken_off,
      broken_off,
      {"2\n"},
      broken_off},
     {"ab 12 12"},
     0},
    {"that_fails_at_once", {failed, {"Slave Interface: a\nPermanent HW addr: 1\n"}}, {}, 1},
    {"that_fails_behind_a_name",
     {{"Slave Interface: a\n"}, failed, {"Permanent HW addr: 1\n"}},
     {},
     1},
    {"that_fails_inside_an_address",
     {{"Slave Interface: a\nPermanent HW addr: 1"}, failed, {"\n"}},
     {},
     1},
    {"that_fails_behind_a_slave",
     {{"Slave Interface: a\nPermanent HW addr: 1\n"},
      failed,
      {"Slave Interface: b\nPermanent HW addr: 2\n"}},
     {"a 1 1"},
     1},
    {"that_fails_behind_the_second_name",
     {{"Slave Interface: a\nPermanent HW addr: 1\nSlave Interface: b\n"},
      failed,
      {"Permanent HW addr: 2\n"}},
     {"a 1 1"},
     1},
};

class report_with_a_read : public testing::TestWithParam<stepped_report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, report_with_a_read, testing::ValuesIn(stepped_reports));

TEST_P(report_with_a_read, tells_the_slaves_before_the_failure)
{
    const stepped_stream stream(GetParam().steps);
    EXPECT_EQ(slaves_in(stream.get()), GetParam().slaves);
    EXPECT_EQ(stream.steps_left(), GetParam().steps_left);
}
