// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The event log: tagged lines for administrators in a file of the caller's choosing.
#include "orvane.h"
#include "support/bounded_text.h"
#include "support/owned.h"
#include "support/write_or_lose.h"

#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::size_t stamp_bytes = 1024;
constexpr std::size_t event_bytes = 1024;

// Empty when the clock's reading is no date; no text when there is no memory for it.
heap_text event_stamp() noexcept
{
    bounded_text<stamp_bytes> stamp;
    const std::time_t now = ::time(nullptr);
    // The manual documents that concurrent callers share the result of localtime().
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    if (const std::tm *const local = ::localtime(&now))
        ::strftime(stamp.data(), stamp.capacity(), "%Y-%m-%d %H:%M:%S", local);
    return heap_text(stamp.copy());
}

// An event is one line.
void end_at_newline(char *stamp) noexcept
{
    stamp[::strcspn(stamp, "\n")] = '\0';
}

} // namespace

} // namespace orvane

extern "C" void log_write(const char *path, const char *message, const char *tag, int enabled)
{
    if (enabled == 0 || path == nullptr)
        return;
    // A FIFO that nobody reads cannot be opened, and one that is full loses the event.
    constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const orvane::unique_fd log(::open(path, flags, 0640));
    if (!log)
        return;

    const orvane::heap_text stamp = orvane::event_stamp();
    orvane::bounded_text<orvane::event_bytes> event;
    if (stamp && *stamp != '\0') {
        orvane::end_at_newline(stamp.get());
        event.format("(%s) Time: %s\t\tMessage: %s\n", tag, stamp.get(), message);
    } else {
        event.format("(%s) %s\n", tag, message);
    }

    // One write for each event, so that lines of several writers never mix. An event that cannot
    // be written is lost: the caller's work goes on either way.
    orvane::write_or_lose(log.get(), event.view());
}
