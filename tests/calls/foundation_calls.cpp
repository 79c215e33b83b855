// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"
#include "call_lists.h"
#include "call_makers.h"
#include "glib_owners.h"
#include "orvane.h"
#include "scratch_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char trace_directory[] = "/var/log/orvane";
constexpr char trace_log[] = "/var/log/orvane/liborvane.log";

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
    machine.directory(trace_directory, 0777);
}

void trace_directory_is_a_file(constructed_machine &machine)
{
    machine.file(trace_directory, "");
}

void trace_log_is_full(constructed_machine &machine)
{
    machine.link(trace_log, "/dev/full");
}

void no_trace_directory()
{
    std::filesystem::remove_all(trace_directory);
}

// The end of the trace log, which grows with every call. A device in its place has no end.
std::string end_of_trace_log()
{
    if (!std::filesystem::is_regular_file(trace_log))
        return {};
    constexpr std::streamoff bytes = 65536;
    std::ifstream log(trace_log, std::ios::binary | std::ios::ate);
    log.seekg(std::max<std::streamoff>(0, log.tellg() - bytes));
    return {std::istreambuf_iterator<char>(log), {}};
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
    return told(result) + state_of(message);
}

std::string traced_with_newline()
{
    const std::string message = "call " + scratch_file::unique();
    const int result = orvane_trace("%s\n", message.c_str());
    return told(result) + state_of(message);
}

// How long the line is, its newline included.
std::string traced_at_length()
{
    const std::string start = "call " + scratch_file::unique() + " ";
    const int result = orvane_trace("%s%s", start.c_str(), std::string(2000, 'x').c_str());
    const std::string log = end_of_trace_log();
    const std::size_t found = log.find(start);
    if (found == std::string::npos)
        return told(result) + " not written";
    // Not from the end of the line before: that one may have none.
    const std::string stamp = "9999-99-99 99:99:99.999";
    const std::size_t size = stamp.size() + (" [" + std::to_string(::getpid()) + "]: ").size();
    if (found < size || without_time(log.substr(found - size, stamp.size())) != stamp)
        return told(result) + " not begun";
    const std::size_t end = log.find('\n', found);
    if (end == std::string::npos)
        return told(result) + " not ended";
    return told(result) + " " + std::to_string(end + 1 - (found - size));
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
    return told(result) + (std::filesystem::is_directory(trace_directory) ? " there" : " absent");
}

std::string prepared_anew()
{
    no_trace_directory();
    return prepared();
}

