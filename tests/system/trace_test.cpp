// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using strings = std::vector<std::string>;

constexpr char log_file[] = "/var/log/orvane/liborvane.log";
constexpr time_t november_14 = 1700000000; // 2023-11-14 22:13:20 UTC

// Names a case among its like.
template <class Case>
requires requires(const Case &one)
{
    one.name;
}
std::ostream &operator<<(std::ostream &stream, const Case &one)
{
    return stream << one.name;
}

mode_t permissions(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

void set_time_zone(const char *zone)
{
    ::setenv("TZ", zone, 1);
    ::tzset();
}

// What the two readings of the clock tell, in this order.
void set_clock(time_t first, timespec second)
{
    interpose::time = [first](time_t *) { return first; };
    interpose::clock_gettime = [second](clockid_t, timespec *now) {
        *now = second;
        return 0;
    };
}

// Calls made by an ordinary user, for its lifetime.
class as_nobody {
public:
    as_nobody() { become(nobody); }
    as_nobody(const as_nobody &) = delete;
    as_nobody &operator=(const as_nobody &) = delete;
    ~as_nobody() { become(0); }

private:
    static constexpr uid_t nobody = 65534;
    static void become(uid_t user) { ASSERT_EQ(::setresuid(user, user, 0), 0); }
};

class trace_machine : public on_machine {
protected:
    struct outcome {
        int result;
        std::string error;
        bool operator==(const outcome &) const = default;
    };
    friend std::ostream &operator<<(std::ostream &stream, const outcome &outcome)
    {
        return stream << outcome.result << " and on standard error " << outcome.error;
    }

    static std::string log() { return constructed_machine::content(log_file); }

    // Lets every line begin with "2026-11-16 03:55:07.042 [4711]: ", which are 32 bytes.
    static void settle_prefix(const std::string &stamp = "2026-11-16 03:55:07.042")
    {
        interpose::time_string = [stamp] { return stamp.c_str(); };
        interpose::getpid = [] { return 4711; };
    }

    // A line that tells the reason in errno.
    static int trace_reason()
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
        return orvane_trace("%m");
#pragma GCC diagnostic pop
    }

    static outcome traced()
    {
        outcome seen = {};
        seen.error = standard_error_of([&seen] { seen.result = orvane_trace("message"); });
        return seen;
    }

    // The errno that a caller who had EDOM finds after a trace line.
    static int errno_after_trace()
    {
        int after = 0;
        standard_error_of([&after] {
            errno = EDOM;
            orvane_trace("message");
            after = errno;
        });
        return after;
    }

    void record_calls()
    {
        interpose::orvane_logger_env_init = [this] {
            calls.emplace_back("orvane_logger_env_init");
            return interpose::orvane_logger_env_init.real();
        };
        interpose::access = [this](const char *path, int mode) {
            calls.push_back("access " + std::string(path) + " " + std::to_string(mode));
            return interpose::access.real(path, mode);
        };
        interpose::mkdir = [this](const char *path, mode_t mode) {
            calls.push_back("mkdir " + std::string(path) + " " + std::to_string(mode));
            return interpose::mkdir.real(path, mode);
        };
        interpose::orvane_is_tracing = [this] {
            calls.emplace_back("orvane_is_tracing");
            return interpose::orvane_is_tracing.real();
        };
        interpose::open = [this](const char *path, int flags, mode_t mode) {
            calls.push_back("open " + std::string(path) + " " + std::to_string(flags) + " " +
                            std::to_string(mode));
            return log_ = interpose::open.real(path, flags, mode);
        };
        interpose::time_string = [this] {
            calls.emplace_back("time_string");
            return "2026-11-16 03:55:07.042";
        };
        interpose::write = [this](int fd, const void *data, size_t size) {
            calls.push_back("write " + name_of(fd) + " " + std::to_string(size));
            return interpose::write.real(fd, data, size);
        };
        interpose::close = [this](int fd) {
            calls.push_back("close " + name_of(fd));
            return interpose::close.real(fd);
        };
        interpose::getpid = [] { return 4711; };
    }

    static std::string log_opened()
    {
        return "open /var/log/orvane/liborvane.log " +
               std::to_string(O_WRONLY | O_CREAT | O_APPEND) + " " + std::to_string(0644);
    }
    static std::string directory_examined()
    {
        return "access /var/log/orvane/ " + std::to_string(R_OK | X_OK);
    }
    static std::string directory_made()
    {
        return "mkdir /var/log/orvane/ " + std::to_string(0777);
    }

    strings calls;

private:
    [[nodiscard]] std::string name_of(int fd) const
    {
        return fd == log_ ? "log" : "another file";
    }

    int log_ = -1;
};

} // namespace

