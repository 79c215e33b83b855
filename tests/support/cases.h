// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <ostream>
#include <string>
#include <vector>

using texts = std::vector<std::string>;

// The base of a parameter, by which the case is known in the list of tests.
struct named_case {
    const char *name;

    friend std::ostream &operator<<(std::ostream &stream, const named_case &one)
    {
        return stream << one.name;
    }
};
