// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk as the kernel reports it. A mapped device under /dev/mapper is followed to
// the device under it:
//   1. dmsetup names that device.
//   2. Its node in /dev is the candidate, or else the identity that lsblk lists for its name.
//   3. A candidate that is a whole disk is the answer; for any other of NVMe, sysfs is queried.
// Any other device, and a mapping that cannot be followed, is queried itself: sysfs for NVMe, the
// ATA identify request for the rest.
#include "disk/ata.h"
#include "disk/block_device.h"
#include "disk/dmsetup.h"
#include "disk/lsblk.h"
#include "disk/nvme.h"
#include "orvane.h"
#include "support/outside_text.h"
#include "support/text.h"

#include <optional>

#include <blkid.h>

namespace orvane {

namespace {

using unique_probe = owned<blkid_struct_probe, ::blkid_free_probe>;

// Deliberate: the identity that lsblk lists takes the place of a node's path and is probed as one.
// It is hardly ever an answer, but returning it at once would change answers that callers store.
heap_text find_candidate(const char *dependency) noexcept
{
    const char *const name = or_null(dependency);
    heap_buffer<1024> node;
    if (!node)
        return {};
    node.format("/dev/%s", name);
    trace_outside_text("physicalDiskNode: %s", node.c_str());
    if (is_block_device(node.c_str()))
        return heap_text(node.copy());
    trace_outside_text("'%s' is not a block device, '%s'", node.c_str(), name);
    return listed_identity(dependency);
}

bool is_whole_disk(const char *path) noexcept
{
    const unique_probe probe(::blkid_new_probe_from_filename(path));
    return probe && ::blkid_probe_is_wholedisk(probe.get()) != 0;
}

// The answer, which may be that there is none, or nothing where the mapping cannot be followed.
std::optional<heap_text> follow_mapping(const char *mapped) noexcept
{
    heap_text candidate = find_candidate(dependency_name(mapped).get());
    if (!candidate)
        return std::nullopt;
    // Deliberate: a whole disk is identified by its node, not by its model and serial number.
    if (is_whole_disk(candidate.get()))
        return candidate;
    const char *const device = last_component(candidate.get());
    if (is_nvme(device))
        return heap_text(nvme_id_from_sysfs(device));
    return std::nullopt;
}

// Tests the name as the caller passed it: its canonical path is a node such as /dev/dm-0.
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
    if (!orvane::is_block_device(path.c_str()))
        return nullptr;

    const char *const device = orvane::last_component(path.c_str());
    return orvane::is_nvme(device) ? orvane::nvme_id_from_sysfs(device)
                                   : orvane::ata_identity(device);
}
