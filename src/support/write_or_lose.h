// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Output that may be lost: a log line, and the message about one. None of these ends the caller by
// SIGPIPE or SIGXFSZ.
#pragma once

#include <string_view>

#include <sys/types.h>

namespace orvane {

// One write(), with its result and errno.
ssize_t write_or_lose(int fd, std::string_view text) noexcept;

// Prints on standard error as fprintf() does.
[[gnu::format(printf, 1, 2)]] void print_or_lose(const char *format, ...) noexcept;

// Prints on standard error what perror() does, and opens no descriptor for it.
void print_error_or_lose(const char *what) noexcept;

} // namespace orvane
