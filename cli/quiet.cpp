// SPDX-License-Identifier: LGPL-2.1-or-later
#include "quiet.h"

#include "orvane.h"

#include <cstdarg>
#include <cstdio>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t trace_line_bytes = 1024; // the library keeps no more of a line
bool log_refused = false;

} // namespace

quiet_standard_error::quiet_standard_error()
    : kept_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    const int null_device = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(null_device, STDERR_FILENO);
    ::close(null_device);
}

quiet_standard_error::~quiet_standard_error()
{
    ::dup2(kept_, STDERR_FILENO);
    ::close(kept_);
}

bool trace_log_refused()
{
    return log_refused;
}

// Takes the place of the library's own, whose complaint about a log that cannot be opened would be
// one for every line: the command notes it and says it once.
extern "C" int orvane_trace(const char *format, ...)
{
    char message[trace_line_bytes];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);

    using trace_function = int (*)(const char *, ...);
    static const auto library_trace =
        reinterpret_cast<trace_function>(::dlsym(RTLD_NEXT, "orvane_trace"));
    const bool opened = library_trace != nullptr && library_trace("%s", message) != 0;
    log_refused = log_refused || !opened;
    return opened ? 1 : 0;
}
