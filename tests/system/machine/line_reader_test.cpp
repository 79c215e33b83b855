// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The first line of a file or of a command's output, wherever it is read.
#include "manufacturer_machine.h"
#include "no_processes.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>

#include <unistd.h>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

struct first_line_reader : named_case {
    const char *file; // none where nullptr: dmidecode prints the text
    std::function<char *()> read;
};

const first_line_reader first_line_readers[] = {
    {"machine_info_of_a_file", "/srv/some/file",
     [] { return get_machine_info_from_sysfs("/srv/some/file"); }},
    {"service_tag_of_a_file", "/srv/some/file",
     [] { return get_service_tag_from_sysfs("/srv/some/file"); }},
    {"machine_info_of_a_command", nullptr,
     [] { return get_machine_info_from_dmidecode("/usr/sbin/dmidecode"); }},
    {"service_tag_of_a_command", nullptr,
     [] { return get_service_tag_from_dmidecode("/usr/sbin/dmidecode"); }},
    {"vendor", "/sys/class/dmi/id/sys_vendor", orvane_get_vendor},
    {"model", "/sys/class/dmi/id/product_sku", orvane_get_model},
    {"system_uuid", "/sys/devices/virtual/dmi/id/product_uuid", orvane_get_system_uuid},
    {"manufacturer", nullptr, system_manufacturer},
};

struct first_line : named_case {
    std::string_view text;
    std::string_view line;
};

const std::string long_line(5000, 'x');
const std::string_view xs = long_line;

const first_line first_lines[] = {
    {"of_two", "one\ntwo\n", "one"},
    {"that_is_empty", "\nsecond\n", ""},
    {"without_a_line_end", "one", "one"},
    {"before_cr_lf", "one\r\n", "one"},
    {"before_a_carriage_return", "left\rright\n", "left"},
    {"before_a_zero_byte", {"left\0right\n", 11}, "left"},
    {"that_is_a_zero_byte", {"\0one\n", 5}, ""},
    {"with_blanks_around", " \tTo be filled by O.E.M. \t \n", " \tTo be filled by O.E.M. \t "},
    {"beyond_ascii", "\x80M\xfc\xff\xe4\xbd\xa0\n", "\x80M\xfc\xff\xe4\xbd\xa0"},
    {"like_a_format", "%s%n\n", "%s%n"},
    {"of_1022_bytes", xs.substr(0, 1022), xs.substr(0, 1022)},
    {"of_1023_bytes", xs.substr(0, 1023), xs.substr(0, 1023)},
    {"of_1024_bytes", xs.substr(0, 1024), xs.substr(0, 1023)},
    {"of_5000_bytes", xs, xs.substr(0, 1023)},
    {"of_nothing", "", "(no text)"},
};

class line_reader : public on_machine,
                    public testing::WithParamInterface<std::tuple<first_line_reader, first_line>> {
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, line_reader,
                         testing::Combine(testing::ValuesIn(first_line_readers),
                                          testing::ValuesIn(first_lines)));

TEST_P(line_reader, returns_the_first_line_without_its_end)
{
    const auto &[reader, line] = GetParam();
    if (reader.file != nullptr)
        machine.file(reader.file, line.text);
    else
        machine.tool(dmidecode, line.text);
    EXPECT_EQ(owned_text(reader.read()).value(), line.line);
}

// The exported readers of a file.

namespace {

struct file_query : named_case {
    char *(*read)(const char *path);
};

class file_reader : public on_machine, public testing::WithParamInterface<file_query> {
protected:
    static std::string line_of(const char *path)
    {
        return owned_text(GetParam().read(path)).value();
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, file_reader,
                         testing::Values(file_query{"machine_info", get_machine_info_from_sysfs},
                                         file_query{"service_tag", get_service_tag_from_sysfs}));

TEST_P(file_reader, returns_nothing_of_what_is_no_readable_file)
{
    machine.file("/srv/secret", "for root alone\n", 0400);
    EXPECT_EQ(line_of("/srv/no/such/file"), "(no text)");
    EXPECT_EQ(line_of("/srv"), "(no text)");
    EXPECT_EQ(line_of(nullptr), "(no text)");
    const other_user user;
    EXPECT_EQ(line_of("/srv/secret"), "(no text)");
}

// The exported readers of a command.

namespace {

struct command_query : named_case {
    char *(*run)(const char *command);
};

class command_reader : public on_machine, public testing::WithParamInterface<command_query> {
protected:
    void furnish() override
    {
        machine.tool(dmidecode, "never run\n");
        machine.watch_shell();
    }

    static std::string line_of(const std::string &command)
    {
        return owned_text(GetParam().run(command.c_str())).value();
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    , command_reader,
    testing::Values(command_query{"machine_info", get_machine_info_from_dmidecode},
                    command_query{"service_tag", get_service_tag_from_dmidecode}));

TEST_P(command_reader, gives_any_command_to_the_shell_as_it_stands)
{
    EXPECT_EQ(line_of("echo \"a  b\" | tr a-z A-Z"), "A  B");
    EXPECT_EQ(machine.shell_commands(), texts{"echo \"a  b\" | tr a-z A-Z"});
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_P(command_reader, returns_nothing_of_no_command)
{
    EXPECT_TRUE(owned_text(GetParam().run(nullptr)).is_null());
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_P(command_reader, returns_the_line_whatever_the_exit_status)
{
    EXPECT_EQ(line_of("echo text; exit 9"), "text");
}

TEST_P(command_reader, waits_for_the_command_to_end)
{
    const std::string last_deed = machine.scratch("made");
    EXPECT_EQ(line_of("echo text; echo done >" + last_deed), "text");
    EXPECT_EQ(machine.content(last_deed), "done\n");
}

TEST_P(command_reader, runs_the_command_in_the_caller_s_environment)
{
    ::setenv("OF_THE_CALLER", "as it stands", 1);
    ASSERT_EQ(::chdir("/srv"), 0);
    EXPECT_EQ(standard_error_of([] {
                  EXPECT_EQ(line_of("echo error >&2; echo \"$OF_THE_CALLER\" in $(pwd)"),
                            "as it stands in /srv");
              }),
              "error\n");
}

TEST_P(command_reader, runs_nothing_without_dmidecode)
{
    machine.remove(dmidecode);
    EXPECT_EQ(line_of("echo text"), "(no text)");
    machine.script(dmidecode, "", 0644);
    EXPECT_EQ(line_of("echo text"), "(no text)");
    machine.script(dmidecode, "", 0711);
    const other_user user(0); // whose real user counts
    EXPECT_EQ(line_of("echo text"), "(no text)");
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_P(command_reader, returns_nothing_where_no_process_can_be_started)
{
    const no_processes caller;
    EXPECT_EQ(line_of("echo text"), "(no text)");
}