// The stamp.

using trace_stamp = trace_machine;

TEST_F(trace_stamp, is_date_time_and_milliseconds)
{
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:20.042");
}

TEST_F(trace_stamp, pads_every_field_with_zeros)
{
    set_clock(1704164645, {1704164645, 7000000});
    EXPECT_STREQ(time_string(), "2024-01-02 03:04:05.007");
}

TEST_F(trace_stamp, is_local_time_east_of_greenwich)
{
    set_time_zone("XYZ-05:30");
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-15 03:43:20.042");
}

TEST_F(trace_stamp, is_local_time_west_of_greenwich)
{
    set_time_zone("XYZ+08");
    set_clock(november_14, {november_14, 42000000});
    EXPECT_STREQ(time_string(), "2023-11-14 14:13:20.042");
}

TEST_F(trace_stamp, may_pair_the_old_minute_with_the_new_second)
{
    set_clock(1700000039, {1700000040, 250000000});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:00.250");
}

TEST_F(trace_stamp, counts_its_second_from_the_epoch_where_the_zone_is_half_a_minute_off)
{
    set_time_zone("XYZ-00:00:30");
    set_clock(november_14, {november_14, 0});
    EXPECT_STREQ(time_string(), "2023-11-14 22:13:20.000");
}

TEST_F(trace_stamp, reads_the_clock_twice_and_formats_the_first_reading)
{
    interpose::time = [this](time_t *) {
        calls.emplace_back("time");
        return november_14;
    };
    interpose::localtime_r = [this](const time_t *when, tm *parts) {
        calls.push_back("localtime_r " + std::to_string(*when));
        return interpose::localtime_r.real(when, parts);
    };
    interpose::clock_gettime = [this](clockid_t clock, timespec *now) {
        calls.emplace_back(clock == CLOCK_REALTIME ? "clock_gettime" : "another clock");
        return interpose::clock_gettime.real(clock, now);
    };
    interpose::strftime = [this](char *room, size_t size, const char *format, const tm *parts) {
        calls.push_back("strftime " + std::to_string(size) + " " + format);
        return interpose::strftime.real(room, size, format, parts);
    };
    time_string();
    EXPECT_EQ(calls, (strings{"time", "localtime_r 1700000000", "clock_gettime",
                              "strftime 49 %Y-%m-%d %H:%M"}));
}

TEST_F(trace_stamp, stands_in_the_same_place_every_time)
{
    set_clock(november_14, {november_14, 0});
    const char *const first = time_string();
    set_clock(november_14 + 1, {november_14 + 1, 0});
    EXPECT_EQ(time_string(), first);
    EXPECT_STREQ(first, "2023-11-14 22:13:21.000");
}

TEST_F(trace_stamp, has_room_for_a_year_of_ten_digits)
{
    set_clock(67767976201996800, {-59, 999999999});
    EXPECT_STREQ(time_string(), "2147483647-01-01 00:00:-59.999");
}

namespace {

struct second_case {
    const char *name;
    timespec reading;
    const char *seconds;
};

class trace_stamp_seconds : public trace_machine,
                            public testing::WithParamInterface<second_case> {};

} // namespace

TEST_P(trace_stamp_seconds, come_from_the_remainder_and_whole_milliseconds)
{
    set_clock(0, GetParam().reading);
    EXPECT_EQ(time_string(), "1970-01-01 00:00:" + std::string(GetParam().seconds));
}

INSTANTIATE_TEST_SUITE_P(
    cut_not_rounded, trace_stamp_seconds,
    testing::Values(second_case{"no_time", {0, 0}, "00.000"},
                    second_case{"almost_a_millisecond", {0, 999999}, "00.000"},
                    second_case{"one_millisecond", {0, 1000000}, "00.001"},
                    second_case{"almost_two_milliseconds", {0, 1999999}, "00.001"},
                    second_case{"almost_a_second", {0, 999999999}, "00.999"},
                    second_case{"almost_a_minute", {59, 999999999}, "59.999"},
                    second_case{"one_minute", {60, 0}, "00.000"},
                    second_case{"just_over_a_minute", {61, 10000000}, "01.010"}));

INSTANTIATE_TEST_SUITE_P(
    signed_before_the_epoch, trace_stamp_seconds,
    testing::Values(second_case{"half_a_second_before", {-1, 500000000}, "-1.500"},
                    second_case{"almost_a_minute_before", {-59, 0}, "-59.000"},
                    second_case{"a_minute_before", {-60, 1000000}, "00.001"},
                    second_case{"over_a_minute_before", {-61, 0}, "-1.000"}));

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
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined()}));
}

