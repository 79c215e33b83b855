// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"

#include <cstdio>

namespace orvane {

// The room of a line read from a file or from a tool.
using line_buffer = bounded_text<1024>;

// Reads the next line, or as much of it as the buffer holds, line end included. False at the end
// of the stream and when it cannot be read.
bool read_line(std::FILE *stream, text_buffer &line) noexcept;

// Whether reading has ended before the end. What would have come last is not known then.
bool has_read_error(std::FILE *stream) noexcept;

// Read the first line and cut it at its first CR or LF; nothing else is trimmed. False when there
// is no line: no such file, no such tool, no output.
bool first_line_of_file(const char *path, text_buffer &line) noexcept;
bool first_line_of_command(const char *command, text_buffer &line) noexcept;

// Reads as much of a stream as the buffer holds, on to its end or until it cannot be read.
void read_text(std::FILE *stream, text_buffer &text) noexcept;

// Reads as much of a file as the buffer holds. False when there is no such file, no byte in it, or
// it cannot be read so far.
bool start_of_file(const char *path, text_buffer &text) noexcept;

void cut_at_line_end(text_buffer &text) noexcept;

} // namespace orvane
