// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the hosts are to find, found: these calls do on purpose what the library must not.
#include "host.h"
#include "judgement.h"
#include "machine.h"
#include "machine_process.h"
#include "misdeeds.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

library_call call_that(std::string (*run)())
{
    return {.function = "engine",
            .way = "on_purpose",
            .furnish = nullptr,
            .run = run,
            .answer = "fine",
            .failures = {"failed"}};
}

std::string be_fine()
{
    return "fine";
}

std::string fail()
{
    return "failed";
}

std::string end_with_a_line()
{
    std::cerr << "the line\n" << std::flush;
    std::abort();
}

host plain_host()
{
    return {.name = "plain", .enter = [] { return std::make_unique<condition>(); }};
}

std::string objection_to(const library_call &call, const host &place = plain_host(),
                         std::chrono::seconds limit = std::chrono::seconds(20))
{
    machine_process machine(call);
    return objection(call, place, machine.ask(place, static_cast<int>(limit.count())));
}

class host_engine : public testing::Test {
protected:
    void SetUp() override
    {
        if (const std::string reason = constructed_machine::unavailable(); !reason.empty())
            GTEST_SKIP() << reason;
    }
};

// What a call does before its answer.
const misdeed *committed;

class misbehaviour_on_a_host : public host_engine, public testing::WithParamInterface<misdeed> {};

TEST_P(misbehaviour_on_a_host, is_noticed)
{
    committed = &GetParam();
    const library_call call = call_that([] {
        committed->action();
        return be_fine();
    });
    const std::string wrong = objection_to(call, plain_host(), GetParam().seconds_to_wait());
    EXPECT_NE(wrong.find(GetParam().complaint), std::string::npos) << wrong;
}

void sleep_in_another_thread()
{
    std::thread([] { ::pause(); }).detach();
}

void change_disposition(int signal, void (*handler)(int), int masked)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    ::sigaddset(&action.sa_mask, masked);
    ::sigaction(signal, &action, nullptr);
}

const misdeed misdeeds_on_hosts[] = {
    {"a_flag_of_a_descriptor", [] { ::fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC); },
     "descriptor 0 is of another file or has other flags"},
    {"a_thread_that_goes_on", sleep_in_another_thread, "more threads"},
    {"a_changed_mask_of_a_disposition", [] { change_disposition(SIGCHLD, SIG_DFL, SIGUSR1); },
     "another disposition of signal 17"},
    {"an_interval_timer",
     [] {
         const itimerval hourly = {{3600, 0}, {3600, 0}};
         ::setitimer(ITIMER_REAL, &hourly, nullptr);
     },
     "another interval timer"},
    {"an_exit_after_the_answer", [] { std::atexit([] { ::_exit(3); }); }, "ended with status 3"},
    {"a_check_that_fails", [] { ADD_FAILURE(); }, "a check in the call failed"},
#if defined(__SANITIZE_ADDRESS__)
    {"a_leak",
     [] {
         void *volatile lost = std::malloc(100);
         lost = nullptr;
         static_cast<void>(lost);
     },
     "ended with status"},
#endif
};
INSTANTIATE_TEST_SUITE_P(of, misbehaviour_on_a_host, testing::ValuesIn(misdeeds_on_hosts),
                         [](const auto &one) { return one.param.name; });
INSTANTIATE_TEST_SUITE_P(of_any_call, misbehaviour_on_a_host,
                         testing::ValuesIn(misdeeds_of_any_call()),
                         [](const auto &one) { return one.param.name; });

TEST_F(host_engine, has_no_objection_to_the_answer)
{
    EXPECT_EQ(objection_to(call_that(be_fine)), "");
}

TEST_F(host_engine, objects_to_another_answer_where_nothing_may_fail)
{
    EXPECT_EQ(objection_to(call_that(fail)), "it tells 'failed' for 'fine'");
}