TEST_F(trace_directory, is_examined_first_and_then_made)
{
    record_calls();
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), directory_made()}));
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
        const as_nobody caller;
        EXPECT_EQ(orvane_logger_env_init(), 1);
    }
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), directory_made()}));
}

TEST_F(trace_directory, that_the_caller_may_not_list_is_asked_for_again)
{
    machine.directory("/var/log/orvane", 0711);
    record_calls();
    {
        const as_nobody caller;
        EXPECT_EQ(orvane_logger_env_init(), 1);
    }
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), directory_made()}));
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

// The line.

using trace_log = trace_machine;

TEST_F(trace_log, takes_one_line_for_each_call)
{
    EXPECT_EQ(orvane_trace("first %d", 1), 1);
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), (strings{"first 1", "second"}));
}

TEST_F(trace_log, has_lines_of_stamp_process_id_and_message)
{
    set_clock(november_14, {november_14, 42000000});
    interpose::getpid = [] { return 4711; };
    EXPECT_EQ(orvane_trace("disk %s found", "sda"), 1);
    EXPECT_EQ(log(), "2023-11-14 22:13:20.042 [4711]: disk sda found\n");
}

TEST_F(trace_log, takes_the_stamp_and_the_process_id_as_they_are_told)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(log(), "now [4711]: message\n");
}

TEST_F(trace_log, formats_like_printf)
{
    EXPECT_EQ(orvane_trace("%s|%5d|%-3c|%#x|%.2f|%zu|%%", "text", -42, 'c', 255U, 1.0,
                           static_cast<size_t>(7)),
              1);
    EXPECT_EQ(machine.trace(), strings{"text|  -42|c  |0xff|1.00|7|%"});
}

TEST_F(trace_log, takes_percent_signs_of_an_argument_as_text)
{
    EXPECT_EQ(orvane_trace("%s", "100%s %n %d"), 1);
    EXPECT_EQ(machine.trace(), strings{"100%s %n %d"});
}

TEST_F(trace_log, formats_the_reason_that_the_caller_has_in_errno)
{
    machine.directory("/var/log/orvane");
    errno = EACCES;
    EXPECT_EQ(trace_reason(), 1);
    EXPECT_EQ(machine.trace(), strings{"Permission denied"});
}

TEST_F(trace_log, formats_the_reason_that_the_caller_had_before_the_directory_was_made)
{
    errno = EACCES;
    EXPECT_EQ(trace_reason(), 1);
    EXPECT_EQ(machine.trace(), strings{"Permission denied"});
}

TEST_F(trace_log, keeps_bytes_of_any_encoding)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("%s", "\x01\x7f\x80\xc3\xa4\xff\r\t"), 1);
    EXPECT_EQ(log(), "now [4711]: \x01\x7f\x80\xc3\xa4\xff\r\t\n");
}

TEST_F(trace_log, ends_a_message_at_a_zero_byte)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("kept%clost", '\0'), 1);
    EXPECT_EQ(log(), "now [4711]: kept\n");
}

TEST_F(trace_log, keeps_of_a_message_what_comes_before_a_failed_conversion)
{
    settle_prefix("now");
    EXPECT_EQ(orvane_trace("before %ls", L"\x20ac"), 1);
    EXPECT_EQ(log(), "now [4711]: before \n");
}

