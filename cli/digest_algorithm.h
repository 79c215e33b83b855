// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "input.h"

#include <cstddef>
#include <string>
#include <string_view>

struct digest_algorithm {
    const char *name;
    const char *tag; // in the lines of sha256sum --tag
    std::size_t digits;
    int (*check)(const char *path, const char *expected);
    std::string (*digest_of)(input_blocks &input); // in lower-case hexadecimal digits
};

// nullptr where there is no such algorithm.
const digest_algorithm *algorithm_named(std::string_view name);
const digest_algorithm *algorithm_tagged(std::string_view tag);
const digest_algorithm *algorithm_with(std::size_t digits);

bool is_hexadecimal(std::string_view text);
