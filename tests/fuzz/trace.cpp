// SPDX-License-Identifier: LGPL-2.1-or-later
#include "faked_system.h"
#include "orvane.h"
#include "support/outside_text.h"

#include <cctype>
#include <cerrno>

namespace {

const memory_file log;

// A template, for whatever the caller hands over; the fuzzer's own formats have nothing to convert.
template <class... Arguments> std::string traced(const char *format, Arguments... arguments)
{
    int (*const trace)(const char *, ...) = orvane_trace;
    log.fill("");
    errno = EXDEV;
    require(trace(format, arguments...) == 1 && errno == EXDEV);
    return log.content();
}

bool is_start(std::string_view text)
{
    constexpr std::string_view form = "0000-00-00 00:00:00.000 [";
    return text.size() >= form.size() &&
           std::equal(form.begin(), form.end(), text.begin(), [](char wanted, char c) {
               return wanted == '0' ? std::isdigit(static_cast<unsigned char>(c)) != 0
                                    : c == wanted;
           });
}

void require_line(const std::string &line, const std::string &message)
{
    require(is_start(line));
    const std::string process = " [" + std::to_string(::getpid()) + "]: ";
    const std::size_t end = line.find(process) + process.size();
    require(line.find(process) == 23);
    std::string expected = (line.substr(0, end) + message).substr(0, 1022);
    if (!expected.ends_with('\n'))
        expected += '\n';
    require(line == expected);
}

bool is_control(char c)
{
    return std::iscntrl(static_cast<unsigned char>(c)) != 0 && c != '\t';
}

// One line without control characters; a text of ASCII without them is traced as it is.
void require_shown(const std::string &text)
{
    log.fill("");
    orvane::trace_outside_text("%s", text.c_str());
    const std::string line = log.content();
    require(line.ends_with('\n') && std::none_of(line.begin(), line.end() - 1, is_control));
    if (std::none_of(text.begin(), text.end(), [](char c) { return c < 0 || is_control(c); }))
        require_line(line, text);
}

} // namespace

extern "C" int open(const char *path, int flags, ...)
{
    const bool is_log = std::strcmp(path, "/var/log/orvane/liborvane.log") == 0;
    return ::openat(AT_FDCWD, is_log ? log.path() : path, flags, 0600);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = text_of(data, size);
    require_shown(text);
    require_line(traced("%s", text.c_str()), text);
    require_line(traced("%5zu|%s|%m", size, text.c_str()),
                 std::string(5 - std::min<std::size_t>(5, std::to_string(size).size()), ' ') +
                     std::to_string(size) + "|" + text + "|" + std::strerror(EXDEV));
    if (text.find('%') == std::string::npos)
        require_line(traced(text.c_str()), text);
    return 0;
}
