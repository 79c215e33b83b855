// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char directory[] = "/var/log/orvane";
constexpr char log_file[] = "/var/log/orvane/liborvane.log";

// What a trace line returned, and what it printed on standard error.
struct outcome {
    int result = -1;
    std::string error;

    bool operator==(const outcome &) const = default;
    friend std::ostream &operator<<(std::ostream &stream, const outcome &one)
    {
        return stream << one.result << ", standard error: " << one.error;
    }
};

class trace_log : public on_machine {
protected:
    static std::string log() { return constructed_machine::content(log_file); }

    // The two readings of the clock, in this order.
    static void set_clock(time_t first, timespec second)
    {
        interpose::time = [first](time_t *) { return first; };
        interpose::clock_gettime = [second](clockid_t, timespec *now) {
            *now = second;
            return 0;
        };
    }

    static void set_stamp(const std::string &stamp)
    {
        interpose::time_string = [stamp] { return stamp.c_str(); };
    }

    static std::string process_id() { return " [" + std::to_string(::getpid()) + "]: "; }

    // Makes the prefix of every line 32 bytes long and returns it.
    static std::string prefix_of_32_bytes()
    {
        const std::string stamp(32 - process_id().size(), 's');
        set_stamp(stamp);
        return stamp + process_id();
    }

    // The line "message" of a caller whose errno must survive it.
    static outcome traced()
    {
        outcome seen;
        seen.error = standard_error_of([&seen] {
            errno = EDOM;
            seen.result = orvane_trace("message");
            EXPECT_EQ(errno, EDOM);
        });
        return seen;
    }
};

} // namespace

// The directory.

using trace_directory = trace_log;

TEST_F(trace_directory, is_made_when_missing)
{
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(permissions(directory), 0755U);
}

TEST_F(trace_directory, keeps_its_mode_and_its_files)
{
    machine.directory(directory, 0711);
    machine.file("/var/log/orvane/other", "kept");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_EQ(permissions(directory), 0711U);
    EXPECT_EQ(machine.content("/var/log/orvane/other"), "kept");
}

TEST_F(trace_directory, that_cannot_be_made_is_no_failure)
{
    machine.read_only("/var/log");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_FALSE(std::filesystem::exists(directory));
}

TEST_F(trace_directory, is_not_made_together_with_its_parent)
{
    machine.remove("/var/log");
    EXPECT_EQ(orvane_logger_env_init(), 1);
    EXPECT_FALSE(std::filesystem::exists("/var/log"));
}

TEST(tracing, is_always_on)
{
    EXPECT_EQ(orvane_is_tracing(), 1);
}

// The file.

TEST_F(trace_log, has_a_line_for_each_call_and_prints_nothing)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(traced(), (outcome{1, ""}));
    EXPECT_EQ(orvane_trace("second %d", 2), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    expect_trace({"message", "second 2"});
}

TEST_F(trace_log, appends_to_a_file_of_any_size_and_keeps_its_mode)
{
    machine.file(log_file, "without a newline", 0600);
    set_stamp("now");
    orvane_trace("message");
    EXPECT_EQ(log(), "without a newlinenow" + process_id() + "message\n");
    EXPECT_EQ(permissions(log_file), 0600U);

    std::filesystem::resize_file(log_file, 5000000000);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(std::filesystem::file_size(log_file), 5000000000U + 11 + process_id().size());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 1);
}

TEST_F(trace_log, is_made_again_after_it_was_moved_away)
{
    orvane_trace("first");
    std::filesystem::rename(log_file, "/var/log/orvane/old");
    EXPECT_EQ(orvane_trace("second"), 1);
    expect_trace({"second"});
}

TEST_F(trace_log, is_made_again_with_its_directory)
{
    orvane_trace("first");
    std::filesystem::remove_all(directory);
    EXPECT_EQ(orvane_trace("second"), 1);
    expect_trace({"second"});
}

namespace {

struct mode_case : named_case {
    mode_t umask;
    mode_t directory;
    mode_t file;
};

class trace_modes : public trace_log, public testing::WithParamInterface<mode_case> {};

} // namespace

TEST_P(trace_modes, are_0777_and_0644_less_the_umask)
{
    ::umask(GetParam().umask);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(permissions(directory), GetParam().directory);
    EXPECT_EQ(permissions(log_file), GetParam().file);
    EXPECT_EQ(::umask(022), GetParam().umask);
}

INSTANTIATE_TEST_SUITE_P(umask, trace_modes,
                         testing::Values(mode_case{"none", 0, 0777, 0644},
                                         mode_case{"group_and_other_write", 022, 0755, 0644},
                                         mode_case{"group_and_other_all", 077, 0700, 0600},
                                         mode_case{"every_write_and_execute", 0333, 0444, 0444}));

