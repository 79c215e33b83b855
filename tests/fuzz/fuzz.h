// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// Ends the run with a report where the library broke a promise that no sanitizer knows of.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline bool has_none_of(std::string_view text, std::string_view unwanted)
{
    return text.find_first_of(unwanted) == std::string_view::npos;
}

// The input as the text of a buffer, which ends at its first NUL.
inline std::string text_of(const std::uint8_t *data, std::size_t size)
{
    return std::string(reinterpret_cast<const char *>(data), size).c_str();
}

// The input with the zeros that are in it.
inline std::string bytes_of(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), size};
}

inline std::string up_to(const std::string &text, std::string_view ends)
{
    return text.substr(0, text.find_first_of(ends));
}

inline std::string up_to_zero(const std::string &bytes)
{
    return up_to(bytes, std::string_view("", 1));
}

// Takes the first line off a text that holds several inputs. Its end belongs to neither.
inline std::string take_line(std::string &text)
{
    std::string line = up_to(text, "\n");
    text.erase(0, line.size() + 1);
    return line;
}

// Takes what a read of a line into a buffer of this size takes off what is not empty. A zero hides
// what stands behind it.
inline std::string take_read(std::string &rest, std::size_t capacity)
{
    const std::size_t last = std::min({rest.find('\n'), rest.size() - 1, capacity - 2});
    const std::string line = rest.substr(0, last + 1);
    rest.erase(0, last + 1);
    return up_to_zero(line);
}

// The input as what a file or a tool gives.
inline orvane::unique_file stream_of(const void *data, std::size_t size)
{
    auto *const bytes = const_cast<void *>(data); // read only
    return orvane::unique_file(size == 0 ? std::fopen("/dev/null", "r")
                                         : fmemopen(bytes, size, "r"));
}

// A file that is nowhere but in memory, for what opens its file by name.
class memory_file {
public:
    [[nodiscard]] const char *path() const { return path_.c_str(); }

    void fill(std::string_view bytes) const
    {
        require(::ftruncate(file_, 0) == 0);
        require(::pwrite(file_, bytes.data(), bytes.size(), 0) ==
                static_cast<ssize_t>(bytes.size()));
    }

    [[nodiscard]] std::string content() const
    {
        struct stat status = {};
        require(::fstat(file_, &status) == 0);
        std::string bytes(static_cast<std::size_t>(status.st_size), '?');
        require(::pread(file_, bytes.data(), bytes.size(), 0) == status.st_size);
        return bytes;
    }

private:
    int file_ = ::memfd_create("fuzz", MFD_CLOEXEC);
    std::string path_ = "/proc/self/fd/" + std::to_string(file_);
};

// What the library prints is not read; reports of the fuzzer go another way.
inline void silence_complaints()
{
    stderr = std::fopen("/dev/null", "w");
    require(stderr != nullptr);
}
