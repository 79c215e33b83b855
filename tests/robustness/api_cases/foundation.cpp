// SPDX-License-Identifier: LGPL-2.1-or-later
#include "api_case.h"
#include "glib_owners.h"
#include "orvane.h"
#include "scratch_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char directory_of_trace[] = "/var/log/orvane";
constexpr char file_of_trace[] = "/var/log/orvane/liborvane.log";

// A text whose digits are the time's: each is a 9.
std::string without_time(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '9');
    return text;
}

// ---- Trace log ----

void trace_directory_is_there(constructed_machine &machine)
{
    machine.directory(directory_of_trace, 0777);
}

void trace_directory_is_a_file(constructed_machine &machine)
{
    machine.file(directory_of_trace, "");
}

void trace_log_is_full(constructed_machine &machine)
{
    machine.link(file_of_trace, "/dev/full");
}

void no_trace_directory()
{
    std::filesystem::remove_all(directory_of_trace);
}

// The end of the trace log, which grows with every call. A device in its place has no end.
std::string end_of_trace_log()
{
    if (!std::filesystem::is_regular_file(file_of_trace))
        return {};
    return constructed_machine::end_of(file_of_trace, 65536);
}

// How a message stands in the log.
std::string state_of(const std::string &message)
{
    const std::string log = end_of_trace_log();
    if (log.find("]: " + message + "\n") == std::string::npos)
        return " not written";
    return log.find(message + "\n\n") == std::string::npos ? " written" : " with an empty line";
}

std::string traced()
{
    const std::string message = "call " + scratch_file::unique();
    const int result = orvane_trace("%s", message.c_str());
    return reported(result) + state_of(message);
}

std::string traced_with_newline()
{
    const std::string message = "call " + scratch_file::unique();
    const int result = orvane_trace("%s\n", message.c_str());
    return reported(result) + state_of(message);
}

// How long the line is, its newline included.
std::string traced_at_length()
{
    const std::string start = "call " + scratch_file::unique() + " ";
    const int result = orvane_trace("%s%s", start.c_str(), std::string(2000, 'x').c_str());
    const std::string log = end_of_trace_log();
    const std::size_t found = log.find(start);
    if (found == std::string::npos)
        return reported(result) + " not written";
    // Not from the end of the line before: that one may have none.
    const std::string stamp = "9999-99-99 99:99:99.999";
    const std::size_t size = stamp.size() + (" [" + std::to_string(::getpid()) + "]: ").size();
    if (found < size || without_time(log.substr(found - size, stamp.size())) != stamp)
        return reported(result) + " not begun";
    const std::size_t end = log.find('\n', found);
    if (end == std::string::npos)
        return reported(result) + " not ended";
    return reported(result) + " " + std::to_string(end + 1 - (found - size));
}

std::string traced_into_a_new_directory()
{
    no_trace_directory();
    return traced();
}

// The caller's errno in the line, and in errno afterwards.
std::string traced_errno()
{
    const std::string message = "call " + scratch_file::unique();
    errno = ENOENT;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
    orvane_trace("%s %m", message.c_str());
#pragma GCC diagnostic pop
    const int after = errno;
    const std::string line = message + " No such file or directory\n";
    const bool is_there = end_of_trace_log().find(line) != std::string::npos;
    return (after == ENOENT ? "kept" : "changed") +
           std::string(is_there ? " written" : " not written");
}

std::string prepared()
{
    const int result = orvane_logger_env_init();
    return reported(result) +
           (std::filesystem::is_directory(directory_of_trace) ? " there" : " absent");
}

std::string prepared_anew()
{
    no_trace_directory();
    return prepared();
}

