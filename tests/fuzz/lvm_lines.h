// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fuzz.h"

// What the last line with a label has beside it, without its blanks.
inline std::string last_value(std::string report, std::string_view label)
{
    std::string value;
    while (!report.empty()) {
        std::string line = take_read(report, 1024);
        const std::size_t place = line.find(label);
        if (place == std::string::npos)
            continue;
        value = line.erase(place, label.size()).substr(0, 510);
        std::erase_if(value, [](char c) { return c == ' ' || c == '\n'; });
    }
    return value;
}
