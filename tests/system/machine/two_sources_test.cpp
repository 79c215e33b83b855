// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The queries that ask a kernel file first and dmidecode second.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"
#include "recorded_calls.h"

#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

} // namespace

namespace {

struct query : named_case {
    char *(*ask)();
    const char *file;
    const char *command;
    texts tool_arguments;
    const char *tool_line;
    const char *tool_answer;
};

const query queries[] = {
    {"vendor",
     orvane_get_vendor,
     "/sys/class/dmi/id/sys_vendor",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Family' |awk '{print $2}'",
     {dmidecode, "-t", "1"},
     "\tFamily: Example Series 5\n",
     "Example"},
    {"model",
     orvane_get_model,
     "/sys/class/dmi/id/product_sku",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Version' |awk '{print $2}'",
     {dmidecode, "-t", "1"},
     "\tVersion: Mark 2\n",
     "Mark"},
    {"system_uuid",
     orvane_get_system_uuid,
     "/sys/devices/virtual/dmi/id/product_uuid",
     "/usr/sbin/dmidecode -s system-uuid | grep "
     "'[0-9a-fA-F]\\{8\\}-[0-9a-fA-F]\\{4\\}-[0-9a-fA-F]\\{4\\}-[0-9a-fA-F]\\{4\\}-"
     "[0-9a-fA-F]\\{12\\}'",
     {dmidecode, "-s", "system-uuid"},
     "4c4c4544-0042-3510-8051-b4c04f4d3132\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132"},
};

class two_sources : public on_machine, public testing::WithParamInterface<query> {
protected:
    void file_says(std::string_view content) { machine.file(GetParam().file, content); }
    void tool_says(std::string_view text) { machine.tool(dmidecode, text); }
    void tool_answers() { tool_says(GetParam().tool_line); }

    [[nodiscard]] static owned_text asked() { return owned_text(GetParam().ask()); }
    [[nodiscard]] bool tool_was_run() const { return !machine.runs(dmidecode).empty(); }

    void expect_the_answer_of_the_tool() const
    {
        EXPECT_EQ(asked().value(), GetParam().tool_answer);
        EXPECT_TRUE(tool_was_run());
    }

    // Nothing is told, and no process is started to find that out.
    static void expect_nothing_at_no_cost()
    {
        const recorded_calls calls;
        EXPECT_TRUE(asked().is_null());
        EXPECT_EQ(calls.made(), (texts{"fopen " + std::string(GetParam().file) + " r",
                                       "access /usr/sbin/dmidecode 5"}));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, two_sources, testing::ValuesIn(queries));

TEST_P(two_sources, prefer_the_first_line_of_the_kernel_file)
{
    file_says("What the Kernel tells\nsecond line\n");
    tool_answers();
    EXPECT_EQ(asked().value(), "What the Kernel tells");
    EXPECT_FALSE(tool_was_run());
}

TEST_P(two_sources, take_an_empty_first_line_of_the_file_for_the_answer)
{
    file_says("\nsecond line\n");
    tool_answers();
    const owned_text told = asked();
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), "");
    EXPECT_FALSE(tool_was_run());
}

TEST_P(two_sources, trim_nothing_from_the_file)
{
    file_says(" \tTo be filled by O.E.M. \t \r\n");
    EXPECT_EQ(asked().value(), " \tTo be filled by O.E.M. \t ");
}

TEST_P(two_sources, keep_bytes_of_any_encoding)
{
    file_says("\x80M\xfc\xff\xe4\xbd\xa0\n");
    EXPECT_EQ(asked().value(), "\x80M\xfc\xff\xe4\xbd\xa0");
}

TEST_P(two_sources, end_at_a_zero_byte_in_the_file)
{
    file_says(std::string_view("before\0behind\n", 14));
    EXPECT_EQ(asked().value(), "before");
}

TEST_P(two_sources, cut_a_line_of_the_file_at_1023_bytes)
{
    file_says(std::string(5000, 'f') + "\n");
    EXPECT_EQ(asked().value(), std::string(1023, 'f'));
}

TEST_P(two_sources, ask_the_tool_when_the_file_is_missing)
{
    tool_answers();
    expect_the_answer_of_the_tool();
}

TEST_P(two_sources, ask_the_tool_when_the_file_holds_no_byte)
{
    file_says("");
    tool_answers();
    expect_the_answer_of_the_tool();
}

TEST_P(two_sources, ask_the_tool_when_the_file_is_a_directory)
{
    machine.directory(GetParam().file);
    tool_answers();
    expect_the_answer_of_the_tool();
}

TEST_P(two_sources, ask_the_tool_when_the_file_cannot_be_read)
{
    machine.file(GetParam().file, "for root alone\n", 0400);
    tool_answers();
    const other_user user;
    expect_the_answer_of_the_tool();
}

TEST_P(two_sources, ask_the_tool_when_no_memory_is_left_for_the_answer_of_the_file)
{
    file_says("from the file\n");
    tool_answers();
    interpose::strdup = [](const char *text) -> char * {
        return std::string_view(text) == "from the file" ? nullptr : interpose::strdup.real(text);
    };
    expect_the_answer_of_the_tool();
}

