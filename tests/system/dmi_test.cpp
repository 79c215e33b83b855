// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <csignal>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using texts = std::vector<std::string>;

constexpr char dmidecode[] = "/usr/sbin/dmidecode";
constexpr uid_t nobody = 65534;

constexpr char system_information[] = "# dmidecode 3.4\n"
                                      "Getting SMBIOS data from sysfs.\n"
                                      "\n"
                                      "Handle 0x0001, DMI type 1, 27 bytes\n"
                                      "System Information\n"
                                      "\tManufacturer: Example Inc.\n"
                                      "\tProduct Name: Box\n"
                                      "\tVersion: Mark 2\n"
                                      "\tSerial Number: ABC 123\n"
                                      "\tSKU Number: SKU0001\n"
                                      "\tFamily: Example Series 5\n"
                                      "\n";

// The shell commands of a dmidecode that knows all of one machine.
std::string whole_dmidecode()
{
    return "case $2 in\n"
           "1) cat <<'END'\n" +
           std::string(system_information) +
           "END\n"
           ";;\n"
           "system-uuid) echo 4c4c4544-0042-3510-8051-b4c04f4d3132 ;;\n"
           "esac";
}

// Another user than root for its lifetime: the real one alone, or the effective one with it.
class other_user {
public:
    explicit other_user(uid_t effective = nobody)
    {
        EXPECT_EQ(::setresuid(nobody, effective, 0), 0);
    }
    other_user(const other_user &) = delete;
    other_user &operator=(const other_user &) = delete;
    ~other_user() { EXPECT_EQ(::setresuid(0, 0, 0), 0); }
};

// Writes down, in order, the calls by which the library reaches its sources.
class recorded_calls {
public:
    recorded_calls()
    {
        interpose::access = [this](const char *path, int mode) {
            note("access", path, mode);
            return interpose::access.real(path, mode);
        };
        interpose::fopen = [this](const char *path, const char *mode) {
            note("fopen", path, mode);
            return interpose::fopen.real(path, mode);
        };
        interpose::fgets = [this](char *room, int size, std::FILE *stream) {
            note("fgets", size);
            return interpose::fgets.real(room, size, stream);
        };
        interpose::fread = [this](void *room, size_t size, size_t count, std::FILE *stream) {
            note("fread", size * count);
            return interpose::fread.real(room, size, count, stream);
        };
        interpose::fclose = [this](std::FILE *stream) {
            note("fclose");
            return interpose::fclose.real(stream);
        };
        interpose::popen = [this](const char *command, const char *mode) {
            note("popen", command, mode);
            return interpose::popen.real(command, mode);
        };
        interpose::pclose = [this](std::FILE *stream) {
            note("pclose");
            return interpose::pclose.real(stream);
        };
        interpose::strdup = [this](const char *text) {
            note("strdup", text);
            return interpose::strdup.real(text);
        };
    }

    [[nodiscard]] const texts &made() const { return made_; }

private:
    template <class... Arguments> void note(const Arguments &...arguments)
    {
        std::ostringstream line;
        const char *gap = "";
        ((line << std::exchange(gap, " ") << arguments), ...);
        made_.push_back(line.str());
    }

    texts made_;
};

void fail_every_allocation()
{
    interpose::strdup = [](const char *) -> char * { return nullptr; };
}

} // namespace

// ---- The queries that ask a kernel file first and dmidecode second ----

namespace {

struct query {
    const char *name;
    char *(*ask)();
    const char *file;
    const char *command;
    texts tool_arguments;
    const char *tool_line;
    const char *tool_answer;

    friend std::ostream &operator<<(std::ostream &stream, const query &one)
    {
        return stream << one.name;
    }
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

// ---- What the pipelines of vendor and model pick ----

namespace {

struct picked_word {
    const char *name;
    char *(*ask)();
    std::string printed;
    std::string answer;

