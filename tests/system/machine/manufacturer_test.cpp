// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Where the manufacturer comes from, and which are Lenovo's.
#include "manufacturer_machine.h"
#include "no_processes.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

constexpr char by_keyword[] = "/usr/sbin/dmidecode -s system-manufacturer";
constexpr char by_table[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}'";
const texts keyword_alone = {by_keyword};
const texts both = {by_keyword, by_table};

class manufacturer : public manufacturer_machine {
protected:
    void furnish() override { machine.watch_shell(); }

    static std::string answer() { return owned_text(system_manufacturer()).value(); }
};

// What dmidecode prints for the keyword and in the table.
struct printed_manufacturer : named_case {
    std::string_view keyword;
    std::string table;
    std::string answer;
    texts commands = both;
};

const printed_manufacturer printed_manufacturers[] = {
    {"by_keyword", "Example Inc.: Box\n", "\tManufacturer: Other\n", "Example Inc.: Box",
     keyword_alone},
    {"by_a_keyword_that_is_a_remark", "# SMBIOS 3.5\nTwo\n", "\tManufacturer: Other\n",
     "# SMBIOS 3.5", keyword_alone},
    {"by_a_keyword_that_is_empty", "\n", "\tManufacturer: Other\n", "", keyword_alone},
    {"by_table", "",
     "Handle 0x0001, DMI type 1, 27 bytes\nSystem Information\n"
     "\tManufacturer: Example Inc. \n\tProduct Name: Box\n",
     "Example Inc. "},
    {"by_table_in_any_case", "", "\tMANUFACTURER: Loud\n", "Loud"},
    {"by_the_first_line_of_the_table", "", "\tManufacturer: One\n\tManufacturer: Two\n", "One"},
    {"by_a_line_that_merely_holds_the_word", "", "\tOld manufacturers: One\n\tManufacturer: Two\n",
     "One"},
    {"up_to_a_second_separator", "", "\tManufacturer: A: B\n", "A"},
    {"with_colons", "", "\tManufacturer: A:B\n", "A:B"},
    {"before_a_carriage_return", "", "\tManufacturer: One\r\n", "One"},
    {"of_5000_bytes", "", "\tManufacturer: " + std::string(5000, 'm') + "\n",
     std::string(1023, 'm')},
    {"empty_without_a_value", "", "\tManufacturer:\n", ""},
    {"nothing_without_the_word", "", "\tVendor: One\n", "(no text)"},
    {"nothing_where_nothing_is_printed", "", "", "(no text)"},
};

class manufacturer_printed : public manufacturer,
                             public testing::WithParamInterface<printed_manufacturer> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, manufacturer_printed, testing::ValuesIn(printed_manufacturers));

TEST_P(manufacturer_printed, by_dmidecode_is_the_keyword_s_before_the_table_s)
{
    dmidecode_prints(GetParam().keyword, GetParam().table);
    EXPECT_EQ(answer(), GetParam().answer);
    EXPECT_EQ(machine.shell_commands(), GetParam().commands);
}

TEST_F(manufacturer, is_queried_with_the_documented_words)
{
    dmidecode_prints("", "");
    EXPECT_EQ(answer(), "(no text)");
    ASSERT_EQ(machine.runs(dmidecode).size(), 2U);
    EXPECT_EQ(machine.runs(dmidecode)[0].arguments,
              (texts{dmidecode, "-s", "system-manufacturer"}));
    EXPECT_EQ(machine.runs(dmidecode)[1].arguments, (texts{dmidecode, "-t", "1"}));
}

TEST_F(manufacturer, is_not_taken_from_files_and_nothing_starts_without_dmidecode)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "LENOVO\n");
    machine.file("/sys/class/dmi/id/board_vendor", "LENOVO\n");
    EXPECT_EQ(answer(), "(no text)");
    machine.script(dmidecode, "echo LENOVO", 0644);
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_F(manufacturer, is_none_where_no_process_can_be_started)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    const no_processes caller;
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(is_lenovo_machine(), 0);
}

TEST_F(manufacturer, is_queried_afresh_on_every_call_whatever_the_exit_status)
{
    machine.script(dmidecode, "echo LENOVO; exit 3");
    EXPECT_EQ(answer(), "LENOVO");
    dmidecode_prints("", "\tManufacturer: Suma\n");
    EXPECT_EQ(answer(), "Suma");
}

