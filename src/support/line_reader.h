// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/bounded_text.h"
#include "support/owned.h"

#include <cstdio>

namespace orvane {

// Holds one line of a file or of a tool's output.
using line_buffer = bounded_text<1024>;

// Reads the next line, line end included, or as much of it as the buffer holds. False at the end
// of the stream and on a read error.
bool read_line(std::FILE *stream, text_buffer &line) noexcept;

// Whether a read error, and not the end of the stream, ended the reading.
bool has_read_error(std::FILE *stream) noexcept;

// Read the first line and truncate it at its first CR or LF; nothing else is trimmed. False when
// there is no line: no such file, no such tool, no output.
bool first_line_of_file(const char *path, text_buffer &line) noexcept;
bool first_line_of_command(const char *command, text_buffer &line) noexcept;

// Reads the whole stream, or what stands before its first NUL. nullptr where it is empty or cannot
// be read.
heap_text whole_text(std::FILE *stream) noexcept;

// Reads up to `size` bytes, fewer at the end of the stream or after an error.
std::size_t read_bytes(std::FILE *stream, char *buffer, std::size_t size) noexcept;

// Opens a file for reading, and waits for nobody but a process that has a lease on it. Holds
// nullptr for a FIFO, whose writer would find a reader that reads nothing. No terminal becomes the
// process's own.
unique_file open_without_waiting(const char *path) noexcept;

// Reads up to the end of the stream, a read error or the capacity of the buffer.
void read_text(std::FILE *stream, text_buffer &text) noexcept;

// Reads as much of a file as the buffer holds. False when the file does not exist, is empty or
// cannot be read.
bool start_of_file(const char *path, text_buffer &text) noexcept;

void cut_at_line_end(text_buffer &text) noexcept;

} // namespace orvane
