// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A log line in a process that has reached its file size limit. The SIGXFSZ that such a write
// raises would end this program.
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

constexpr rlim_t limit_bytes = 4096;

std::string file_at_the_limit()
{
    return std::string(limit_bytes, 'x');
}

class file_size_limit {
public:
    file_size_limit()
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {limit_bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    file_size_limit(const file_size_limit &) = delete;
    file_size_limit &operator=(const file_size_limit &) = delete;
    ~file_size_limit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

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

// Blocks the signal for its lifetime, and discards a pending one in the end.
class blocked_signal {
public:
    blocked_signal() { ::pthread_sigmask(SIG_BLOCK, &signal_, &before_); }
    blocked_signal(const blocked_signal &) = delete;
    blocked_signal &operator=(const blocked_signal &) = delete;
    ~blocked_signal()
    {
        constexpr timespec no_time = {};
        ::sigtimedwait(&signal_, nullptr, &no_time);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t signal_ = signal_alone();
    sigset_t before_ = {};
};

bool is_pending()
{
    sigset_t pending = {};
    ::sigpending(&pending);
    return ::sigismember(&pending, SIGXFSZ) == 1;
}

bool is_blocked()
{
    sigset_t mask = {};
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return ::sigismember(&mask, SIGXFSZ) == 1;
}

struct writer : named_case {
    void (*write)();
    const char *file;
    std::string complaint;
};
const writer writers[] = {
    {"trace", [] { EXPECT_EQ(orvane_trace("lost"), 1); }, trace_log,
     "Write to log file failed: File too large\n"},
    {"event", [] { log_write(event_log, "lost", "EE", 1); }, event_log, ""},
};

class log_at_file_size_limit : public on_machine, public testing::WithParamInterface<writer> {
protected:
    void furnish() override { machine.file(GetParam().file, file_at_the_limit()); }

    // What the writing prints on standard error.
    static std::string error_of_writing()
    {
        return standard_error_of([] {
            const file_size_limit limit;
            GetParam().write();
        });
    }
};

} // namespace

TEST_P(log_at_file_size_limit, loses_the_line_and_nothing_else)
{
    EXPECT_EQ(error_of_writing(), GetParam().complaint);
    EXPECT_EQ(machine.content(GetParam().file), file_at_the_limit());
    EXPECT_FALSE(is_pending());
    EXPECT_FALSE(is_blocked());
}

TEST_P(log_at_file_size_limit, truncates_a_line_that_fits_in_part)
{
    machine.file(GetParam().file, std::string(limit_bytes - 3, 'x'));
    EXPECT_EQ(error_of_writing(), "");
    EXPECT_EQ(machine.content(GetParam().file).size(), limit_bytes);
}

TEST_P(log_at_file_size_limit, calls_no_handler_of_the_caller)
{
    static volatile std::sig_atomic_t signals;
    signals = 0;
    const auto before = std::signal(SIGXFSZ, [](int) { signals = signals + 1; });
    EXPECT_EQ(error_of_writing(), GetParam().complaint);
    EXPECT_EQ(signals, 0);
    std::signal(SIGXFSZ, before);
}

TEST_P(log_at_file_size_limit, leaves_no_signal_to_a_caller_that_blocks_it)
{
    const blocked_signal caller;
    EXPECT_EQ(error_of_writing(), GetParam().complaint);
    EXPECT_FALSE(is_pending());
    EXPECT_TRUE(is_blocked());
}

TEST_P(log_at_file_size_limit, leaves_a_signal_that_was_pending_before)
{
    const blocked_signal caller;
    ::pthread_kill(::pthread_self(), SIGXFSZ);
    EXPECT_EQ(error_of_writing(), GetParam().complaint);
    EXPECT_TRUE(is_pending());
}

INSTANTIATE_TEST_SUITE_P(of, log_at_file_size_limit, testing::ValuesIn(writers));

using query_at_file_size_limit = on_machine;

// Standard error may be a file at the limit, too.
TEST_F(query_at_file_size_limit, has_its_answer)
{
    machine.file("/etc/os-release", "VARIANT=EDU\n");
    machine.file(trace_log, file_at_the_limit());
    machine.file("/srv/errors", file_at_the_limit());
    standard_error_of([] {
        const int file = ::open("/srv/errors", O_WRONLY | O_APPEND | O_CLOEXEC);
        ASSERT_EQ(::dup2(file, STDERR_FILENO), STDERR_FILENO);
        ::close(file);
        const file_size_limit limit;
        EXPECT_EQ(_os_get_version(), 2U);
    });
    EXPECT_EQ(machine.content("/srv/errors"), file_at_the_limit());
}
