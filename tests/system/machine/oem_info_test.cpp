// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"
#include "recorded_calls.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";
constexpr char name_file[] = "/proc/bootdevice/product_name";
constexpr char card_file[] = "/proc/bootdevice/cid";

// A machine that boots from a managed flash device.
class oem_info : public on_machine {
protected:
    void furnish() override
    {
        machine.tool(dmidecode, "System Information\n\tSerial Number: SN0001\n");
        machine.file(name_file, "FLASH01\n");
        machine.file(card_file, "0123abcd\n");
    }

    [[nodiscard]] static owned_text asked() { return owned_text(hw_oem_info()); }
    [[nodiscard]] static std::string told() { return asked().value(); }

    void expect_none_and_no_run() const
    {
        EXPECT_TRUE(asked().is_null());
        EXPECT_TRUE(machine.runs(dmidecode).empty());
    }

    static void expect_empty()
    {
        const owned_text info = asked();
        EXPECT_FALSE(info.is_null());
        EXPECT_EQ(info.value(), "");
    }

    static void refuse_access_to(const char *refused)
    {
        interpose::access = [refused](const char *path, int mode) {
            return std::string_view(path) == refused ? -1 : interpose::access.real(path, mode);
        };
    }

    static void refuse_to_open(const char *refused)
    {
        interpose::fopen = [refused](const char *path, const char *mode) -> std::FILE * {
            return std::string_view(path) == refused ? nullptr : interpose::fopen.real(path, mode);
        };
    }
};

} // namespace

TEST_F(oem_info, joins_serial_number_device_name_and_card_identifier)
{
    EXPECT_EQ(told(), "SN0001_FLASH01_0123abcd");
}

TEST_F(oem_info, asks_dmidecode_for_the_system_information)
{
    EXPECT_EQ(told(), "SN0001_FLASH01_0123abcd");
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments,
              (std::vector<std::string>{"/usr/sbin/dmidecode", "-t", "1"}));
}

TEST_F(oem_info, asks_afresh_on_every_call)
{
    EXPECT_EQ(told(), "SN0001_FLASH01_0123abcd");
    machine.tool(dmidecode, "\tSerial Number: SN0002\n");
    machine.file(name_file, "FLASH02\n");
    machine.file(card_file, "4567cdef\n");
    EXPECT_EQ(told(), "SN0002_FLASH02_4567cdef");
}

TEST_F(oem_info, trims_nothing_between_the_parts)
{
    machine.tool(dmidecode, "\tSerial Number:  SN 1\t\n");
    machine.file(name_file, " FLASH 01 \n");
    machine.file(card_file, "\tcard \n");
    EXPECT_EQ(told(), " SN 1\t_ FLASH 01 _\tcard ");
}

TEST_F(oem_info, keeps_bytes_of_any_encoding)
{
    machine.tool(dmidecode, "\tSerial Number: S\xc3\xa9rie\n");
    machine.file(name_file, "\x80\xff\n");
    machine.file(card_file, "\xe4\xbd\xa0\n");
    EXPECT_EQ(told(), "S\xc3\xa9rie_\x80\xff_\xe4\xbd\xa0");
}

TEST_F(oem_info, takes_no_text_for_a_format)
{
    machine.tool(dmidecode, "\tSerial Number: %s%n\n");
    machine.file(name_file, "%d\n");
    machine.file(card_file, "%%\n");
    EXPECT_EQ(told(), "%s%n_%d_%%");
}

// No answer.

TEST_F(oem_info, is_none_without_dmidecode)
{
    machine.remove(dmidecode);
    EXPECT_TRUE(asked().is_null());
}

TEST_F(oem_info, is_none_when_dmidecode_is_not_executable)
{
    machine.script(dmidecode, "echo 'Serial Number: never'", 0644);
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_when_dmidecode_is_not_readable)
{
    machine.script(dmidecode, "echo 'Serial Number: never'", 0711);
    const other_user user(0);
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_without_a_boot_device)
{
    machine.remove("/proc/bootdevice");
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_without_a_device_name)
{
    machine.remove(name_file);
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_without_a_card_identifier)
{
    machine.remove(card_file);
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_when_the_device_name_cannot_be_read)
{
    refuse_access_to(name_file);
    expect_none_and_no_run();
}

TEST_F(oem_info, is_none_when_the_card_identifier_cannot_be_read)
{
    refuse_access_to(card_file);
    expect_none_and_no_run();
}