api_case_list trace_cases()
{
    constexpr char f[] = "orvane_trace";
    const texts not_written = {"1 not written", "0 not written"};
    const texts not_opened = {"0 not written"};
    const texts line_in_part = {"1 not begun", "1 not ended"};
    constexpr unsigned log = trace_log | file_growth;
    return joined({
        with_traits(succeeds_without_memory,
                    with_truncated(
                        line_in_part,
                        {
                            {f, "directory_there", trace_directory_is_there, traced, "1 written",
                             not_written, log},
                            // Each call removes the directory of the others.
                            {f, "directory_made", nullptr, traced_into_a_new_directory, "1 written",
                             not_written, log | trace_directory, 0, single_thread},
                            {f, "newline", trace_directory_is_there, traced_with_newline,
                             "1 written", not_written},
                            {f, "truncated", trace_directory_is_there, traced_at_length, "1 1023",
                             not_written},
                            {f, "no_directory", trace_directory_is_a_file, traced, "0 not written"},
                            {f, "full", trace_log_is_full, traced, "1 not written", not_opened},
                            {f,
                             "errno",
                             trace_directory_is_there,
                             traced_errno,
                             "kept written",
                             {"kept not written"},
                             log,
                             c_locale},
                        })),
        {
            {"orvane_logger_env_init",
             "made",
             nullptr,
             prepared_anew,
             "1 there",
             {"1 absent"},
             trace_directory,
             0,
             single_thread},
            {"orvane_logger_env_init", "there", trace_directory_is_there, prepared, "1 there"},
            {.function = "orvane_is_tracing",
             .name = "always",
             .run = [] { return reported(orvane_is_tracing()); },
             .answer = "1",
             .traits = succeeds_without_memory},
            {.function = "time_string",
             .name = "now",
             .run = [] { return without_time(time_string()); },
             .answer = "9999-99-99 99:99:99.999",
             .traits = single_thread | succeeds_without_memory,
             .truncated = {"9999-99-99 99:99:", ":99.999", ""}},
        },
    });
}

// ---- Event log ----

std::string written_event(const scratch_file &log, int enabled)
{
    log_write(log.path(), "disk is full", "WW", enabled);
    return without_time(log.content());
}

std::string written_at_length(const scratch_file &log)
{
    log_write(log.path(), std::string(2000, 'x').c_str(), "EE", 1);
    return without_time(log.content());
}

std::string written_nowhere()
{
    constexpr char path[] = "/srv/calls/missing/log";
    log_write(path, "disk is full", "WW", 1);
    return std::filesystem::exists(path) ? "there" : "absent";
}

std::string written_nothing()
{
    log_write(nullptr, "disk is full", "WW", 1);
    return "done";
}

// Half of a line is left where it was written in part: the rest could follow another writer's line.
api_case_list event_cases()
{
    constexpr char f[] = "log_write";
    const std::string stamped = "(WW) Time: 9999-99-99 99:99:99\t\tMessage: disk is full\n";
    const std::string not_stamped = "(WW) disk is full\n";
    const std::string half = "(WW) Time: 9999-99-99 99:99";
    const auto long_line = [](std::string start, std::size_t length) {
        return start + std::string(length - start.size(), 'x');
    };
    const std::string long_stamp = "(EE) Time: 9999-99-99 99:99:99\t\tMessage: ";
    const auto directory = make_scratch_directory;
    return {
        {.function = f,
         .name = "new_file",
         .furnish = directory,
         .run = [] { return written_event(scratch_file(), 1); },
         .answer = stamped,
         .failures = {not_stamped, "", "absent"},
         .needs = file_growth,
         .truncated = {half}},
        {.function = f,
         .name = "old_file",
         .furnish = directory,
         .run = [] { return written_event(scratch_file("before\n"), -1); },
         .answer = "before\n" + stamped,
         .failures = {"before\n" + not_stamped, "before\n"},
         .truncated = {"before\n" + half}},
        {.function = f,
         .name = "truncated",
         .furnish = directory,
         .run = [] { return written_at_length(scratch_file()); },
         .answer = long_line(long_stamp, 1023),
         .failures = {long_line("(EE) ", 1023), "", "absent"},
         .truncated = {long_line(long_stamp, 1023 / 2)}},
        {f, "no_directory", directory, written_nowhere, "absent"},
        {f, "disabled", directory, [] { return written_event(scratch_file(), 0); }, "absent"},
        {f, "null", directory, written_nothing, "done"},
    };
}

// ---- Key files ----

constexpr std::string_view settings = "[greeting]\n"
                                      "# what is said\n"
                                      "text=hello\\n\n"
                                      "text[de]=hallo\n"
                                      "nobody=\n";
constexpr std::string_view other_settings = "[greeting]\ntext=goodbye\n";

