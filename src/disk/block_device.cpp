// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/block_device.h"

#include "orvane.h"

#include <cstdlib>
#include <cstring>

#include <sys/stat.h>

namespace orvane {

bool is_block_device(const char *dev_name) noexcept
{
    if (dev_name == nullptr) {
        ::orvane_trace("!dev_name return");
        return false;
    }
    struct stat sb = {};
    if (::stat(dev_name, &sb) != 0) {
        ::orvane_trace("!stat(dev_name, &sb) return");
        return false;
    }
    return S_ISBLK(sb.st_mode);
}

bool canonicalise(const char *name, path_buffer &path) noexcept
{
    return path && ::realpath(name, path.data()) != nullptr;
}

bool canonicalise_block_device(const char *name, path_buffer &path) noexcept
{
    return canonicalise(name, path) && is_block_device(path.c_str());
}

const char *last_component(const char *path) noexcept
{
    const char *const slash = ::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

} // namespace orvane
