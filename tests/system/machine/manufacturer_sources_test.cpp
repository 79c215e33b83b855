// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Where the manufacturer comes from.
#include "manufacturer_machine.h"
#include "recorded_calls.h"

#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr char access_asked[] = "access /usr/sbin/dmidecode 5";
constexpr char keyword_run[] = "popen /usr/sbin/dmidecode -s system-manufacturer r";
constexpr char table_run[] =
    "popen /usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}' r";

class recorded_sources : public recorded_calls {
public:
    recorded_sources()
    {
        interpose::get_machine_info_simulate = [this] {
            note("get_machine_info_simulate");
            return interpose::get_machine_info_simulate.real();
        };
    }

    // Without the copies that are made of what was read.
    [[nodiscard]] texts made_but_for_copies() const
    {
        texts calls = made();
        std::erase_if(calls, [](const std::string &call) { return call.starts_with("strdup "); });
        return calls;
    }
};

class manufacturer_sources : public manufacturer_machine {
protected:
    // The manufacturer that the patterns are compared with.
    static std::string told()
    {
        std::string compared = "(nothing)";
        interpose::maching_machine_type_with_dmidecode = [&compared](const char *manufacturer,
                                                                     const char *) {
            compared = manufacturer;
            return false;
        };
        const owned_key_file kf = patterns_of({{"any", "pattern"}});
        EXPECT_EQ(maching_machine_type(kf.get(), false), -1);
        interpose::maching_machine_type_with_dmidecode.reset();
        return compared;
    }

    // A type that only a machine whose manufacturer is told can have.
    static int type_of_anybody()
    {
        return maching_machine_type(patterns_of({{"anybody", "Suma|"}}).get(), false);
    }
};

} // namespace

// The order of the sources.

TEST_F(manufacturer_sources, are_asked_in_their_order)
{
    dmidecode_prints("", "\tManufacturer: Example Inc.\n");
    const recorded_sources calls;
    EXPECT_EQ(told(), "Example Inc.");
    EXPECT_EQ(calls.made_but_for_copies(),
              (texts{"get_machine_info_simulate", access_asked, keyword_run, "fgets 1024", "pclose",
                     access_asked, table_run, "fgets 1024", "pclose"}));
}

TEST_F(manufacturer_sources, end_at_the_keyword_that_tells)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: Example Inc.\n");
    const recorded_sources calls;
    EXPECT_EQ(told(), "LENOVO");
    EXPECT_EQ(calls.made_but_for_copies(), (texts{"get_machine_info_simulate", access_asked,
                                                  keyword_run, "fgets 1024", "pclose"}));
}

TEST_F(manufacturer_sources, are_not_files)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "LENOVO\n");
    machine.file("/sys/class/dmi/id/board_vendor", "LENOVO\n");
    EXPECT_EQ(told(), "(nothing)");
}

TEST_F(manufacturer_sources, start_nothing_where_dmidecode_is_missing)
{
    const recorded_sources calls;
    EXPECT_EQ(told(), "(nothing)");
    EXPECT_EQ(calls.made(), (texts{"get_machine_info_simulate", access_asked, access_asked}));
}

TEST_F(manufacturer_sources, start_nothing_where_dmidecode_is_not_executable)
{
    machine.script(dmidecode, "echo LENOVO", 0644);
    const recorded_sources calls;
    EXPECT_EQ(told(), "(nothing)");
    EXPECT_EQ(calls.made(), (texts{"get_machine_info_simulate", access_asked, access_asked}));
}

TEST_F(manufacturer_sources, give_dmidecode_the_documented_arguments)
{
    dmidecode_prints("", "");
    EXPECT_EQ(told(), "(nothing)");
    ASSERT_EQ(machine.runs(dmidecode).size(), 2U);
    EXPECT_EQ(machine.runs(dmidecode)[0].arguments,
              (texts{"/usr/sbin/dmidecode", "-s", "system-manufacturer"}));
    EXPECT_EQ(machine.runs(dmidecode)[1].arguments, (texts{"/usr/sbin/dmidecode", "-t", "1"}));
}

TEST_F(manufacturer_sources, are_asked_afresh_on_every_call)
{
    dmidecode_prints("LENOVO\n", "");
    EXPECT_EQ(told(), "LENOVO");
    dmidecode_prints("", "\tManufacturer: Suma\n");
    EXPECT_EQ(told(), "Suma");
}

