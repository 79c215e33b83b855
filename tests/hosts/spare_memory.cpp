// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Memory for the tests themselves where the host leaves none to the library: their C++ takes it
// from here, and the library's C does not.
#include "host.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

// The sanitizers have definitions of their own, and are not run where memory is short.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

constexpr std::size_t spare_size = 1U << 20U;
alignas(std::max_align_t) std::array<std::byte, spare_size> spare;
std::atomic<std::size_t> taken = 0;

void *take_spare(std::size_t size)
{
    constexpr std::size_t unit = alignof(std::max_align_t);
    const std::size_t start = taken.fetch_add((size + unit - 1) / unit * unit);
    return start + size <= spare_size ? spare.data() + start : nullptr;
}

bool is_spare(const void *room)
{
    return room >= spare.data() && room < spare.data() + spare_size;
}

} // namespace

void *operator new(std::size_t size)
{
    void *room = std::malloc(size == 0 ? 1 : size);
    if (room == nullptr)
        room = take_spare(size);
    if (room == nullptr)
        throw std::bad_alloc();
    return room;
}

void operator delete(void *room) noexcept
{
    if (!is_spare(room))
        std::free(room);
}

void operator delete(void *room, std::size_t /*size*/) noexcept
{
    operator delete(room);
}

#endif
