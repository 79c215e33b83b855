// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/block_device.h"

#include "orvane.h"

#include <sys/stat.h>

namespace orvane {

int is_block_device(const char *dev_name) noexcept
{
    if (dev_name == nullptr) {
        ::orvane_trace("!dev_name return");
        return 0;
    }
    struct stat sb = {};
    if (::stat(dev_name, &sb) != 0) {
        ::orvane_trace("!stat(dev_name, &sb) return");
        return 0;
    }
    return S_ISBLK(sb.st_mode) ? 1 : 0;
}

} // namespace orvane
