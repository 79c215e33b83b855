// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>

// As /proc/meminfo tells it.
std::size_t available_memory();

constexpr std::size_t gib = std::size_t{1} << 30U;
constexpr std::size_t least_available_memory = 12 * gib;

// 8 GiB that the process has in use, in small pages, so that a fork has as much to copy as it can.
class resident_memory {
public:
    resident_memory();
    resident_memory(const resident_memory &) = delete;
    resident_memory &operator=(const resident_memory &) = delete;
    ~resident_memory();

private:
    void *room_;
};
