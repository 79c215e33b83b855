// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The trace log's directory and file, what goes wrong with them, and what the caller keeps.
#include "interpose.h"
#include "orvane.h"
#include "process.h"
#include "trace_machine.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

// The directory.

using trace_directory = trace_machine;

TEST_F(trace_directory, is_made_when_missing)
{
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(permissions("/var/log/orvane"), 0755U);
}

TEST_F(trace_directory, is_only_examined_when_it_stands)
{
    machine.directory("/var/log/orvane");
    record_calls();
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined()}));
}

TEST_F(trace_directory, is_examined_first_and_then_made)
{
    record_calls();
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined(), directory_made()}));
}

TEST_F(trace_directory, keeps_its_mode_and_its_files)
{
    machine.directory("/var/log/orvane", 0711);
    machine.file("/var/log/orvane/other", "kept");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(permissions("/var/log/orvane"), 0711U);
    EXPECT_EQ(machine.content("/var/log/orvane/other"), "kept");
}

TEST_F(trace_directory, that_the_caller_may_not_enter_is_asked_for_again)
{
    machine.directory("/var/log/orvane", 0744);
    record_calls();
    {
        const other_user caller;
        EXPECT_EQ(orvane_logger_env_init(), 1);
    }
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined(), directory_made()}));
}

TEST_F(trace_directory, that_the_caller_may_not_list_is_asked_for_again)
{
    machine.directory("/var/log/orvane", 0711);
    record_calls();
    {
        const other_user caller;
        EXPECT_EQ(orvane_logger_env_init(), 1);
    }
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined(), directory_made()}));
}

TEST_F(trace_directory, that_cannot_be_made_is_no_failure)
{
    machine.read_only("/var/log");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(trace_directory, is_not_made_together_with_the_one_above)
{
    machine.remove("/var/log");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_FALSE(std::filesystem::exists("/var/log"));
}

TEST_F(trace_directory, gives_way_to_a_file_in_its_place)
{
    machine.file("/var/log/orvane", "kept");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(machine.content("/var/log/orvane"), "kept");
}

TEST(tracing, is_always_on)
{
    EXPECT_EQ(orvane_is_tracing(), 1);
}

using trace_log = trace_machine;

// The file.

TEST_F(trace_log, costs_one_open_one_write_and_one_close)
{
    machine.directory("/var/log/orvane");
    record_calls();
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing",
                            log_opened(), "time_string", "write log 40", "close log"}));
}

TEST_F(trace_log, costs_the_same_for_every_line)
{
    orvane_trace("first");
    record_calls();
    orvane_trace("message");
    orvane_trace("message");
    const texts line = {"orvane_logger_env_init",
                        directory_examined(),
                        "orvane_is_tracing",
                        log_opened(),
                        "time_string",
                        "write log 40",
                        "close log"};
    ASSERT_EQ(calls.size(), 14U);
    EXPECT_EQ(texts(calls.begin(), calls.begin() + 7), line);
    EXPECT_EQ(texts(calls.begin() + 7, calls.end()), line);
}

TEST_F(trace_log, appends_to_what_stands_in_it)
{
    machine.file(log_file, "earlier\n");
    settle_prefix("now");
    orvane_trace("message");
    EXPECT_EQ(log(), "earlier\nnow [4711]: message\n");
}

TEST_F(trace_log, appends_to_a_line_without_an_end)
{
    machine.file(log_file, "earlier");
    settle_prefix("now");
    orvane_trace("message");
    EXPECT_EQ(log(), "earliernow [4711]: message\n");
}

TEST_F(trace_log, grows_past_every_size)
{
    machine.file(log_file, "");
    std::filesystem::resize_file(log_file, 5000000000);
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(std::filesystem::file_size(log_file), 5000000020U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("/var/log/orvane"), {}), 1);
}

TEST_F(trace_log, keeps_the_mode_of_an_existing_file)
{
    machine.file(log_file, "", 0600);
    orvane_trace("message");
    EXPECT_EQ(permissions(log_file), 0600U);
}

TEST_F(trace_log, is_made_again_with_its_directory_after_both_are_gone)
{
    orvane_trace("first");
    std::filesystem::remove_all("/var/log/orvane");
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), texts{"second"});
}

