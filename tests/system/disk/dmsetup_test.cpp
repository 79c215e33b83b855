// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How dmsetup is run for a mapped device, and which device it names.
#include "dependency_reports.h"
#include "disk_machine.h"
#include "process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A machine on which every block device is a whole disk: the identity of a mapped device is the
// path of the device that dmsetup names.
class dependency : public mapping_machine {
protected:
    void furnish() override
    {
        mapping_machine::furnish();
        machine.block_device("/dev/sda2");
        kernel.set_everything_whole();
    }

    void expect_no_dependency()
    {
        EXPECT_EQ(mapped_identity(), no_text);
        expect_trace(missing_node_trace("(null)") + refused_request_trace());
    }
};

const std::string names_sda2 = "echo '1 dependencies : (sda2)'\n";

} // namespace

// The tool.

TEST_F(dependency, is_reported_by_the_tool_in_an_empty_environment)
{
    depends_on("sda2");
    ::setenv("LVM_SYSTEM_DIR", "/srv", 1);
    EXPECT_EQ(mapped_identity(), "/dev/sda2");
    const auto runs = machine.runs(dmsetup);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].arguments,
              (texts{"/usr/sbin/dmsetup", "deps", "-o", "devname", "/dev/dm-0"}));
    EXPECT_EQ(runs[0].environment, texts{});
}

TEST_F(dependency, is_queried_without_the_callers_signal_handlers)
{
    depends_on("sda2");
    static int runs_of_handler[2]; // a pipe, which a handler in the child would write to as well
    ASSERT_EQ(::pipe2(runs_of_handler, O_CLOEXEC | O_NONBLOCK), 0);
    std::signal(SIGWINCH, [](int) {
        [[maybe_unused]] const auto written = ::write(runs_of_handler[1], "x", 1);
    });
    // As a signal to the process group would arrive in the child before it executes the tool.
    ::pthread_atfork(nullptr, nullptr, [] { ::kill(::getpid(), SIGWINCH); });
    EXPECT_EQ(mapped_identity(), "/dev/sda2");
    char run = 0;
    EXPECT_EQ(::read(runs_of_handler[0], &run, 1), -1);
    for (const int end : runs_of_handler)
        ::close(end);
}

TEST_F(dependency, is_queried_by_one_literal_word_without_a_shell)
{
    constexpr char name[] = "/dev/mapper/a b;c$(d)'e\"*";
    depends_on("sda2");
    machine.block_device(name);
    machine.watch_shell();
    EXPECT_EQ(identity(name), "/dev/sda2");
    EXPECT_EQ(machine.runs(dmsetup).at(0).arguments,
              (texts{"/usr/sbin/dmsetup", "deps", "-o", "devname", name}));
    EXPECT_EQ(machine.shell_commands(), texts{});
}

TEST_F(dependency, is_queried_afresh_on_every_call)
{
    depends_on("sda2");
    EXPECT_EQ(mapped_identity(), "/dev/sda2");
    stands_on("sdb3");
    EXPECT_EQ(mapped_identity(), "/dev/sdb3");
}

TEST_F(dependency, is_not_reported_by_a_tool_in_another_place)
{
    machine.tool("/usr/bin/dmsetup", "1 dependencies : (sda2)\n");
    expect_no_dependency();
}

// What goes wrong.

TEST_F(dependency, is_none_where_no_pipe_can_be_made)
{
    depends_on("sda2");
    kernel.refuse_to_open("/dev/dm-0");
    const int free = ::dup(STDIN_FILENO);
    ::close(free);
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    // Enough for one descriptor, which the trace log takes, and not for both ends.
    const rlimit one_more = {static_cast<rlim_t>(free) + 1, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &one_more), 0);
    EXPECT_EQ(mapped_identity(), no_text);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    expect_trace(texts{"pipe error."} + missing_node_trace("(null)") +
                 texts{trace_line::identify_request("/dev/dm-0"), trace_line::not_opened});
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

