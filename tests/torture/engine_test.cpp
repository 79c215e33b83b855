// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the torture is to find, found: these calls do on purpose what the library must not.
#include "fixture.h"
#include "misdeeds.h"
#include "orvane.h"
#include "torture.h"
#include "trial.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Makes the one fallible call that the library makes for these tests.
bool is_failed()
{
    return ::file_stat("/", S_IFDIR) == 0;
}

std::string answer()
{
    return is_failed() ? "failed" : "fine";
}

library_call call_of(std::string (*run)())
{
    return {.function = "file_stat",
            .way = "on purpose",
            .furnish = nullptr,
            .run = run,
            .answer = "fine",
            .failures = {"failed"}};
}

constexpr injection::plan nothing_fails = {};
constexpr injection::plan first_call_fails = {injection::side::caller, 1, false, 0};

class torture_engine : public on_machine {
protected:
    void furnish() override { replace_fallible_functions(); }
};

// What a call does where the library's call fails.
struct misdeed_of_a_function : misdeed {
    std::string function = "file_stat";
    error_queue queue = error_queue::empty;
};
const misdeed *committed;

class misbehaviour : public torture_engine,
                     public testing::WithParamInterface<misdeed_of_a_function> {};

TEST_P(misbehaviour, is_noticed)
{
    committed = &GetParam();
    library_call call = call_of([] {
        const bool failed = is_failed();
        if (failed)
            committed->action();
        return std::string(failed ? "failed" : "fine");
    });
    call.function = GetParam().function;
    EXPECT_EQ(try_call(machine, call, nothing_fails, GetParam().queue).complaint, "");
    const trial_result tried =
        try_call(machine, call, first_call_fails, GetParam().queue, GetParam().seconds_to_wait());
    EXPECT_NE(tried.failed, nullptr);
    EXPECT_NE(tried.complaint.find(GetParam().complaint), std::string::npos) << tried.complaint;
}

const misdeed_of_a_function misdeeds_of_one[] = {
    {"a_child_that_comes_back",
     [] {
         if (::fork() != 0)
             ::wait(nullptr);
     },
     "a child came back"},
    {"a_changed_disposition_of_a_broken_pipe", [] { std::signal(SIGPIPE, SIG_IGN); },
     "another disposition of signal 13"},
    {"an_exit_that_tells_success", [] { ::_exit(EXIT_SUCCESS); }, "ended before it came back"},
    {"a_new_error_of_libcrypto", [] { ERR_raise(ERR_LIB_USER, 1); },
     "another first error of libcrypto; another last error of libcrypto", "load_public_key"},
    {"a_new_error_of_libcrypto_behind_another", [] { ERR_raise(ERR_LIB_USER, 1); },
     "another last error of libcrypto", "load_public_key", error_queue::with_an_error},
    {"a_lost_error_of_libcrypto", [] { ::ERR_clear_error(); }, "another first error of libcrypto",
     "verify_signature", error_queue::with_an_error},
    {"a_replaced_error_of_libcrypto",
     [] {
         const unsigned long standing = ::ERR_get_error();
         ERR_raise(ERR_LIB_USER, 1);
         ERR_raise(ERR_GET_LIB(standing), ERR_GET_REASON(standing));
     },
     "another first error of libcrypto", "verify_signature", error_queue::with_an_error},
#if defined(__SANITIZE_ADDRESS__)
    {"a_crash", [] { ::raise(SIGSEGV); }, "AddressSanitizer: SEGV"},
    {"a_leak",
     [] {
         void *volatile lost = std::malloc(100);
         lost = nullptr;
         static_cast<void>(lost);
     },
     "LeakSanitizer: detected memory leaks"},
    {"an_overrun",
     [] {
         char *volatile room = static_cast<char *>(std::malloc(1));
         room[1] = '.';
         std::free(room);
     },
     "AddressSanitizer: heap-buffer-overflow"},
#else
    {"a_crash", [] { ::raise(SIGSEGV); }, "ended by Segmentation fault"},
#endif
};
INSTANTIATE_TEST_SUITE_P(of, misbehaviour, testing::ValuesIn(misdeeds_of_one),
                         [](const auto &one) { return one.param.name; });

std::vector<misdeed_of_a_function> misdeeds_of_this_function()
{
    std::vector<misdeed_of_a_function> all;
    for (const misdeed &one : misdeeds_of_any_call())
        all.push_back({one});
    return all;
}
INSTANTIATE_TEST_SUITE_P(of_any_call, misbehaviour, testing::ValuesIn(misdeeds_of_this_function()),
                         [](const auto &one) { return one.param.name; });

TEST_F(torture_engine, has_no_complaint_about_the_documented_failure)
{
    EXPECT_EQ(try_call(machine, call_of(answer), first_call_fails).complaint, "");
}

TEST_F(torture_engine, complains_about_another_answer_where_a_call_fails)
{
    library_call call = call_of(answer);
    call.failures = {"NULL"};
    EXPECT_EQ(try_call(machine, call, first_call_fails).complaint, "the answer is \"failed\"\n");
}

TEST_F(torture_engine, complains_about_the_documented_failure_where_no_call_fails)
{
    const library_call call = call_of([] { return std::string("failed"); });
    EXPECT_EQ(try_call(machine, call, nothing_fails).complaint, "the answer is \"failed\"\n");
}

