// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cerrno>

namespace orvane {

// Repeats a system call for as long as a caller's signal handler breaks it off.
template <class Call> auto uninterrupted(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

} // namespace orvane
