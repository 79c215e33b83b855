// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How dmsetup is run for a mapped device, and which device it names.
#include "dependency_reports.h"
#include "mapping_machine.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class dependency : public mapping_machine {
protected:
    // The lines of a mapping whose dependency, in the trace as in a path, is no device.
    static texts unresolved(const std::string &name)
    {
        return joined(missing_lines(name), request_lines());
    }

    void expect_dependency(const std::string &name)
    {
        EXPECT_TRUE(asked().is_null());
        EXPECT_EQ(machine.trace(), unresolved(name));
    }
    void expect_no_dependency() { expect_dependency("(null)"); }

    // What is printed on standard error for a dependency that nobody tells.
    std::string error_without_dependency()
    {
        return standard_error_of([this] { expect_no_dependency(); });
    }

    // The one path beside the mapped device's own that is examined.
    std::string examined_node()
    {
        record_calls();
        EXPECT_TRUE(asked().is_null());
        texts examined;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(examined),
                     [](const std::string &call) { return call.starts_with("stat "); });
        EXPECT_EQ(examined.size(), 2U);
        return examined.empty() ? "none" : examined.front();
    }

    static texts nothing_run()
    {
        return {"access /usr/sbin/dmsetup 5", "stat /dev/(null)", "access /usr/bin/lsblk 5",
                "stat /dev/dm-0"};
    }
    static texts one_run(const std::string &name)
    {
        return {"access /usr/sbin/dmsetup 5", "pipe",           "fork", "close write end",
                "read 1023 from read end",    "close read end", "wait", "stat /dev/" + name,
                "access /usr/bin/lsblk 5",    "stat /dev/dm-0"};
    }

    void expect_nothing_run()
    {
        record_calls();
        expect_no_dependency();
        EXPECT_EQ(calls, nothing_run());
    }
};

// What the process does about children that end, for a lifetime.
class child_signal {
public:
    explicit child_signal(void (*handler)(int))
    {
        struct sigaction action = {}; // and no SA_RESTART
        action.sa_handler = handler;
        ::sigaction(SIGCHLD, &action, &before_);
    }
    child_signal(const child_signal &) = delete;
    child_signal &operator=(const child_signal &) = delete;
    ~child_signal() { ::sigaction(SIGCHLD, &before_, nullptr); }

private:
    struct sigaction before_ = {};
};

} // namespace

// The tool.

TEST_F(dependency, is_nobodys_without_the_tool)
{
    expect_nothing_run();
}

TEST_F(dependency, is_nobodys_when_the_tool_may_not_be_executed)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'", 0644);
    expect_nothing_run();
}

TEST_F(dependency, is_nobodys_when_the_real_user_may_not_read_the_tool)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'", 0711);
    const other_user user(0);
    expect_nothing_run();
}

TEST_F(dependency, is_nobodys_when_the_real_user_may_not_execute_the_tool)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'", 0744);
    const other_user user(0);
    expect_nothing_run();
}

TEST_F(dependency, is_not_told_by_a_tool_in_another_place)
{
    machine.tool("/usr/bin/dmsetup", "1 dependencies : (sda2)\n");
    machine.tool("/sbin/dmsetup.old", "1 dependencies : (sda2)\n");
    expect_nothing_run();
    EXPECT_EQ(machine.runs("/usr/bin/dmsetup").size(), 0U);
}

TEST_F(dependency, is_asked_of_the_tool_with_the_resolved_name)
{
    depends_on("sda2");
    expect_dependency("sda2");
    const auto runs = machine.runs(dmsetup);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].arguments, (texts{dmsetup, "deps", "-o", "devname", "/dev/dm-0"}));
}

TEST_F(dependency, is_asked_in_an_empty_environment)
{
    depends_on("sda2");
    ASSERT_EQ(::setenv("LVM_SYSTEM_DIR", "/srv", 1), 0);
    expect_dependency("sda2");
    const auto runs = machine.runs(dmsetup);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].environment, texts());
}

TEST_F(dependency, is_asked_without_a_shell)
{
    depends_on("sda2");
    machine.block_device("/dev/mapper/a b;c$(d)'e\"*");
    EXPECT_TRUE(asked("/dev/mapper/a b;c$(d)'e\"*").is_null());
    const auto runs = machine.runs(dmsetup);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].arguments,
              (texts{dmsetup, "deps", "-o", "devname", "/dev/mapper/a b;c$(d)'e\"*"}));
}

