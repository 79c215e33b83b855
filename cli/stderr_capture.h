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

private:
    std::FILE *stream_;
    int original_; // a duplicate of the descriptor
};
