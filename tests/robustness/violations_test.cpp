// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Violations on purpose: these cases do what the library must not, and the trials have to notice.
#include "fixture.h"
#include "orvane.h"
#include "stream_of.h"
#include "summary.h"
#include "trial.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <openssl/err.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Makes a fallible call of the library: which one, nothing here depends on.
bool is_failed()
{
    return ::file_stat("/", S_IFDIR) == 0;
}

std::string answer()
{
    return is_failed() ? "failed" : "fine";
}

constexpr injection::plan first_call_fails = {injection::side::caller, 1, false, 0};

// ---- What a call leaves ----

struct violation : named_case {
    void (*commit)();
    std::string complaint; // what is in it
    unsigned traits = 0;
    bool has_crypto_error = false;
};

const violation *committed;

void change_disposition(int signal, void (*handler)(int), int masked)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    ::sigaddset(&action.sa_mask, masked);
    ::sigaction(signal, &action, nullptr);
}

void replace_standard_input()
{
    const int other = ::open("/", O_RDONLY);
    ::dup2(other, STDIN_FILENO);
    ::close(other);
}

void leave_a_zombie()
{
    if (::fork() == 0)
        ::_exit(0);
}

void leave_a_running_child()
{
    if (::fork() == 0)
        ::pause();
}

void return_in_a_child()
{
    if (::fork() != 0)
        ::wait(nullptr);
}

void block_a_signal()
{
    sigset_t mask = {};
    ::sigaddset(&mask, SIGUSR1);
    ::sigprocmask(SIG_BLOCK, &mask, nullptr);
}

void start_a_timer()
{
    const itimerval hourly = {{3600, 0}, {3600, 0}};
    ::setitimer(ITIMER_REAL, &hourly, nullptr);
}

void replace_crypto_error()
{
    const unsigned long standing = ::ERR_get_error();
    ERR_raise(ERR_LIB_USER, 1);
    ERR_raise(ERR_GET_LIB(standing), ERR_GET_REASON(standing));
}

const violation violations[] = {
    {"open_descriptor", [] { ::open("/dev/null", O_RDONLY); }, "is left open"},
    {"closed_descriptor", [] { ::close(STDIN_FILENO); }, "descriptor 0 is closed"},
    {"other_file", replace_standard_input, "descriptor 0 is of another file"},
    {"descriptor_flag", [] { ::fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC); }, "has other flags"},
    {"zombie", leave_a_zombie, "a child is left"},
    {"running_child", leave_a_running_child, "a child is left"},
    {"returning_child", return_in_a_child, "a child returned"},
    {"thread", [] { std::thread([] { ::pause(); }).detach(); }, "more threads"},
    {"signal_mask", block_a_signal, "another signal mask"},
    {"disposition", [] { std::signal(SIGCHLD, SIG_IGN); }, "another disposition of signal 17"},
    {"disposition_of_sigpipe", [] { std::signal(SIGPIPE, SIG_IGN); },
     "another disposition of signal 13", changes_locale},
    {"mask_of_disposition", [] { change_disposition(SIGCHLD, SIG_DFL, SIGUSR1); },
     "another disposition of signal 17"},
    {"timer", start_a_timer, "another interval timer"},
    {"working_directory", [] { std::filesystem::current_path("/dev"); },
     "another working directory"},
    {"umask", [] { ::umask(077); }, "another umask"},
    {"environment", [] { ::setenv("TZ", "CET", 1); }, "another environment"},
    {"locale", [] { std::setlocale(LC_ALL, "C.UTF-8"); }, "another locale"},
    {"abort", [] { std::abort(); }, "ended by Aborted"},
    {"crash", [] { ::raise(SIGSEGV); },
     is_sanitized() ? "AddressSanitizer: SEGV" : "ended by Segmentation fault"},
    {"leak",
     [] {
         void *volatile lost = std::malloc(100);
         lost = nullptr;
         static_cast<void>(lost);
     },
     "LeakSanitizer: detected memory leaks"},
    {"exit", [] { ::_exit(3); }, "exit status 3"},
    {"exit_with_success", [] { ::_exit(EXIT_SUCCESS); }, "ended before it returned"},
    {"exception", [] { throw std::runtime_error("on purpose"); }, "on purpose"},
    {"hang", [] { ::pause(); }, "it hangs"},
    {"failed_check", [] { ADD_FAILURE(); }, "a check in the call failed"},
    {"new_crypto_error", [] { ERR_raise(ERR_LIB_USER, 1); },
     "another first error of libcrypto; another last error of libcrypto", keeps_crypto_errors},
    {"second_crypto_error", [] { ERR_raise(ERR_LIB_USER, 1); }, "another last error of libcrypto",
     keeps_crypto_errors, true},
    {"lost_crypto_error", [] { ::ERR_clear_error(); }, "another first error of libcrypto",
     keeps_crypto_errors, true},
    {"replaced_crypto_error", replace_crypto_error, "another first error of libcrypto",
     keeps_crypto_errors, true},
};

