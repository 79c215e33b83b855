// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The exported readers of a file's and of a command's first line.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"
#include "recorded_calls.h"

#include <filesystem>
#include <string>

#include <unistd.h>

namespace {

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

} // namespace

// The file readers.

namespace {

struct named_reader : named_case {
    char *(*read)(const char *);
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

// The command readers.

namespace {

class command_reader : public on_machine, public testing::WithParamInterface<named_reader> {
protected:
    void furnish() override { machine.tool(dmidecode, "never asked\n"); }

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