TEST_F(dependency, is_asked_afresh_each_time)
{
    depends_on("sda2");
    asked();
    depends_on("sdb3");
    asked();
    EXPECT_EQ(machine.trace(), joined(unresolved("sda2"), unresolved("sdb3")));
}

// The calls.

TEST_F(dependency, costs_one_pipe_one_process_one_read_and_one_wait)
{
    depends_on("sda2");
    record_calls();
    expect_dependency("sda2");
    EXPECT_EQ(calls, one_run("sda2"));
}

TEST_F(dependency, costs_the_same_when_there_is_none)
{
    machine.tool(dmsetup, "0 dependencies\n");
    record_calls();
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls, one_run("(null)"));
}

TEST_F(dependency, is_traced_as_missing_before_the_tool_is_waited_for)
{
    machine.tool(dmsetup, "0 dependencies\n");
    texts before;
    interpose::wait = [this, &before](int *status) {
        before = machine.trace();
        return interpose::wait.real(status);
    };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(before, texts{"cannot found deps"});
    EXPECT_EQ(machine.trace(), joined({"cannot found deps"}, unresolved("(null)")));
}

TEST_F(dependency, has_the_tool_print_into_the_pipe)
{
    depends_on("sda2");
    record_calls();
    expect_dependency("sda2");
    EXPECT_EQ(child_calls(), (texts{"close read end", "dup2 write end to 1", "close write end",
                                    "execve /usr/sbin/dmsetup "
                                    "{/usr/sbin/dmsetup deps -o devname /dev/dm-0} {}"}));
    EXPECT_EQ(tool_status, 0);
}

// One that held the pipe would keep a silent tool's end from being seen.
TEST_F(dependency, keeps_the_pipe_from_programs_that_other_threads_start)
{
    machine.tool(dmsetup, "");
    std::vector<int> ends;
    interpose::pipe = [&ends](int *made) {
        const int result = interpose::pipe.real(made);
        ends = {made[0], made[1]};
        return result;
    };
    std::vector<int> flags;
    interpose::fork = [&] {
        for (const int end : ends)
            flags.push_back(::fcntl(end, F_GETFD));
        return interpose::fork.real();
    };
    expect_no_dependency();
    EXPECT_EQ(flags, (std::vector<int>{FD_CLOEXEC, FD_CLOEXEC}));
}

TEST_F(dependency, leaves_the_callers_streams_alone)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'; echo complaint >&2");
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([this] { expect_dependency("sda2"); }), "complaint\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// What goes wrong.

TEST_F(dependency, is_nobodys_without_a_pipe)
{
    depends_on("sda2");
    record_calls();
    interpose::pipe = [this](int *) {
        calls.emplace_back("no pipe");
        errno = EMFILE;
        return -1;
    };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), joined({"pipe error."}, unresolved("(null)")));
    EXPECT_EQ(calls, (texts{"access /usr/sbin/dmsetup 5", "no pipe", "stat /dev/(null)",
                            "access /usr/bin/lsblk 5", "stat /dev/dm-0"}));
}

TEST_F(dependency, is_nobodys_without_a_process)
{
    depends_on("sda2");
    record_calls();
    interpose::fork = [this] {
        calls.emplace_back("no fork");
        errno = EAGAIN;
        return -1;
    };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), joined({"fork error."}, unresolved("(null)")));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "no fork"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "close read end"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "close write end"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "wait"), 0);
}

TEST_F(dependency, is_nobodys_when_the_tool_is_gone_meanwhile)
{
    depends_on("sda2");
    interpose::execve = [](const char *, char *const *, char *const *) {
        errno = ENOENT;
        return -1;
    };
    EXPECT_EQ(error_without_dependency(), "execve: No such file or directory\n");
}

TEST_F(dependency, is_nobodys_when_the_tool_fails_for_a_reason_without_a_name)
{
    depends_on("sda2");
    interpose::execve = [](const char *, char *const *, char *const *) {
        errno = 4095;
        return -1;
    };
    EXPECT_EQ(error_without_dependency(), "execve: Unknown error\n");
}