// Links, and files that are not the log's alone.

namespace {

constexpr char other_file[] = "/var/log/other";

struct foreign_log : named_case {
    void (*put)(constructed_machine &machine); // in the log's place
    const char *error;                         // in a directory that others may write
};

const foreign_log foreign_logs[] = {
    {"link", [](constructed_machine &machine) { machine.link(log_file, other_file); },
     "Open log file failed: Too many levels of symbolic links\n"},
    {"second_name",
     [](constructed_machine &) { std::filesystem::create_hard_link(other_file, log_file); },
     "Open log file failed: Operation not permitted\n"},
};

class foreign_trace_log : public trace_log, public testing::WithParamInterface<foreign_log> {
protected:
    void furnish() override
    {
        machine.file(other_file, "");
        machine.directory(directory);
        GetParam().put(machine);
    }
};

} // namespace

TEST_P(foreign_trace_log, has_the_line_in_a_directory_of_root_or_the_caller)
{
    EXPECT_EQ(traced(), (outcome{1, ""}));
    for (const char *const path : {directory, other_file})
        ASSERT_EQ(::chown(path, other_user::nobody, 0), 0);
    outcome seen;
    {
        const other_user caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{1, ""}));
    expect_trace({"message", "message"});
}

TEST_P(foreign_trace_log, is_left_as_it_is_in_a_directory_that_others_may_write)
{
    for (const mode_t mode : {0777U, 01777U, 0775U, 0757U}) {
        ::chmod(directory, mode);
        EXPECT_EQ(traced(), (outcome{0, GetParam().error}));
    }
    ::chmod(directory, 0755);
    ASSERT_EQ(::chown(directory, other_user::nobody, 0), 0);
    EXPECT_EQ(traced(), (outcome{0, GetParam().error}));
    EXPECT_EQ(machine.content(other_file), "");
}

INSTANTIATE_TEST_SUITE_P(which_is_a, foreign_trace_log, testing::ValuesIn(foreign_logs));

TEST_F(trace_log, makes_no_file_behind_another_users_link)
{
    machine.directory(directory, 0777);
    machine.link(log_file, other_file);
    EXPECT_EQ(traced().result, 0);
    EXPECT_FALSE(std::filesystem::exists(other_file));
}

TEST_F(trace_log, waits_for_no_reader_of_a_fifo)
{
    machine.directory(directory);
    ASSERT_EQ(::mkfifo(log_file, 0600), 0);
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: No such device or address\n"}));
    const int reader = ::open(log_file, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(traced(), (outcome{1, ""}));
    while (traced().error.empty()) { // until it is full
    }
    EXPECT_EQ(traced(),
              (outcome{1, "Write to log file failed: Resource temporarily unavailable\n"}));
    ::chmod(directory, 0777);
    EXPECT_EQ(traced(), (outcome{0, "Open log file failed: Operation not permitted\n"}));
    ::close(reader);
}

TEST_F(trace_log, has_whole_lines_of_several_processes)
{
    constexpr int processes = 4;
    constexpr int lines = 100;
    set_stamp("now");
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

// Failures.

namespace {

struct unopenable : named_case {
    void (*arrange)(constructed_machine &machine);
    const char *error;
};

class unopenable_trace_log : public trace_log, public testing::WithParamInterface<unopenable> {};

} // namespace

TEST_P(unopenable_trace_log, is_reported_on_standard_error)
{
    GetParam().arrange(machine);
    EXPECT_EQ(traced(), (outcome{0, GetParam().error}));
}

INSTANTIATE_TEST_SUITE_P(
    on, unopenable_trace_log,
    testing::Values(
        unopenable{"a_read_only_file_system", [](auto &machine) { machine.read_only("/var/log"); },
                   "Open log file failed: No such file or directory\n"},
        unopenable{"a_read_only_directory",
                   [](auto &machine) {
                       machine.directory(directory);
                       machine.read_only("/var/log");
                   },
                   "Open log file failed: Read-only file system\n"},
        unopenable{"a_missing_parent", [](auto &machine) { machine.remove("/var/log"); },
                   "Open log file failed: No such file or directory\n"},
        unopenable{"a_file_in_the_place_of_its_directory",
                   [](auto &machine) { machine.file(directory, ""); },
                   "Open log file failed: Not a directory\n"},
        unopenable{"a_directory_in_its_place", [](auto &machine) { machine.directory(log_file); },
                   "Open log file failed: Is a directory\n"}));

TEST_F(trace_log, needs_the_right_to_write)
{
    machine.file(log_file, "");
    outcome seen;
    {
        const other_user caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{0, "Open log file failed: Permission denied\n"}));
    machine.file(log_file, "", 0666);
    {
        const other_user caller;
        seen = traced();
    }
    EXPECT_EQ(seen, (outcome{1, ""}));
    expect_trace({"message"});
}

TEST_F(trace_log, loses_a_line_on_a_full_file_system)
{
    machine.file_system(directory, "size=4096");
    machine.file(log_file, std::string(4096, 'x'));
    EXPECT_EQ(traced(), (outcome{1, "Write to log file failed: No space left on device\n"}));
    EXPECT_EQ(log(), std::string(4096, 'x'));
}

TEST_F(trace_log, is_not_touched_when_the_environment_is_refused)
{
    interpose::orvane_logger_env_init = [] {
        errno = EIO;
        return 0;
    };
    EXPECT_EQ(traced(), (outcome{0, ""}));
    EXPECT_FALSE(std::filesystem::exists(directory));
}

TEST_F(trace_log, is_not_touched_when_tracing_is_off)
{
    interpose::orvane_is_tracing = [] { return 0; };
    EXPECT_EQ(traced(), (outcome{0, ""}));
    EXPECT_TRUE(std::filesystem::is_empty(directory));
}

TEST_F(trace_log, leaves_closed_standard_descriptors_closed)
{
    texts expected;
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        EXPECT_EQ(left_open(closed, [] { EXPECT_EQ(orvane_trace("message"), 1); }),
                  std::vector<int>{});
        expected.emplace_back("message");
    }
    expect_trace(expected);

    machine.directory(log_file);
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        standard_error_of([&closed] {
            EXPECT_EQ(left_open(closed, [] { EXPECT_EQ(orvane_trace("message"), 0); }),
                      std::vector<int>{});
        });
    }
}

