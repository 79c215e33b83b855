// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The product serial number, which no exported function returns by itself.
#include "fixture.h"
#include "machine/dmi.h"

#include <optional>
#include <string>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

struct serial_number : named_case {
    std::optional<std::string> file;
    std::optional<std::string> printed; // by dmidecode
    std::optional<std::string> tag;
    std::size_t runs;
};

const serial_number serial_numbers[] = {
    {"of_the_file", " SN 0001 \nsecond\n", "\tSerial Number: SN2\n", " SN 0001 ", 0},
    {"of_an_empty_line", "\n", "\tSerial Number: SN2\n", "", 0},
    {"of_dmidecode_for_a_missing_file", {}, "\tSerial Number: SN2\n", "SN2", 1},
    {"of_dmidecode_for_an_empty_file", "", "\tSerial Number: SN2\n", "SN2", 1},
    {"with_blanks", {}, "\tSerial Number: ABC 123\n", "ABC 123", 1},
    {"of_the_first_line_with_the_words",
     {},
     "\tOld serial numbers: X9\n\tSerial Number: SN1\n",
     "X9",
     1},
    {"up_to_a_second_separator", {}, "\tSerial Number: AB: CD\n", "AB", 1},
    {"with_colons", {}, "\tSerial Number: AB:CD\n", "AB:CD", 1},
    {"without_a_value", {}, "\tSerial Number:\n", "", 1},
    {"of_1024_bytes",
     {},
     "Serial Number: " + std::string(1024, 's') + "\n",
     std::string(1023, 's'),
     1},
    {"of_no_line", {}, "\tFamily: Example\n", {}, 1},
    {"of_no_source", {}, {}, {}, 0},
};

class service_tag : public on_machine, public testing::WithParamInterface<serial_number> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, service_tag, testing::ValuesIn(serial_numbers));

TEST_P(service_tag, is_the_serial_number)
{
    if (GetParam().file)
        machine.file("/sys/class/dmi/id/product_serial", *GetParam().file);
    if (GetParam().printed)
        machine.tool(dmidecode, *GetParam().printed);
    const owned_text tag(orvane::get_service_tag());
    ASSERT_EQ(tag.is_null(), !GetParam().tag);
    if (GetParam().tag) {
        EXPECT_EQ(tag.value(), *GetParam().tag);
    }
    EXPECT_EQ(machine.runs(dmidecode).size(), GetParam().runs);
}
