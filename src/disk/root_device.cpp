// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which block device holds the root file system.
#include "disk/root_device.h"

#include "disk/block_device.h"
#include "orvane.h"
#include "support/outside_text.h"

#include <cstring>

#include <mntent.h>

namespace orvane {

namespace {

constexpr char mounts_file[] = "/proc/mounts";
constexpr char cmdline_file[] = "/proc/cmdline";
constexpr int readable_by_owner = 0400;

using mount_table = owned<std::FILE, ::endmntent>;

// The kernel's initial root file system keeps its entry under the real one.
bool is_root(const mntent &entry) noexcept
{
    return ::strcmp(entry.mnt_dir, "/") == 0 && ::strcmp(entry.mnt_fsname, "rootfs") != 0;
}

heap_text mounted_root() noexcept
{
    if (::file_stat(mounts_file, readable_by_owner) == 0)
        return {};
    const mount_table table(::setmntent(mounts_file, "re"));
    if (!table)
        return {};
    return root_of_mount_table(table.get());
}

} // namespace

// Only the first such entry counts; file systems mounted over it later do not.
heap_text root_of_mount_table(std::FILE *table) noexcept
{
    constexpr std::size_t line_bytes = 4096; // the size that getmntent() uses
    heap_buffer<line_bytes> line;
    mntent entry = {};
    while (line && ::getmntent_r(table, &entry, line.data(), line_bytes) != nullptr) {
        if (is_root(entry))
            return heap_text(::strdup(entry.mnt_fsname));
    }
    return {};
}

} // namespace orvane

extern "C" char *root_device(void)
{
    orvane::heap_text mounted = orvane::mounted_root();
    if (mounted && orvane::is_block_device(mounted.get())) {
        orvane::trace_outside_text("root_dev_name: %s.", mounted.get());
        return mounted.release();
    }

    orvane::heap_text booted(::command_line_get_root_device_name(orvane::cmdline_file));
    return booted && orvane::is_block_device(booted.get()) ? booted.release() : nullptr;
}
