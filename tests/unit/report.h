// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <cstdio>
#include <stdexcept>
#include <string_view>

// What a tool printed, zero bytes included, as a stream to be read.
inline orvane::unique_file report_of(std::string_view text)
{
    orvane::unique_file stream(std::tmpfile());
    if (!stream || std::fwrite(text.data(), 1, text.size(), stream.get()) != text.size())
        throw std::runtime_error("cannot store a report");
    std::rewind(stream.get());
    return stream;
}
