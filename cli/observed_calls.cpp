// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Functions that the library calls, in the place of which these are called first: a program's own
// definitions precede those of the libraries. Each does what it replaces, and records it. Their
// names are those of the symbols, because headers rename functions on some machines.
#include "observation.h"

#include "orvane.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <dlfcn.h>
#include <sys/types.h>

namespace {

template <class Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

// The names of files and the command lines behind streams. A closed stream's place may be taken by
// another, which is found first.
struct named_stream {
    const std::FILE *stream;
    std::string name;
    std::size_t kept = 0; // of what was read from it
};
std::vector<named_stream> *streams = nullptr;
std::string *last_path = nullptr;

void remember_stream(const std::FILE *stream, std::string_view name)
{
    if (!is_observed() || stream == nullptr || name.empty())
        return;
    if (streams == nullptr)
        streams = new std::vector<named_stream>; // for the rest of the process
    streams->push_back({stream, std::string(name)});
}

named_stream *find_stream(const std::FILE *stream)
{
    for (std::size_t at = streams != nullptr ? streams->size() : 0; at > 0; --at) {
        named_stream &one = (*streams)[at - 1];
        if (one.stream == stream)
            return &one;
    }
    return nullptr;
}

// The start is enough to see what a source returned.
void record_read(const std::FILE *stream, std::string_view text)
{
    constexpr std::size_t most = 65536;
    named_stream *const source = is_observed() ? find_stream(stream) : nullptr;
    if (source == nullptr || source->kept > most)
        return;
    source->kept += text.size();
    record(event_kind::read, source->name, text.substr(0, text.find('\0')));
}

// What was written to standard error since the last time, by a tool or, without one, by the last.
void record_errors(std::string_view tool, int status = 0)
{
    const std::string errors = new_errors();
    if (!errors.empty())
        record(event_kind::ended, tool, errors, status);
}

void record_opened(const char *path, bool is_open)
{
    if (!is_observed() || path == nullptr)
        return;
    record(event_kind::opened, path, {}, is_open ? 0 : errno);
    if (last_path == nullptr)
        last_path = new std::string;
    *last_path = path;
}

} // namespace

#define IN_PLACE_OF(result, name, parameters)                                                      \
    extern "C" __attribute__((visibility("default")))                                              \
    result observed_##name parameters __asm__(#name);                                              \
    extern "C" result observed_##name parameters

IN_PLACE_OF(int, access, (const char *path, int mode))
{
    static auto *const real = next<int(const char *, int)>("access");
    const int result = real(path, mode);
    if (is_observed() && path != nullptr)
        record(event_kind::examined, path, {}, result == 0 ? 0 : errno);
    return result;
}

namespace {

template <class Open> int opened(Open *real, const char *path, int flags, mode_t mode)
{
    const int fd = real(path, flags, mode);
    record_opened(path, fd >= 0);
    return fd;
}

std::FILE *opened_stream(std::FILE *(*real)(const char *, const char *), const char *path,
                         const char *mode)
{
    std::FILE *const stream = real(path, mode);
    record_opened(path, stream != nullptr);
    if (path != nullptr)
        remember_stream(stream, path);
    return stream;
}

} // namespace

// The third argument is read where the caller gives none, too, and is not used then.
IN_PLACE_OF(int, open, (const char *path, int flags, mode_t mode))
{
    static auto *const real = next<int(const char *, int, mode_t)>("open");
    return opened(real, path, flags, mode);
}

IN_PLACE_OF(int, open64, (const char *path, int flags, mode_t mode))
{
    static auto *const real = next<int(const char *, int, mode_t)>("open64");
    return opened(real, path, flags, mode);
}

IN_PLACE_OF(int, __open_2, (const char *path, int flags))
{
    static auto *const real = next<int(const char *, int, mode_t)>("open");
    return opened(real, path, flags, 0);
}

IN_PLACE_OF(int, __open64_2, (const char *path, int flags))
{
    static auto *const real = next<int(const char *, int, mode_t)>("open64");
    return opened(real, path, flags, 0);
}

IN_PLACE_OF(std::FILE *, fopen, (const char *path, const char *mode))
{
    static auto *const real = next<std::FILE *(const char *, const char *)>("fopen");
    return opened_stream(real, path, mode);
}

IN_PLACE_OF(std::FILE *, fopen64, (const char *path, const char *mode))
{
    static auto *const real = next<std::FILE *(const char *, const char *)>("fopen64");
    return opened_stream(real, path, mode);
}

IN_PLACE_OF(std::FILE *, fdopen, (int fd, const char *mode))
{
    static auto *const real = next<std::FILE *(int, const char *)>("fdopen");
    std::FILE *const stream = real(fd, mode);
    if (last_path != nullptr)
        remember_stream(stream, *last_path);
    return stream;
}

