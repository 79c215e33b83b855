// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "no_processes.h"
#include "orvane.h"

#include <filesystem>
#include <string>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";
constexpr char name_file[] = "/proc/bootdevice/product_name";
constexpr char card_file[] = "/proc/bootdevice/cid";

// A machine that boots from a managed flash device.
class oem_info : public on_machine {
protected:
    void furnish() override
    {
        machine.watch_shell();
        machine.tool(dmidecode, "System Information\n\tSerial Number: SN0001\n");
        machine.file(name_file, "FLASH01\n");
        machine.file(card_file, "0123abcd\n");
    }

    static std::string answer() { return owned_text(hw_oem_info()).value(); }
};

} // namespace

TEST_F(oem_info, joins_serial_number_device_name_and_card_identifier_in_silence)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(answer(), "SN0001_FLASH01_0123abcd"); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(oem_info, runs_the_documented_command)
{
    EXPECT_EQ(answer(), "SN0001_FLASH01_0123abcd");
    EXPECT_EQ(machine.shell_commands(), texts{"/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' "
                                              "| awk -F': ' '{print $2}'"});
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments, (texts{dmidecode, "-t", "1"}));
}

TEST_F(oem_info, is_read_afresh_on_every_call_and_not_trimmed_between_the_parts)
{
    const owned_text before(hw_oem_info());
    machine.tool(dmidecode, "\tSerial Number:  S\xc3\xa9rie %s%n\t\n");
    machine.file(name_file, " \x80\xff 01 \n");
    machine.file(card_file, "\t%d \n");
    EXPECT_EQ(answer(), " S\xc3\xa9rie %s%n\t_ \x80\xff 01 _\t%d ");
    EXPECT_EQ(before.value(), "SN0001_FLASH01_0123abcd");
}

TEST_F(oem_info, holds_three_parts_of_127_bytes)
{
    machine.tool(dmidecode, "Serial Number: " + std::string(200, 's') + "\n");
    machine.file(name_file, std::string(200, 'n'));
    machine.file(card_file, std::string(200, 'c'));
    EXPECT_EQ(answer(),
              std::string(127, 's') + "_" + std::string(127, 'n') + "_" + std::string(127, 'c'));
}

TEST_F(oem_info, does_not_depend_on_the_exit_status_of_dmidecode)
{
    machine.script(dmidecode, "echo 'Serial Number: SN1'; exit 2");
    EXPECT_EQ(answer(), "SN1_FLASH01_0123abcd");
}

// No answer where a source is missing, and an empty one where it holds nothing.

namespace {

struct damage : named_case {
    void (*inflict)(constructed_machine &machine);
    std::string answer;
};

const damage damages[] = {
    {"dmidecode_is_missing", [](constructed_machine &machine) { machine.remove(dmidecode); },
     "(no text)"},
    {"dmidecode_is_not_executable",
     [](constructed_machine &machine) { machine.script(dmidecode, "echo never", 0644); },
     "(no text)"},
    {"dmidecode_is_not_readable",
     [](constructed_machine &machine) { machine.script(dmidecode, "echo never", 0711); },
     "(no text)"},
    {"there_is_no_boot_device",
     [](constructed_machine &machine) { machine.remove("/proc/bootdevice"); }, "(no text)"},
    {"the_name_is_missing", [](constructed_machine &machine) { machine.remove(name_file); },
     "(no text)"},
    {"the_name_is_not_readable",
     [](constructed_machine &machine) { machine.file(name_file, "FLASH01\n", 0600); }, "(no text)"},
    {"the_card_is_missing", [](constructed_machine &machine) { machine.remove(card_file); },
     "(no text)"},
    {"the_card_is_not_readable",
     [](constructed_machine &machine) { machine.file(card_file, "0123abcd\n", 0600); },
     "(no text)"},
    {"dmidecode_prints_nothing", [](constructed_machine &machine) { machine.tool(dmidecode, ""); },
     ""},
    {"dmidecode_knows_no_serial_number",
     [](constructed_machine &machine) { machine.tool(dmidecode, "\tFamily: Example\n"); }, ""},
    {"the_name_is_empty", [](constructed_machine &machine) { machine.file(name_file, ""); }, ""},
    {"the_name_is_a_directory", [](constructed_machine &machine) { machine.directory(name_file); },
     ""},
    {"the_card_is_empty", [](constructed_machine &machine) { machine.file(card_file, ""); }, ""},
    {"the_card_is_a_directory", [](constructed_machine &machine) { machine.directory(card_file); },
     ""},
    {"the_lines_are_empty",
     [](constructed_machine &machine) {
         machine.tool(dmidecode, "Serial Number: \n");
         machine.file(name_file, "\n");
         machine.file(card_file, "\n");
     },
     "__"},
};

class oem_info_of_damaged_sources : public oem_info, public testing::WithParamInterface<damage> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, oem_info_of_damaged_sources, testing::ValuesIn(damages));