void settings_file(constructed_machine &machine)
{
    make_scratch_directory(machine);
    machine.file("/srv/calls/settings", settings);
    machine.file("/srv/calls/malformed", "no group\n");
    machine.file("/srv/calls/empty", "");
}

std::string reported_glib(char *text)
{
    const glib_text owned(text);
    return text == nullptr ? "NULL" : text;
}

std::string loaded(const char *path)
{
    const owned_key_file kf(key_file_load_from_file(path));
    return kf ? text_of(kf.get()) : "NULL";
}

std::string value_of(const char *group, const char *key)
{
    return reported_glib(key_file_get_value(key_file_of(settings).get(), group, key));
}

// What becomes of a key file where a value is set.
std::string text_with(std::string_view text, const char *group, const char *key)
{
    const owned_key_file kf = key_file_of(text);
    key_file_set_value(kf.get(), group, key, "hi");
    return text_of(kf.get());
}

std::string data_of_settings()
{
    std::size_t length = 0;
    const std::string text = reported_glib(key_file_to_data(key_file_of(settings).get(), &length));
    return text == "NULL" ? text : reported(static_cast<int>(length)) + "\n" + text;
}

std::string data_without_length()
{
    return reported_glib(key_file_to_data(key_file_of(settings).get(), nullptr));
}

// Whether nothing else was left there whose name begins with the file's.
bool is_alone(const scratch_file &file)
{
    const std::string name = std::filesystem::path(file.path()).filename();
    return std::ranges::none_of(std::filesystem::directory_iterator(scratch_directory),
                                [&name](const auto &entry) {
                                    const std::string other = entry.path().filename();
                                    return other.starts_with(name + ".");
                                });
}

std::string saved(const scratch_file &file)
{
    key_file_save_to_file(key_file_of(other_settings).get(), file.path());
    return file.content() + (is_alone(file) ? "" : "and another file beside it");
}

// What a link leads to stays as it is.
std::string saved_over_a_link()
{
    const scratch_file target;
    const scratch_file link;
    std::filesystem::create_symlink(target.path(), link.path());
    key_file_save_to_file(key_file_of(other_settings).get(), link.path());
    return (std::filesystem::is_symlink(link.path()) ? "link" : link.content()) + " to " +
           target.content();
}

std::string saved_nowhere()
{
    constexpr char path[] = "/srv/calls/missing/settings";
    key_file_save_to_file(key_file_of(other_settings).get(), path);
    return std::filesystem::exists(path) ? "there" : "absent";
}

api_case_list key_file_cases()
{
    constexpr char load[] = "key_file_load_from_file";
    constexpr char get[] = "key_file_get_value";
    constexpr char set[] = "key_file_set_value";
    constexpr char data[] = "key_file_to_data";
    constexpr char save[] = "key_file_save_to_file";
    const std::string whole(settings);
    const std::string other(other_settings);
    const texts absent = {"absent"};
    const texts old = {"[old]\n"};
    return with_traits(
        ends_without_memory,
        joined({
            {
                {load, "whole", settings_file, [] { return loaded("/srv/calls/settings"); }, whole,
                 or_null},
                {load, "malformed", settings_file, [] { return loaded("/srv/calls/malformed"); },
                 "NULL"},
                {load, "directory", settings_file, [] { return loaded("/srv/calls"); }, "NULL"},
                {load, "null", settings_file, [] { return loaded(nullptr); }, "NULL"},
                {get, "value", nullptr, [] { return value_of("greeting", "text"); }, "hello\\n",
                 or_null},
                {get, "empty", nullptr, [] { return value_of("greeting", "nobody"); }, "", or_null},
                {get, "no_key", nullptr, [] { return value_of("greeting", "voice"); }, "NULL"},
                {set, "other_value", nullptr,
                 [] { return text_with(settings, "greeting", "text"); },
                 "[greeting]\n# what is said\ntext=hi\ntext[de]=hallo\nnobody=\n"},
                {set, "new_group", nullptr,
                 [] { return text_with(other_settings, "farewell", "text"); },
                 other + "\n[farewell]\ntext=hi\n"},
                {set, "no_name", nullptr,
                 [] { return text_with(other_settings, "fare]well", "text"); }, other},
                {data, "whole", nullptr, data_of_settings,
                 std::to_string(settings.size()) + "\n" + whole, or_null},
                {data, "no_length", nullptr, data_without_length, whole, or_null},
            },
            with_traits(ends_at_file_limit,
                        {
                            {save, "new_file", make_scratch_directory,
                             [] { return saved(scratch_file()); }, other, absent, file_growth},
                            // Never a part, and never nothing.
                            {save, "old_file", make_scratch_directory,
                             [] { return saved(scratch_file("[old]\n")); }, other, old},
                            {save,
                             "link",
                             make_scratch_directory,
                             saved_over_a_link,
                             other + " to absent",
                             {"link to absent"}},
                            {save, "no_directory", make_scratch_directory, saved_nowhere, "absent"},
                        }),
        }));
}

