// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the disk queries have in common: how they run tools, how they pass on names, and how they
// leave the process of the caller.
#include "disk_machine.h"
#include "process.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <sys/stat.h>
#include <sys/time.h>

namespace {

struct disk_query : named_case {
    std::string (*run)();
    const char *answer;
};

std::string text_of(char *text)
{
    return owned_text(text).value();
}

const disk_query root_query = {{"root"}, [] { return text_of(root_device()); }, "/dev/mapper/root"};
const disk_query cmdline_query = {
    {"cmdline"},
    [] { return text_of(command_line_get_root_device_name("/proc/cmdline")); },
    "/dev/disk/by-label/a"};
const disk_query ata_query = {
    {"ata"}, [] { return text_of(harddisk_id("/dev/sda3")); }, "MODEL_SERIAL"};
const disk_query nvme_query = {
    {"nvme"}, [] { return text_of(harddisk_id("/dev/nvme0n1p1")); }, "Fast-Disk_S1"};
const disk_query mapping_query = {
    {"mapping"}, [] { return text_of(harddisk_id("/dev/mapper/whole")); }, "/dev/sda"};
const disk_query listed_query = {
    {"listed"}, [] { return text_of(harddisk_id("/dev/mapper/listed")); }, "M1_S1"};
const disk_query smartctl_query = {
    {"smartctl"}, [] { return text_of(harddisk_id_smartctl("/dev/sda3")); }, "DISK1_SN2"};
const disk_query model_query = {
    {"model"}, [] { return text_of(harddisk_id_nvme_new("nvme0n1")); }, "Fas"};
const disk_query type_query = {
    {"type"}, [] { return std::to_string(is_logical_volume("/dev/dm-0")); }, "1"};
const disk_query volume_query = {
    {"volume"}, [] { return text_of(harddisk_id_lvm("/dev/dm-0")); }, "DISK1_SN2"};
const disk_query listing_query = {{"listing"}, [] { return text_of(get_lsblk_output()); }, "{}\n"};
const disk_query every_source_query = {
    {"every_source"}, [] { return text_of(orvane_get_harddisk_id()); }, "DISK1_SN2"};

// A machine on which every query has its answer.
template <class Parameter>
class answering_machine : public disk_machine, public testing::WithParamInterface<Parameter> {
protected:
    void furnish() override
    {
        for (const char *const node :
             {"/dev/dm-0", "/dev/dm-1", "/dev/dm-2", "/dev/sda", "/dev/sda3", "/dev/nvme0n1p1"})
            machine.block_device(node);
        machine.link("/dev/mapper/root", "../dm-0");
        machine.link("/dev/mapper/whole", "../dm-1");
        machine.link("/dev/mapper/listed", "../dm-2");
        machine.file("/proc/mounts", "/dev/mapper/root / ext4 rw 0 0\n");
        machine.file("/proc/cmdline", "ro root=LABEL=a quiet\n");
        show_nvme_disk("nvme0n1", "Fast Disk\n", "S1\n");
        kernel.identify("/dev/sda3", "MODEL", "SERIAL");
        kernel.set_whole_disk("/dev/sda");
        kernel.set_whole_disk("M1_S1");
        for (const auto &[path, commands] : tools())
            machine.script(path, commands);
    }

    static const std::map<std::string, std::string> &tools()
    {
        static const std::map<std::string, std::string> commands = {
            {dmsetup, "case $4 in /dev/dm-1) device=sda;; /dev/dm-2) device=sdb;;"
                      " *) device=none;; esac\necho \"1 dependencies : ($device)\"\n"},
            {lsblk, "case $1 in -n) echo lvm;; -J) echo '{}';;"
                    " *) echo '{\"blockdevices\": [{\"name\": \"/dev/sdb\","
                    " \"serial\": \"S1\", \"model\": \"M1\"}]}';; esac\n"},
            {smartctl, "[ \"$2\" = /dev/sda3 ] &&"
                       " printf 'Device Model: DISK 1\\nSerial Number: SN 2\\n'\n"},
            {lvdisplay, "echo '  VG Name   vg0'\n"},
            {pvdisplay, "printf '  PV Name   /dev/mapper/sda3_crypt\\n  VG Name   vg0\\n'\n"},
        };
        return commands;
    }
};

struct tool_of_query : named_case {
    disk_query query;
    const char *tool;
    const char *without;   // the answer where the tool cannot be run
    bool has_shell = true; // and the environment of the caller
};

class disk_tool : public answering_machine<tool_of_query> {
protected:
    void change_tool(const std::string &before, const std::string &behind, mode_t mode = 0755)
    {
        const char *const path = GetParam().tool;
        machine.script(path, before + "\n" + tools().at(path) + behind, mode);
    }

