// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"
#include "call_lists.h"
#include "glib_owners.h"
#include "orvane.h"
#include "scratch_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
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

std::string traced()
{
    const std::string message = "call " + scratch_file::unique();
    const int result = orvane_trace("%s", message.c_str());
    const bool is_there = end_of_trace_log().find("]: " + message + "\n") != std::string::npos;
    return told(result) + (is_there ? " written" : " not written");
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

std::vector<library_call> event_calls()
{
    return {
        {
            .function = "log_write",
            .way = "new_file",
            .furnish = make_scratch_directory,
            .run = [] { return written_event(scratch_file(), 1); },
            .answer = "(WW) Time: 9999-99-99 99:99:99\t\tMessage: disk is full\n",
            .failures = {"(WW) disk is full\n", "", "absent"},
        },
        {
            .function = "log_write",
            .way = "old_file",
            .furnish = make_scratch_directory,
            .run = [] { return written_event(scratch_file("before\n"), 1); },
            .answer = "before\n(WW) Time: 9999-99-99 99:99:99\t\tMessage: disk is full\n",
            .failures = {"before\n(WW) disk is full\n", "before\n"},
        },
        {
            .function = "log_write",
            .way = "disabled",
            .furnish = make_scratch_directory,
            .run = [] { return written_event(scratch_file(), 0); },
            .answer = "absent",
            .failures = {},
        },
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
}

owned_key_file key_file_of(std::string_view text)
{
    owned_key_file kf(::g_key_file_new());
    constexpr auto flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (!::g_key_file_load_from_data(kf.get(), text.data(), text.size(), flags, nullptr))
        throw std::runtime_error("not a key file: " + std::string(text));
    return kf;
}

std::string text_of(GKeyFile *kf)
{
    return glib_text(::g_key_file_to_data(kf, nullptr, nullptr)).get();
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

std::string text_with_another_value()
{
    const owned_key_file kf = key_file_of(other_settings);
    key_file_set_value(kf.get(), "greeting", "text", "hi");
    return text_of(kf.get());
}

std::string data_of_settings()
{
    std::size_t length = 0;
    const std::string text = told_glib(key_file_to_data(key_file_of(settings).get(), &length));
    return text == "NULL" ? text : told(static_cast<int>(length)) + "\n" + text;
}

std::string saved(const scratch_file &file)
{
    key_file_save_to_file(key_file_of(other_settings).get(), file.path());
    return file.content();
}

std::string saved_nowhere()
{
    constexpr char path[] = "/srv/calls/missing/settings";
    key_file_save_to_file(key_file_of(other_settings).get(), path);
    return std::filesystem::exists(path) ? "there" : "absent";
}

std::vector<library_call> key_file_calls()
{
    return {
        {
            .function = "key_file_load_from_file",
            .way = "whole",
            .furnish = settings_file,
            .run = [] { return loaded("/srv/calls/settings"); },
            .answer = std::string(settings),
            .failures = {"NULL"},
        },
        {
            .function = "key_file_load_from_file",
            .way = "malformed",
            .furnish = settings_file,
            .run = [] { return loaded("/srv/calls/malformed"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "key_file_load_from_file",
            .way = "absent",
            .furnish = settings_file,
            .run = [] { return loaded("/srv/calls/none"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "key_file_get_value",
            .way = "there",
            .furnish = nullptr,
            .run = [] { return value_of("greeting", "text"); },
            .answer = "hello\\n",
            .failures = {"NULL"},
        },
        {
            .function = "key_file_get_value",
            .way = "no_key",
            .furnish = nullptr,
            .run = [] { return value_of("greeting", "voice"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "key_file_get_value",
            .way = "no_group",
            .furnish = nullptr,
            .run = [] { return value_of("farewell", "text"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "key_file_set_value",
            .way = "other_value",
            .furnish = nullptr,
            .run = text_with_another_value,
            .answer = "[greeting]\ntext=hi\n",
            .failures = {},
        },
        {
            .function = "key_file_to_data",
            .way = "whole",
            .furnish = nullptr,
            .run = data_of_settings,
            .answer = std::to_string(settings.size()) + "\n" + std::string(settings),
            .failures = {"NULL"},
        },
        {
            .function = "key_file_save_to_file",
            .way = "new_file",
            .furnish = make_scratch_directory,
            .run = [] { return saved(scratch_file()); },
            .answer = std::string(other_settings),
            .failures = {"absent"},
        },
        {
            .function = "key_file_save_to_file",
            .way = "old_file",
            .furnish = make_scratch_directory,
            .run = [] { return saved(scratch_file("[old]\n")); },
            .answer = std::string(other_settings),
            .failures = {"[old]\n"}, // never a part, and never nothing
        },
        {
            .function = "key_file_save_to_file",
            .way = "no_directory",
            .furnish = make_scratch_directory,
            .run = saved_nowhere,
            .answer = "absent",
            .failures = {},
        },
    };
}

// ---- Texts ----

std::string changed(void (*routine)(char *), std::string text)
{
    routine(text.data());
    text.resize(std::min(text.size(), text.find('\0'))); // the terminator may have moved
    return text;
}

std::string packed()
{
    std::array<char, 6> bytes = {'a', '\0', '\0', 'b', '\0', 'c'};
    remove_null_chars(bytes.data(), bytes.size());
    return {bytes.begin(), bytes.end()};
}

std::vector<library_call> text_calls()
{
    return {
        {
            .function = "toLowerCase",
            .way = "capitals",
            .furnish = nullptr,
            .run = [] { return changed(toLowerCase, "ABC-\xc3\x84-z[@"); },
            .answer = "abc-\xc3\x84-z[@",
            .failures = {},
        },
        {
            .function = "removeSpaces",
            .way = "all",
            .furnish = nullptr,
            .run = [] { return changed(removeSpaces, " x \n\ty\r"); },
            .answer = "x\ty\r",
            .failures = {},
        },
        {
            .function = "removeSpacesTabs",
            .way = "all",
            .furnish = nullptr,
            .run = [] { return changed(removeSpacesTabs, " x\t\ny"); },
            .answer = "x\ny",
            .failures = {},
        },
        {
            .function = "removeSpecialChar",
            .way = "all",
            .furnish = nullptr,
            .run = [] { return changed(removeSpecialChar, "ST1000 (rev A)\n"); },
            .answer = "ST1000revA",
            .failures = {},
        },
        {
            .function = "remove_null_chars",
            .way = "packed",
            .furnish = nullptr,
            .run = packed,
            .answer = "abcccc",
            .failures = {},
        },
    };
}

// ---- Files ----

void readable_file(constructed_machine &machine)
{
    machine.file("/srv/calls/readable", "text", 0640);
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

std::vector<library_call> file_calls()
{
    return {
        {
            .function = "file_stat",
            .way = "there",
            .furnish = readable_file,
            .run = [] { return told(file_stat("/srv/calls/readable", S_IFMT | 0777)); },
            .answer = std::to_string(S_IFREG | 0640),
            .failures = {"0"},
        },
        {
            .function = "file_stat",
            .way = "absent",
            .furnish = nullptr,
            .run = [] { return told(file_stat("/srv/calls/none", S_IFMT | 0777)); },
            .answer = "0",
            .failures = {},
        },
        // A descriptor that cannot be examined counts as closed.
        {
            .function = "redirect_stdio",
            .way = "none_closed",
            .furnish = nullptr,
            .run = [] { return redirected({}); },
            .answer = "kept kept kept",
            .failures = {"replaced kept kept", "kept replaced kept", "kept kept replaced"},
            .thread_safe = false,
        },
        {
            .function = "redirect_stdio",
            .way = "input_closed",
            .furnish = nullptr,
            .run = [] { return redirected({0}); },
            .answer = "null kept kept",
            .failures = {"closed kept kept", "null replaced kept", "null kept replaced"},
            .thread_safe = false,
        },
        {
            .function = "redirect_stdio",
            .way = "outputs_closed",
            .furnish = nullptr,
            .run =
                [] {
                    return redirected({1, 2});
                },
            .answer = "kept null null",
            .failures = {"kept closed closed", "kept null closed", "replaced null null"},
            .thread_safe = false,
        },
    };
}

// ---- Operating system ----

void education_variant(constructed_machine &machine)
{
    machine.file("/etc/os-release", "NAME=\"Example\"\nVARIANT=\"EDU\"\n");
}

void server_variant(constructed_machine &machine)
{
    machine.file("/etc/os-release", "VARIANT=\"Server Edition\"\n");
}

std::vector<library_call> os_version_calls()
{
    return {
        {
            .function = "orvane_get_os_version",
            .way = "education",
            .furnish = education_variant,
            .run = [] { return told(static_cast<int>(orvane_get_os_version())); },
            .answer = "2",
            .failures = {"0"},
        },
        {
            .function = "orvane_get_os_version",
            .way = "other",
            .furnish = server_variant,
            .run = [] { return told(static_cast<int>(orvane_get_os_version())); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "_os_get_version",
            .way = "education",
            .furnish = education_variant,
            .run = [] { return told(static_cast<int>(_os_get_version())); },
            .answer = "2",
            .failures = {"0"},
        },
    };
}

} // namespace

std::vector<library_call> foundation_calls()
{
    return joined({trace_calls(), event_calls(), key_file_calls(), text_calls(), file_calls(),
                   os_version_calls()});
}
