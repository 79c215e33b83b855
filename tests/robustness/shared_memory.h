// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cerrno>
#include <new>
#include <system_error>

#include <sys/mman.h>

// An object that this process shares with those that it forks from now on.
template <class T> T &in_shared_memory()
{
    void *const memory =
        ::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "mmap");
    return *new (memory) T{};
}
