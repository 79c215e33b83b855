// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Texts that cannot be written: beyond the process's file size limit, and where nobody reads. The
// SIGXFSZ or SIGPIPE that such a write raises would end this program.
#include "fixture.h"
#include "orvane.h"

#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr char trace_log[] = "/var/log/orvane/liborvane.log";
constexpr char event_log[] = "/srv/events";
constexpr char errors[] = "/srv/errors";

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

// The write end of a pipe that has no reader.
class pipe_without_reader {
public:
    pipe_without_reader()
    {
        std::array<int, 2> ends = {};
        if (::pipe2(ends.data(), O_CLOEXEC) == 0)
            ::close(ends[0]);
        end_ = ends[1];
    }
    pipe_without_reader(const pipe_without_reader &) = delete;
    pipe_without_reader &operator=(const pipe_without_reader &) = delete;
    ~pipe_without_reader() { ::close(end_); }

    [[nodiscard]] int end() const { return end_; }

private:
    int end_ = -1;
};

sigset_t alone(int signal)
{
    sigset_t set = {};
    ::sigemptyset(&set);
    ::sigaddset(&set, signal);
    return set;
}

// Blocks the signal for its lifetime, and discards a pending one in the end.
class blocked_signal {
public:
    explicit blocked_signal(int signal) : signal_(alone(signal))
    {
        ::pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    blocked_signal(const blocked_signal &) = delete;
    blocked_signal &operator=(const blocked_signal &) = delete;
    ~blocked_signal()
    {
        constexpr timespec no_time = {};
        ::sigtimedwait(&signal_, nullptr, &no_time);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t signal_;
    sigset_t before_ = {};
};

bool is_pending(int signal)
{
    sigset_t pending = {};
    ::sigpending(&pending);
    return ::sigismember(&pending, signal) == 1;
}

bool is_blocked(int signal)
{
    sigset_t mask = {};
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return ::sigismember(&mask, signal) == 1;
}

void have_standard_error(int descriptor)
{
    ASSERT_EQ(::dup2(descriptor, STDERR_FILENO), STDERR_FILENO);
}

void trace_as_an_ordinary_user()
{
    const other_user caller; // who may not write the log
    EXPECT_EQ(orvane_trace("lost"), 0);
}

void load_a_missing_key()
{
    EXPECT_EQ(load_public_key("/srv/missing"), nullptr);
}

void read_a_listing_of_nothing()
{
    EXPECT_EQ(find_root_disk("{}"), nullptr);
}

template <void (*print)()> void print_to_nobody(constructed_machine &)
{
    const pipe_without_reader pipe;
    have_standard_error(pipe.end());
    print();
}

struct lost_text : named_case {
    int signal;
    void (*write)(constructed_machine &machine);
    std::string message; // on standard error
};

const lost_text lost_texts[] = {
    {"trace_line_at_the_limit", SIGXFSZ,
     [](constructed_machine &machine) {
         machine.file(trace_log, file_at_the_limit());
         const file_size_limit limit;
         EXPECT_EQ(orvane_trace("lost"), 1);
     },
     "Write to log file failed: File too large\n"},
    {"event_at_the_limit", SIGXFSZ,
     [](constructed_machine &machine) {
         machine.file(event_log, file_at_the_limit());
         const file_size_limit limit;
         log_write(event_log, "lost", "EE", 1);
     },
     ""},
    {"message_at_the_limit", SIGXFSZ,
     [](constructed_machine &machine) {
         machine.file(errors, file_at_the_limit());
         const int file = ::open(errors, O_WRONLY | O_APPEND | O_CLOEXEC);
         have_standard_error(file);
         ::close(file);
         const file_size_limit limit;
         trace_as_an_ordinary_user();
     },
     ""},
    {"trace_line_without_a_reader", SIGPIPE,
     [](constructed_machine &machine) {
         const pipe_without_reader pipe;
         machine.link(trace_log, machine.own_proc() + "/fd/" + std::to_string(pipe.end()));
         EXPECT_EQ(orvane_trace("lost"), 1);
     },
     "Write to log file failed: Broken pipe\n"},
    {"event_without_a_reader", SIGPIPE,
     [](constructed_machine &machine) {
         const pipe_without_reader pipe;
         const std::string path = machine.own_proc() + "/fd/" + std::to_string(pipe.end());
         log_write(path.c_str(), "lost", "EE", 1);
     },
     ""},
    {"message_without_a_reader", SIGPIPE, print_to_nobody<trace_as_an_ordinary_user>, ""},
    {"message_about_a_key_without_a_reader", SIGPIPE, print_to_nobody<load_a_missing_key>, ""},
    {"message_about_a_listing_without_a_reader", SIGPIPE,
     print_to_nobody<read_a_listing_of_nothing>, ""},
};

class lost_write : public on_machine, public testing::WithParamInterface<lost_text> {
protected:
    void furnish() override
    {
        std::signal(SIGPIPE, SIG_DFL);
        std::signal(SIGXFSZ, SIG_DFL);
    }

    // What the writing prints on standard error.
    std::string error_of_writing()
    {
        return standard_error_of([this] { GetParam().write(machine); });
    }
};

} // namespace

TEST_P(lost_write, loses_the_text_and_nothing_else)
{
    EXPECT_EQ(error_of_writing(), GetParam().message);
    EXPECT_FALSE(is_pending(GetParam().signal));
    EXPECT_FALSE(is_blocked(GetParam().signal));
    for (const char *const file : {trace_log, event_log, errors}) {
        if (std::filesystem::is_regular_file(file)) {
            EXPECT_EQ(machine.content(file), file_at_the_limit());
        }
    }
}

TEST_P(lost_write, calls_no_handler_of_the_caller)
{
    static volatile std::sig_atomic_t signals;
    signals = 0;
    std::signal(GetParam().signal, [](int) { signals = signals + 1; });
    EXPECT_EQ(error_of_writing(), GetParam().message);
    EXPECT_EQ(signals, 0);
}

TEST_P(lost_write, leaves_no_signal_to_a_caller_that_blocks_it)
{
    const blocked_signal caller(GetParam().signal);
    EXPECT_EQ(error_of_writing(), GetParam().message);
    EXPECT_FALSE(is_pending(GetParam().signal));
    EXPECT_TRUE(is_blocked(GetParam().signal));
}

TEST_P(lost_write, leaves_a_signal_that_was_pending_before)
{
    const blocked_signal caller(GetParam().signal);
    ::pthread_kill(::pthread_self(), GetParam().signal);
    EXPECT_EQ(error_of_writing(), GetParam().message);
    EXPECT_TRUE(is_pending(GetParam().signal));
}

INSTANTIATE_TEST_SUITE_P(of, lost_write, testing::ValuesIn(lost_texts));

TEST_F(on_machine, truncates_a_line_that_fits_below_the_file_size_limit_in_part)
{
    for (const char *const file : {trace_log, event_log})
        machine.file(file, std::string(limit_bytes - 3, 'x'));
    EXPECT_EQ(standard_error_of([] {
                  const file_size_limit limit;
                  EXPECT_EQ(orvane_trace("truncated"), 1);
                  log_write(event_log, "truncated", "EE", 1);
              }),
              "");
    for (const char *const file : {trace_log, event_log})
        EXPECT_EQ(machine.content(file).size(), limit_bytes);
}

namespace {

class signal_of_another_sender : public on_machine, public testing::WithParamInterface<int> {};

std::atomic<int> received;

} // namespace

// One signal after the other, each at some moment of a trace line that is written as it should be.
TEST_P(signal_of_another_sender, arrives)
{
    constexpr int signals = 300;
    received = 0;
    std::signal(GetParam(), [](int) { ++received; });
    std::atomic<int> sent = 0;
    std::atomic<int> seen = 0;
    std::thread sender([&] {
        const blocked_signal here(GetParam());
        for (int signal = 1; signal <= signals && seen >= 0; ++signal) {
            ::kill(::getpid(), GetParam());
            sent = signal;
            while (seen >= 0 && seen < signal)
                std::this_thread::yield();
        }
    });
    for (int signal = 1; signal <= signals && seen >= 0; ++signal) {
        while (sent < signal)
            orvane_trace("line");
        orvane_trace("last"); // a signal is delivered on return from a system call
        EXPECT_EQ(received, signal);
        seen = received == signal ? signal : -1;
    }
    sender.join();
    std::signal(GetParam(), SIG_DFL);
}

INSTANTIATE_TEST_SUITE_P(of, signal_of_another_sender, testing::Values(SIGPIPE, SIGXFSZ));