TEST_P(oem_info_of_damaged_sources, is_none_where_one_is_missing_and_empty_where_one_holds_nothing)
{
    GetParam().inflict(machine);
    const other_user user(0); // whose real user counts
    EXPECT_EQ(answer(), GetParam().answer);
    EXPECT_EQ(machine.shell_commands().empty(), GetParam().answer == "(no text)");
}

TEST_F(oem_info, is_empty_where_no_process_can_be_started)
{
    const no_processes caller;
    EXPECT_EQ(answer(), "");
}

// What is taken of each part.

namespace {

struct part : named_case {
    std::string source;
    std::string taken;
};

const part serial_numbers[] = {
    {"in_any_case", "\tSERIAL number: SN1\n", "SN1"},
    {"with_blanks", "\tSerial Number: ABC 123\n", "ABC 123"},
    {"of_the_first_line", "\tSerial Number: SN1\n\tSerial Number: SN2\n", "SN1"},
    {"of_a_line_that_merely_holds_the_words", "\tOld serial numbers: X9\n\tSerial Number: SN1\n",
     "X9"},
    {"up_to_a_second_separator", "\tSerial Number: AB: CD\n", "AB"},
    {"with_colons", "\tSerial Number: AB:CD\n", "AB:CD"},
    {"without_a_separator", "\tSerial Number\n", ""},
    {"before_a_carriage_return", "\tSerial Number: SN1\rrest\n", "SN1"},
    {"without_a_final_newline", "\tSerial Number: SN1", "SN1"},
    {"behind_a_line_of_5000_bytes", std::string(5000, '-') + "\n\tSerial Number: SN1\n", "SN1"},
    {"before_a_megabyte", "Serial Number: SN1\n" + std::string(1024 * 1024, '\n'), "SN1"},
    {"of_126_bytes", "Serial Number: " + std::string(126, 's') + "\n", std::string(126, 's')},
    {"of_127_bytes", "Serial Number: " + std::string(127, 's') + "\n", std::string(127, 's')},
    {"of_128_bytes", "Serial Number: " + std::string(128, 's') + "\n", std::string(127, 's')},
    {"of_5000_bytes", "Serial Number: " + std::string(5000, 's') + "\n", std::string(127, 's')},
};

const part file_contents[] = {
    {"without_line_end", "text", "text"},
    {"of_two_lines", "first\nsecond\n", "first"},
    {"before_a_carriage_return", "first\rsecond\n", "first"},
    {"before_a_zero_byte", std::string("first\0second\n", 13), "first"},
    {"of_an_empty_first_line", "\nsecond\n", ""},
    {"of_a_zero_byte_alone", std::string(1, '\0'), ""},
    {"of_126_bytes", std::string(126, 'f') + "\n", std::string(126, 'f')},
    {"of_127_bytes", std::string(127, 'f') + "\n", std::string(127, 'f')},
    {"of_128_bytes", std::string(128, 'f') + "\n", std::string(127, 'f')},
    {"of_5000_bytes", std::string(5000, 'f') + "\n", std::string(127, 'f')},
};

class oem_serial_number : public oem_info, public testing::WithParamInterface<part> {};
class oem_device_file : public oem_info, public testing::WithParamInterface<part> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, oem_serial_number, testing::ValuesIn(serial_numbers));
INSTANTIATE_TEST_SUITE_P(, oem_device_file, testing::ValuesIn(file_contents));

TEST_P(oem_serial_number, is_taken_from_the_first_line_that_dmidecode_has_of_it)
{
    machine.tool(dmidecode, GetParam().source);
    EXPECT_EQ(answer(), GetParam().taken + "_FLASH01_0123abcd");
}

TEST_P(oem_device_file, is_taken_up_to_the_first_line_end)
{
    machine.file(name_file, GetParam().source);
    EXPECT_EQ(answer(), "SN0001_" + GetParam().taken + "_0123abcd");
    machine.file(name_file, "FLASH01\n");
    machine.file(card_file, GetParam().source);
    EXPECT_EQ(answer(), "SN0001_FLASH01_" + GetParam().taken);
}
