// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk as the kernel tells it.
#include "disk/block_device.h"
#include "disk/device_path.h"
#include "disk/identify.h"
#include "disk/mapping.h"
#include "disk/nvme.h"
#include "orvane.h"
#include "support/text.h"

#include <optional>

namespace orvane {

namespace {

// Of the name as the caller gave it: resolved, it is a node such as /dev/dm-0.
bool is_mapper_name(const char *name) noexcept
{
    return has_prefix(name, "/dev/mapper");
}

} // namespace

} // namespace orvane

extern "C" char *harddisk_id(const char *dev_name)
{
    orvane::path_buffer path;
    if (!orvane::canonicalise(dev_name, path))
        return nullptr;
    if (orvane::is_mapper_name(dev_name)) {
        if (std::optional<orvane::heap_text> answer = orvane::follow_mapping(path.c_str()))
            return answer->release();
    }
    if (orvane::is_block_device(path.c_str()) == 0)
        return nullptr;

    const char *const device = orvane::last_component(path.c_str());
    return orvane::is_nvme(device) ? orvane::nvme_id_from_sysfs(device)
                                   : orvane::ata_identity(device);
}
