// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which lines of a bond's report give a slave and its address.
#include "cases.h"
#include "machine/bonding.h"
#include "report.h"

#include <string>

#include <gtest/gtest.h>

namespace {

struct bond_report : named_case {
    std::string report;
    std::string greatest;
};

class report_of_a_bond : public testing::TestWithParam<bond_report> {};

std::string named_by(const std::string &line)
{
    return line + "\nPermanent HW addr: 1\n";
}

std::string addressed_by(const std::string &line)
{
    return "Slave Interface: a\n" + line + "\n";
}

std::string spaced(std::size_t blanks)
{
    return named_by("Slave Interface:" + std::string(blanks, ' ') + "a");
}

// Lines that are longer than the buffer are read in pieces of 1023 bytes.
std::string filled(std::size_t bytes)
{
    return named_by(std::string(bytes, 'x') + "Slave Interface: a");
}

const bond_report reports[] = {
    {"nothing", "", ""},
    {"lines_between",
     "Bonding Mode: x\n\nSlave Interface: a\nMII Status: up\n\nSpeed: 1 Mbps\n"
     "Permanent HW addr: 1\nSlave queue ID: 0\n",
     "1"},
    {"the_greatest_in_the_middle",
     "Slave Interface: b\nPermanent HW addr: 2\n\nSlave Interface: a\n"
     "Permanent HW addr: 3\n\nSlave Interface: c\nPermanent HW addr: 1\n",
     "3"},
    {"an_address_before_every_name",
     "Permanent HW addr: 2\nSlave Interface: b\nPermanent HW addr: 1\n", "1"},
    {"a_second_address_of_a_slave",
     "Slave Interface: a\nPermanent HW addr: 1\nPermanent HW addr: 2\n", "1"},
    {"a_slave_without_an_address",
     "Slave Interface: a\nPermanent HW addr: 1\nSlave Interface: b\n"
     "Slave Interface: c\nPermanent HW addr: 3\n",
     "3"},
    {"the_values_on_the_next_lines", "Slave Interface:\na\nPermanent HW addr:\n1\n", ""},
    {"a_second_word", "Slave Interface: a b\nPermanent HW addr: 1\t2\n", "1"},
    {"percent_signs", "Slave Interface: %s%n\nPermanent HW addr: %d%%\n", "%d%%"},
    {"the_label_as_the_value", "Slave Interface: :\nPermanent HW addr: Permanent\n", "permanent"},
    {"no_blank_in_the_name_label", named_by("SlaveInterface:a"), "1"},
    {"other_blanks_in_the_name_label", named_by("Slave \t\v\f\rInterface:\t \v\f\ra"), "1"},
    {"a_blank_before_the_name_label", named_by(" Slave Interface: a"), ""},
    {"a_word_before_the_name_label", named_by("Active Slave Interface: a"), ""},
    {"a_blank_before_the_colon", named_by("Slave Interface : a"), ""},
    {"no_colon", named_by("Slave Interface a"), ""},
    {"the_name_label_in_lower_case", named_by("slave interface: a"), ""},
    {"another_name_label", named_by("Currently Active Slave: a"), ""},
    {"no_blank_in_the_address_label", addressed_by("PermanentHWaddr:1"), "1"},
    {"a_blank_before_the_address_label", addressed_by("\tPermanent HW addr: 1"), ""},
    {"the_address_label_in_another_case", addressed_by("Permanent HW Addr: 1"), ""},
    {"another_address_label", addressed_by("System MAC address: 1"), ""},
    {"a_name_that_begins_at_byte_1023", spaced(1006), "1"},
    {"a_name_that_begins_at_byte_1024", spaced(1007), ""},
    {"a_label_behind_1022_bytes", filled(1022), ""},
    {"a_label_behind_1023_bytes", filled(1023), "1"},
    {"a_label_behind_1024_bytes", filled(1024), ""},
    {"a_label_behind_5115_bytes", filled(5115), "1"},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(with, report_of_a_bond, testing::ValuesIn(reports));

TEST_P(report_of_a_bond, has_this_greatest_address)
{
    orvane::mac_text greatest;
    orvane::read_bonding_report(report_of(GetParam().report).get(), greatest);
    EXPECT_EQ(greatest.view(), GetParam().greatest);
}
