// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <unistd.h>

namespace orvane {

// A descriptor that is closed at the end of its lifetime; -1 is none.
class unique_fd {
public:
    explicit unique_fd(int fd) noexcept : fd_(fd) {}
    unique_fd(const unique_fd &) = delete;
    unique_fd &operator=(const unique_fd &) = delete;
    ~unique_fd()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }

    explicit operator bool() const noexcept { return fd_ >= 0; }
    [[nodiscard]] int get() const noexcept { return fd_; }
    int release() noexcept { return std::exchange(fd_, -1); }
    void reset() noexcept { const unique_fd closing(release()); }

private:
    int fd_;
};

// Owns a C object: owned<T, release> calls release(pointer) at the end of its lifetime.
template <auto Release> struct release_with {
    template <class T> void operator()(T *object) const noexcept
    {
        static_cast<void>(Release(object));
    }
};
template <class T, auto Release> using owned = std::unique_ptr<T, release_with<Release>>;

using heap_text = owned<char, ::free>;
using heap_bytes = owned<unsigned char, ::free>;
using unique_file = owned<std::FILE, ::fclose>;

// The output of a tool. Closing it waits for the tool; the exit status is ignored.
using tool_output = owned<std::FILE, ::pclose>;

} // namespace orvane