    friend std::ostream &operator<<(std::ostream &stream, const picked_word &one)
    {
        return stream << one.name;
    }
};

const picked_word picked_words[] = {
    {"vendor_is_the_family_not_the_manufacturer", orvane_get_vendor, system_information, "Example"},
    {"vendor_in_any_case", orvane_get_vendor, "\tFAMILY: Loud\n", "Loud"},
    {"vendor_of_the_first_family", orvane_get_vendor, "\tFamily: One\n\tFamily: Two\n", "One"},
    {"vendor_of_a_line_that_merely_holds_the_word", orvane_get_vendor,
     "\tProduct subfamilyname here\n\tFamily: Example\n", "subfamilyname"},
    {"vendor_between_blanks_and_tabs", orvane_get_vendor, "  Family: \t  Wide \t gap\n", "Wide"},
    {"vendor_without_a_second_word", orvane_get_vendor, "\tFamily:\n", ""},
    {"vendor_before_a_carriage_return", orvane_get_vendor, "\tFamily: Example\r\n", "Example"},
    {"vendor_of_other_bytes", orvane_get_vendor, "\tFamily: M\xc3\xbcller\n", "M\xc3\xbcller"},
    {"vendor_of_1022_bytes", orvane_get_vendor, "Family: " + std::string(1022, 'v') + "\n",
     std::string(1022, 'v')},
    {"vendor_of_1023_bytes", orvane_get_vendor, "Family: " + std::string(1023, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_of_1024_bytes", orvane_get_vendor, "Family: " + std::string(1024, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_of_5000_bytes", orvane_get_vendor, "Family: " + std::string(5000, 'v') + "\n",
     std::string(1023, 'v')},
    {"vendor_behind_a_line_of_5000_bytes", orvane_get_vendor,
     std::string(5000, '-') + "\n\tFamily: Example\n", "Example"},
    {"vendor_without_a_final_newline", orvane_get_vendor, "\tFamily: Example", "Example"},
    {"model_is_the_version", orvane_get_model, system_information, "Mark"},
    {"model_in_any_case", orvane_get_model, "\tversion: small\n", "small"},
    {"model_of_the_first_version", orvane_get_model, "\tVersion: 1\n\tVersion: 2\n", "1"},
    {"model_of_a_line_that_merely_holds_the_word", orvane_get_model,
     "# This conversion is recent\n\tVersion: Mark 2\n", "This"},
    {"model_without_a_second_word", orvane_get_model, "\tVersion:\n", ""},
};

class dmi_pipeline : public on_machine, public testing::WithParamInterface<picked_word> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, dmi_pipeline, testing::ValuesIn(picked_words));

TEST_P(dmi_pipeline, picks)
{
    machine.tool(dmidecode, GetParam().printed);
    const owned_text told(GetParam().ask());
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), GetParam().answer);
}

// ---- Vendor and model go through the exported readers ----

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

// ---- The file readers ----

namespace {

struct named_reader {
    const char *name;
    char *(*read)(const char *);

    friend std::ostream &operator<<(std::ostream &stream, const named_reader &one)
    {
        return stream << one.name;
    }
};

class file_reader : public on_machine, public testing::WithParamInterface<named_reader> {
protected:
    [[nodiscard]] static owned_text read(const char *path)
    {
        return owned_text(GetParam().read(path));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, file_reader,
                         testing::Values(named_reader{"machine_info", get_machine_info_from_sysfs},
                                         named_reader{"service_tag", get_service_tag_from_sysfs}));

TEST_P(file_reader, gives_the_first_line_of_any_file)
{
    machine.file("/srv/some/file", " one \ntwo\n");
    EXPECT_EQ(read("/srv/some/file").value(), " one ");
}

TEST_P(file_reader, gives_an_empty_first_line)
{
    machine.file("/srv/file", "\r\nsecond\n");
    const owned_text told = read("/srv/file");
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), "");
}

TEST_P(file_reader, ends_at_a_carriage_return)
{
    machine.file("/srv/file", "left\rright\n");
    EXPECT_EQ(read("/srv/file").value(), "left");
}

TEST_P(file_reader, keeps_1023_bytes)
{
    machine.file("/srv/file", std::string(1024, 'x'));
    EXPECT_EQ(read("/srv/file").value(), std::string(1023, 'x'));
}

TEST_P(file_reader, has_nothing_of_a_missing_file)
{
    EXPECT_TRUE(read("/srv/no/such/file").is_null());
}

TEST_P(file_reader, has_nothing_of_an_empty_file)
{
    machine.file("/srv/file", "");
    EXPECT_TRUE(read("/srv/file").is_null());
}

TEST_P(file_reader, has_nothing_of_a_directory)
{
    EXPECT_TRUE(read("/srv").is_null());
}

TEST_P(file_reader, has_nothing_of_no_path)
{
    EXPECT_TRUE(read(nullptr).is_null());
}

TEST_P(file_reader, needs_no_dmidecode_and_opens_for_reading_only)
{
    machine.file("/srv/file", "line\n");
    const recorded_calls calls;
    EXPECT_EQ(read("/srv/file").value(), "line");
    EXPECT_EQ(calls.made(), (texts{"fopen /srv/file r", "fgets 1024", "fclose", "strdup line"}));
}

// ---- The command readers ----

namespace {

class command_reader : public on_machine, public testing::WithParamInterface<named_reader> {
protected:
    void SetUp() override
    {
        on_machine::SetUp();
        if (!IsSkipped())
            machine.tool(dmidecode, "never asked\n");
    }