// The line.

TEST_F(trace_log, has_lines_of_stamp_process_id_and_message)
{
    set_clock(1700000000, {1700000000, 42000000});
    EXPECT_EQ(orvane_trace("disk %s found", "sda"), 1);
    EXPECT_EQ(log(), "2023-11-14 22:13:20.042" + process_id() + "disk sda found\n");
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

TEST_F(trace_log, formats_like_printf)
{
    EXPECT_EQ(orvane_trace("%s|%5d|%-3c|%#x|%.2f|%zu|%%", "text", -42, 'c', 255U, 1.0,
                           static_cast<size_t>(7)),
              1);
    expect_trace({"text|  -42|c  |0xff|1.00|7|%"});
}

TEST_F(trace_log, formats_the_callers_errno)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
    errno = EACCES;                       // which making the directory may not change
    orvane_trace("%m");
    errno = EDOM;
    orvane_trace("%m");
#pragma GCC diagnostic pop
    expect_trace({"Permission denied", "Numerical argument out of domain"});
}

TEST_F(trace_log, has_the_whole_of_a_message_with_a_zero_byte)
{
    set_stamp("now");
    EXPECT_EQ(orvane_trace("before%cbehind", '\0'), 1);
    EXPECT_EQ(log(), "now" + process_id() + "before" + std::string(1, '\0') + "behind\n");
}

namespace {

struct line_case : named_case {
    std::string message;
    std::string written; // behind the prefix
};

class trace_line : public trace_log, public testing::WithParamInterface<line_case> {};

} // namespace

