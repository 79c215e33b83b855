// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

// The result of one read of a stream: bytes, or an error where there is one.
struct read_step {
    std::string data;
    int error = 0;
};

inline const read_step broken_off = {"", EINTR};
inline const read_step failed = {"", EIO};

// A stream whose reads have these results, one after the other, and then reach the end.
class stepped_stream {
public:
    explicit stepped_stream(std::vector<read_step> steps) : steps_(std::move(steps))
    {
        stream_.reset(::fopencookie(this, "r", {read, nullptr, nullptr, nullptr}));
    }
    stepped_stream(const stepped_stream &) = delete;
    stepped_stream &operator=(const stepped_stream &) = delete;

    [[nodiscard]] std::FILE *get() const { return stream_.get(); }
    [[nodiscard]] std::size_t steps_left() const { return steps_.size(); }

private:
    static ssize_t read(void *self, char *buffer, size_t size)
    {
        auto &steps = static_cast<stepped_stream *>(self)->steps_;
        if (steps.empty())
            return 0;
        const read_step step = steps.front();
        steps.erase(steps.begin());
        errno = step.error;
        if (step.error != 0)
            return -1;
        return static_cast<ssize_t>(step.data.copy(buffer, size));
    }

    std::vector<read_step> steps_;
    orvane::unique_file stream_;
};
