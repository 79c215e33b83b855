// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Logical volumes: the disk under one is the disk of its physical volume.
#include "disk/device_path.h"
#include "disk/lvm_report.h"
#include "orvane.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <cstring>

namespace orvane {

namespace {

constexpr char lister[] = "/bin/lsblk";
constexpr char lister_of_type[] = "/bin/lsblk -n -o \"TYPE\"";
constexpr char lvdisplay[] = "/sbin/lvdisplay";
constexpr char pvdisplay[] = "/sbin/pvdisplay";

tool_output run_on_device(const char *tool, const char *device) noexcept
{
    bounded_text<256> command;
    command.format("%s ", tool);
    append_word(command, device);
    return run_tool(command.c_str());
}

bool find_volume_group(const char *device, lvm_name &group) noexcept
{
    const tool_output report = run_on_device(lvdisplay, device);
    if (!report)
        return false;
    read_volume_group(report.get(), group);
    return !group.empty();
}

bool find_physical_volume(const lvm_name &group, lvm_name &volume) noexcept
{
    const tool_output report = run_tool(pvdisplay);
    if (!report || !read_physical_volume(report.get(), group, volume))
        return false;
    undo_encryption(volume);
    return true;
}

} // namespace

} // namespace orvane

extern "C" int is_logical_volume(const char *dev_name)
{
    if (dev_name == nullptr || !orvane::is_runnable(orvane::lister))
        return 0;
    const orvane::tool_output kind = orvane::run_on_device(orvane::lister_of_type, dev_name);
    if (!kind)
        return 0;
    orvane::line_buffer line;
    if (!orvane::read_line(kind.get(), line))
        return 1;
    // Deliberate: whatever sorts before "lvm" is tried as a logical volume too, because the lister
    // has other names for mapped devices, such as "crypt" and "dm".
    return ::strncmp(line.c_str(), "lvm", 3) <= 0 ? 1 : 0;
}

extern "C" char *harddisk_id_lvm(const char *dev_name)
{
    orvane::path_buffer path;
    if (!orvane::is_runnable(orvane::lvdisplay) || !orvane::is_runnable(orvane::pvdisplay) ||
        !orvane::canonicalise_block_device(dev_name, path))
        return nullptr;

    orvane::lvm_name group;
    orvane::lvm_name volume;
    if (!orvane::find_volume_group(dev_name, group) || !orvane::find_physical_volume(group, volume))
        return nullptr;
    return ::harddisk_id_smartctl(volume.c_str());
}