TEST_F(dependency, is_nobodys_when_the_tool_is_no_program)
{
    machine.file(dmsetup, "echo '1 dependencies : (sda2)'\n", 0755);
    EXPECT_EQ(error_without_dependency(), "execve: Exec format error\n");
}

TEST_F(dependency, is_nobodys_when_the_tool_is_a_directory)
{
    machine.directory(dmsetup);
    EXPECT_EQ(error_without_dependency(), "execve: Permission denied\n");
}

TEST_F(dependency, ends_a_process_that_cannot_execute_with_status_127)
{
    machine.directory(dmsetup);
    record_calls();
    error_without_dependency();
    EXPECT_TRUE(WIFEXITED(tool_status));
    EXPECT_EQ(WEXITSTATUS(tool_status), 127);
    EXPECT_EQ(calls, one_run("(null)"));
}

namespace {

// What the caller does at its end, and a process that is to become the tool must not.
pid_t caller = 0;
void last_words()
{
    if (::getpid() != caller)
        static_cast<void>(::write(STDOUT_FILENO, "1 dependencies : (sda2)\n", 24) < 0);
}

} // namespace

TEST_F(dependency, is_not_told_by_the_callers_own_last_words)
{
    machine.directory(dmsetup);
    caller = ::getpid();
    ASSERT_EQ(std::atexit(last_words), 0);
    error_without_dependency();
}

