// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/handles.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Ends the run with a report where the library broke a promise that no sanitizer knows of.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline bool has_none_of(std::string_view text, std::string_view unwanted)
{
    return text.find_first_of(unwanted) == std::string_view::npos;
}

// The input as the text of a buffer, which ends at its first NUL.
inline std::string text_of(const std::uint8_t *data, std::size_t size)
{
    return std::string(reinterpret_cast<const char *>(data), size).c_str();
}

// The input as what a file or a tool gives.
inline orvane::unique_file stream_of(const std::uint8_t *data, std::size_t size)
{
    auto *const bytes = const_cast<std::uint8_t *>(data); // read only
    return orvane::unique_file(size == 0 ? std::fopen("/dev/null", "r")
                                         : fmemopen(bytes, size, "r"));
}