TEST_F(trace_log, names_the_calling_process_after_a_fork)
{
    orvane_trace("parent");
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(orvane_trace("child") == 1 ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(log().ends_with(" [" + std::to_string(child) + "]: child\n")) << log();
}

namespace {

struct line_case {
    const char *name;
    std::string message;
    std::string written; // behind the prefix
};

class trace_line : public trace_machine, public testing::WithParamInterface<line_case> {};

} // namespace

TEST_P(trace_line, is_written_as_expected)
{
    settle_prefix();
    EXPECT_EQ(orvane_trace("%s", GetParam().message.c_str()), 1);
    EXPECT_EQ(log(), "2026-11-16 03:55:07.042 [4711]: " + GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(ends_in_its_own_newline_or_in_one_more, trace_line,
                         testing::Values(line_case{"empty", "", "\n"},
                                         line_case{"without_newline", "x", "x\n"},
                                         line_case{"with_newline", "x\n", "x\n"},
                                         line_case{"with_two_newlines", "x\n\n", "x\n\n"},
                                         line_case{"newline_alone", "\n", "\n"},
                                         line_case{"newline_inside", "x\ny", "x\ny\n"},
                                         line_case{"carriage_return", "x\r", "x\r\n"},
                                         line_case{"blank", " ", " \n"}));

// 1023 bytes less the 32 of the prefix and the newline leave 990 for the message.
INSTANTIATE_TEST_SUITE_P(
    is_cut_at_1023_bytes_with_its_newline, trace_line,
    testing::Values(line_case{"one_below", std::string(989, 'm'), std::string(989, 'm') + "\n"},
                    line_case{"at_the_bound", std::string(990, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"one_above", std::string(991, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"far_above", std::string(5000, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"newline_at_the_bound", std::string(989, 'm') + "\n",
                              std::string(989, 'm') + "\n"},
                    line_case{"newline_one_above", std::string(990, 'm') + "\n",
                              std::string(990, 'm') + "\n"},
                    line_case{"newline_inside_the_cut", std::string(989, 'm') + "\nlost",
                              std::string(989, 'm') + "\n"}));

TEST_F(trace_log, cuts_what_the_format_alone_makes_too_long)
{
    settle_prefix();
    EXPECT_EQ(orvane_trace("%*d", 100000, 7), 1);
    EXPECT_EQ(log(), "2026-11-16 03:55:07.042 [4711]: " + std::string(990, ' ') + "\n");
}

namespace {

struct prefix_case {
    const char *name;
    std::string stamp; // followed by the 9 bytes " [4711]: "
    std::string line;
};

class trace_prefix : public trace_machine, public testing::WithParamInterface<prefix_case> {};

} // namespace

TEST_P(trace_prefix, leaves_the_room_that_it_does_not_take)
{
    settle_prefix(GetParam().stamp);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(log(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(up_to_the_whole_line, trace_prefix,
                         testing::Values(prefix_case{"no_stamp", "", " [4711]: message\n"},
                                         prefix_case{"two_bytes_left", std::string(1012, 's'),
                                                     std::string(1012, 's') + " [4711]: m\n"},
                                         prefix_case{"one_byte_left", std::string(1013, 's'),
                                                     std::string(1013, 's') + " [4711]: \n"},
                                         prefix_case{"no_byte_left", std::string(1014, 's'),
                                                     std::string(1014, 's') + " [4711]: "},
                                         prefix_case{"cut_by_one", std::string(1015, 's'),
                                                     std::string(1015, 's') + " [4711]:"},
                                         prefix_case{"far_too_long", std::string(2000, 's'),
                                                     std::string(1023, 's')}));

// The file.

TEST_F(trace_log, costs_one_open_one_write_and_one_close)
{
    machine.directory("/var/log/orvane");
    record_calls();
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing",
                              log_opened(), "time_string", "write log 40", "close log"}));
}

TEST_F(trace_log, costs_the_same_for_every_line)
{
    orvane_trace("first");
    record_calls();
    orvane_trace("message");
    orvane_trace("message");
    const strings line = {"orvane_logger_env_init",
                          directory_examined(),
                          "orvane_is_tracing",
                          log_opened(),
                          "time_string",
                          "write log 40",
                          "close log"};
    ASSERT_EQ(calls.size(), 14U);
    EXPECT_EQ(strings(calls.begin(), calls.begin() + 7), line);
    EXPECT_EQ(strings(calls.begin() + 7, calls.end()), line);
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
    EXPECT_EQ(machine.trace(), strings{"second"});
}

TEST_F(trace_log, is_made_again_after_it_was_moved_away)
{
    orvane_trace("first");
    std::filesystem::rename(log_file, "/var/log/orvane/old");
    EXPECT_EQ(orvane_trace("second"), 1);
    EXPECT_EQ(machine.trace(), strings{"second"});
}

TEST_F(trace_log, stays_silent_on_the_standard_streams)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(traced(), (outcome{1, ""}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

namespace {

struct mode_case {
    const char *name;
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
    strings expected;
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
    strings written;
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
    EXPECT_EQ(calls, strings{});
}

TEST_F(trace_log, is_not_touched_when_tracing_is_off)
{
    machine.directory("/var/log/orvane");
    record_calls();
    interpose::orvane_is_tracing = [] { return 0; };
    EXPECT_EQ(traced(), (outcome{0, ""}));
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined()}));
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
        const as_nobody caller;
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
        const as_nobody caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{1, ""}));
    EXPECT_EQ(machine.trace(), strings{"message"});
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
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing",
                              "open"}));
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
    EXPECT_EQ(calls, (strings{"orvane_logger_env_init", directory_examined(), "orvane_is_tracing",
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
    EXPECT_EQ(machine.trace(), strings{"message"});
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
    EXPECT_EQ(machine.trace(), strings{"message"});
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