// ---- Texts ----

std::string changed(void (*routine)(char *), std::string text)
{
    routine(text.data());
    text.resize(std::min(text.size(), text.find('\0'))); // the terminator may have moved
    return text;
}

std::string packed(std::string bytes)
{
    remove_null_chars(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return bytes;
}

template <void (*routine)(char *)> std::string done_without_text()
{
    routine(nullptr);
    return "done";
}

std::string done_without_bytes()
{
    remove_null_chars(nullptr, 0);
    return "done";
}

api_case_list text_cases()
{
    using namespace std::string_literals;
    return with_traits(
        succeeds_without_memory,
        {
            // "I" has another small letter in some locales.
            {"toLowerCase", "capitals", nullptr,
             [] { return changed(toLowerCase, "AIZ-\xc3\x84-i[@"); }, "aiz-\xc3\x84-i[@"},
            {"toLowerCase", "null", nullptr, done_without_text<toLowerCase>, "done"},
            {"removeSpaces", "all", nullptr, [] { return changed(removeSpaces, " x \n\ty\r"); },
             "x\ty\r"},
            {"removeSpaces", "null", nullptr, done_without_text<removeSpaces>, "done"},
            {"removeSpacesTabs", "all", nullptr,
             [] { return changed(removeSpacesTabs, " x\t\ny"); }, "x\ny"},
            {"removeSpecialChar", "all", nullptr,
             [] { return changed(removeSpecialChar, "ST1000\t(rev A)\n\xff"); },
             "ST1000\trevA\xff"},
            {"removeSpecialChar", "null", nullptr, done_without_text<removeSpecialChar>, "done"},
            {"remove_null_chars", "packed", nullptr, [] { return packed("a\0\0b\0c"s); }, "abcccc"},
            {"remove_null_chars", "null", nullptr, done_without_bytes, "done"},
        });
}

// ---- Files ----

void readable_file(constructed_machine &machine)
{
    machine.file("/srv/calls/readable", "text", 0640);
    machine.link("/srv/calls/link", "readable");
}

// What stands at the device's path is none.
void null_file(constructed_machine &machine)
{
    machine.file("/dev/null", "", 0666);
}

// The state of the three standard descriptors: of those that the call found closed "null" or still
// "closed", of the others "kept" or, where another file is open there, "replaced".
class standard_descriptors {
public:
    explicit standard_descriptors(const std::vector<int> &closed)
    {
        for (one &each : all_) {
            each.number = static_cast<int>(&each - all_.data());
            each.is_kept = std::ranges::find(closed, each.number) == closed.end();
            each.duplicate = ::fcntl(each.number, F_DUPFD_CLOEXEC, first_duplicate);
            if (each.duplicate < 0 || ::fstat(each.number, &each.before) != 0)
                throw std::system_error(errno, std::generic_category(), "keep a descriptor");
        }
        for (const int number : closed)
            ::close(number);
    }
    standard_descriptors(const standard_descriptors &) = delete;
    standard_descriptors &operator=(const standard_descriptors &) = delete;
    ~standard_descriptors()
    {
        for (const one &each : all_) {
            ::dup2(each.duplicate, each.number);
            ::close(each.duplicate);
        }
    }

    [[nodiscard]] std::string state() const
    {
        std::string words;
        for (const one &each : all_)
            words += (words.empty() ? "" : " ") + word_of(each);
        return words;
    }

private:
    static constexpr int first_duplicate = 3;

    struct one {
        int number = -1;
        int duplicate = -1;
        bool is_kept = true;
        struct stat before = {};
    };

    static std::string word_of(const one &each)
    {
        struct stat now = {};
        struct stat null = {};
        if (::fstat(each.number, &now) != 0)
            return "closed";
        if (each.is_kept) {
            const bool is_same =
                now.st_dev == each.before.st_dev && now.st_ino == each.before.st_ino;
            return is_same ? "kept" : "replaced";
        }
        const bool is_null = ::stat("/dev/null", &null) == 0 && now.st_rdev == null.st_rdev;
        return is_null ? "null" : "another";
    }

    std::array<one, 3> all_;
};

std::string redirected(const std::vector<int> &closed)
{
    const standard_descriptors descriptors(closed);
    redirect_stdio();
    return descriptors.state();
}

template <int... closed> std::string redirected_without()
{
    return redirected({closed...});
}

template <const char *path> std::string mode_of()
{
    return reported(file_stat(path, S_IFMT | 0777));
}

constexpr char readable[] = "/srv/calls/readable";
constexpr char link_to_readable[] = "/srv/calls/link";
constexpr char absent[] = "/srv/calls/none";

api_case_list file_cases()
{
    constexpr char status[] = "file_stat";
    constexpr char redirect[] = "redirect_stdio";
    const std::string mode = std::to_string(S_IFREG | 0640);
    const texts zero = {"0"};
    return with_traits(
        succeeds_without_memory,
        joined({
            {
                {status, "file", readable_file, mode_of<readable>, mode, zero},
                {status, "link", readable_file, mode_of<link_to_readable>, mode, zero},
                {status, "absent", readable_file, mode_of<absent>, "0"},
                {status, "null", readable_file, mode_of<nullptr>, "0"},
            },
            // A descriptor that cannot be examined counts as closed.
            with_traits(
                single_thread,
                {
                    {redirect,
                     "none_closed",
                     nullptr,
                     redirected_without<>,
                     "kept kept kept",
                     {"replaced kept kept", "kept replaced kept", "kept kept replaced"}},
                    {redirect,
                     "input_closed",
                     nullptr,
                     redirected_without<0>,
                     "null kept kept",
                     {"closed kept kept", "null replaced kept", "null kept replaced"}},
                    {redirect,
                     "outputs_closed",
                     nullptr,
                     redirected_without<1, 2>,
                     "kept null null",
                     {"kept closed closed", "kept null closed", "replaced null null"}},
                    {redirect,
                     "all_closed",
                     nullptr,
                     redirected_without<0, 1, 2>,
                     "null null null",
                     {"closed closed closed", "null closed closed", "null closed null",
                      "null null closed"}},
                    {redirect, "no_device", null_file, redirected_without<0>, "closed kept kept"},
                }),
        }));
}

// ---- Operating system ----

template <const char *content> void os_release(constructed_machine &machine)
{
    machine.file("/etc/os-release", content);
}

constexpr char education_variant[] = "NAME=\"Example\"\nVARIANT=\"EDU\"\n";
constexpr char server_variant[] = "VARIANT=\"Server Edition\"\n";
constexpr char no_variant[] = "NAME=EDU\nVARIANT_ID=EDU\n";

void no_os_release(constructed_machine &machine)
{
    machine.remove("/etc/os-release");
    machine.remove("/usr/lib/os-release");
}

template <auto query> std::string version_of()
{
    return std::to_string(query());
}

api_case_list os_version_cases()
{
    constexpr char f[] = "orvane_get_os_version";
    const auto version = version_of<orvane_get_os_version>;
    const texts zero = {"0"};
    return with_traits(ends_without_memory,
                       {
                           {f, "education", os_release<education_variant>, version, "2", zero},
                           {f, "other", os_release<server_variant>, version, "0"},
                           {f, "no_variant", os_release<no_variant>, version, "0"},
                           {f, "no_os_release", no_os_release, version, "0"},
                           {"_os_get_version", "education", os_release<education_variant>,
                            version_of<_os_get_version>, "2", zero},
                       });
}

} // namespace

api_case_list foundation_cases()
{
    return joined({trace_cases(), event_cases(), key_file_cases(), text_cases(), file_cases(),
                   os_version_cases()});
}