TEST_F(trace_log, is_made_again_after_it_was_moved_away)
{
    orvane_trace("first");
    std::filesystem::rename(log_file, "/var/log/orvane/old");
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), texts{"second"});
}

TEST_F(trace_log, stays_silent_on_the_standard_streams)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(traced(), (outcome{1, ""}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

namespace {

struct mode_case : named_case {
    mode_t umask;
    mode_t directory;
    mode_t file;
};

class trace_modes : public trace_machine, public testing::WithParamInterface<mode_case> {};

} // namespace

TEST_P(trace_modes, are_0777_and_0644_less_the_umask)
{
    ::umask(GetParam().umask);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(permissions("/var/log/orvane"), GetParam().directory);
    EXPECT_EQ(permissions(log_file), GetParam().file);
    EXPECT_EQ(::umask(022), GetParam().umask);
}

INSTANTIATE_TEST_SUITE_P(umask, trace_modes,
                         testing::Values(mode_case{"none", 0, 0777, 0644},
                                         mode_case{"group_and_other_write", 022, 0755, 0644},
                                         mode_case{"other_all", 027, 0750, 0640},
                                         mode_case{"group_and_other_all", 077, 0700, 0600},
                                         mode_case{"every_write_and_execute", 0333, 0444, 0444}));

TEST_F(trace_log, has_whole_lines_of_several_processes)
{
    constexpr int processes = 4;
    constexpr int lines = 100;
    interpose::time_string = [] { return "now"; };
    texts expected;
    for (int process = 0; process < processes; ++process) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (int line = 0; line < lines; ++line)
                orvane_trace("%s", std::string(900, 'm').c_str());
            ::_exit(0);
        }
        expected.insert(expected.end(), lines,
                        "now [" + std::to_string(child) + "]: " + std::string(900, 'm'));
    }
    while (::wait(nullptr) > 0) {
    }
    texts written;
    std::istringstream stream(log());
    for (std::string line; std::getline(stream, line);)
        written.push_back(line);
    std::sort(expected.begin(), expected.end());
    std::sort(written.begin(), written.end());
    EXPECT_EQ(written, expected);
}

// What goes wrong.

TEST_F(trace_log, is_not_touched_when_the_environment_is_refused)
{
    record_calls();
    interpose::orvane_logger_env_init = [] { return 0; };
    EXPECT_EQ(traced(), (outcome{0, ""}));
    EXPECT_EQ(calls, texts{});
}

TEST_F(trace_log, is_not_touched_when_tracing_is_off)
{
    machine.directory("/var/log/orvane");
    record_calls();
    interpose::orvane_is_tracing = [] { return 0; };
    EXPECT_EQ(traced(), (outcome{0, ""}));
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined()}));
}

TEST_F(trace_log, tells_of_a_read_only_file_system)
{
    machine.read_only("/var/log");
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: No such file or directory\n"}));
}

TEST_F(trace_log, tells_of_a_directory_on_a_read_only_file_system)
{
    machine.directory("/var/log/orvane");
    machine.read_only("/var/log");
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: Read-only file system\n"}));
}

TEST_F(trace_log, tells_of_a_missing_directory_above)
{
    machine.remove("/var/log");
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: No such file or directory\n"}));
}

TEST_F(trace_log, tells_of_a_file_in_the_place_of_its_directory)
{
    machine.file("/var/log/orvane", "kept");
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: Not a directory\n"}));
    EXPECT_EQ(machine.content("/var/log/orvane"), "kept");
}

TEST_F(trace_log, tells_of_a_directory_in_its_place)
{
    machine.directory(log_file);
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: Is a directory\n"}));
}

TEST_F(trace_log, tells_a_user_who_may_not_write)
{
    machine.file(log_file, "kept\n");
    outcome seen = {};
    {
        const other_user caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{0, "Open log file failed: Permission denied\n"}));
    EXPECT_EQ(log(), "kept\n");
}

TEST_F(trace_log, takes_a_line_of_any_user_who_may_write)
{
    machine.file(log_file, "", 0666);
    outcome seen = {};
    {
        const other_user caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{1, ""}));
    EXPECT_EQ(machine.trace(), texts{"message"});
}

