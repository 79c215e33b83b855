// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"

#include <cerrno>
#include <cstdio>
#include <string>

// A stream whose reads give these pieces one after the other. A signal interrupts the read where a
// piece is empty, and behind the last one stands the end or an error.
inline std::FILE *stream_of(const texts &pieces, int last_error = 0)
{
    struct source {
        texts pieces;
        int last_error;
    };
    constexpr auto read = [](void *cookie, char *buffer, size_t size) -> ssize_t {
        source &from = *static_cast<source *>(cookie);
        errno = from.last_error;
        if (from.pieces.empty())
            return from.last_error == 0 ? 0 : -1;
        const std::string piece = from.pieces.front().substr(0, size);
        from.pieces.front().erase(0, piece.size());
        if (from.pieces.front().empty())
            from.pieces.erase(from.pieces.begin());
        errno = EINTR;
        return piece.empty() ? -1 : static_cast<ssize_t>(piece.copy(buffer, size));
    };
    constexpr auto close = [](void *cookie) {
        delete static_cast<source *>(cookie);
        return 0;
    };
    return ::fopencookie(new source{pieces, last_error}, "r", {read, nullptr, nullptr, close});
}