TEST_F(manufacturer, leaves_the_errors_of_dmidecode_on_standard_error)
{
    machine.script(dmidecode, "echo \"no SMBIOS for $1\" >&2");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(answer(), "(no text)"); }),
              "no SMBIOS for -s\nno SMBIOS for -t\n");
}

TEST_F(manufacturer, is_what_the_exported_reader_returns)
{
    texts commands;
    interpose::get_machine_info_from_dmidecode = [&commands](const char *command) {
        commands.emplace_back(command);
        return commands.size() == 1 ? nullptr : ::strdup("a program's own");
    };
    EXPECT_EQ(answer(), "a program's own");
    EXPECT_EQ(commands, both);
}

// A program in the firmware's place.

TEST(simulated_manufacturer, is_none_in_the_library_itself)
{
    EXPECT_EQ(get_machine_info_simulate(), nullptr);
}

TEST_F(manufacturer, is_what_the_program_simulates_even_where_that_is_empty)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    for (const char *const text : {"Suma", ""}) {
        simulate(text);
        EXPECT_EQ(answer(), text);
    }
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_F(manufacturer, leaves_the_program_s_text_alone)
{
    static char text[] = "Great Wall Ltd";
    interpose::get_machine_info_simulate = [] { return text; };
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Suma|GREAT WALL"}}).get(), true), 1);
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Suma"}}).get(), true), -1);
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Great Wall"}}).get(), false), 1);
    EXPECT_STREQ(text, "Great Wall Ltd");
}

// Lenovo.

namespace {

const printed_manufacturer lenovos[] = {
    {"by_keyword", "LENOVO\n", "\tManufacturer: Dell Inc.\n", "1", keyword_alone},
    {"kaitian_by_keyword", "KaiTian\n", "", "1", keyword_alone},
    {"and_more_by_keyword", "LENOVO (Beijing)\n", "", "1", keyword_alone},
    {"kaitian_and_more_by_keyword", "KaiTianTech\n", "", "1", keyword_alone},
    {"by_table", "", "System Information\n\tManufacturer: LENOVO\n", "1"},
    {"kaitian_by_table", "Default string\n", "\tManufacturer: KaiTianTech\n", "1"},
    {"by_table_behind_an_empty_keyword", "\n", "\tManufacturer: LENOVO (Beijing)\n", "1"},
    {"in_the_second_line", "# SMBIOS 3.5\nLENOVO\n",
     "\tManufacturer: Dell Inc.\n\tManufacturer: LENOVO\n", "0"},
    {"nowhere", "", "", "0"},
    {"with_empty_names", "\n", "\tManufacturer:\n", "0"},
    {"of_another_maker", "Dell Inc.\n", "\tManufacturer: Dell Inc.\n", "0"},
    {"in_small_letters", "lenovo\n", "\tManufacturer: kaitian\n", "0"},
    {"in_other_capitals", "Lenovo\n", "\tManufacturer: KAITIAN\n", "0"},
    {"without_the_last_letter", "LENOV\n", "\tManufacturer: KaiTia\n", "0"},
    {"with_another_last_letter", "LENOVA\n", "\tManufacturer: KaiTiam\n", "0"},
    {"behind_a_blank", " LENOVO\n", "\tManufacturer:  KaiTian\n", "0"},
    {"inside", "The LENOVO\n", "\tManufacturer: The KaiTian\n", "0"},
};

class lenovo_printed : public manufacturer,
                       public testing::WithParamInterface<printed_manufacturer> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, lenovo_printed, testing::ValuesIn(lenovos));

TEST_P(lenovo_printed, is_known_by_the_start_of_either_name)
{
    dmidecode_prints(GetParam().keyword, GetParam().table);
    EXPECT_EQ(standard_error_of(
                  [] { EXPECT_EQ(std::to_string(is_lenovo_machine()), GetParam().answer); }),
              "");
    EXPECT_EQ(machine.shell_commands(), GetParam().commands);
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(manufacturer, of_lenovo_is_not_simulated)
{
    simulate("LENOVO");
    dmidecode_prints("Dell Inc.\n", "\tManufacturer: Dell Inc.\n");
    EXPECT_EQ(is_lenovo_machine(), 0);
}