TEST_F(trace_log, is_given_up_when_it_cannot_be_opened)
{
    machine.directory("/var/log/orvane");
    record_calls();
    interpose::open = [this](const char *, int, mode_t) {
        calls.emplace_back("open");
        errno = EMFILE;
        return -1;
    };
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: Too many open files\n"}));
    EXPECT_EQ(calls,
              (texts{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing", "open"}));
}

TEST_F(trace_log, tells_of_a_full_file_system)
{
    machine.file_system("/var/log/orvane", "size=4096");
    machine.file(log_file, std::string(4096, 'x'));
    EXPECT_EQ(traced(), (outcome{1, "Write to log file failed: No space left on device\n"}));
    EXPECT_EQ(log(), std::string(4096, 'x'));
}

TEST_F(trace_log, is_closed_after_a_failed_write)
{
    machine.directory("/var/log/orvane");
    record_calls();
    interpose::write = [this](int, const void *, size_t size) {
        calls.push_back("write " + std::to_string(size));
        errno = EINTR;
        return ssize_t{-1};
    };
    EXPECT_EQ(traced(), (outcome{1, "Write to log file failed: Interrupted system call\n"}));
    EXPECT_EQ(calls, (texts{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing",
                            log_opened(), "time_string", "write 40", "close log"}));
}

TEST_F(trace_log, is_written_once_even_where_a_part_is_taken)
{
    int writes = 0;
    interpose::write = [&writes](int, const void *, size_t) {
        ++writes;
        return ssize_t{3};
    };
    EXPECT_EQ(traced(), (outcome{1, ""}));
    EXPECT_EQ(writes, 1);
}

// What the caller keeps.

TEST_F(trace_log, leaves_errno_after_a_line)
{
    machine.directory("/var/log/orvane");
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, leaves_errno_after_making_the_directory)
{
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, leaves_errno_after_a_failed_open)
{
    machine.read_only("/var/log");
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, leaves_errno_after_a_failed_write)
{
    machine.link(log_file, "/dev/full");
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, leaves_errno_after_a_failed_close)
{
    interpose::close = [](int fd) {
        interpose::close.real(fd);
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, leaves_errno_when_the_environment_is_refused)
{
    interpose::orvane_logger_env_init = [] {
        errno = EIO;
        return 0;
    };
    EXPECT_EQ(errno_after_trace(), EDOM);
}

TEST_F(trace_log, takes_a_line_whose_close_fails)
{
    interpose::close = [](int fd) {
        interpose::close.real(fd);
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(traced(), (outcome{1, ""}));
    EXPECT_EQ(machine.trace(), texts{"message"});
}

namespace {

class trace_without_standard_descriptors : public trace_machine,
                                           public testing::WithParamInterface<std::vector<int>> {
protected:
    // The result of one line and which of the closed descriptors it left open.
    static std::pair<int, std::vector<int>> traced_with_closed_descriptors()
    {
        std::pair<int, std::vector<int>> seen;
        const closed_descriptors closed(GetParam());
        seen.first = orvane_trace("message");
        for (const int descriptor : GetParam()) {
            if (is_open(descriptor))
                seen.second.push_back(descriptor);
        }
        return seen;
    }
};

} // namespace

TEST_P(trace_without_standard_descriptors, writes_the_line_and_leaves_them_closed)
{
    EXPECT_EQ(traced_with_closed_descriptors(), (std::pair<int, std::vector<int>>(1, {})));
    EXPECT_EQ(machine.trace(), texts{"message"});
}

TEST_P(trace_without_standard_descriptors, fails_to_open_and_leaves_them_closed)
{
    machine.directory(log_file);
    std::pair<int, std::vector<int>> seen;
    standard_error_of([&seen] { seen = traced_with_closed_descriptors(); });
    EXPECT_EQ(seen, (std::pair<int, std::vector<int>>(0, {})));
}

INSTANTIATE_TEST_SUITE_P(every_combination, trace_without_standard_descriptors,
                         testing::ValuesIn(std::vector<std::vector<int>>{
                             {0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}}));
