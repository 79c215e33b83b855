// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char log_file[] = "/srv/log/events";

const std::string stamped = "(II) Time: 2023-11-14 22:13:20\t\tMessage: "; // 41 bytes

class event_log : public on_machine {
protected:
    void furnish() override
    {
        machine.directory("/srv/log");
        set_clock(1700000000); // 2023-11-14 22:13:20 UTC
    }

    static void set_clock(time_t now)
    {
        interpose::time = [now](time_t *) { return now; };
    }

    static void log(const std::string &message, const std::string &tag = "II")
    {
        log_write(log_file, message.c_str(), tag.c_str(), 1);
    }
    static std::string logged() { return constructed_machine::content(log_file); }
};

} // namespace

// The line.

TEST_F(event_log, has_a_line_of_tag_stamp_and_message_for_each_event)
{
    log("disk found");
    set_clock(1704164645);
    log("disk lost", "EE");
    EXPECT_EQ(logged(), "(II) Time: 2023-11-14 22:13:20\t\tMessage: disk found\n"
                        "(EE) Time: 2024-01-02 03:04:05\t\tMessage: disk lost\n");
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

namespace {

struct event_case : named_case {
    std::string message;
    std::string tag;
    std::string line;
};

class event_line : public event_log, public testing::WithParamInterface<event_case> {};
class plain_event_line : public event_log, public testing::WithParamInterface<event_case> {};

} // namespace

TEST_P(event_line, is_written_as_expected)
{
    log(GetParam().message, GetParam().tag);
    EXPECT_EQ(logged(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    of_any_text, event_line,
    testing::Values(
        event_case{"warning", "m", "WW", "(WW) Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"no_tag", "m", "", "() Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"any_tag", "m", "a)%s\xc3\xa4",
                   "(a)%s\xc3\xa4) Time: 2023-11-14 22:13:20\t\tMessage: m\n"},
        event_case{"no_message", "", "II", stamped + "\n"},
        event_case{"utf_8", "Gr\xc3\xb6\xc3\x9f", "II", stamped + "Gr\xc3\xb6\xc3\x9f\n"},
        event_case{"any_bytes", "\x01\x7f\x80\xff\r\t", "II", stamped + "\x01\x7f\x80\xff\r\t\n"},
        event_case{"percent_signs", "100%s %n%d", "II", stamped + "100%s %n%d\n"},
        event_case{"newlines", "a\nb\n", "II", stamped + "a\nb\n\n"}));

INSTANTIATE_TEST_SUITE_P(
    truncated_at_1023_bytes, event_line,
    testing::Values(
        event_case{"at_the_bound", std::string(981, 'm'), "II",
                   stamped + std::string(981, 'm') + "\n"},
        event_case{"one_above", std::string(982, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"two_above", std::string(983, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"far_above", std::string(9000, 'm'), "II", stamped + std::string(982, 'm')},
        event_case{"by_the_tag", "lost", std::string(2000, 't'), "(" + std::string(1022, 't')}));

TEST_F(event_log, continues_on_a_line_that_was_truncated)
{
    log(std::string(2000, 'm'));
    log("next");
    EXPECT_EQ(logged(), stamped + std::string(982, 'm') + stamped + "next\n");
}

TEST_P(plain_event_line, is_written_where_the_time_has_no_date)
{
    set_clock(INT64_MAX);
    log(GetParam().message, GetParam().tag);
    EXPECT_EQ(logged(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    of_any_text, plain_event_line,
    testing::Values(event_case{"warning", "disk found", "WW", "(WW) disk found\n"},
                    event_case{"no_tag", "m", "", "() m\n"},
                    event_case{"no_message", "", "II", "(II) \n"},
                    event_case{"percent_signs", "100%s", "%d", "(%d) 100%s\n"}));

INSTANTIATE_TEST_SUITE_P(truncated_at_1023_bytes, plain_event_line,
                         testing::Values(event_case{"at_the_bound", std::string(1017, 'm'), "II",
                                                    "(II) " + std::string(1017, 'm') + "\n"},
                                         event_case{"one_above", std::string(1018, 'm'), "II",
                                                    "(II) " + std::string(1018, 'm')},
                                         event_case{"far_above", std::string(9000, 'm'), "II",
                                                    "(II) " + std::string(1018, 'm')}));

// A calendar of the program's own may do what the C library's does not.
TEST_F(event_log, ends_a_stamp_at_its_first_newline)
{
    std::string stamp;
    interpose::strftime = [&stamp](char *buffer, size_t size, const char *, const tm *) {
        return stamp.copy(buffer, size - 1);
    };
    stamp = "first\nsecond\nthird";
    log("m");
    stamp = "\nsecond";
    log("m");
    EXPECT_EQ(logged(), "(II) Time: first\t\tMessage: m\n"
                        "(II) Time: \t\tMessage: m\n");
}

// The file.

TEST_F(event_log, appends_to_a_file_of_any_size_and_keeps_its_mode)
{
    machine.file(log_file, "earlier\n", 0604);
    log("message");
    EXPECT_EQ(logged(), "earlier\n" + stamped + "message\n");
    EXPECT_EQ(permissions(log_file), 0604U);

    std::filesystem::resize_file(log_file, 5000000000);
    log("message");
    EXPECT_EQ(std::filesystem::file_size(log_file), 5000000049U);
}

TEST_F(event_log, is_made_again_after_it_was_moved_away)
{
    log("first");
    std::filesystem::rename(log_file, "/srv/log/old");
    log("second");
    EXPECT_EQ(logged(), stamped + "second\n");
}

TEST_F(event_log, may_have_a_relative_path)
{
    std::filesystem::current_path("/srv/log");
    log_write("events", "message", "II", 1);
    std::filesystem::current_path("/");
    EXPECT_EQ(logged(), stamped + "message\n");
}

namespace {

struct mode_case : named_case {
    mode_t umask;
    mode_t mode;
};

class event_log_mode : public event_log, public testing::WithParamInterface<mode_case> {};

} // namespace

TEST_P(event_log_mode, is_0640_less_the_umask)
{
    ::umask(GetParam().umask);
    log("message");
    EXPECT_EQ(permissions(log_file), GetParam().mode);
    EXPECT_EQ(::umask(022), GetParam().umask);
}

INSTANTIATE_TEST_SUITE_P(umask, event_log_mode,
                         testing::Values(mode_case{"none", 0, 0640},
                                         mode_case{"group_and_other_all", 077, 0600},
                                         mode_case{"every_write", 0222, 0440}));

// Switched off.

TEST_F(event_log, does_nothing_when_switched_off)
{
    log_write(log_file, "message", "II", 0);
    EXPECT_FALSE(std::filesystem::exists(log_file));
    log_write("/srv/missing/events", "message", "II", 0);
    EXPECT_FALSE(std::filesystem::exists("/srv/missing"));
}

TEST_F(event_log, is_switched_on_by_every_number_but_0)
{
    std::string expected;
    for (const int on : {1, 2, -1, 256, INT_MIN}) {
        log_write(log_file, "on", "II", on);
        expected += stamped + "on\n";
    }
    EXPECT_EQ(logged(), expected);
}

// Failures, and what the caller keeps.

namespace {

struct destination : named_case {
    const char *path;
};

class silent_event_log : public event_log, public testing::WithParamInterface<destination> {
protected:
    void furnish() override
    {
        event_log::furnish();
        machine.directory("/srv/directory");
        machine.file_system("/srv/full", "size=4096");
        machine.file("/srv/full/events", std::string(4096, 'x'));
        machine.file_system("/srv/read_only", "size=4096");
        machine.read_only("/srv/read_only");
    }
};

} // namespace

TEST_P(silent_event_log, prints_nothing_and_writes_no_other_file)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([] { log_write(GetParam().path, "message", "EE", 1); }), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(machine.content("/srv/full/events"), std::string(4096, 'x'));
    EXPECT_TRUE(std::filesystem::is_empty("/srv/directory"));
    EXPECT_TRUE(std::filesystem::is_empty("/srv/read_only"));
    EXPECT_FALSE(std::filesystem::exists("/srv/missing"));
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

INSTANTIATE_TEST_SUITE_P(
    to, silent_event_log,
    testing::Values(destination{"a_file", log_file},
                    destination{"a_missing_directory", "/srv/missing/events"},
                    destination{"a_directory", "/srv/directory"},
                    destination{"a_read_only_file_system", "/srv/read_only/events"},
                    destination{"a_full_file_system", "/srv/full/events"},
                    destination{"a_full_device", "/dev/full"}, destination{"no_path", nullptr}));

TEST_F(event_log, waits_for_no_reader_of_a_fifo)
{
    ASSERT_EQ(::mkfifo(log_file, 0600), 0);
    log("lost");
    const int reader = ::open(log_file, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int writer = ::open(log_file, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    log("read");
    const std::string expected = stamped + "read\n";
    std::string content(expected.size() + 1, '\0');
    EXPECT_EQ(::read(reader, content.data(), content.size()),
              static_cast<ssize_t>(expected.size()));
    EXPECT_EQ(content.substr(0, expected.size()), expected);

    const std::string page(4096, 'x');
    while (::write(writer, page.data(), page.size()) > 0) {
    }
    log("lost");
    ::close(reader);
    ::close(writer);
}

TEST_F(event_log, needs_the_right_to_write)
{
    machine.file(log_file, "kept\n", 0644);
    {
        const other_user caller;
        EXPECT_EQ(standard_error_of([] { log("lost"); }), "");
    }
    EXPECT_EQ(logged(), "kept\n");
}

TEST_F(event_log, leaves_errno_after_an_event)
{
    errno = EDOM;
    log_write(log_file, "message", "II", 1);
    EXPECT_EQ(errno, EDOM);
}

TEST_F(event_log, leaves_closed_standard_descriptors_closed)
{
    std::string expected;
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        EXPECT_EQ(left_open(closed, [] { log("message"); }), std::vector<int>{});
        expected += stamped + "message\n";
    }
    EXPECT_EQ(logged(), expected);
}
