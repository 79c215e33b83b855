// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A mask as a number on the first line, and behind it a path.
#include "fuzz.h"
#include "orvane.h"

#include <fcntl.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string path = text_of(data, size);
    const int mask = static_cast<int>(std::strtol(take_line(path).c_str(), nullptr, 0));
    struct stat status = {};
    const bool is_there = ::fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0;
    const int mode = is_there ? static_cast<int>(status.st_mode) : 0;
    require(file_stat(path.c_str(), mask) == (mode & mask));
    return 0;
}
