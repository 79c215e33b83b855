// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/mapping.h"

#include "disk/block_device.h"
#include "disk/dependency.h"
#include "disk/device_path.h"
#include "disk/lister.h"
#include "disk/nvme.h"
#include "orvane.h"
#include "support/text.h"

#include <blkid.h>

namespace orvane {

namespace {

using unique_probe = owned<blkid_struct_probe, ::blkid_free_probe>;

// Deliberate: where the node is no block device, the lister's identity text stands in its place and
// is tested as a path would be.
heap_text find_candidate(const char *dependency) noexcept
{
    const char *const name = or_null(dependency);
    bounded_text<1024> node;
    node.format("/dev/%s", name);
    ::orvane_trace("physicalDiskNode: %s", node.c_str());
    if (is_block_device(node.c_str()) != 0)
        return heap_text(node.copy());
    ::orvane_trace("'%s' is not a block device, '%s'", node.c_str(), name);
    return listed_identity(dependency);
}

bool is_whole_disk(const char *path) noexcept
{
    const unique_probe probe(::blkid_new_probe_from_filename(path));
    return probe && ::blkid_probe_is_wholedisk(probe.get()) != 0;
}

} // namespace

std::optional<heap_text> follow_mapping(const char *mapped) noexcept
{
    heap_text candidate = find_candidate(dependency_name(mapped).get());
    if (!candidate)
        return std::nullopt;
    // Deliberate: a whole disk is known by its node, not by its model and serial number.
    if (is_whole_disk(candidate.get()))
        return candidate;
    const char *const device = last_component(candidate.get());
    if (is_nvme(device))
        return heap_text(nvme_id_from_sysfs(device));
    return std::nullopt;
}

} // namespace orvane