IN_PLACE_OF(std::FILE *, popen, (const char *command, const char *mode))
{
    static auto *const real = next<std::FILE *(const char *, const char *)>("popen");
    if (!is_observed() || command == nullptr)
        return real(command, mode);
    record_errors(""); // of the tool before
    std::FILE *const stream = real(command, mode);
    record(event_kind::ran, command, {}, stream != nullptr ? 0 : errno);
    remember_stream(stream, command);
    return stream;
}

IN_PLACE_OF(int, pclose, (std::FILE * stream))
{
    static auto *const real = next<int(std::FILE *)>("pclose");
    const named_stream *const tool = is_observed() ? find_stream(stream) : nullptr;
    const int status = real(stream);
    if (tool != nullptr)
        record_errors(tool->name, status);
    return status;
}

IN_PLACE_OF(char *, fgets, (char *line, int size, std::FILE *stream))
{
    static auto *const real = next<char *(char *, int, std::FILE *)>("fgets");
    char *const result = real(line, size, stream);
    if (result != nullptr)
        record_read(stream, result);
    return result;
}

IN_PLACE_OF(char *, __fgets_chk, (char *line, std::size_t, int size, std::FILE *stream))
{
    return observed_fgets(line, size, stream);
}

IN_PLACE_OF(std::size_t, fread, (void *buffer, std::size_t size, std::size_t n, std::FILE *stream))
{
    using function = std::size_t(void *, std::size_t, std::size_t, std::FILE *);
    static auto *const real = next<function>("fread");
    const std::size_t count = real(buffer, size, n, stream);
    if (count > 0)
        record_read(stream, {static_cast<const char *>(buffer), size * count});
    return count;
}

IN_PLACE_OF(std::size_t, __fread_chk,
            (void *buffer, std::size_t, std::size_t size, std::size_t n, std::FILE *stream))
{
    return observed_fread(buffer, size, n, stream);
}

IN_PLACE_OF(ssize_t, getdelim, (char **text, std::size_t *size, int end, std::FILE *stream))
{
    using function = ssize_t(char **, std::size_t *, int, std::FILE *);
    static auto *const real = next<function>("getdelim");
    const ssize_t count = real(text, size, end, stream);
    if (count > 0)
        record_read(stream, {*text, static_cast<std::size_t>(count)});
    return count;
}

IN_PLACE_OF(ssize_t, __getdelim, (char **text, std::size_t *size, int end, std::FILE *stream))
{
    return observed_getdelim(text, size, end, stream);
}

IN_PLACE_OF(ssize_t, getline, (char **text, std::size_t *size, std::FILE *stream))
{
    return observed_getdelim(text, size, '\n', stream);
}

// dmsetup is run without a shell, in a child that ends where it cannot be.
IN_PLACE_OF(int, execve, (const char *path, char *const *arguments, char *const *environment))
{
    static auto *const real = next<int(const char *, char *const *, char *const *)>("execve");
    if (is_observed()) {
        std::string command = path;
        for (char *const *one = arguments[0] != nullptr ? arguments + 1 : arguments;
             *one != nullptr; ++one)
            command.append(" ").append(*one);
        record(event_kind::ran, command);
    }
    return real(path, arguments, environment);
}

// The library's own exported functions, through which its queries reach each other.
namespace {

template <class Call> auto recorded_call(const char *name, const char *argument, Call call)
{
    record(event_kind::entered, name, argument != nullptr ? argument : "");
    const auto result = call();
    if (is_observed())
        record_errors("");
    if constexpr (std::is_pointer_v<decltype(result)>)
        record(event_kind::left, name, result != nullptr ? result : "", result == nullptr ? 1 : 0);
    else
        record(event_kind::left, name, std::to_string(result));
    return result;
}

} // namespace

extern "C" char *root_device(void)
{
    static auto *const real = next<char *()>("root_device");
    return recorded_call("root_device", nullptr, [] { return real(); });
}

extern "C" int is_logical_volume(const char *device)
{
    static auto *const real = next<int(const char *)>("is_logical_volume");
    return recorded_call("is_logical_volume", device, [device] { return real(device); });
}

#define RECORDED(name)                                                                             \
    extern "C" char *name(const char *argument)                                                    \
    {                                                                                              \
        static auto *const real = next<char *(const char *)>(#name);                               \
        return recorded_call(#name, argument, [argument] { return real(argument); });              \
    }

RECORDED(command_line_get_root_device_name)
RECORDED(harddisk_id)
RECORDED(harddisk_id_smartctl)
RECORDED(harddisk_id_lvm)

// The log of the library is written on demand alone: the command keeps its own trace.
extern "C" int orvane_trace(const char *format, ...)
{
    constexpr std::size_t trace_line_bytes = 1024; // the library truncates longer lines
    char message[trace_line_bytes];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): wrong after another source in one run.
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);

    static auto *const real = next<int(const char *, ...)>("orvane_trace");
    const bool is_lost = is_trace_log_wanted() && real("%s", message) == 0;
    record(event_kind::traced, "", message, is_lost ? 1 : 0);
    return is_lost ? 0 : 1;
}