std::vector<library_call> trace_calls()
{
    return {
        {
            .function = "orvane_trace",
            .way = "directory_there",
            .furnish = trace_directory_is_there,
            .run = traced,
            .answer = "1 written",
            .failures = {"1 not written", "0 not written"},
        },
        {
            .function = "orvane_trace",
            .way = "directory_made",
            .furnish = nullptr,
            .run = traced_into_a_new_directory,
            .answer = "1 written",
            .failures = {"1 not written", "0 not written"},
            .thread_safe = false, // each call takes the others' directory away
        },
        {
            .function = "orvane_trace",
            .way = "newline",
            .furnish = trace_directory_is_there,
            .run = traced_with_newline,
            .answer = "1 written",
            .failures = {"1 not written", "0 not written"},
        },
        {
            .function = "orvane_trace",
            .way = "cut",
            .furnish = trace_directory_is_there,
            .run = traced_at_length,
            .answer = "1 1023",
            .failures = {"1 not written", "0 not written"},
        },
        {
            .function = "orvane_trace",
            .way = "no_directory",
            .furnish = trace_directory_is_a_file,
            .run = traced,
            .answer = "0 not written",
            .failures = {},
        },
        {
            .function = "orvane_trace",
            .way = "full",
            .furnish = trace_log_is_full,
            .run = traced,
            .answer = "1 not written",
            .failures = {"0 not written"},
        },
        {
            .function = "orvane_trace",
            .way = "errno",
            .furnish = trace_directory_is_there,
            .run = traced_errno,
            .answer = "kept written",
            .failures = {"kept not written"},
        },
        {
            .function = "orvane_logger_env_init",
            .way = "there",
            .furnish = trace_directory_is_there,
            .run = prepared,
            .answer = "1 there",
            .failures = {},
        },
        {
            .function = "orvane_logger_env_init",
            .way = "made",
            .furnish = nullptr,
            .run = prepared_anew,
            .answer = "1 there",
            .failures = {"1 absent"},
            .thread_safe = false, // each call takes the others' directory away
        },
        {
            .function = "orvane_is_tracing",
            .way = "always",
            .furnish = nullptr,
            .run = [] { return told(orvane_is_tracing()); },
            .answer = "1",
            .failures = {},
        },
        {
            .function = "time_string",
            .way = "now",
            .furnish = nullptr,
            .run = [] { return without_time(time_string()); },
            .answer = "9999-99-99 99:99:99.999",
            .failures = {},
            .thread_safe = false,
        },
    };
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

library_call event_call(const std::string &way, running run, const std::string &answer,
                        const std::vector<std::string> &failures = {})
{
    return call_for("log_write", way, make_scratch_directory, run, answer, failures);
}

std::vector<library_call> event_calls()
{
    const std::string stamped = "(WW) Time: 9999-99-99 99:99:99\t\tMessage: disk is full\n";
    const std::string not_stamped = "(WW) disk is full\n";
    const std::string long_line = "(EE) Time: 9999-99-99 99:99:99\t\tMessage: ";
    const auto cut = [](const std::string &start) {
        return start + std::string(1023 - start.size(), 'x');
    };
    return {
        event_call("new_file", [] { return written_event(scratch_file(), 1); }, stamped,
                   {not_stamped, "", "absent"}),
        event_call("old_file", [] { return written_event(scratch_file("before\n"), -1); },
                   "before\n" + stamped, {"before\n" + not_stamped, "before\n"}),
        event_call("cut", [] { return written_at_length(scratch_file()); }, cut(long_line),
                   {cut("(EE) "), "", "absent"}),
        event_call("no_directory", written_nowhere, "absent"),
        event_call(
            "disabled", [] { return written_event(scratch_file(), 0); }, "absent"),
        event_call(
            "null",
            [] {
                log_write(nullptr, "disk is full", "WW", 1);
                return std::string("done");
            },
            "done"),
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

std::string told_glib(char *text)
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
    return told_glib(key_file_get_value(key_file_of(settings).get(), group, key));
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
    const std::string text = told_glib(key_file_to_data(key_file_of(settings).get(), &length));
    return text == "NULL" ? text : told(static_cast<int>(length)) + "\n" + text;
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

library_call load_call(const std::string &way, running run, const std::string &answer,
                       const std::vector<std::string> &failures = {})
{
    return call_for("key_file_load_from_file", way, settings_file, run, answer, failures);
}

library_call save_call(const std::string &way, running run, const std::string &answer,
                       const std::vector<std::string> &failures = {})
{
    return call_for("key_file_save_to_file", way, make_scratch_directory, run, answer, failures);
}

std::vector<library_call> key_file_calls()
{
    const std::vector<std::string> none = {"NULL"};
    const std::string whole(settings);
    const std::string saved_text(other_settings);
    return {
        load_call(
            "whole", [] { return loaded("/srv/calls/settings"); }, whole, none),
        load_call(
            "empty", [] { return loaded("/srv/calls/empty"); }, "", none),
        load_call(
            "malformed", [] { return loaded("/srv/calls/malformed"); }, "NULL"),
        load_call(
            "directory", [] { return loaded("/srv/calls"); }, "NULL"),
        load_call(
            "absent", [] { return loaded("/srv/calls/none"); }, "NULL"),
        load_call(
            "null", [] { return loaded(nullptr); }, "NULL"),
        bare_call(
            "key_file_get_value", "there", [] { return value_of("greeting", "text"); }, "hello\\n",
            none),
        bare_call(
            "key_file_get_value", "translation", [] { return value_of("greeting", "text[de]"); },
            "hallo", none),
        bare_call(
            "key_file_get_value", "empty", [] { return value_of("greeting", "nobody"); }, "", none),
        bare_call(
            "key_file_get_value", "no_key", [] { return value_of("greeting", "voice"); }, "NULL"),
        bare_call(
            "key_file_get_value", "no_group", [] { return value_of("farewell", "text"); }, "NULL"),
        bare_call(
            "key_file_set_value", "other_value",
            [] { return text_with(settings, "greeting", "text"); },
            "[greeting]\n# what is said\ntext=hi\ntext[de]=hallo\nnobody=\n"),
        bare_call(
            "key_file_set_value", "new_group",
            [] { return text_with(other_settings, "farewell", "text"); },
            saved_text + "\n[farewell]\ntext=hi\n"),
        bare_call(
            "key_file_set_value", "no_name",
            [] { return text_with(other_settings, "fare]well", "text"); }, saved_text),
        bare_call("key_file_to_data", "whole", data_of_settings,
                  std::to_string(settings.size()) + "\n" + whole, none),
        bare_call(
            "key_file_to_data", "no_length",
            [] { return told_glib(key_file_to_data(key_file_of(settings).get(), nullptr)); }, whole,
            none),
        save_call("new_file", [] { return saved(scratch_file()); }, saved_text, {"absent"}),
        // Never a part, and never nothing.
        save_call("old_file", [] { return saved(scratch_file("[old]\n")); }, saved_text,
                  {"[old]\n"}),
        save_call("link", saved_over_a_link, saved_text + " to absent", {"link to absent"}),
        save_call("no_directory", saved_nowhere, "absent"),
    };
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

// They have no answer to be told: to come back is all that they can do.
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

std::vector<library_call> text_calls()
{
    using namespace std::string_literals;
    return {
        // The small letter of "I" is another in some locales.
        bare_call(
            "toLowerCase", "capitals", [] { return changed(toLowerCase, "AIZ-\xc3\x84-i[@"); },
            "aiz-\xc3\x84-i[@"),
        bare_call("toLowerCase", "null", done_without_text<toLowerCase>, "done"),
        bare_call(
            "removeSpaces", "all", [] { return changed(removeSpaces, " x \n\ty\r"); }, "x\ty\r"),
        bare_call("removeSpaces", "null", done_without_text<removeSpaces>, "done"),
        bare_call(
            "removeSpacesTabs", "all", [] { return changed(removeSpacesTabs, " x\t\ny"); }, "x\ny"),
        bare_call(
            "removeSpacesTabs", "nothing_left", [] { return changed(removeSpacesTabs, " \t "); },
            ""),
        bare_call(
            "removeSpecialChar", "all",
            [] { return changed(removeSpecialChar, "ST1000\t(rev A)\n\xff"); }, "ST1000\trevA\xff"),
        bare_call("removeSpecialChar", "null", done_without_text<removeSpecialChar>, "done"),
        bare_call(
            "remove_null_chars", "packed", [] { return packed("a\0\0b\0c"s); }, "abcccc"),
        bare_call(
            "remove_null_chars", "zeros", [] { return packed("a\0\0"s); }, "a\0\0"s),
        bare_call("remove_null_chars", "null", done_without_bytes, "done"),
    };
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

// What the three standard descriptors are: of those that the call found closed "null" or still
// "closed", of the others "kept" or, where another file stands there, "replaced".
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

library_call stat_call(const std::string &way, running run, const std::string &answer,
                       const std::vector<std::string> &failures = {})
{
    return call_for("file_stat", way, readable_file, run, answer, failures);
}

library_call redirect_call(const std::string &way, furnishing furnish, running run,
                           const std::string &answer, const std::vector<std::string> &failures)
{
    return not_for_threads(call_for("redirect_stdio", way, furnish, run, answer, failures));
}

std::vector<library_call> file_calls()
{
    const std::string mode = std::to_string(S_IFREG | 0640);
    return {
        stat_call("there", [] { return told(file_stat("/srv/calls/readable", S_IFMT | 0777)); },
                  mode, {"0"}),
        stat_call("link", [] { return told(file_stat("/srv/calls/link", S_IFMT | 0777)); }, mode,
                  {"0"}),
        stat_call(
            "no_bit", [] { return told(file_stat("/srv/calls/readable", 0111)); }, "0"),
        stat_call(
            "absent", [] { return told(file_stat("/srv/calls/none", S_IFMT | 0777)); }, "0"),
        stat_call(
            "null", [] { return told(file_stat(nullptr, S_IFMT | 0777)); }, "0"),
        // A descriptor that cannot be examined counts as closed.
        redirect_call("none_closed", nullptr, [] { return redirected({}); }, "kept kept kept",
                      {"replaced kept kept", "kept replaced kept", "kept kept replaced"}),
        redirect_call("input_closed", nullptr, [] { return redirected({0}); }, "null kept kept",
                      {"closed kept kept", "null replaced kept", "null kept replaced"}),
        redirect_call("outputs_closed", nullptr,
                      [] {
                          return redirected({1, 2});
                      },
                      "kept null null",
                      {"kept closed closed", "kept null closed", "replaced null null"}),
        redirect_call(
            "all_closed", nullptr,
            [] {
                return redirected({0, 1, 2});
            },
            "null null null",
            {"closed closed closed", "null closed closed", "null closed null", "null null closed"}),
        redirect_call("no_device", null_file, [] { return redirected({0}); }, "closed kept kept",
                      {}),
    };
}

// ---- Operating system ----

constexpr char os_release[] = "/etc/os-release";

void education_variant(constructed_machine &machine)
{
    machine.file(os_release, "NAME=\"Example\"\nVARIANT=\"EDU\"\n");
}

void education_edition(constructed_machine &machine)
{
    machine.file(os_release, "VARIANT=EDUCATION\n");
}

void server_variant(constructed_machine &machine)
{
    machine.file(os_release, "VARIANT=\"Server Edition\"\n");
}

void start_of_a_variant(constructed_machine &machine)
{
    machine.file(os_release, "VARIANT=ED\n");
}

void no_variant(constructed_machine &machine)
{
    machine.file(os_release, "NAME=EDU\nVARIANT_ID=EDU\n");
}

void no_os_release(constructed_machine &machine)
{
    machine.remove(os_release);
    machine.remove("/usr/lib/os-release");
}

template <unsigned (*query)()>
library_call version_call(const std::string &function, const std::string &way, furnishing furnish,
                          const std::string &answer, const std::vector<std::string> &failures = {})
{
    return call_for(
        function, way, furnish, [] { return std::to_string(query()); }, answer, failures);
}

std::vector<library_call> os_version_calls()
{
    constexpr auto call = version_call<orvane_get_os_version>;
    const std::string name = "orvane_get_os_version";
    return {
        call(name, "education", education_variant, "2", {"0"}),
        call(name, "edition", education_edition, "2", {"0"}),
        call(name, "other", server_variant, "0", {}),
        call(name, "start", start_of_a_variant, "0", {}),
        call(name, "no_variant", no_variant, "0", {}),
        call(name, "no_os_release", no_os_release, "0", {}),
        version_call<_os_get_version>("_os_get_version", "education", education_variant, "2",
                                      {"0"}),
    };
}

} // namespace

std::vector<library_call> foundation_calls()
{
    return joined({trace_calls(), event_calls(), key_file_calls(), text_calls(), file_calls(),
                   os_version_calls()});
}