// An empty answer.

TEST_F(oem_info, is_empty_when_dmidecode_cannot_be_started)
{
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    expect_empty();
}

TEST_F(oem_info, is_empty_when_dmidecode_prints_nothing)
{
    machine.tool(dmidecode, "");
    expect_empty();
}

TEST_F(oem_info, is_empty_when_dmidecode_knows_no_serial_number)
{
    machine.tool(dmidecode, "System Information\n\tFamily: Example\n");
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_device_name_cannot_be_opened)
{
    refuse_to_open(name_file);
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_device_name_is_a_directory)
{
    machine.directory(name_file);
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_device_name_holds_no_byte)
{
    machine.file(name_file, "");
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_card_identifier_cannot_be_opened)
{
    refuse_to_open(card_file);
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_card_identifier_is_a_directory)
{
    machine.directory(card_file);
    expect_empty();
}

TEST_F(oem_info, is_empty_when_the_card_identifier_holds_no_byte)
{
    machine.file(card_file, "");
    expect_empty();
}

// The serial number.

namespace {

struct taken_text : named_case {
    std::string source;
    std::string taken;
};

const taken_text serial_numbers[] = {
    {"in_any_case", "\tSERIAL number: SN1\n", "SN1"},
    {"with_blanks", "\tSerial Number: ABC 123\n", "ABC 123"},
    {"of_the_first_line", "\tSerial Number: SN1\n\tSerial Number: SN2\n", "SN1"},
    {"of_a_line_that_merely_holds_the_words", "\tOld serial numbers: X9\n\tSerial Number: SN1\n",
     "X9"},
    {"up_to_a_second_separator", "\tSerial Number: AB: CD\n", "AB"},
    {"with_colons", "\tSerial Number: AB:CD\n", "AB:CD"},
    {"behind_the_separator_alone", "\tSerial Number: \n", ""},
    {"without_a_separator", "\tSerial Number\n", ""},
    {"before_a_carriage_return", "\tSerial Number: SN1\rrest\n", "SN1"},
    {"without_a_final_newline", "\tSerial Number: SN1", "SN1"},
    {"behind_a_line_of_5000_bytes", std::string(5000, '-') + "\n\tSerial Number: SN1\n", "SN1"},
    {"of_126_bytes", "Serial Number: " + std::string(126, 's') + "\n", std::string(126, 's')},
    {"of_127_bytes", "Serial Number: " + std::string(127, 's') + "\n", std::string(127, 's')},
    {"of_128_bytes", "Serial Number: " + std::string(128, 's') + "\n", std::string(127, 's')},
    {"of_129_bytes", "Serial Number: " + std::string(129, 's') + "\n", std::string(127, 's')},
    {"of_5000_bytes", "Serial Number: " + std::string(5000, 's') + "\n", std::string(127, 's')},
};

class oem_serial_number : public oem_info, public testing::WithParamInterface<taken_text> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(oem_info, oem_serial_number, testing::ValuesIn(serial_numbers));

TEST_P(oem_serial_number, is_taken)
{
    machine.tool(dmidecode, GetParam().source);
    EXPECT_EQ(told(), GetParam().taken + "_FLASH01_0123abcd");
}

TEST_F(oem_info, does_not_read_the_status_of_dmidecode)
{
    machine.script(dmidecode, "echo 'Serial Number: SN1'; exit 2");
    EXPECT_EQ(told(), "SN1_FLASH01_0123abcd");
}

TEST_F(oem_info, discards_a_megabyte_behind_the_serial_number)
{
    std::string text = "Serial Number: SN1\n";
    while (text.size() < 1024 * 1024)
        text += "Serial Number: another\n";
    machine.tool(dmidecode, text);
    EXPECT_EQ(told(), "SN1_FLASH01_0123abcd");
}

// The two files.

namespace {

const taken_text file_contents[] = {
    {"without_line_end", "text", "text"},
    {"of_two_lines", "first\nsecond\n", "first"},
    {"before_a_carriage_return", "first\rsecond\n", "first"},
    {"before_a_zero_byte", std::string("first\0second\n", 13), "first"},
    {"of_an_empty_first_line", "\nsecond\n", ""},
    {"of_a_zero_byte_alone", std::string(1, '\0'), ""},
    {"of_126_bytes", std::string(126, 'f') + "\n", std::string(126, 'f')},
    {"of_127_bytes", std::string(127, 'f') + "\n", std::string(127, 'f')},
    {"of_128_bytes", std::string(128, 'f') + "\n", std::string(127, 'f')},
    {"of_129_bytes", std::string(129, 'f') + "\n", std::string(127, 'f')},
    {"of_5000_bytes", std::string(5000, 'f') + "\n", std::string(127, 'f')},
};

class boot_device_file : public oem_info, public testing::WithParamInterface<taken_text> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(oem_info, boot_device_file, testing::ValuesIn(file_contents));

TEST_P(boot_device_file, gives_the_device_name)
{
    machine.file(name_file, GetParam().source);
    EXPECT_EQ(told(), "SN0001_" + GetParam().taken + "_0123abcd");
}

TEST_P(boot_device_file, gives_the_card_identifier)
{
    machine.file(card_file, GetParam().source);
    EXPECT_EQ(told(), "SN0001_FLASH01_" + GetParam().taken);
}

TEST_F(oem_info, holds_three_parts_of_127_bytes)
{
    machine.tool(dmidecode, "Serial Number: " + std::string(200, 's') + "\n");
    machine.file(name_file, std::string(200, 'n'));
    machine.file(card_file, std::string(200, 'c'));
    EXPECT_EQ(told(),
              std::string(127, 's') + "_" + std::string(127, 'n') + "_" + std::string(127, 'c'));
}

TEST_F(oem_info, is_two_separators_when_every_part_is_empty)
{
    machine.tool(dmidecode, "Serial Number: \n");
    machine.file(name_file, "\n");
    machine.file(card_file, "\n");
    EXPECT_EQ(told(), "__");
}

// The order of the sources.

namespace {

struct recorded_case : named_case {
    void (*breaks)(constructed_machine &);
    texts calls;
};

const texts asks_for_all = {"access /usr/sbin/dmidecode 5",
                            "access /proc/bootdevice/product_name 4",
                            "access /proc/bootdevice/cid 4"};
const texts runs_dmidecode = {"popen /usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | "
                              "awk -F': ' '{print $2}' r",
                              "fgets 128", "pclose"};
const texts reads_the_name = {"fopen /proc/bootdevice/product_name r", "fread 128", "fclose"};
const texts reads_the_card = {"fopen /proc/bootdevice/cid r", "fread 128", "fclose"};
const texts copies_nothing = {"strdup "};

texts joined(std::initializer_list<texts> parts)
{
    texts all;
    for (const texts &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

const recorded_case recorded_cases[] = {
    {"whole", [](constructed_machine &) {},
     joined({asks_for_all,
             runs_dmidecode,
             reads_the_name,
             reads_the_card,
             {"strdup SN0001_FLASH01_0123abcd"}})},
    {"without_dmidecode",
     [](constructed_machine &machine) { machine.remove(dmidecode); },
     {"access /usr/sbin/dmidecode 5"}},
    {"without_a_name_file",
     [](constructed_machine &machine) { machine.remove("/proc/bootdevice/product_name"); },
     {"access /usr/sbin/dmidecode 5", "access /proc/bootdevice/product_name 4"}},
    {"without_a_card_file",
     [](constructed_machine &machine) { machine.remove("/proc/bootdevice/cid"); }, asks_for_all},
    {"without_a_serial_number",
     [](constructed_machine &machine) { machine.tool(dmidecode, "\tFamily: Example\n"); },
     joined({asks_for_all, runs_dmidecode, copies_nothing})},
    {"with_an_empty_name_file",
     [](constructed_machine &machine) { machine.file("/proc/bootdevice/product_name", ""); },
     joined({asks_for_all, runs_dmidecode, reads_the_name, copies_nothing})},
    {"with_an_empty_card_file",
     [](constructed_machine &machine) { machine.file("/proc/bootdevice/cid", ""); },
     joined({asks_for_all, runs_dmidecode, reads_the_name, reads_the_card, copies_nothing})},
};

class oem_info_calls : public oem_info, public testing::WithParamInterface<recorded_case> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, oem_info_calls, testing::ValuesIn(recorded_cases));

TEST_P(oem_info_calls, reach_the_sources_in_the_documented_order)
{
    GetParam().breaks(machine);
    const recorded_calls calls;
    owned_text info(hw_oem_info());
    EXPECT_EQ(calls.made(), GetParam().calls);
}
