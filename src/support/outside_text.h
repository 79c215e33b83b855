// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace orvane {

// orvane_trace() for a message with texts from outside: names, labels, firmware's and tools' texts.
// Whatever a terminal or a log reader obeys becomes "\xNN" for each of its bytes, so that the
// message stays one line; a newline that ends the message remains.
[[gnu::format(printf, 1, 2)]] void trace_outside_text(const char *format, ...) noexcept;

} // namespace orvane
