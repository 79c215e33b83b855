// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "log_machine.h"
#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>

namespace {

class event_machine : public log_machine {
protected:
    void furnish() override
    {
        log_ = machine.scratch("events");
        settle_clock();
    }

    void log(const std::string &message, const std::string &tag = "II") const
    {
        log_write(log_.c_str(), message.c_str(), tag.c_str(), 1);
    }
    [[nodiscard]] std::string logged() const { return constructed_machine::content(log_); }
    [[nodiscard]] const std::string &path() const { return log_; }
    [[nodiscard]] mode_t mode() const { return permissions(log_); }

    // 2023-11-14 22:13:20 UTC
    static void settle_clock(time_t now = 1700000000)
    {
        interpose::time = [now](time_t *) { return now; };
    }

    // Lets every stamp be this text, which may hold zero bytes.
    static void settle_stamp(const std::string &stamp)
    {
        interpose::strftime = [stamp](char *room, size_t, const char *, const tm *) {
            std::copy(stamp.begin(), stamp.end(), room);
            return stamp.size();
        };
    }

    static void fail_to_copy()
    {
        interpose::strdup = [](const char *) -> char * { return nullptr; };
    }

    void record_calls()
    {
        record_file_calls();
        interpose::time = [this](time_t *) {
            calls.emplace_back("time");
            return time_t{1700000000};
        };
        interpose::localtime = [this](const time_t *when) {
            calls.push_back("localtime " + std::to_string(*when));
            return interpose::localtime.real(when);
        };
        interpose::strftime = [this](char *room, size_t size, const char *format, const tm *parts) {
            calls.push_back("strftime " + std::to_string(size) + " " + format);
            return interpose::strftime.real(room, size, format, parts);
        };
        interpose::strdup = [this](const char *text) {
            calls.push_back("strdup " + std::string(text));
            return interpose::strdup.real(text);
        };
    }

    [[nodiscard]] std::string log_opened() const { return opened_for_appending(log_, 0640); }

private:
    std::string log_;
};

} // namespace

// The line.

using event_log = event_machine;

TEST_F(event_log, has_lines_of_tag_stamp_and_message)
{
    log("disk found");
    EXPECT_EQ(logged(), "(II) Time: 2023-11-14 22:13:20\t\tMessage: disk found\n");
}

TEST_F(event_log, has_local_time_whose_zone_the_program_may_change_any_time)
{
    ::setenv("TZ", "XYZ-05:30", 1);
    log("east");
    ::setenv("TZ", "XYZ+08", 1);
    log("west");
    EXPECT_EQ(logged(), "(II) Time: 2023-11-15 03:43:20\t\tMessage: east\n"
                        "(II) Time: 2023-11-14 14:13:20\t\tMessage: west\n");
}

TEST_F(event_log, pads_every_field_of_its_stamp_with_zeros)
{
    settle_clock(1704164645);
    log("early");
    EXPECT_EQ(logged(), "(II) Time: 2024-01-02 03:04:05\t\tMessage: early\n");
}

TEST_F(event_log, reads_the_clock_for_each_event)
{
    log("first");
    settle_clock(1700000001);
    log("second");
    EXPECT_EQ(logged(), "(II) Time: 2023-11-14 22:13:20\t\tMessage: first\n"
                        "(II) Time: 2023-11-14 22:13:21\t\tMessage: second\n");
}

namespace {

struct event_case : named_case {
    std::string message;
    std::string tag;
    std::string line;
};

class event_line : public event_machine, public testing::WithParamInterface<event_case> {};
class plain_event_line : public event_line {};

} // namespace

TEST_P(event_line, is_written_as_expected)
{
    log(GetParam().message, GetParam().tag);
    EXPECT_EQ(logged(), GetParam().line);
}

TEST_P(plain_event_line, is_written_without_a_stamp_where_it_cannot_be_copied)
{
    fail_to_copy();
    log(GetParam().message, GetParam().tag);
    EXPECT_EQ(logged(), GetParam().line);
}

