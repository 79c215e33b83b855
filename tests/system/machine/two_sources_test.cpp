// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The queries that read a kernel file first and run dmidecode second.
#include "fixture.h"
#include "interpose.h"
#include "no_processes.h"
#include "orvane.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

struct query : named_case {
    char *(*answer)();
    const char *file;
    const char *command;
    texts tool_words;
    std::string tool_line;
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

template <class Parameter>
class queried_machine : public on_machine, public testing::WithParamInterface<Parameter> {
protected:
    void furnish() override { machine.watch_shell(); }

    static std::string answer(const query &of) { return owned_text(of.answer()).value(); }
};

class two_sources : public queried_machine<query> {
protected:
    void furnish() override
    {
        queried_machine::furnish();
        machine.tool(dmidecode, GetParam().tool_line);
    }

    static std::string answer() { return queried_machine::answer(GetParam()); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, two_sources, testing::ValuesIn(queries));

TEST_P(two_sources, prefer_the_file_even_where_it_holds_an_empty_line)
{
    machine.file(GetParam().file, "From the Kernel\n");
    EXPECT_EQ(answer(), "From the Kernel");
    machine.file(GetParam().file, "\n");
    EXPECT_EQ(answer(), "");
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_P(two_sources, are_read_afresh_on_every_call_into_a_text_of_the_caller_s_own)
{
    machine.file(GetParam().file, "first\n");
    const owned_text first(GetParam().answer());
    machine.file(GetParam().file, "second\n");
    const owned_text second(GetParam().answer());
    machine.remove(GetParam().file);
    EXPECT_EQ(answer(), GetParam().tool_answer);
    EXPECT_EQ(first.value(), "first");
    EXPECT_EQ(second.value(), "second");
}

TEST_P(two_sources, are_read_in_silence)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(answer(), GetParam().tool_answer); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_P(two_sources, leave_the_errors_of_the_tool_on_standard_error)
{
    machine.script(dmidecode, "echo 'no SMBIOS here' >&2");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(answer(), "(no text)"); }), "no SMBIOS here\n");
}

TEST_P(two_sources, give_nothing_where_no_process_can_be_started)
{
    const no_processes caller;
    EXPECT_EQ(answer(), "(no text)");
}

// Files that send the query on to the tool.

namespace {

struct useless_file : named_case {
    void (*make)(constructed_machine &machine, const char *path);
};

const useless_file useless_files[] = {
    {"missing", [](constructed_machine &machine, const char *path) { machine.remove(path); }},
    {"empty", [](constructed_machine &machine, const char *path) { machine.file(path, ""); }},
    {"a_directory",
     [](constructed_machine &machine, const char *path) { machine.directory(path); }},
    {"unreadable", [](constructed_machine &machine,
                      const char *path) { machine.file(path, "for root alone\n", 0400); }},
};

class source_file : public queried_machine<std::tuple<query, useless_file>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, source_file,
                         testing::Combine(testing::ValuesIn(queries),
                                          testing::ValuesIn(useless_files)));

TEST_P(source_file, without_a_line_is_followed_by_the_documented_command)
{
    const auto &[query, file] = GetParam();
    machine.tool(dmidecode, query.tool_line);
    file.make(machine, query.file);
    const other_user user;
    EXPECT_EQ(answer(query), query.tool_answer);
    EXPECT_EQ(machine.shell_commands(), texts{query.command});
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments, query.tool_words);
}

// What the tool prints.

namespace {

struct tool_output : named_case {
    std::string (*script)(const query &of);
    bool is_answer;
};

const tool_output tool_outputs[] = {
    {"the_answer", [](const query &of) { return "printf '" + of.tool_line + "'"; }, true},
    {"the_answer_and_fails",
     [](const query &of) { return "printf '" + of.tool_line + "'; exit 3"; }, true},
    {"the_answer_behind_a_megabyte",
     [](const query &of) {
         return "yes 'a remark' | head -c 1000000; echo; printf '" + of.tool_line + "'";
     },
     true},
    {"the_answer_before_a_megabyte",
     [](const query &of) {
         return "printf '" + of.tool_line + "'; yes '" + of.tool_line + "' | head -c 1000000";
     },
     true},
    {"nothing", [](const query &) { return std::string(); }, false},
    {"nothing_and_fails", [](const query &) { return std::string("exit 1"); }, false},
    {"other_lines",
     [](const query &) { return std::string("printf '\\001\\377 garbage \\200\\n=== ---\\n'"); },
     false},
};

class source_tool : public queried_machine<std::tuple<query, tool_output>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, source_tool,
                         testing::Combine(testing::ValuesIn(queries),
                                          testing::ValuesIn(tool_outputs)));

TEST_P(source_tool, is_taken_by_what_it_prints)
{
    const auto &[query, output] = GetParam();
    machine.script(dmidecode, output.script(query));
    EXPECT_EQ(answer(query), output.is_answer ? query.tool_answer : "(no text)");
    EXPECT_EQ(machine.runs(dmidecode).size(), 1U);
}

TEST_P(two_sources, start_and_print_nothing_without_the_tool)
{
    EXPECT_EQ(standard_error_of([this] {
                  machine.remove(dmidecode);
                  EXPECT_EQ(answer(), "(no text)");
                  machine.script(dmidecode, "echo never", 0644);
                  EXPECT_EQ(answer(), "(no text)");
                  machine.script(dmidecode, "echo never", 0711);
                  const other_user user(0); // whose real user counts
                  EXPECT_EQ(answer(), "(no text)");
              }),
              "");
    EXPECT_EQ(machine.shell_commands(), texts{});
}

// Programs that define the exported readers themselves.

namespace {

class dmi_fact : public queried_machine<query> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, dmi_fact, testing::Values(queries[0], queries[1]));

TEST_P(dmi_fact, is_what_the_exported_readers_return)
{
    texts sources;
    interpose::get_machine_info_from_sysfs = [&sources](const char *path) -> char * {
        sources.emplace_back(path);
        return nullptr;
    };
    interpose::get_machine_info_from_dmidecode = [&sources](const char *command) {
        sources.emplace_back(command);
        return ::strdup("from a program's own reader");
    };
    EXPECT_EQ(answer(GetParam()), "from a program's own reader");
    EXPECT_EQ(sources, (texts{GetParam().file, GetParam().command}));
}