    static void expect_answer() { EXPECT_EQ(GetParam().query.run(), GetParam().query.answer); }
    void expect_no_run()
    {
        standard_error_of([] { EXPECT_EQ(GetParam().query.run(), GetParam().without); });
        EXPECT_TRUE(machine.runs(GetParam().tool).empty());
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    disk, disk_tool,
    testing::Values(tool_of_query{"dmsetup", mapping_query, dmsetup, no_text, false},
                    tool_of_query{"lsblk_for_an_identity", listed_query, lsblk, no_text},
                    tool_of_query{"lsblk_for_a_type", type_query, lsblk, "0"},
                    tool_of_query{"smartctl", smartctl_query, smartctl, no_text},
                    tool_of_query{"lvdisplay", volume_query, lvdisplay, no_text},
                    tool_of_query{"pvdisplay", volume_query, pvdisplay, no_text},
                    tool_of_query{"smartctl_for_a_volume", volume_query, smartctl, no_text}));

TEST_P(disk_tool, is_run_once_with_its_environment)
{
    ::setenv("ORVANE_TEST", "kept", 1);
    expect_answer();
    const auto runs = machine.runs(GetParam().tool);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(
        std::count(runs[0].environment.begin(), runs[0].environment.end(), "ORVANE_TEST=kept"),
        GetParam().has_shell ? 1 : 0);
}

TEST_P(disk_tool, is_not_started_where_it_is_missing)
{
    machine.remove(GetParam().tool);
    machine.watch_shell();
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(GetParam().query.run(), GetParam().without); }), "");
    for (const std::string &command : machine.shell_commands())
        EXPECT_FALSE(command.starts_with(GetParam().tool)) << command;
}

TEST_P(disk_tool, is_not_run_where_no_shell_can_be_started)
{
    machine.remove("/bin/sh");
    if (GetParam().has_shell)
        expect_no_run();
    else
        expect_answer();
}

TEST_P(disk_tool, is_not_run_where_it_is_not_executable)
{
    change_tool("", "", 0644);
    expect_no_run();
}

TEST_P(disk_tool, is_not_run_for_a_user_who_may_not_read_or_execute_it)
{
    for (const mode_t mode : {0711U, 0744U}) {
        change_tool("", "", mode);
        const other_user caller;
        expect_no_run();
    }
}

TEST_P(disk_tool, is_not_run_where_the_real_user_may_not_execute_it)
{
    change_tool("", "", 0744);
    const other_user caller(0);
    expect_no_run();
}

TEST_P(disk_tool, is_run_for_an_ordinary_user)
{
    const other_user caller;
    standard_error_of([] { expect_answer(); }); // has complaints about the trace log
}

TEST_P(disk_tool, is_believed_however_it_ends)
{
    for (const char *const end : {"exit 4", "kill -9 $$"}) {
        change_tool("", end);
        expect_answer();
    }
}

