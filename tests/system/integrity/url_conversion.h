// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "guarded_room.h"
#include "orvane.h"

#include <cstddef>
#include <string>

using transform = int (*)(const char *text, unsigned int length, char *result,
                          unsigned int *result_length);

// What a conversion leaves behind.
struct conversion {
    conversion(transform by, std::size_t room_size) : convert(by), room(room_size) {}

    int of(const std::string &text, std::size_t given_length)
    {
        return convert(text.c_str(), static_cast<unsigned int>(given_length), room.data(), &length);
    }
    int of(const std::string &text) { return of(text, text.size()); }

    // Whether it went well and this is all that was written, with a terminator.
    [[nodiscard]] testing::AssertionResult made(const std::string &result) const
    {
        if (length != result.size())
            return testing::AssertionFailure() << "the length is " << length;
        return room.holds(result + '\0');
    }

    transform convert;
    guarded_room room;
    unsigned int length = 4711;
};
