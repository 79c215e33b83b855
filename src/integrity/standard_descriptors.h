// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

// Holds /dev/null on whichever of the descriptors 0, 1 and 2 are closed, and closes them again at
// the end of its life. GPGME would get them for its pipes, and lose them on the way to gpg.
class standard_descriptors {
public:
    standard_descriptors() noexcept
    {
        int fd = ::open("/dev/null", O_RDWR);
        for (; fd >= 0 && fd <= STDERR_FILENO; fd = ::open("/dev/null", O_RDWR))
            is_held_[fd] = true;
        if (fd >= 0)
            ::close(fd);
    }
    standard_descriptors(const standard_descriptors &) = delete;
    standard_descriptors &operator=(const standard_descriptors &) = delete;
    ~standard_descriptors()
    {
        for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
            if (is_held_[fd])
                ::close(fd);
        }
    }

private:
    bool is_held_[STDERR_FILENO + 1] = {};
};

} // namespace orvane
