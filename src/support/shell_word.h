// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

namespace orvane {

// Appends a text to a command line between single quotes. What is too long is cut, and the word is
// closed all the same; without room for both quotes nothing is appended.
void append_quoted(text_buffer &command, std::string_view text) noexcept;

// Appends a name to a command line as one literal word. A name of letters, digits and
// "/_-.:+@,=" stands as it is, and is cut where it is too long; any other is quoted, so that no
// name becomes shell syntax.
void append_word(text_buffer &command, std::string_view name) noexcept;

} // namespace orvane