class violation_where_a_call_fails : public on_machine,
                                     public testing::WithParamInterface<violation> {};

TEST_P(violation_where_a_call_fails, is_noticed)
{
    if (GetParam().name == std::string("leak") && !is_sanitized())
        GTEST_SKIP() << "only a sanitizer notices a leak";
    committed = &GetParam();
    const api_case faulty = {.function = "file_stat",
                             .name = "violation",
                             .run =
                                 [] {
                                     const bool failed = is_failed();
                                     if (failed)
                                         committed->commit();
                                     return std::string(failed ? "failed" : "fine");
                                 },
                             .answer = "fine",
                             .failures = {"failed"},
                             .traits = GetParam().traits};
    trial how = {.has_crypto_error = GetParam().has_crypto_error};
    EXPECT_EQ(try_case(machine, faulty, how).violation, "");
    how.planned = first_call_fails;
    how.limit = std::chrono::seconds(GetParam().complaint == "it hangs" ? 2 : 60);
    const trial_result result = try_case(machine, faulty, how);
    EXPECT_NE(result.failed, nullptr);
    EXPECT_NE(result.violation.find(GetParam().complaint), std::string::npos) << result.violation;
}

INSTANTIATE_TEST_SUITE_P(of, violation_where_a_call_fails, testing::ValuesIn(violations),
                         [](const auto &one) { return one.param.name; });

// ---- What a call answers ----

std::string end_with_a_line()
{
    ::dprintf(STDERR_FILENO, "the line\n");
    std::abort();
}

api_case case_of(std::string (*run)(), const texts &failures = {}, unsigned needs = 0,
                 unsigned uses = 0)
{
    return {"file_stat", "on_purpose", nullptr, run, "fine", failures, needs, uses};
}

api_case case_that_ends_with(const std::string &line)
{
    api_case one = case_of(end_with_a_line);
    one.ends_with = line;
    return one;
}

environment place_that(unsigned withholds, unsigned limits, bool lacks_memory = false)
{
    return {"place", [] { return std::make_unique<condition>(); }, withholds, limits, lacks_memory};
}

class judgement : public on_machine {
protected:
    [[nodiscard]] std::string of(const api_case &one, const injection::plan &planned = {}) const
    {
        return try_case(machine, one, {.planned = planned}).violation;
    }
    [[nodiscard]] std::string in(const environment &place, const api_case &one) const
    {
        return try_case(machine, one, {.place = &place}).violation;
    }
};

std::string fail()
{
    return "failed";
}

std::string be_fine()
{
    return "fine";
}

constexpr char failed_answer[] = "the answer is \"failed\"\n";

TEST_F(judgement, allows_the_documented_failure_where_a_call_fails_alone)
{
    EXPECT_EQ(of(case_of(answer, {"failed"}), first_call_fails), "");
    EXPECT_EQ(of(case_of(answer, {"NULL"}), first_call_fails), failed_answer);
    EXPECT_EQ(of(case_of(fail, {"failed"})), failed_answer);
}

