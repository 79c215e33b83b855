// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cerrno>

namespace orvane {

// Leaves errno at the end of its life as it was at the start, for side work such as tracing that
// stands between a failed call and the caller's look at errno.
class errno_guard {
public:
    errno_guard() noexcept : before_(errno) {}
    errno_guard(const errno_guard &) = delete;
    errno_guard &operator=(const errno_guard &) = delete;
    ~errno_guard() { restore(); }

    void restore() const noexcept { errno = before_; }

private:
    int before_;
};

} // namespace orvane
