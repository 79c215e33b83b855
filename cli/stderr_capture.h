// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdio>
#include <string>

// Redirects a standard stream, whoever writes to it, to a file in memory for its lifetime.
class stream_capture {
public:
    explicit stream_capture(std::FILE *stream);
    stream_capture(const stream_capture &) = delete;
    stream_capture &operator=(const stream_capture &) = delete;
    ~stream_capture();

    [[nodiscard]] std::string text() const;
    [[nodiscard]] int original() const { return original_; } // a duplicate of the descriptor

private:
    std::FILE *stream_;
    int original_;
};

// Discards standard error for its lifetime: the tools that the library runs report failures there,
// some of them once for each fact. Where the library ends the process in a fatal() of its own, the
// line of that is printed, and the exit status is 1. One object at a time.
class stderr_capture {
public:
    stderr_capture();
    stderr_capture(const stderr_capture &) = delete;
    stderr_capture &operator=(const stderr_capture &) = delete;
    ~stderr_capture();

private:
    stream_capture capture_;
};

// Whether the trace log could not be opened for a line of this run.
bool trace_log_refused();