TEST_F(judgement, allows_the_documented_end)
{
    EXPECT_EQ(of(case_that_ends_with("the line")), "");
    EXPECT_NE(of(case_that_ends_with("another line")).find("ended by Aborted"), std::string::npos);
    EXPECT_NE(of(case_of(end_with_a_line)).find("ended by Aborted"), std::string::npos);
    api_case without_end = case_of(be_fine);
    without_end.ends_with = "the line";
    EXPECT_EQ(of(without_end), "the answer is \"fine\"\n");
}

TEST_F(judgement, allows_failure_without_what_the_case_needs_or_uses)
{
    const environment without_tools = place_that(tools, 0);
    const environment few_tools = place_that(0, tools);
    EXPECT_EQ(in(without_tools, case_of(fail, {"failed"}, tools)), "");
    EXPECT_EQ(in(few_tools, case_of(fail, {"failed"}, tools)), "");
    EXPECT_EQ(in(few_tools, case_of(fail, {"failed"}, 0, tools)), "");
    EXPECT_EQ(in(few_tools, case_of(be_fine, {"failed"}, tools)), "");
    EXPECT_EQ(in(without_tools, case_of(be_fine, {"failed"}, 0, tools)), "");
    EXPECT_EQ(in(few_tools, case_of(fail, {"NULL"}, tools)), failed_answer);
    EXPECT_EQ(in(few_tools, case_of(fail, {"failed"}, sys)), failed_answer);
    EXPECT_EQ(in(without_tools, case_of(be_fine, {"failed"}, tools)),
              "the answer is \"fine\" without what it needs\n");
}

TEST_F(judgement, allows_failure_without_memory_unless_the_case_needs_none)
{
    const environment without_memory = place_that(0, 0, true);
    api_case one = case_of(fail, {"failed"});
    EXPECT_EQ(in(without_memory, one), "");
    one.traits = succeeds_without_memory;
    EXPECT_EQ(in(without_memory, one), failed_answer);
}

TEST_F(judgement, is_of_an_environment_that_is_as_said)
{
    const environment untrue = {"untrue", []() -> std::unique_ptr<condition> {
                                    throw std::runtime_error("not as described");
                                }};
    EXPECT_NE(in(untrue, case_of(be_fine)).find("not as described"), std::string::npos);
}

TEST_F(judgement, concerns_no_call_of_the_test)
{
    const api_case one = case_of([]() -> std::string {
        struct stat status = {};
        return ::stat("/", &status) == 0 ? "fine" : "failed";
    });
    const trial_result result = try_case(machine, one, {.planned = first_call_fails});
    EXPECT_EQ(result.failed, nullptr);
    EXPECT_EQ(result.violation, "");
}

TEST_F(judgement, concerns_each_fault_and_each_error_of_libcrypto)
{
    api_case one = case_of(answer);
    EXPECT_GE(try_with_faults(machine, one).size(), 2U); // alone, and every later one failing
    const std::size_t all = try_with_faults(machine, one).size();
    one.traits = keeps_crypto_errors;
    EXPECT_EQ(try_with_faults(machine, one).size(), 2 * all);
}

TEST_F(judgement, concerns_the_calls_of_a_process_that_the_library_forks)
{
    add_tool(machine, "/usr/sbin/dmsetup", "1 dependencies  : (sda)\n");
    machine.block_device("/dev/dm-0");
    machine.block_device("/dev/mapper/root");
    const api_case one = case_of([]() -> std::string {
        std::free(::harddisk_id("/dev/mapper/root"));
        return "fine";
    });
    const trial_result result =
        try_case(machine, one, {.planned = {injection::side::forked, 1, true, 0}});
    EXPECT_NE(result.failed, nullptr);
}

// ---- Faults after which a part is done all the same ----

template <class Function> Function *replacement(const std::string &name, Function * /*of*/)
{
    const auto found = std::ranges::find(fallible_functions(), name, &fallible_function::name);
    return reinterpret_cast<Function *>(found->replacement);
}
#define REPLACED(name) replacement(#name, &::name)