TEST_F(dependency, is_none_where_no_process_can_be_started)
{
    depends_on("sda2");
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    rlimit before = {};
    ::getrlimit(RLIMIT_NPROC, &before);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
    {
        const other_user caller; // root may exceed the limit
        EXPECT_EQ(mapped_identity(), no_text);
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &before), 0);
    expect_trace(texts{"fork error."} + missing_node_trace("(null)") + refused_request_trace());
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

namespace {

struct broken_tool : named_case {
    void (*place)(constructed_machine &machine);
    const char *error;
};

class dependency_of : public dependency, public testing::WithParamInterface<broken_tool> {};

} // namespace

TEST_P(dependency_of, a_tool_that_cannot_be_executed_is_none)
{
    GetParam().place(machine);
    EXPECT_EQ(standard_error_of([this] { expect_no_dependency(); }), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    as, dependency_of,
    testing::Values(
        broken_tool{"no_program",
                    [](constructed_machine &machine) { machine.file(dmsetup, "text\n", 0755); },
                    "execve: Exec format error\n"},
        broken_tool{"directory", [](constructed_machine &machine) { machine.directory(dmsetup); },
                    "execve: Permission denied\n"},
        broken_tool{
            "script_without_interpreter",
            [](constructed_machine &machine) { machine.file(dmsetup, "#!/srv/nothing\n", 0755); },
            "execve: No such file or directory\n"}));

namespace {

pid_t caller = 0;
void last_words()
{
    if (::getpid() != caller)
        static_cast<void>(::write(STDOUT_FILENO, "1 dependencies : (sda2)\n", 24) < 0);
}

} // namespace

// The process that fails to become the tool is a copy of the caller.
TEST_F(dependency, is_not_reported_by_the_exit_handlers_of_the_caller)
{
    machine.directory(dmsetup);
    caller = ::getpid();
    ASSERT_EQ(std::atexit(last_words), 0);
    standard_error_of([this] { expect_no_dependency(); });
}

// Signals and children.

namespace {

void reap_every_child(int /*signal*/)
{
    const int kept = errno;
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = kept;
}

// A child of the caller's own that ends when its end of a pipe is closed, or at last after a
// minute.
class waiting_child {
public:
    waiting_child()
    {
        std::array<int, 2> ends = {};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe2");
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ends[1]);
            pollfd closed = {ends[0], POLLIN, 0};
            ::poll(&closed, 1, 60'000);
            ::_exit(0);
        }
        ::close(ends[0]);
        end_ = ends[1];
    }
    waiting_child(const waiting_child &) = delete;
    waiting_child &operator=(const waiting_child &) = delete;
    ~waiting_child()
    {
        ::close(end_);
        while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    [[nodiscard]] bool is_running() const
    {
        siginfo_t ended = {};
        return ::waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               ended.si_pid == 0;
    }

private:
    pid_t pid_;
    int end_;
};

struct use_of_children : named_case {
    void (*handler)(int);
    int flags = 0; // and no SA_RESTART
};

class dependency_for_a_caller_that : public dependency,
                                     public testing::WithParamInterface<use_of_children> {
protected:
    void SetUp() override
    {
        dependency::SetUp();
        struct sigaction use = {};
        use.sa_handler = GetParam().handler;
        use.sa_flags = GetParam().flags;
        ::sigaction(SIGCHLD, &use, &before_);
    }
    void TearDown() override
    {
        ::sigaction(SIGCHLD, &before_, nullptr);
        dependency::TearDown();
    }

private:
    struct sigaction before_ = {};
};

} // namespace

TEST_P(dependency_for_a_caller_that, is_not_awaited_longer_than_the_tool)
{
    depends_on("sda2");
    machine.file("/proc/mounts", "/dev/mapper/root / ext4 rw 0 0\n");
    const waiting_child other;
    EXPECT_EQ(owned_text(orvane_get_harddisk_id()).value(), "/dev/sda2");
    EXPECT_TRUE(other.is_running());
}

INSTANTIATE_TEST_SUITE_P(
    has_another_child, dependency_for_a_caller_that,
    testing::Values(use_of_children{"and_waits_for_children", SIG_DFL},
                    use_of_children{"and_ignores_children", SIG_IGN},
                    use_of_children{"and_keeps_no_zombies", SIG_DFL, SA_NOCLDWAIT},
                    use_of_children{"and_reaps_every_child", reap_every_child}));

TEST_F(dependency, costs_a_caller_with_a_child_of_its_own_one_wait)
{
    depends_on("sda2");
    const pid_t own = ::fork();
    if (own == 0)
        ::_exit(0);
    siginfo_t ended = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(own), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(mapped_identity(), "/dev/sda2");
    EXPECT_GT(::wait(nullptr), 0);
}

// What the tool prints.

namespace {

class dependency_in : public dependency, public testing::WithParamInterface<dependency_report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(a_report_of, dependency_in, testing::ValuesIn(dependency_reports));

TEST_P(dependency_in, is_the_device_that_it_names)
{
    machine.tool(dmsetup, GetParam().printed);
    if (!GetParam().name.empty())
        machine.block_device("/dev/" + GetParam().name);
    EXPECT_EQ(mapped_identity(), GetParam().name.empty() ? no_text : "/dev/" + GetParam().name);
}

TEST_F(dependency, is_traced_as_missing)
{
    machine.tool(dmsetup, "0 dependencies\n");
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(texts{"cannot found deps"} + missing_node_trace("(null)") +
                 refused_request_trace());
}

TEST_F(dependency, is_not_traced_as_missing_by_a_tool_that_prints_nothing)
{
    machine.tool(dmsetup, "");
    expect_no_dependency();
}

TEST_F(dependency, runs_together_with_another)
{
    machine.tool(dmsetup, "2 dependencies : (sdb1) (sda2)\n");
    machine.block_device("/dev/sdb1");
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(missing_node_trace("sdb1sda2") + refused_request_trace());
}

namespace {

struct running_tool : named_case {
    std::string commands;
};

class dependency_by_a_tool_that : public dependency,
                                  public testing::WithParamInterface<running_tool> {};

} // namespace

TEST_P(dependency_by_a_tool_that, prints_more_or_slowly_is_found_at_its_start)
{
    machine.script(dmsetup, GetParam().commands);
    EXPECT_EQ(mapped_identity(), "/dev/sda2");
}

INSTANTIATE_TEST_SUITE_P(
    goes_on, dependency_by_a_tool_that,
    testing::Values(
        running_tool{"with_a_megabyte", names_sda2 + "head -c 1048576 /dev/zero"},
        running_tool{"with_a_megabyte_and_ignores_the_closed_pipe",
                     "trap '' PIPE\n" + names_sda2 + "head -c 1048576 /dev/zero 2>/dev/null"},
        running_tool{"after_a_pause", "printf '1 dependencies : (sda2'; sleep 0.5; echo '1)'"}));

namespace {

struct bounded_report : named_case {
    std::string printed;
    std::string identity;
};

std::string many(std::size_t count, const std::string &text)
{
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i)
        repeated += text;
    return repeated;
}

// "/dev/" and 1018 characters fill the node's 1023.
const std::string longest_name = many(507, "./") + "sda2";

class dependency_at_a_bound : public dependency,
                              public testing::WithParamInterface<bounded_report> {};

} // namespace

TEST_P(dependency_at_a_bound, is_truncated_there)
{
    machine.block_device("/dev/sda12");
    machine.tool(dmsetup, GetParam().printed);
    EXPECT_EQ(mapped_identity(), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(
    of, dependency_at_a_bound,
    testing::Values(
        bounded_report{"1023_characters_of_a_report",
                       "1 dependencies : " + many(1001, "(") + "sda12", "/dev/sda12"},
        bounded_report{"1024_characters_of_a_report",
                       "1 dependencies : " + many(1002, "(") + "sda23", "/dev/sda2"},
        bounded_report{"a_colon_as_the_1023rd_character", many(1018, "(") + "sda2:", "/dev/sda2"},
        bounded_report{"a_colon_as_the_1024th_character", many(1019, "(") + "sda2:", no_text},
        bounded_report{"1018_characters_of_a_name", ":" + longest_name, "/dev/" + longest_name},
        bounded_report{"1019_characters_of_a_name", ":" + longest_name + "3",
                       "/dev/" + longest_name}));
