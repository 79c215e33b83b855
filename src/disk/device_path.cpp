// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/device_path.h"

#include "disk/block_device.h"

#include <cstdlib>
#include <cstring>

namespace orvane {

bool canonicalise(const char *name, path_buffer &path) noexcept
{
    return ::realpath(name, path.data()) != nullptr;
}

bool canonicalise_block_device(const char *name, path_buffer &path) noexcept
{
    return canonicalise(name, path) && is_block_device(path.c_str()) != 0;
}

const char *last_component(const char *path) noexcept
{
    const char *const slash = ::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

} // namespace orvane