// A fault that the library does not meet, because it does not import the function, cannot be shown.
#define REQUIRE_IMPORT(name)                                                                       \
    if (!replace_fallible_functions().fallible.contains(#name))                                    \
    GTEST_SKIP() << "the library does not import " #name

class fault : public testing::Test {
protected:
    void SetUp() override { buffer.fill('.'); }

    // The first call that is made in here has this fault.
    template <class Calls> void occurs_in(unsigned number, Calls calls)
    {
        injection::prepare({injection::side::caller, 1, false, number});
        injection::arm();
        calls();
        injection::disarm();
    }

    [[nodiscard]] std::string stored() const
    {
        return {buffer.begin(), std::find(buffer.begin(), buffer.end(), '.')};
    }

    std::array<char, 32> buffer = {};
};

using owned_stream = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

TEST_F(fault, of_fgets_leaves_all_but_the_last_of_the_line_and_comes_again)
{
    REQUIRE_IMPORT(fgets);
    constexpr unsigned interrupted_twice = 4;
    const owned_stream stream(stream_of({"Serial AB\nnext\n"}), &std::fclose);
    occurs_in(interrupted_twice, [&] {
        EXPECT_EQ(REPLACED(fgets)(buffer.data(), 32, stream.get()), nullptr);
        EXPECT_EQ(errno, EINTR);
        EXPECT_EQ(REPLACED(fgets)(buffer.data(), 32, stream.get()), nullptr);
        EXPECT_EQ(errno, EIO);
    });
    EXPECT_EQ(stored(), "Serial A");
    EXPECT_NE(std::ferror(stream.get()), 0);
    EXPECT_STREQ(std::fgets(buffer.data(), 32, stream.get()), "B\n");
}

TEST_F(fault, of_fread_leaves_half_of_the_content)
{
    REQUIRE_IMPORT(fread);
    constexpr unsigned fails_in_content = 2;
    const owned_stream stream(stream_of({"12345678"}), &std::fclose);
    occurs_in(fails_in_content,
              [&] { EXPECT_EQ(REPLACED(fread)(buffer.data(), 1, 32, stream.get()), 4U); });
    EXPECT_EQ(stored(), "1234");
    EXPECT_NE(std::ferror(stream.get()), 0);
}

class fault_of_a_pipe : public fault {
protected:
    void SetUp() override
    {
        fault::SetUp();
        ASSERT_EQ(::pipe(ends.data()), 0);
    }
    void TearDown() override
    {
        ::close(ends[0]);
        ::close(ends[1]);
    }

    std::array<int, 2> ends = {-1, -1};
};

TEST_F(fault_of_a_pipe, gives_half_of_what_is_ready)
{
    REQUIRE_IMPORT(read);
    constexpr unsigned part_is_read_before_a_failure = 3;
    ASSERT_EQ(::write(ends[1], "12345678", 8), 8);
    occurs_in(part_is_read_before_a_failure, [&] {
        EXPECT_EQ(REPLACED(read)(ends[0], buffer.data(), 32), 4);
        EXPECT_EQ(REPLACED(read)(ends[0], buffer.data(), 32), -1);
    });
}

TEST_F(fault_of_a_pipe, writes_half_or_raises_the_signal_of_the_file_size_limit)
{
    REQUIRE_IMPORT(write);
    constexpr unsigned half_is_written = 2;
    constexpr unsigned limit_is_reached = 3;
    static volatile std::sig_atomic_t raised;
    raised = 0;
    std::signal(SIGXFSZ, [](int signal) { raised = signal; });
    occurs_in(half_is_written, [&] { EXPECT_EQ(REPLACED(write)(ends[1], "12345678", 8), 4); });
    EXPECT_EQ(raised, 0);
    occurs_in(limit_is_reached, [&] { EXPECT_EQ(REPLACED(write)(ends[1], "12345678", 8), -1); });
    EXPECT_EQ(raised, SIGXFSZ);
}

} // namespace
