// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A file's mode bits, and valid standard descriptors.
#include "orvane.h"
#include "support/owned.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

bool is_open(int fd) noexcept
{
    struct stat status = {};
    return ::fstat(fd, &status) == 0;
}

bool is_character_device(int fd) noexcept
{
    struct stat status = {};
    return ::fstat(fd, &status) == 0 && S_ISCHR(status.st_mode);
}

} // namespace

} // namespace orvane

static_assert(sizeof(off_t) == 8 && sizeof(time_t) == 8,
              "a file of any size and date must have a mode");

extern "C" int file_stat(const char *path, int mask)
{
    struct stat status = {};
    if (path == nullptr || ::stat(path, &status) != 0)
        return 0;
    return static_cast<int>(status.st_mode & static_cast<mode_t>(mask));
}

extern "C" void redirect_stdio(void)
{
    orvane::unique_fd null_device(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!null_device || !orvane::is_character_device(null_device.get()))
        return;

    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (!orvane::is_open(standard))
            ::dup2(null_device.get(), standard);
    }

    // It was opened in a closed slot, and stays there, for the programs of the caller, too.
    if (null_device.get() <= STDERR_FILENO)
        ::fcntl(null_device.release(), F_SETFD, 0);
}
