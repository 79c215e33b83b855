// SPDX-License-Identifier: LGPL-2.1-or-later
#include "injection.h"

#include "shared_memory.h"

#include <unistd.h>

namespace {

bool is_writing_counters = false;

} // namespace

// Called by a library that records coverage when its process is about to end, because it writes its
// counters by the same calls.
extern "C" void counters_are_written_now()
{
    is_writing_counters = true;
}

namespace injection {

namespace {

bool is_planned(const plan &planned, side here, unsigned number, bool lasts) noexcept
{
    if (here != planned.where || planned.call == 0)
        return false;
    return number == planned.call || (number > planned.call && planned.lasting && lasts);
}

} // namespace

record &shared()
{
    static record &page = in_shared_memory<record>();
    return page;
}

void prepare(const plan &planned)
{
    record *const cleared = new (&shared()) record{};
    cleared->planned = planned;
    cleared->first_failed = none;
    cleared->fails_next = none;
}

void arm() noexcept
{
    shared().caller = ::getpid();
}

void disarm() noexcept
{
    shared().caller = 0;
}

void fail_next(int function) noexcept
{
    shared().fails_next = function;
}

std::optional<unsigned> next_fault(int function, bool lasts) noexcept
{
    record &now = shared();
    const pid_t caller = now.caller;
    if (caller == 0 || is_writing_counters)
        return {};
    const side here = ::getpid() == caller ? side::caller : side::forked;
    const unsigned number = ++now.calls[static_cast<int>(here)];
    now.reached[function] = true;
    int awaited = function;
    const bool fails_again = now.fails_next.compare_exchange_strong(awaited, none);
    if (!fails_again && !is_planned(now.planned, here, number, lasts))
        return {};
    int nobody = none;
    now.first_failed.compare_exchange_strong(nobody, function);
    ++now.failures[function];
    return fails_again || now.planned.lasting ? 0 : now.planned.fault;
}

} // namespace injection