TEST_F(manufacturer_sources, are_asked_by_the_exported_reader)
{
    texts commands;
    interpose::get_machine_info_from_dmidecode = [&commands](const char *command) {
        commands.emplace_back(command);
        return commands.size() == 1 ? nullptr : ::strdup("a program's own");
    };
    EXPECT_EQ(told(), "a program's own");
    EXPECT_EQ(commands, (texts{"/usr/sbin/dmidecode -s system-manufacturer",
                               "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' "
                               "'{print $2}'"}));
}

TEST_F(manufacturer_sources, go_on_when_a_command_cannot_be_started)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: Suma\n");
    interpose::popen = [](const char *command, const char *mode) -> std::FILE * {
        return std::strstr(command, " -s ") ? nullptr : interpose::popen.real(command, mode);
    };
    EXPECT_EQ(told(), "Suma");
}

TEST_F(manufacturer_sources, tell_nothing_when_no_command_can_be_started)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: Suma\n");
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    EXPECT_EQ(told(), "(nothing)");
}

TEST_F(manufacturer_sources, do_not_read_the_status_of_dmidecode)
{
    machine.script(dmidecode, "echo LENOVO; exit 3");
    EXPECT_EQ(told(), "LENOVO");
}

TEST_F(manufacturer_sources, leave_the_complaints_of_dmidecode_on_standard_error)
{
    machine.script(dmidecode, "echo \"no SMBIOS for $1\" >&2");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(told(), "(nothing)"); }),
              "no SMBIOS for -s\nno SMBIOS for -t\n");
}

TEST_F(manufacturer_sources, go_on_when_no_memory_is_left_for_the_keyword)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: Suma\n");
    interpose::strdup = [](const char *text) -> char * {
        return std::strcmp(text, "LENOVO") == 0 ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(told(), "Suma");
}

TEST_F(manufacturer_sources, tell_nothing_without_memory)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: Suma\n");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(type_of_anybody(), -1);
    EXPECT_EQ(machine.runs(dmidecode).size(), 2U);
    EXPECT_EQ(machine.trace(), texts{});
}

// When they are asked at all.

TEST_F(manufacturer_sources, are_not_asked_without_a_key_file)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    const recorded_sources calls;
    EXPECT_EQ(maching_machine_type(nullptr, false), -1);
    EXPECT_EQ(maching_machine_type(nullptr, true), -1);
    EXPECT_EQ(calls.made(), texts{});
}

TEST_F(manufacturer_sources, are_asked_before_the_patterns_are_looked_at)
{
    dmidecode_prints("LENOVO\n", "");
    EXPECT_EQ(maching_machine_type(loaded_patterns("[other]\n").get(), false), -1);
    EXPECT_EQ(machine.runs(dmidecode).size(), 1U);
}

TEST_F(manufacturer_sources, leave_empty_keys_untraced_when_they_tell_nothing)
{
    EXPECT_EQ(maching_machine_type(loaded_patterns("[manufacturer_patterns]\n").get(), true), -1);
    EXPECT_EQ(machine.trace(), texts{});
}

// A program in the firmware's place.

TEST(simulated_manufacturer, is_none_in_the_library_itself)
{
    EXPECT_EQ(get_machine_info_simulate(), nullptr);
}

TEST_F(manufacturer_sources, end_at_the_program_that_tells)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    const recorded_sources calls;
    int asked = 0;
    interpose::get_machine_info_simulate = [&asked, text = std::string("Suma")]() mutable {
        ++asked;
        return text.data();
    };
    EXPECT_EQ(told(), "Suma");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(calls.made_but_for_copies(), texts{});
}

TEST_F(manufacturer_sources, end_at_the_program_that_tells_an_empty_name)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    simulate("");
    EXPECT_EQ(type_of_anybody(), 0);
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(manufacturer_sources, do_not_go_on_when_no_memory_is_left_for_the_program_s_text)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    simulate("Suma");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(type_of_anybody(), -1);
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(manufacturer_sources, leave_the_program_s_text_alone)
{
    static char text[] = "Great Wall Ltd";
    interpose::get_machine_info_simulate = [] { return text; };
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "greatwall"}}).get(), true), 1);
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Suma|GREAT WALL"}}).get(), true), 1);
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Suma"}}).get(), true), -1);
    EXPECT_EQ(maching_machine_type(patterns_of({}).get(), true), -1);
    EXPECT_EQ(maching_machine_type(patterns_of({{"a", "Great Wall"}}).get(), false), 1);
    EXPECT_STREQ(text, "Great Wall Ltd");
}