TEST_P(plain_event_line, is_written_without_a_stamp_where_it_is_empty)
{
    settle_stamp("");
    log(GetParam().message, GetParam().tag);
    EXPECT_EQ(logged(), GetParam().line);
}

const std::string stamped = "(II) Time: 2023-11-14 22:13:20\t\tMessage: "; // 41 bytes

INSTANTIATE_TEST_SUITE_P(
    holds_any_text, event_line,
    testing::Values(
        event_case{"warning", "m", "WW", "(WW) Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"error", "m", "EE", "(EE) Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"no_tag", "m", "", "() Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"any_tag", "m", "a)%s\xc3\xa4",
                   "(a)%s\xc3\xa4) Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"no_message", "", "II", stamped + "\n"},
        event_case{"utf_8",
                   "Gr\xc3\xb6\xc3\x9f"
                   "e",
                   "II",
                   stamped + "Gr\xc3\xb6\xc3\x9f"
                             "e\n"},
        event_case{"any_bytes", "\x01\x7f\x80\xff\r\t", "II", stamped + "\x01\x7f\x80\xff\r\t\n"},
        event_case{"percent_signs", "100%s %n%d", "II", stamped + "100%s %n%d\n"},
        event_case{"newlines", "a\nb\n", "II", stamped + "a\nb\n\n"}));