TEST_P(two_sources, ask_both_sources_afresh_on_every_call)
{
    file_says("first\n");
    tool_answers();
    EXPECT_EQ(asked().value(), "first");
    file_says("second\n");
    EXPECT_EQ(asked().value(), "second");
    machine.remove(GetParam().file);
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
}

TEST_P(two_sources, give_the_tool_its_documented_arguments)
{
    tool_answers();
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments, GetParam().tool_arguments);
}

TEST_P(two_sources, read_the_file_in_the_documented_order)
{
    file_says("from the file\n");
    tool_answers();
    const recorded_calls calls;
    EXPECT_EQ(asked().value(), "from the file");
    EXPECT_EQ(calls.made(), (texts{"fopen " + std::string(GetParam().file) + " r", "fgets 1024",
                                   "fclose", "strdup from the file"}));
}

TEST_P(two_sources, run_the_tool_in_the_documented_order)
{
    tool_answers();
    const recorded_calls calls;
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
    EXPECT_EQ(calls.made(),
              (texts{"fopen " + std::string(GetParam().file) + " r", "access /usr/sbin/dmidecode 5",
                     "popen " + std::string(GetParam().command) + " r", "fgets 1024", "pclose",
                     "strdup " + std::string(GetParam().tool_answer)}));
}

TEST_P(two_sources, close_the_file_that_holds_no_byte_before_asking_the_tool)
{
    file_says("");
    const recorded_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(), (texts{"fopen " + std::string(GetParam().file) + " r", "fgets 1024",
                                   "fclose", "access /usr/sbin/dmidecode 5"}));
}

TEST_P(two_sources, start_nothing_when_the_tool_is_missing)
{
    expect_nothing_at_no_cost();
}

TEST_P(two_sources, start_nothing_when_the_tool_is_not_executable)
{
    machine.script(dmidecode, "echo never", 0644);
    expect_nothing_at_no_cost();
}

TEST_P(two_sources, start_nothing_when_the_real_user_may_not_read_the_tool)
{
    machine.script(dmidecode, "echo never", 0711);
    const other_user user(0);
    expect_nothing_at_no_cost();
}

TEST_P(two_sources, have_no_answer_when_the_tool_cannot_be_started)
{
    tool_answers();
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
}

TEST_P(two_sources, have_no_answer_when_the_tool_prints_nothing)
{
    tool_says("");
    EXPECT_TRUE(asked().is_null());
    EXPECT_TRUE(tool_was_run());
}

TEST_P(two_sources, have_no_answer_when_the_tool_prints_garbage)
{
    tool_says("\x01\xff\xfe garbage \x80\n=== ---\n");
    EXPECT_TRUE(asked().is_null());
    EXPECT_TRUE(tool_was_run());
}

TEST_P(two_sources, do_not_read_the_status_of_the_tool)
{
    machine.script(dmidecode, "printf '%s' '" + std::string(GetParam().tool_line) + "'; exit 3");
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
}

TEST_P(two_sources, have_no_answer_when_the_tool_fails_silently)
{
    machine.script(dmidecode, "exit 1");
    EXPECT_TRUE(asked().is_null());
}

TEST_P(two_sources, find_the_answer_behind_a_megabyte_of_other_lines)
{
    std::string text;
    while (text.size() < 1024 * 1024)
        text += "a remark that says nothing\n";
    tool_says(text + GetParam().tool_line);
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
}

TEST_P(two_sources, discard_a_megabyte_behind_the_answer)
{
    std::string text = GetParam().tool_line;
    while (text.size() < 1024 * 1024)
        text += GetParam().tool_line;
    tool_says(text);
    EXPECT_EQ(asked().value(), GetParam().tool_answer);
}

TEST_P(two_sources, leave_the_complaints_of_the_tool_on_standard_error)
{
    machine.script(dmidecode, "echo 'no SMBIOS here' >&2");
    EXPECT_EQ(standard_error_of([] { EXPECT_TRUE(asked().is_null()); }), "no SMBIOS here\n");
}

namespace {

class dmi_fact : public on_machine, public testing::WithParamInterface<query> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, dmi_fact, testing::Values(queries[0], queries[1]));

TEST_P(dmi_fact, comes_unchanged_from_whoever_defines_the_file_reader)
{
    texts paths;
    char *const text = ::strdup("from a program's own reader");
    interpose::get_machine_info_from_sysfs = [&](const char *path) {
        paths.emplace_back(path);
        return text;
    };
    const owned_text told(GetParam().ask());
    EXPECT_EQ(told.value(), "from a program's own reader");
    EXPECT_EQ(paths, (texts{GetParam().file}));
}

TEST_P(dmi_fact, comes_unchanged_from_whoever_defines_the_command_reader)
{
    texts commands;
    interpose::get_machine_info_from_dmidecode = [&](const char *command) {
        commands.emplace_back(command);
        return ::strdup("from a program's own reader");
    };
    EXPECT_EQ(owned_text(GetParam().ask()).value(), "from a program's own reader");
    EXPECT_EQ(commands, (texts{GetParam().command}));
}