TEST_F(dependency, has_no_tool_print_to_the_caller_for_want_of_the_pipe)
{
    depends_on("sda2");
    interpose::dup2 = [](int, int) {
        errno = EMFILE;
        return -1;
    };
    testing::internal::CaptureStdout();
    EXPECT_EQ(error_without_dependency(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(machine.runs(dmsetup).size(), 0U);
}

TEST_F(dependency, is_nobodys_when_the_pipe_cannot_be_read)
{
    depends_on("sda2");
    interpose::read = [](int, void *, size_t) {
        errno = EIO;
        return ssize_t{-1};
    };
    expect_no_dependency();
}

TEST_F(dependency, is_nobodys_when_its_name_cannot_be_kept)
{
    depends_on("sda2");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    expect_no_dependency();
}

TEST_F(dependency, is_told_by_a_tool_that_fails)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'; exit 3");
    expect_dependency("sda2");
}

TEST_F(dependency, is_told_by_a_tool_that_a_signal_ends)
{
    machine.script(dmsetup, "echo '1 dependencies : (sda2)'; kill -9 $$");
    expect_dependency("sda2");
}

TEST_F(dependency, is_nobodys_when_the_tool_only_complains)
{
    machine.script(dmsetup, "echo 'dependencies : (sda2)' >&2; exit 1");
    EXPECT_EQ(error_without_dependency(), "dependencies : (sda2)\n");
}

// Signals and children.

TEST_F(dependency, is_read_on_after_interruptions)
{
    depends_on("sda2");
    int interruptions = 2;
    interpose::read = [&interruptions](int fd, void *room, size_t size) {
        if (interruptions-- > 0) {
            errno = EINTR;
            return ssize_t{-1};
        }
        return interpose::read.real(fd, room, size);
    };
    expect_dependency("sda2");
    EXPECT_EQ(interruptions, -1);
}

TEST_F(dependency, is_waited_for_after_interruptions)
{
    depends_on("sda2");
    int interruptions = 2;
    interpose::wait = [&interruptions](int *status) {
        if (interruptions-- > 0) {
            errno = EINTR;
            return -1;
        }
        return interpose::wait.real(status);
    };
    expect_dependency("sda2");
    EXPECT_EQ(interruptions, -1);
}

TEST_F(dependency, is_told_to_a_caller_that_ignores_its_children)
{
    depends_on("sda2");
    record_calls();
    const child_signal ignored(SIG_IGN);
    expect_dependency("sda2");
    EXPECT_EQ(calls, one_run("sda2"));
}

TEST_F(dependency, is_told_to_a_caller_that_reaps_every_child)
{
    depends_on("sda2");
    const child_signal reaping([](int) {
        const int kept = errno;
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        errno = kept;
    });
    expect_dependency("sda2");
}

TEST_F(dependency, is_waited_for_only_once_whoever_ends_first)
{
    depends_on("sda2");
    const pid_t other = ::fork();
    if (other == 0)
        ::_exit(0);
    siginfo_t ended = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
    record_calls();
    expect_dependency("sda2");
    EXPECT_EQ(calls, one_run("sda2"));
    EXPECT_GT(::wait(nullptr), 0);
}

// What the tool prints.

namespace {

class report_of_the_tool : public dependency,
                           public testing::WithParamInterface<dependency_report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, report_of_the_tool, testing::ValuesIn(dependency_reports));

TEST_P(report_of_the_tool, names_a_device_or_none)
{
    machine.tool(dmsetup, GetParam().printed);
    EXPECT_TRUE(asked().is_null());
    const std::string name = GetParam().name.empty() ? "(null)" : GetParam().name;
    const texts none = GetParam().tells_of_none ? texts{"cannot found deps"} : texts();
    EXPECT_EQ(machine.trace(), joined(none, unresolved(name)));
}

TEST_F(dependency, is_what_a_single_read_gets)
{
    machine.tool(dmsetup, "1 dependencies : (sda12)\n");
    interpose::read = [](int fd, void *room, size_t) {
        return interpose::read.real(fd, room, 22); // up to the first digit
    };
    expect_dependency("sda1");
}

TEST_F(dependency, is_cut_with_a_report_of_5000_characters)
{
    machine.tool(dmsetup, "1 dependencies : (" + std::string(5000, 'x') + ")\n");
    EXPECT_EQ(examined_node(), "stat /dev/" + std::string(1005, 'x'));
}

TEST_F(dependency, is_told_by_a_colon_that_is_the_1023rd_character)
{
    machine.tool(dmsetup, std::string(300, '(') + std::string(722, 'x') + ":");
    EXPECT_EQ(examined_node(), "stat /dev/" + std::string(722, 'x'));
}

TEST_F(dependency, is_not_told_by_a_colon_that_is_the_1024th_character)
{
    machine.tool(dmsetup, std::string(300, '(') + std::string(723, 'x') + ":");
    EXPECT_EQ(examined_node(), "stat /dev/(null)");
}

TEST_F(dependency, is_told_within_1023_characters)
{
    machine.tool(dmsetup, "1 dependencies : " + std::string(1000, '(') + "sda123");
    expect_dependency("sda123");
}

TEST_F(dependency, is_cut_after_1023_characters)
{
    machine.tool(dmsetup, "1 dependencies : " + std::string(1000, '(') + "sda1234");
    expect_dependency("sda123");
}

TEST_F(dependency, of_1018_characters_is_a_whole_path)
{
    machine.tool(dmsetup, ":" + std::string(1018, 'x') + "    ");
    EXPECT_EQ(examined_node(), "stat /dev/" + std::string(1018, 'x'));
}

TEST_F(dependency, of_1019_characters_is_cut_with_its_path)
{
    machine.tool(dmsetup, ":" + std::string(1019, 'x') + "    ");
    EXPECT_EQ(examined_node(), "stat /dev/" + std::string(1018, 'x'));
}

TEST_F(dependency, is_told_by_a_tool_that_prints_a_megabyte)
{
    machine.tool(dmsetup, "1 dependencies : (sda2)\n:" + std::string(1024 * 1024, 'x'));
    expect_dependency("sda2");
}

TEST_F(dependency, is_told_by_a_tool_that_prints_a_megabyte_without_minding_the_pipe)
{
    machine.script(dmsetup, "trap '' PIPE\n"
                            "echo '1 dependencies : (sda2)'\n"
                            "head -c 1048576 /dev/zero 2>/dev/null");
    expect_dependency("sda2");
}

TEST_F(dependency, leaves_the_callers_own_splitting_alone)
{
    depends_on("sda2");
    char text[] = "one:two:three";
    ASSERT_STREQ(::strtok(text, ":"), "one");
    expect_dependency("sda2");
    EXPECT_STREQ(::strtok(nullptr, ":"), "two");
}

// Closed standard descriptors.

using dependency_without_standard_descriptors = mapping_without_standard_descriptors;

INSTANTIATE_TEST_SUITE_P(every_set, dependency_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

TEST_P(dependency_without_standard_descriptors, is_told_and_leaves_them_closed)
{
    depends_on("sda");
    machine.block_device("/dev/sda");
    probes_tell(1);
    EXPECT_EQ(answer(), "/dev/sda");
    EXPECT_EQ(machine.runs(dmsetup).size(), 1U);
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/sda"});
}
