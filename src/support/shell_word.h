// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

namespace orvane {

// Appends a name to a command line as one literal word. A name of letters, digits and
// "/_-.:+@,=" stands as it is; any other is quoted, so that no name becomes shell syntax. What is
// too long is cut, and a quoted word is closed all the same.
void append_word(text_buffer &command, std::string_view name) noexcept;

} // namespace orvane