TEST_F(host_engine, lets_fail_the_function_that_may)
{
    host place = plain_host();
    place.may_fail = {"engine"};
    EXPECT_EQ(objection_to(call_that(fail), place), "");
    place.may_fail = {"another"};
    EXPECT_EQ(objection_to(call_that(fail), place), "it tells 'failed' for 'fine'");
}

TEST_F(host_engine, lets_fail_the_way_that_may)
{
    host place = plain_host();
    place.may_fail = {"engine/on_purpose"};
    EXPECT_EQ(objection_to(call_that(fail), place), "");
    place.may_fail = {"engine/on*"};
    EXPECT_EQ(objection_to(call_that(fail), place), "");
    for (const char *const other : {"engine/another_way", "engine/on", "another/on_purpose"}) {
        place.may_fail = {other};
        EXPECT_EQ(objection_to(call_that(fail), place), "it tells 'failed' for 'fine'") << other;
    }
}

TEST_F(host_engine, objects_to_a_failure_that_is_not_documented)
{
    host place = plain_host();
    place.may_fail = {"engine"};
    library_call call = call_that(fail);
    call.failures = {"NULL"};
    EXPECT_EQ(objection_to(call, place), "it tells 'failed' for 'fine'");
}

TEST_F(host_engine, objects_to_an_answer_that_the_host_cannot_give)
{
    host place = plain_host();
    place.must_fail = {"engine"};
    EXPECT_EQ(objection_to(call_that(fail), place), "");
    EXPECT_EQ(objection_to(call_that(be_fine), place), "it tells 'fine', which it cannot know");
}

TEST_F(host_engine, has_no_objection_to_the_documented_end_of_a_call)
{
    library_call call = call_that(end_with_a_line);
    call.ends_with = "the line";
    EXPECT_EQ(objection_to(call), "");
    call.ends_with = "another line";
    EXPECT_EQ(objection_to(call), "ended by Aborted");
}

TEST_F(host_engine, objects_to_a_call_that_does_not_end_as_documented)
{
    library_call call = call_that(be_fine);
    call.ends_with = "the line";
    EXPECT_EQ(objection_to(call), "it tells 'fine' for 'fine'");
}

TEST_F(host_engine, has_no_objection_to_the_documented_end_on_a_host)
{
    host place = plain_host();
    place.may_end = {"engine"};
    place.ends_by = {SIGABRT};
    place.ends_with = "the line";
    const library_call call = call_that(end_with_a_line);
    EXPECT_EQ(objection_to(call, place), "");
    place.may_end = {"engine/another_way"};
    EXPECT_EQ(objection_to(call, place), "ended by Aborted");
    place.may_end = {"engine"};
    place.ends_by = {SIGTRAP};
    EXPECT_EQ(objection_to(call, place), "ended by Aborted");
    place.ends_by = {SIGABRT};
    place.ends_with = "another line";
    EXPECT_EQ(objection_to(call, place), "ended by Aborted");
}

TEST_F(host_engine, lets_a_child_be_left_where_it_may)
{
    const library_call call = call_that([] {
        if (::fork() == 0)
            ::_exit(0);
        return be_fine();
    });
    host place = plain_host();
    place.may_leave_child = {"engine"};
    EXPECT_EQ(objection_to(call, place), "");
}

TEST_F(host_engine, objects_to_a_host_that_is_not_as_said)
{
    const host place = {.name = "untrue", .enter = []() -> std::unique_ptr<condition> {
                            throw std::runtime_error("not as said");
                        }};
    EXPECT_EQ(objection_to(call_that(be_fine), place), "not as said");
}

TEST_F(host_engine, objects_to_a_machine_that_cannot_be_furnished)
{
    library_call call = call_that(be_fine);
    call.furnish = [](constructed_machine & /*machine*/) { throw std::runtime_error("no room"); };
    EXPECT_EQ(objection_to(call), "no machine: no room");
}

} // namespace
