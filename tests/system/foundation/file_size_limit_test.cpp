// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What comes of a log line in a process that may write no more to files. The signal that such a
// write raises would end this program.
#include "fixture.h"
#include "orvane.h"

#include <csignal>
#include <ctime>
#include <string>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr char trace_log[] = "/var/log/orvane/liborvane.log";
constexpr char event_log[] = "/srv/events";

constexpr rlim_t longest = 4096;

// A file that has reached the limit.
std::string full_file()
{
    return std::string(longest, 'x');
}

class no_longer_files {
public:
    no_longer_files()
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {longest, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    no_longer_files(const no_longer_files &) = delete;
    no_longer_files &operator=(const no_longer_files &) = delete;
    ~no_longer_files() { ::setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_ = {};
};

sigset_t signal_alone()
{
    sigset_t set = {};
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGXFSZ);
    return set;
}

// The caller keeps the signal waiting, and throws away what came of it in the end.
class kept_waiting {
public:
    kept_waiting() { ::pthread_sigmask(SIG_BLOCK, &signal_, &before_); }
    kept_waiting(const kept_waiting &) = delete;
    kept_waiting &operator=(const kept_waiting &) = delete;
    ~kept_waiting()
    {
        constexpr timespec no_time = {};
        ::sigtimedwait(&signal_, nullptr, &no_time);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t signal_ = signal_alone();
    sigset_t before_ = {};
};

bool is_waiting()
{
    sigset_t waiting = {};
    ::sigpending(&waiting);
    return ::sigismember(&waiting, SIGXFSZ) == 1;
}

bool is_blocked()
{
    sigset_t mask = {};
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return ::sigismember(&mask, SIGXFSZ) == 1;
}

void trace()
{
    EXPECT_EQ(orvane_trace("lost"), 1);
}

void log_event()
{
    log_write(event_log, "lost", "EE", 1);
}

struct writer : named_case {
    void (*write)();
    const char *file;
    std::string complaint;
};
const writer writers[] = {
    {"trace", trace, trace_log, "Write to log file failed: File too large\n"},
    {"event", log_event, event_log, ""},
};

class log_at_file_size_limit : public on_machine, public testing::WithParamInterface<writer> {
protected:
    void furnish() override { machine.file(GetParam().file, full_file()); }

    // What the writing says on standard error.
    static std::string complaint_of_writing()
    {
        return standard_error_of([] {
            const no_longer_files here;
            GetParam().write();
        });
    }
};

} // namespace

TEST_P(log_at_file_size_limit, loses_the_line_and_nothing_else)
{
    EXPECT_EQ(complaint_of_writing(), GetParam().complaint);
    EXPECT_EQ(machine.content(GetParam().file), full_file());
    EXPECT_FALSE(is_waiting());
    EXPECT_FALSE(is_blocked());
}

TEST_P(log_at_file_size_limit, takes_a_signal_of_no_other_write)
{
    const kept_waiting caller;
    standard_error_of([] {
        const no_longer_files here;
        const int file = ::open(GetParam().file, O_WRONLY | O_APPEND | O_CLOEXEC);
        EXPECT_EQ(::write(file, "x", 1), -1);
        ::close(file);
        GetParam().write();
    });
    EXPECT_TRUE(is_waiting());
}

TEST_P(log_at_file_size_limit, is_none_of_a_handlers_business)
{
    static volatile std::sig_atomic_t signals;
    signals = 0;
    const auto before = std::signal(SIGXFSZ, [](int) { signals = signals + 1; });
    EXPECT_EQ(complaint_of_writing(), GetParam().complaint);
    EXPECT_EQ(signals, 0);
    std::signal(SIGXFSZ, before);
}

TEST_P(log_at_file_size_limit, leaves_no_signal_to_a_caller_that_keeps_it_waiting)
{
    const kept_waiting caller;
    EXPECT_EQ(complaint_of_writing(), GetParam().complaint);
    EXPECT_FALSE(is_waiting());
    EXPECT_TRUE(is_blocked());
}

TEST_P(log_at_file_size_limit, takes_no_signal_that_waited_before)
{
    const kept_waiting caller;
    ::pthread_kill(::pthread_self(), SIGXFSZ);
    EXPECT_EQ(complaint_of_writing(), GetParam().complaint);
    EXPECT_TRUE(is_waiting());
}

INSTANTIATE_TEST_SUITE_P(of, log_at_file_size_limit, testing::ValuesIn(writers),
                         [](const auto &one) { return one.param.name; });

// A query that tells of its steps in the trace log.
class query_at_file_size_limit : public on_machine {
protected:
    void furnish() override
    {
        machine.file("/etc/os-release", "VARIANT=EDU\n");
        machine.file(trace_log, full_file());
        machine.file("/srv/said", full_file());
    }

    static unsigned int version()
    {
        const no_longer_files here;
        return _os_get_version();
    }
};

TEST_F(query_at_file_size_limit, has_its_answer)
{
    const std::string complaint = "Write to log file failed: File too large\n";
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(version(), 2U); }), complaint + complaint);
}

TEST_F(query_at_file_size_limit, has_its_answer_when_its_complaints_go_to_a_file_as_full)
{
    standard_error_of([] {
        const int file = ::open("/srv/said", O_WRONLY | O_APPEND | O_CLOEXEC);
        ASSERT_EQ(::dup2(file, STDERR_FILENO), STDERR_FILENO);
        ::close(file);
        EXPECT_EQ(version(), 2U);
    });
    EXPECT_EQ(machine.content("/srv/said"), full_file());
}