    [[nodiscard]] static owned_text run(const char *command)
    {
        return owned_text(GetParam().read(command));
    }
    [[nodiscard]] static owned_text run(const std::string &command) { return run(command.c_str()); }

    // Whatever the command would have made is not there.
    void expect_nothing_is_run()
    {
        const std::string trace_of_a_run = machine.scratch("made");
        EXPECT_TRUE(run("echo text; echo >" + trace_of_a_run).is_null());
        EXPECT_FALSE(std::filesystem::exists(trace_of_a_run));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    dmi, command_reader,
    testing::Values(named_reader{"machine_info", get_machine_info_from_dmidecode},
                    named_reader{"service_tag", get_service_tag_from_dmidecode}));

TEST_P(command_reader, gives_the_first_line_of_any_command)
{
    EXPECT_EQ(run("printf ' one \\ntwo\\n'").value(), " one ");
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_P(command_reader, gives_an_empty_first_line)
{
    const owned_text told = run("printf '\\nsecond\\n'");
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), "");
}

TEST_P(command_reader, ends_at_a_carriage_return)
{
    EXPECT_EQ(run("printf 'left\\rright\\n'").value(), "left");
}

TEST_P(command_reader, ends_at_a_zero_byte)
{
    EXPECT_EQ(run("printf 'left\\0right\\n'").value(), "left");
}

TEST_P(command_reader, keeps_1023_bytes)
{
    EXPECT_EQ(run("echo " + std::string(1024, 'x')).value(), std::string(1023, 'x'));
}

TEST_P(command_reader, has_nothing_of_a_silent_command)
{
    EXPECT_TRUE(run("true").is_null());
}

TEST_P(command_reader, has_nothing_of_no_command)
{
    EXPECT_TRUE(run(nullptr).is_null());
}

TEST_P(command_reader, does_not_read_the_status)
{
    EXPECT_EQ(run("echo text; exit 9").value(), "text");
}

TEST_P(command_reader, waits_for_the_command_to_end)
{
    const std::string last_deed = machine.scratch("made");
    EXPECT_EQ(run("echo text; echo done >" + last_deed).value(), "text");
    EXPECT_EQ(machine.content(last_deed), "done\n");
}

TEST_P(command_reader, runs_nothing_where_dmidecode_is_missing)
{
    machine.remove(dmidecode);
    expect_nothing_is_run();
}

TEST_P(command_reader, runs_nothing_where_dmidecode_is_not_executable)
{
    machine.script(dmidecode, "", 0644);
    expect_nothing_is_run();
}

TEST_P(command_reader, runs_nothing_where_dmidecode_is_not_readable)
{
    machine.script(dmidecode, "", 0711);
    const other_user user(0);
    expect_nothing_is_run();
}

TEST_P(command_reader, has_nothing_of_a_command_that_cannot_be_started)
{
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    EXPECT_TRUE(run("echo text").is_null());
}

TEST_P(command_reader, hands_the_command_to_the_shell_as_it_stands)
{
    const recorded_calls calls;
    EXPECT_EQ(run("echo \"a  b\" | tr a-z A-Z").value(), "A  B");
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/dmidecode 5", "popen echo \"a  b\" | tr a-z A-Z r",
                     "fgets 1024", "pclose", "strdup A  B"}));
}

TEST_P(command_reader, closes_the_pipe_of_a_silent_command)
{
    const recorded_calls calls;
    EXPECT_TRUE(run("true").is_null());
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/dmidecode 5", "popen true r", "fgets 1024", "pclose"}));
}

TEST_P(command_reader, runs_with_the_environment_of_the_caller)
{
    ::setenv("OF_THE_CALLER", "as it stands", 1);
    EXPECT_EQ(run("echo \"$OF_THE_CALLER\"").value(), "as it stands");
}

TEST_P(command_reader, runs_in_the_working_directory_of_the_caller)
{
    ASSERT_EQ(::chdir("/srv"), 0);
    EXPECT_EQ(run("pwd").value(), "/srv");
}

TEST_P(command_reader, runs_with_the_standard_error_of_the_caller)
{
    EXPECT_EQ(
        standard_error_of([] { EXPECT_EQ(run("echo error >&2; echo text").value(), "text"); }),
        "error\n");
}

