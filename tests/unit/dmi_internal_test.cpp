// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "machine/dmi.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr char serial_file[] = "/sys/class/dmi/id/product_serial";
constexpr char dmidecode[] = "/usr/sbin/dmidecode";

class service_tag : public on_machine {
protected:
    [[nodiscard]] static owned_text asked() { return owned_text(orvane::get_service_tag()); }
    [[nodiscard]] static std::string told() { return asked().value(); }
};

} // namespace

TEST_F(service_tag, is_the_first_line_of_the_kernel_file)
{
    machine.file(serial_file, " SN 0001 \nsecond\n");
    machine.tool(dmidecode, "\tSerial Number: SN0002\n");
    EXPECT_EQ(told(), " SN 0001 ");
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(service_tag, is_empty_where_the_first_line_of_the_file_is)
{
    machine.file(serial_file, "\n");
    machine.tool(dmidecode, "\tSerial Number: SN0002\n");
    const owned_text tag = asked();
    EXPECT_FALSE(tag.is_null());
    EXPECT_EQ(tag.value(), "");
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(service_tag, comes_from_dmidecode_when_the_file_is_missing)
{
    machine.tool(dmidecode, "\tSerial Number: SN0002\n");
    EXPECT_EQ(told(), "SN0002");
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments,
              (std::vector<std::string>{"/usr/sbin/dmidecode", "-t", "1"}));
}

TEST_F(service_tag, comes_from_dmidecode_when_the_file_holds_no_byte)
{
    machine.file(serial_file, "");
    machine.tool(dmidecode, "\tSerial Number: SN0002\n");
    EXPECT_EQ(told(), "SN0002");
}

TEST_F(service_tag, is_none_without_any_source)
{
    EXPECT_TRUE(asked().is_null());
}

TEST_F(service_tag, is_none_when_dmidecode_is_not_executable)
{
    machine.script(dmidecode, "echo 'Serial Number: SN0002'", 0644);
    EXPECT_TRUE(asked().is_null());
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(service_tag, is_none_when_dmidecode_knows_no_serial_number)
{
    machine.tool(dmidecode, "\tFamily: Example\n");
    EXPECT_TRUE(asked().is_null());
}

namespace {

struct printed_tag : named_case {
    std::string printed;
    std::string tag;
};

const printed_tag printed_tags[] = {
    {"with_blanks", "\tSerial Number: ABC 123\n", "ABC 123"},
    {"in_any_case", "\tserial NUMBER: SN1\n", "SN1"},
    {"of_the_first_line_that_holds_the_words", "\tOld serial numbers: X9\n\tSerial Number: SN1\n",
     "X9"},
    {"up_to_a_second_separator", "\tSerial Number: AB: CD\n", "AB"},
    {"with_colons", "\tSerial Number: AB:CD\n", "AB:CD"},
    {"without_a_value", "\tSerial Number:\n", ""},
    {"before_a_carriage_return", "\tSerial Number: SN1\r\n", "SN1"},
    {"of_1023_bytes", "Serial Number: " + std::string(1023, 's') + "\n", std::string(1023, 's')},
    {"of_1024_bytes", "Serial Number: " + std::string(1024, 's') + "\n", std::string(1023, 's')},
};

class printed_service_tag : public service_tag, public testing::WithParamInterface<printed_tag> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, printed_service_tag, testing::ValuesIn(printed_tags));

TEST_P(printed_service_tag, is_taken)
{
    machine.tool(dmidecode, GetParam().printed);
    const owned_text tag = asked();
    EXPECT_FALSE(tag.is_null());
    EXPECT_EQ(tag.value(), GetParam().tag);
}