TEST_F(torture_engine, complains_about_an_unlisted_answer_where_a_text_is_not_formatted)
{
    const library_call call = call_of([] {
        constexpr std::size_t whole = 23;
        return std::string(std::strlen(::time_string()) == whole ? "fine" : "cut");
    });
    const texts complaints = torture(machine, call).complaints;
    // Seconds, minutes and both joined: each of them alone, and where what lasts fails behind it.
    EXPECT_EQ(complaints.size(), 6U);
    for (const std::string &complaint : complaints)
        EXPECT_TRUE(complaint.ends_with("the answer is \"cut\"\n")) << complaint;
}

TEST_F(torture_engine, complains_where_the_documented_end_does_not_come)
{
    library_call call = call_of(answer);
    call.ends_with = "the line";
    EXPECT_EQ(try_call(machine, call, nothing_fails).complaint, "the answer is \"fine\"\n");
}

TEST_F(torture_engine, has_no_complaint_about_the_documented_end)
{
    library_call call = call_of([]() -> std::string {
        std::cerr << "the line\n";
        std::abort();
    });
    call.ends_with = "the line";
    EXPECT_EQ(try_call(machine, call, nothing_fails).complaint, "");
    call.ends_with = "another line";
    EXPECT_EQ(try_call(machine, call, nothing_fails).complaint, "ended by Aborted\nthe line\n");
}

TEST_F(torture_engine, fails_nothing_that_the_test_calls_itself)
{
    const library_call call = call_of([]() -> std::string {
        struct stat status = {};
        return ::stat("/", &status) == 0 ? "fine" : "failed";
    });
    const trial_result tried = try_call(machine, call, first_call_fails);
    EXPECT_EQ(tried.failed, nullptr);
    EXPECT_EQ(tried.complaint, "");
}

TEST_F(torture_engine, fails_every_call_in_turn_and_in_each_of_its_ways)
{
    machine.file("/srv/text", "one\n");
    const library_call call = call_of([] {
        char *const line = ::get_machine_info_from_sysfs("/srv/text");
        std::free(line);
        return std::string(line == nullptr ? "failed" : "fine");
    });
    const torture_result result = torture(machine, call);
    EXPECT_EQ(result.complaints, texts{});
    // In this order. Each fails alone, fgets() in five ways of which the last fails twice, and with
    // those behind it; but where fopen() or fgets() fails, not all of them are made.
    const std::map<std::string, unsigned long> failures = {
        {"fopen", 2}, {"fgets", 7}, {"fclose", 3}, {"strdup", 3}};
    EXPECT_EQ(result.failures, failures);
    // The first where nothing fails, and two that found the end of the calls.
    EXPECT_EQ(result.runs, 1U + 2 + 6 + 2 + 2 + 2);
}

TEST_F(torture_engine, tells_by_which_of_the_errors_of_libcrypto_a_call_was_tried)
{
    library_call call = call_of(answer);
    call.function = "verify_signature";
    call.failures = {};
    const std::string standing = "with an error of libcrypto before it, ";
    const std::string alone = "call 1, stat(), failing in way 0:\nthe answer is \"failed\"\n";
    const std::string lasting =
        "call 1, stat(), and every later one failing:\nthe answer is \"failed\"\n";
    const texts complaints = {standing + alone, alone, standing + lasting, lasting};
    EXPECT_EQ(torture(machine, call).complaints, complaints);
}

TEST_F(torture_engine, fails_the_calls_of_the_process_that_the_library_forks)
{
    machine.tool("/usr/sbin/dmsetup", "1 dependencies  : (sda)\n");
    machine.block_device("/dev/dm-0");
    machine.block_device("/dev/mapper/root");
    const library_call call = call_of([] {
        char *const identity = ::harddisk_id("/dev/mapper/root");
        std::free(identity);
        return std::string("fine");
    });
    const torture_result result = torture(machine, call);
    EXPECT_EQ(result.failures.count("execve"), 1U);
    EXPECT_EQ(result.complaints, texts{});
}

// The dependency is what one read gives, which is documented of other functions alone.
TEST_F(torture_engine, complains_about_the_documented_failure_where_a_part_was_read)
{
    machine.tool("/usr/sbin/dmsetup", "1 dependencies  : (sda)\n");
    machine.block_device("/dev/dm-0");
    machine.block_device("/dev/mapper/root");
    const library_call call = call_of([] {
        std::free(::harddisk_id("/dev/mapper/root"));
        const std::string log = constructed_machine::content("/var/log/orvane/liborvane.log");
        const bool is_found = log.find("physicalDiskNode: /dev/sda\n") != std::string::npos;
        return std::string(is_found ? "fine" : "failed");
    });
    const texts complaints = torture(machine, call).complaints;
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_TRUE(complaints[0].ends_with("read(), failing in way 2:\nthe answer is \"failed\"\n"))
        << complaints[0];
}

TEST_F(torture_engine, says_which_call_failed_how)
{
    library_call call = call_of(answer);
    call.failures = {};
    const texts complaints = {
        "call 1, stat(), failing in way 0:\nthe answer is \"failed\"\n",
        "call 1, stat(), and every later one failing:\nthe answer is \"failed\"\n"};
    EXPECT_EQ(torture(machine, call).complaints, complaints);
}

} // namespace