TEST_P(trace_line, is_written_with_one_newline_at_least)
{
    const std::string prefix = prefix_of_32_bytes();
    EXPECT_EQ(orvane_trace("%s", GetParam().message.c_str()), 1);
    EXPECT_EQ(log(), prefix + GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    any_text, trace_line,
    testing::Values(line_case{"empty", "", "\n"}, line_case{"without_newline", "x", "x\n"},
                    line_case{"with_newline", "x\n", "x\n"},
                    line_case{"with_two_newlines", "x\n\n", "x\n\n"},
                    line_case{"newline_alone", "\n", "\n"},
                    line_case{"newline_inside", "x\ny", "x\ny\n"},
                    line_case{"carriage_return", "x\r", "x\r\n"}, line_case{"blank", " ", " \n"},
                    line_case{"percent_signs", "100%s %n %d", "100%s %n %d\n"},
                    line_case{"bytes_of_any_encoding", "\x01\x7f\x80\xc3\xa4\xff\r\t",
                              "\x01\x7f\x80\xc3\xa4\xff\r\t\n"}));

// 1023 bytes less the 32 of the prefix and the newline leave 990 for the message.
INSTANTIATE_TEST_SUITE_P(
    truncated_at_1023_bytes, trace_line,
    testing::Values(line_case{"at_the_bound", std::string(990, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"one_above", std::string(991, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"far_above", std::string(5000, 'm'), std::string(990, 'm') + "\n"},
                    line_case{"newline_at_the_bound", std::string(989, 'm') + "\n",
                              std::string(989, 'm') + "\n"},
                    line_case{"newline_one_above", std::string(990, 'm') + "\n",
                              std::string(990, 'm') + "\n"},
                    line_case{"newline_last_of_what_is_left", std::string(989, 'm') + "\nlost",
                              std::string(989, 'm') + "\n"}));

namespace {

struct prefix_case : named_case {
    int left; // of the 1023 bytes
    const char *behind;
};

class trace_prefix : public trace_log, public testing::WithParamInterface<prefix_case> {};

} // namespace

TEST_P(trace_prefix, leaves_the_rest_of_the_line_to_the_message)
{
    const auto prefix_bytes = static_cast<std::size_t>(1023 - GetParam().left);
    const std::string stamp(prefix_bytes - process_id().size(), 's');
    set_stamp(stamp);
    EXPECT_EQ(orvane_trace("message"), 1);
    EXPECT_EQ(log(), (stamp + process_id()).substr(0, 1022) + GetParam().behind);
}

INSTANTIATE_TEST_SUITE_P(up_to_the_whole_line, trace_prefix,
                         testing::Values(prefix_case{"two_bytes_left", 2, "m\n"},
                                         prefix_case{"one_byte_left", 1, "\n"},
                                         prefix_case{"no_byte_left", 0, "\n"},
                                         prefix_case{"truncated_by_one", -1, "\n"},
                                         prefix_case{"far_too_long", -1000, "\n"}));

// The stamp.

namespace {

struct stamp_case : named_case {
    const char *zone;
    time_t minutes; // the first reading of the clock, which gives the date and the minute
    time_t seconds; // the second one
    long nanoseconds;
    const char *stamp;
};

const stamp_case stamps[] = {
    {"utc", "UTC", 1700000000, 1700000000, 42000000, "2023-11-14 22:13:20.042"},
    {"leading_zeros", "UTC", 1704164645, 1704164645, 7000000, "2024-01-02 03:04:05.007"},
    {"east_of_greenwich", "XYZ-05:30", 1700000000, 1700000000, 42000000, "2023-11-15 03:43:20.042"},
    {"west_of_greenwich", "XYZ+08", 1700000000, 1700000000, 42000000, "2023-11-14 14:13:20.042"},
    {"half_a_minute_off", "XYZ-00:00:30", 1700000000, 1700000000, 0, "2023-11-14 22:13:20.000"},
    {"old_minute_with_new_second", "UTC", 1700000039, 1700000040, 250000000,
     "2023-11-14 22:13:00.250"},
    {"year_of_ten_digits", "UTC", 67767976201996800, -59, 999999999,
     "2147483647-01-01 00:00:-59.999"},
    {"almost_a_millisecond", "UTC", 0, 0, 999999, "1970-01-01 00:00:00.000"},
    {"one_millisecond", "UTC", 0, 0, 1000000, "1970-01-01 00:00:00.001"},
    {"almost_a_minute", "UTC", 0, 59, 999999999, "1970-01-01 00:00:59.999"},
    {"one_minute", "UTC", 0, 60, 0, "1970-01-01 00:00:00.000"},
    {"over_a_minute", "UTC", 0, 61, 10000000, "1970-01-01 00:00:01.010"},
    {"before_the_epoch", "UTC", 0, -1, 500000000, "1970-01-01 00:00:-1.500"},
    {"a_minute_before_the_epoch", "UTC", 0, -60, 1000000, "1970-01-01 00:00:00.001"},
};

class trace_stamp : public trace_log, public testing::WithParamInterface<stamp_case> {};

} // namespace

TEST_P(trace_stamp, is_local_time_with_milliseconds)
{
    ::setenv("TZ", GetParam().zone, 1);
    ::tzset();
    set_clock(GetParam().minutes, {GetParam().seconds, GetParam().nanoseconds});
    EXPECT_STREQ(time_string(), GetParam().stamp);
}

INSTANTIATE_TEST_SUITE_P(of, trace_stamp, testing::ValuesIn(stamps));

TEST_F(trace_log, has_every_stamp_in_the_same_place)
{
    set_clock(1700000000, {1700000000, 0});
    const char *const first = time_string();
    set_clock(1700000001, {1700000001, 0});
    EXPECT_EQ(time_string(), first);
    EXPECT_STREQ(first, "2023-11-14 22:13:21.000");
}