INSTANTIATE_TEST_SUITE_P(
    is_cut_at_1023_bytes, event_line,
    testing::Values(
        event_case{"one_below", std::string(980, 'm'), "II",
                   stamped + std::string(980, 'm') + "\n"},
        event_case{"at_the_bound", std::string(981, 'm'), "II",
                   stamped + std::string(981, 'm') + "\n"},
        event_case{"one_above", std::string(982, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"two_above", std::string(983, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"far_above", std::string(9000, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"by_the_tag", "lost", std::string(2000, 't'), "(" + std::string(1022, 't')}));

INSTANTIATE_TEST_SUITE_P(
    holds_any_text, plain_event_line,
    testing::Values(event_case{"warning", "disk found", "WW", "(WW) disk found\n"},
                    event_case{"no_tag", "m", "", "() m\n"},
                    event_case{"no_message", "", "II", "(II) \n"},
                    event_case{"percent_signs", "100%s", "%d", "(%d) 100%s\n"},
                    event_case{"any_bytes", "\x01\x80\xff\n", "II", "(II) \x01\x80\xff\n\n"}));

INSTANTIATE_TEST_SUITE_P(is_cut_at_1023_bytes, plain_event_line,
                         testing::Values(event_case{"one_below", std::string(1016, 'm'), "II",
                                                    "(II) " + std::string(1016, 'm') + "\n"},
                                         event_case{"at_the_bound", std::string(1017, 'm'), "II",
                                                    "(II) " + std::string(1017, 'm') + "\n"},
                                         event_case{"one_above", std::string(1018, 'm'), "II",
                                                    "(II) " + std::string(1018, 'm')},
                                         event_case{"far_above", std::string(9000, 'm'), "II",
                                                    "(II) " + std::string(1018, 'm')}));

TEST_F(event_log, continues_behind_a_line_that_was_cut)
{
    log(std::string(2000, 'm'));
    log("next");
    EXPECT_EQ(logged(), stamped + std::string(982, 'm') + stamped + "next\n");
}

// The stamp.

TEST_F(event_log, ends_a_stamp_at_its_first_newline)
{
    settle_stamp("first\nsecond\nthird");
    log("m");
    EXPECT_EQ(logged(), "(II) Time: first\t\tMessage: m\n");
}

TEST_F(event_log, has_an_empty_stamp_where_it_begins_with_a_newline)
{
    settle_stamp("\nsecond");
    log("m");
    EXPECT_EQ(logged(), "(II) Time: \t\tMessage: m\n");
}

TEST_F(event_log, ends_a_stamp_that_has_no_end_of_its_own)
{
    settle_stamp("abc"); // into a room of zeros
    log("m");
    EXPECT_EQ(logged(), "(II) Time: abc\t\tMessage: m\n");
}

TEST_F(event_log, cuts_the_line_behind_a_stamp_that_fills_its_room)
{
    settle_stamp(std::string(1023, 's'));
    log("lost");
    EXPECT_EQ(logged(), "(II) Time: " + std::string(1012, 's'));
}

TEST_F(event_log, has_no_stamp_for_a_time_beyond_every_calendar)
{
    settle_clock(INT64_MAX);
    log("m");
    EXPECT_EQ(logged(), "(II) m\n");
}

// The file.

TEST_F(event_log, costs_one_open_one_write_and_one_close)
{
    record_calls();
    log("message");
    EXPECT_EQ(calls, (texts{log_opened(), "time", "localtime 1700000000",
                            "strftime 1024 %Y-%m-%d %H:%M:%S", "strdup 2023-11-14 22:13:20",
                            "write log 49", "close log"}));
}

TEST_F(event_log, is_written_and_closed_where_the_stamp_cannot_be_copied)
{
    record_calls();
    interpose::strdup = [this](const char *) -> char * {
        calls.emplace_back("strdup");
        return nullptr;
    };
    log("message");
    EXPECT_EQ(calls,
              (texts{log_opened(), "time", "localtime 1700000000",
                     "strftime 1024 %Y-%m-%d %H:%M:%S", "strdup", "write log 13", "close log"}));
}

TEST_F(event_log, appends_to_what_stands_in_it_and_keeps_its_mode)
{
    machine.file(path(), "earlier\n", 0604);
    log("message");
    EXPECT_EQ(logged(), "earlier\n" + stamped + "message\n");
    EXPECT_EQ(mode(), 0604U);
}

TEST_F(event_log, grows_past_every_size)
{
    machine.file(path(), "");
    std::filesystem::resize_file(path(), 5000000000);
    log("message");
    EXPECT_EQ(std::filesystem::file_size(path()), 5000000049U);
}

TEST_F(event_log, is_made_again_after_it_was_moved_away)
{
    log("first");
    std::filesystem::rename(path(), path() + ".old");
    log("second");
    EXPECT_EQ(logged(), stamped + "second\n");
}

TEST_F(event_log, is_found_from_the_working_directory)
{
    std::filesystem::current_path(machine.scratch(""));
    log_write("events", "message", "II", 1);
    std::filesystem::current_path("/");
    EXPECT_EQ(logged(), stamped + "message\n");
}

TEST_F(event_log, leaves_the_trace_log_alone)
{
    log("message");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

namespace {

struct mode_case : named_case {
    mode_t umask;
    mode_t mode;
};

class event_log_mode : public event_machine, public testing::WithParamInterface<mode_case> {};

} // namespace

TEST_P(event_log_mode, is_0640_less_the_umask)
{
    ::umask(GetParam().umask);
    log("message");
    EXPECT_EQ(mode(), GetParam().mode);
    EXPECT_EQ(::umask(022), GetParam().umask);
}

INSTANTIATE_TEST_SUITE_P(umask, event_log_mode,
                         testing::Values(mode_case{"none", 0, 0640},
                                         mode_case{"group_and_other_write", 022, 0640},
                                         mode_case{"group_and_other_all", 077, 0600},
                                         mode_case{"every_write", 0222, 0440}));

// Switched off.

TEST_F(event_log, does_nothing_at_all_when_switched_off)
{
    record_calls();
    log_write(path().c_str(), "message", "II", 0);
    EXPECT_EQ(calls, texts{});
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(event_log, makes_nothing_when_switched_off_with_a_missing_directory)
{
    const std::string directory = machine.scratch("missing");
    log_write((directory + "/events").c_str(), "message", "II", 0);
    EXPECT_FALSE(std::filesystem::exists(directory));
}

TEST_F(event_log, is_switched_on_by_every_number_but_0)
{
    for (const int on : {1, 2, -1, 256, INT_MIN})
        log_write(path().c_str(), "on", "II", on);
    EXPECT_EQ(logged(), stamped + "on\n" + stamped + "on\n" + stamped + "on\n" + stamped + "on\n" +
                            stamped + "on\n");
}

// What goes wrong.

namespace {

class silent_event_log : public event_machine {
protected:
    // What an event that cannot be written leaves on the standard streams.
    static std::string said_about(const char *path)
    {
        testing::internal::CaptureStdout();
        const std::string error =
            standard_error_of([path] { log_write(path, "message", "EE", 1); });
        return testing::internal::GetCapturedStdout() + error;
    }
    static std::string said_about(const std::string &path) { return said_about(path.c_str()); }
};

} // namespace

TEST_F(silent_event_log, makes_no_missing_directory)
{
    const std::string directory = machine.scratch("missing");
    EXPECT_EQ(said_about(directory + "/events"), "");
    EXPECT_FALSE(std::filesystem::exists(directory));
}

TEST_F(silent_event_log, leaves_a_directory_in_its_place)
{
    machine.directory(path());
    EXPECT_EQ(said_about(path()), "");
    EXPECT_TRUE(std::filesystem::is_empty(path()));
}

TEST_F(silent_event_log, takes_a_read_only_file_system)
{
    machine.read_only("/var/log");
    EXPECT_EQ(said_about("/var/log/events"), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/events"));
}

TEST_F(silent_event_log, takes_a_full_file_system)
{
    machine.file_system("/var/log/full", "size=4096");
    machine.file("/var/log/full/events", std::string(4096, 'x'));
    EXPECT_EQ(said_about("/var/log/full/events"), "");
    EXPECT_EQ(machine.content("/var/log/full/events"), std::string(4096, 'x'));
}

TEST_F(silent_event_log, takes_no_path)
{
    record_calls();
    EXPECT_EQ(said_about(nullptr), "");
    EXPECT_EQ(calls, texts{});
}

TEST_F(silent_event_log, takes_an_event)
{
    EXPECT_EQ(said_about(path()), "");
}

TEST_F(silent_event_log, leaves_errno_after_an_event)
{
    errno = EDOM;
    log_write(path().c_str(), "message", "II", 1);
    EXPECT_EQ(errno, EDOM);
}

TEST_F(silent_event_log, is_given_up_when_it_cannot_be_opened)
{
    record_calls();
    interpose::open = [this](const char *, int, mode_t) {
        calls.emplace_back("open");
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(said_about(path()), "");
    EXPECT_EQ(calls, texts{"open"});
}

TEST_F(silent_event_log, is_closed_after_a_failed_write)
{
    record_calls();
    interpose::write = [this](int, const void *, size_t size) {
        calls.push_back("write " + std::to_string(size));
        errno = EINTR;
        return ssize_t{-1};
    };
    EXPECT_EQ(said_about(path()), "");
    EXPECT_EQ(calls, (texts{log_opened(), "time", "localtime 1700000000",
                            "strftime 1024 %Y-%m-%d %H:%M:%S", "strdup 2023-11-14 22:13:20",
                            "write 49", "close log"}));
}

TEST_F(silent_event_log, is_written_once_even_where_a_part_is_taken)
{
    int writes = 0;
    interpose::write = [&writes](int, const void *, size_t) {
        ++writes;
        return ssize_t{3};
    };
    EXPECT_EQ(said_about(path()), "");
    EXPECT_EQ(writes, 1);
}

// Without standard descriptors.

namespace {

class event_log_without_standard_descriptors
    : public event_machine,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(event_log_without_standard_descriptors, is_written_and_leaves_them_closed)
{
    EXPECT_EQ(left_open(GetParam(), [this] { log("message"); }), std::vector<int>{});
    EXPECT_EQ(logged(), stamped + "message\n");
}

INSTANTIATE_TEST_SUITE_P(every_combination, event_log_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