TEST_P(disk_tool, shares_standard_error_and_not_standard_output_with_the_caller)
{
    change_tool("echo complaint >&2", "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([] { expect_answer(); }), "complaint\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// The names that callers pass.

namespace {

struct named_command : named_case {
    const char *tool; // that has the name as its last argument
    std::string head;
    std::string tail;
    std::size_t bound; // of the command line
    void (*run)(const char *name);
};

const named_command named_commands[] = {
    {"smartctl", smartctl, "/usr/sbin/smartctl -i ", "", 255,
     [](const char *name) { text_of(harddisk_id_smartctl(name)); }},
    {"lvdisplay", lvdisplay, "/sbin/lvdisplay ", "", 255,
     [](const char *name) { text_of(harddisk_id_lvm(name)); }},
    {"lsblk", lsblk, "/bin/lsblk -n -o \"TYPE\" ", "", 255,
     [](const char *name) { static_cast<void>(is_logical_volume(name) == 0); }},
    {"cat", nullptr, "cat /sys/block/", "/device/model", 1023,
     [](const char *name) { text_of(harddisk_id_nvme_new(name)); }},
};

struct device_name : named_case {
    std::string name;
    std::string word; // that stands for it in a command line
};

const device_name device_names[] = {
    {"plain", "/dev/aZ09_-.:+@,=", "/dev/aZ09_-.:+@,="},
    {"blanks", "/dev/a b  c", "'/dev/a b  c'"},
    {"percent_signs", "/dev/%s%n%d", "'/dev/%s%n%d'"},
    {"quotes", "/dev/it's \"so\"", "'/dev/it'\\''s \"so\"'"},
    {"a_command_behind", "/dev/a; touch b #", "'/dev/a; touch b #'"},
    {"a_command_inside", "/dev/$(pwd)`pwd`$HOME", "'/dev/$(pwd)`pwd`$HOME'"},
    {"a_pattern", "/dev/sd*", "'/dev/sd*'"},
    {"an_exclamation_mark", "/dev/cciss!c0d0", "'/dev/cciss!c0d0'"},
    {"a_newline", "/dev/a\nb", "'/dev/a\nb'"},
    {"bytes_above_ascii", "/dev/\xe9\xff", "'/dev/\xe9\xff'"},
};

class named_command_machine : public on_machine {
protected:
    // The one command line for the name, which stands in a directory: the tool prints nothing.
    std::string command_line_of(const named_command &command, const std::string &name,
                                const std::string &directory = "")
    {
        machine.block_device(directory + name);
        for (const char *const tool : {smartctl, lvdisplay, pvdisplay, lsblk})
            machine.tool(tool, "");
        machine.watch_shell();
        standard_error_of([&] { command.run(name.c_str()); });
        return machine.shell_commands().back();
    }
};

class command_with_a_name
    : public named_command_machine,
      public testing::WithParamInterface<std::tuple<named_command, device_name>> {};

class long_command : public named_command_machine,
                     public testing::WithParamInterface<named_command> {};

// A path of so many bytes, whose components are short enough for a file system.
std::string path_of(std::size_t length)
{
    std::string path = "/dev";
    while (path.size() + 201 < length)
        path += "/" + std::string(199, 'd');
    return path + "/" + std::string(length - path.size() - 1, 'n');
}

} // namespace

INSTANTIATE_TEST_SUITE_P(disk, command_with_a_name,
                         testing::Combine(testing::ValuesIn(named_commands),
                                          testing::ValuesIn(device_names)));

TEST_P(command_with_a_name, has_it_as_one_literal_word)
{
    const auto &[command, device] = GetParam();
    EXPECT_EQ(command_line_of(command, device.name), command.head + device.word + command.tail);
    if (command.tool != nullptr) {
        EXPECT_EQ(machine.runs(command.tool).at(0).arguments.back(), device.name);
    }
}

INSTANTIATE_TEST_SUITE_P(disk, long_command, testing::ValuesIn(named_commands));

TEST_P(long_command, is_truncated_at_its_bound)
{
    const std::size_t fitting = GetParam().bound - GetParam().head.size() - GetParam().tail.size();
    for (const std::size_t length :
         {fitting - 1, fitting, fitting + 1, fitting + 13, std::size_t{1500}}) {
        const std::string whole = GetParam().head + path_of(length) + GetParam().tail;
        EXPECT_EQ(command_line_of(GetParam(), path_of(length)), whole.substr(0, GetParam().bound));
    }
}

TEST_P(long_command, has_a_closing_quote_where_a_quoted_name_is_truncated)
{
    const std::string name = "/dev/a b" + path_of(1200);
    const std::string truncated = GetParam().head + "'" + name;
    EXPECT_EQ(command_line_of(GetParam(), name), truncated.substr(0, GetParam().bound - 1) + "'");
}

namespace {

struct dashed_name : named_case {
    const named_command &command;
    std::string name;
    std::string line;
};

class command_with_a_dashed_name : public named_command_machine,
                                   public testing::WithParamInterface<dashed_name> {};

} // namespace

TEST_P(command_with_a_dashed_name, has_it_as_no_option)
{
    std::filesystem::current_path("/dev");
    EXPECT_EQ(command_line_of(GetParam().command, GetParam().name, "/dev/"), GetParam().line);
    std::filesystem::current_path("/");
}

INSTANTIATE_TEST_SUITE_P(
    disk, command_with_a_dashed_name,
    testing::Values(
        dashed_name{"smartctl", named_commands[0], "--all", "/usr/sbin/smartctl -i /dev/--all"},
        dashed_name{"lvdisplay", named_commands[1], "--config=x", "/sbin/lvdisplay ./--config=x"},
        dashed_name{"lvdisplay_quoted", named_commands[1], "-a b", "/sbin/lvdisplay ./'-a b'"},
        dashed_name{"lsblk", named_commands[2], "-x", "/bin/lsblk -n -o \"TYPE\" ./-x"},
        dashed_name{"cat", named_commands[3], "-x", "cat /sys/block/-x/device/model"}));

// The process of the caller.

namespace {

const disk_query disk_queries[] = {
    root_query,     cmdline_query, ata_query,  nvme_query,   mapping_query, listed_query,
    smartctl_query, model_query,   type_query, volume_query, listing_query, every_source_query,
};

class caller_of : public answering_machine<disk_query> {
protected:
    static void expect_answer() { EXPECT_EQ(GetParam().run(), GetParam().answer); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(disk, caller_of, testing::ValuesIn(disk_queries));

TEST_P(caller_of, a_query_has_the_same_answer_again_and_prints_nothing)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([] {
                  expect_answer();
                  expect_answer();
              }),
              "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_P(caller_of, a_query_has_its_answer_where_nothing_can_be_traced)
{
    machine.read_only("/var/log");
    standard_error_of([] { expect_answer(); });
}

TEST_P(caller_of, a_query_has_its_answer_where_the_end_of_children_is_ignored)
{
    std::signal(SIGCHLD, SIG_IGN);
    expect_answer();
    std::signal(SIGCHLD, SIG_DFL);
}

TEST_P(caller_of, a_query_has_its_answer_while_signals_interrupt_it)
{
    struct sigaction interrupting = {}; // and no SA_RESTART
    interrupting.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &interrupting, nullptr);
    const itimerval often = {{0, 1000}, {0, 1000}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    const std::string answer = GetParam().run();
    const itimerval never = {};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(answer, GetParam().answer);
}

TEST_P(caller_of, a_query_keeps_the_umask_and_needs_no_working_directory)
{
    machine.directory("/srv/removed");
    std::filesystem::current_path("/srv/removed");
    machine.remove("/srv/removed");
    ::umask(0777);
    standard_error_of([] { expect_answer(); }); // has complaints of the shell
    EXPECT_EQ(::umask(022), 0777U);
    std::filesystem::current_path("/");
}

TEST_P(caller_of, a_query_keeps_its_place_in_a_text_that_it_splits)
{
    char text[] = "one:two three:four";
    EXPECT_STREQ(std::strtok(text, ":"), "one");
    expect_answer();
    EXPECT_STREQ(std::strtok(nullptr, ":"), "two three");
}

TEST_P(caller_of, a_query_may_have_closed_any_standard_descriptors)
{
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        std::string answer;
        EXPECT_EQ(left_open(closed, [&answer] { answer = GetParam().run(); }), std::vector<int>{});
        EXPECT_EQ(answer, GetParam().answer) << testing::PrintToString(closed);
    }
}