// What is taken from dmidecode's output.

namespace {

struct printed_manufacturer : named_case {
    std::string_view keyword;
    std::string_view table;
    std::string_view told;
};

class printed_name : public manufacturer_sources,
                     public testing::WithParamInterface<printed_manufacturer> {};

} // namespace

TEST_P(printed_name, is_taken)
{
    dmidecode_prints(GetParam().keyword, GetParam().table);
    EXPECT_EQ(told(), GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    by_keyword, printed_name,
    testing::Values(
        printed_manufacturer{"whole", "Example Inc.: Box\n", "", "Example Inc.: Box"},
        printed_manufacturer{"of_the_first_line", "One\nTwo\n", "", "One"},
        printed_manufacturer{"even_if_a_remark", "# SMBIOS 3.5\nTwo\n", "", "# SMBIOS 3.5"},
        printed_manufacturer{"with_blanks_around", " \tOne \t\n", "", " \tOne \t"},
        printed_manufacturer{"without_a_line_end", "One", "", "One"},
        printed_manufacturer{"before_a_carriage_return", "One\r\n", "", "One"},
        printed_manufacturer{"before_a_lone_carriage_return", "One\rTwo\n", "", "One"},
        printed_manufacturer{"before_a_zero_byte", {"One\0Two\n", 8}, "", "One"},
        printed_manufacturer{"beyond_ascii", "M\xc3\xbcller\xff\n", "", "M\xc3\xbcller\xff"},
        printed_manufacturer{"empty_for_an_empty_line", "\n", "\tManufacturer: Other\n", ""},
        printed_manufacturer{
            "empty_for_a_zero_byte", {"\0One\n", 5}, "\tManufacturer: Other\n", ""}));

INSTANTIATE_TEST_SUITE_P(
    by_table, printed_name,
    testing::Values(
        printed_manufacturer{"whole", "",
                             "Handle 0x0001, DMI type 1, 27 bytes\n"
                             "System Information\n"
                             "\tManufacturer: Example Inc. \n"
                             "\tProduct Name: Box\n",
                             "Example Inc. "},
        printed_manufacturer{"in_any_case", "", "\tMANUFACTURER: Loud\n", "Loud"},
        printed_manufacturer{"of_the_first_line", "", "\tManufacturer: One\n\tManufacturer: Two\n",
                             "One"},
        printed_manufacturer{"of_a_line_that_merely_holds_the_word", "",
                             "\tOld manufacturers: One\n\tManufacturer: Two\n", "One"},
        printed_manufacturer{"up_to_a_second_separator", "", "\tManufacturer: A: B\n", "A"},
        printed_manufacturer{"with_colons", "", "\tManufacturer: A:B\n", "A:B"},
        printed_manufacturer{"before_a_carriage_return", "", "\tManufacturer: One\r\n", "One"},
        printed_manufacturer{"empty_without_a_value", "", "\tManufacturer:\n", ""},
        printed_manufacturer{"nothing_without_the_word", "", "\tVendor: One\n", "(nothing)"},
        printed_manufacturer{"nothing_where_nothing_is_printed", "", "", "(nothing)"}));

TEST_F(manufacturer_sources, cut_the_keyword_s_line_at_1023_bytes)
{
    for (const std::size_t size : {1022U, 1023U}) {
        dmidecode_prints(std::string(size, 'm') + "\n", "");
        EXPECT_EQ(told(), std::string(size, 'm'));
    }
    for (const std::size_t size : {1024U, 5000U}) {
        dmidecode_prints(std::string(size, 'm') + "\n", "");
        EXPECT_EQ(told(), std::string(1023, 'm'));
    }
}

TEST_F(manufacturer_sources, cut_the_table_s_value_at_1023_bytes)
{
    for (const std::size_t size : {1022U, 1023U}) {
        dmidecode_prints("", "\tManufacturer: " + std::string(size, 'm') + "\n");
        EXPECT_EQ(told(), std::string(size, 'm'));
    }
    for (const std::size_t size : {1024U, 5000U}) {
        dmidecode_prints("", "\tManufacturer: " + std::string(size, 'm') + "\n");
        EXPECT_EQ(told(), std::string(1023, 'm'));
    }
}
