// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "guarded_room.h"
#include "orvane.h"

#include <cstddef>
#include <string>

// What a decoding leaves behind.
struct decoding {
    explicit decoding(std::size_t room_size) : room(room_size) {}

    int of(const std::string &text, int length)
    {
        return base64_decode(text.c_str(), length, room.data(), &size);
    }
    int of(const std::string &text) { return of(text, static_cast<int>(text.size())); }

    [[nodiscard]] testing::AssertionResult stored_nothing() const
    {
        return size == 4711 ? room.holds("") : testing::AssertionFailure() << size << " stored";
    }

    guarded_room room;
    unsigned int size = 4711;
};