// ---- What every one of the queries promises ----

namespace {

struct answered_call {
    const char *name;
    char *(*ask)();
    const char *answer;

    friend std::ostream &operator<<(std::ostream &stream, const answered_call &one)
    {
        return stream << one.name;
    }
};

const answered_call answered_calls[] = {
    {"vendor", orvane_get_vendor, "Example"},
    {"model", orvane_get_model, "SKU0001"},
    {"system_uuid", orvane_get_system_uuid, "4c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"file_reader", [] { return get_machine_info_from_sysfs("/sys/class/dmi/id/product_sku"); },
     "SKU0001"},
    {"command_reader", [] { return get_machine_info_from_dmidecode("/usr/sbin/dmidecode -t 1"); },
     "# dmidecode 3.4"},
    {"oem_info", hw_oem_info, "ABC 123_FLASH01_0123abcd"},
};

// A machine that answers all of them: the model from its file, the others with the tool's help.
template <class Parameter>
class known_machine : public on_machine, public testing::WithParamInterface<Parameter> {
protected:
    void SetUp() override
    {
        on_machine::SetUp();
        if (IsSkipped())
            return;
        machine.script(dmidecode, whole_dmidecode());
        machine.file("/sys/class/dmi/id/product_sku", "SKU0001\n");
        machine.file("/proc/bootdevice/product_name", "FLASH01\n");
        machine.file("/proc/bootdevice/cid", "0123abcd\n");
    }
};

class every_dmi_query : public known_machine<answered_call> {
protected:
    [[nodiscard]] static owned_text asked() { return owned_text(GetParam().ask()); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, every_dmi_query, testing::ValuesIn(answered_calls));

TEST_P(every_dmi_query, gives_each_caller_a_text_of_its_own)
{
    char *const first = GetParam().ask();
    char *const second = GetParam().ask();
    EXPECT_NE(first, second);
    EXPECT_EQ(owned_text(first).value(), GetParam().answer);
    EXPECT_EQ(owned_text(second).value(), GetParam().answer);
}

TEST_P(every_dmi_query, has_no_answer_without_memory)
{
    fail_every_allocation();
    EXPECT_TRUE(asked().is_null());
}

TEST_P(every_dmi_query, writes_neither_to_the_trace_log_nor_to_standard_error)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(asked().value(), GetParam().answer); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_P(every_dmi_query, says_nothing_about_a_machine_without_sources)
{
    for (const char *const gone : {dmidecode, "/sys/class/dmi", "/proc/bootdevice"})
        machine.remove(gone);
    EXPECT_EQ(standard_error_of([] { EXPECT_TRUE(asked().is_null()); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_P(every_dmi_query, works_where_the_caller_ignores_its_children)
{
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(asked().value(), GetParam().answer);
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

namespace {

using descriptors = std::vector<int>;

class dmi_query_without_standard_descriptors
    : public known_machine<std::tuple<answered_call, descriptors>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, dmi_query_without_standard_descriptors,
                         testing::Combine(testing::ValuesIn(answered_calls),
                                          testing::Values(descriptors{0}, descriptors{1},
                                                          descriptors{2}, descriptors{0, 1},
                                                          descriptors{0, 2}, descriptors{1, 2},
                                                          descriptors{0, 1, 2})));

TEST_P(dmi_query_without_standard_descriptors, works_and_leaves_them_closed)
{
    const auto &[call, closed] = GetParam();
    descriptors opened;
    std::string answer;
    {
        const closed_descriptors without(closed);
        answer = owned_text(call.ask()).value();
        for (const int descriptor : closed)
            if (is_open(descriptor))
                opened.push_back(descriptor);
    }
    EXPECT_EQ(answer, call.answer);
    EXPECT_EQ(opened, descriptors{});
}

// ---- The order in which the managed flash machine is asked ----

namespace {

struct recorded_case {
    const char *name;
    void (*breaks)(constructed_machine &);
    texts calls;

    friend std::ostream &operator<<(std::ostream &stream, const recorded_case &one)
    {
        return stream << one.name;
    }
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
             {"strdup ABC 123_FLASH01_0123abcd"}})},
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

class oem_info_calls : public known_machine<recorded_case> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(dmi, oem_info_calls, testing::ValuesIn(recorded_cases));

TEST_P(oem_info_calls, reach_the_sources_in_the_documented_order)
{
    GetParam().breaks(machine);
    const recorded_calls calls;
    owned_text info(hw_oem_info());
    EXPECT_EQ(calls.made(), GetParam().calls);
}
