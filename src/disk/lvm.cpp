// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Logical volumes: the disk under one is the disk of its physical volume.
#include "disk/lvm.h"

#include "disk/block_device.h"
#include "orvane.h"
#include "support/line_reader.h"
#include "support/shell.h"
#include "support/text.h"

#include <cstring>

namespace orvane {

namespace {

constexpr char lvdisplay[] = "/sbin/lvdisplay";
constexpr char pvdisplay[] = "/sbin/pvdisplay";

constexpr char group_label[] = "VG Name";
constexpr char volume_label[] = "PV Name";

// The text of a line beside its label, without blanks. False when the line has no such label.
bool take_value(const text_buffer &line, const char *label, lvm_name &value) noexcept
{
    const char *const text = line.c_str();
    const char *const found = ::strstr(text, label);
    if (found == nullptr)
        return false;
    value.assign({text, found});
    value.append(found + ::strlen(label));
    ::removeSpaces(value.data());
    return true;
}

} // namespace

void read_volume_group(std::FILE *report, lvm_name &group) noexcept
{
    heap_buffer<1024> line;
    while (line && read_line(report, line))
        static_cast<void>(take_value(line, group_label, group));
    if (has_read_error(report))
        group.clear();
}

// Deliberate: the group is compared as a prefix, and the physical volume is the last one of the
// whole report, in whatever group. This is meant for machines with a single physical volume.
bool read_physical_volume(std::FILE *report, const lvm_name &group, lvm_name &volume) noexcept
{
    bool is_found = false;
    bool follows_volume = false;
    heap_buffer<1024> line;
    while (line && read_line(report, line)) {
        if (take_value(line, volume_label, volume)) {
            follows_volume = true;
            continue;
        }
        lvm_name owner;
        if (follows_volume && take_value(line, group_label, owner) &&
            has_prefix(owner.view(), group.view()) && !volume.empty())
            is_found = true;
        follows_volume = false;
    }
    return is_found && !has_read_error(report);
}

void undo_encryption(lvm_name &volume) noexcept
{
    if (::strstr(volume.c_str(), "crypt") == nullptr || ::strchr(volume.c_str(), '_') == nullptr)
        return;
    lvm_name name;
    name.append(last_component(volume.c_str()));
    tokenizer parts(name.data(), "_");
    while (const char *const part = parts.next()) {
        if (::strstr(part, "crypt") != nullptr)
            continue;
        heap_buffer<1024> node;
        if (!node)
            return;
        node.format("/dev/%s", part);
        if (is_block_device(node.c_str())) {
            volume.assign(node.view());
            return;
        }
    }
}

namespace {

bool query_volume_group(const char *device, lvm_name &group) noexcept
{
    const tool_output report = run_tool_on_device(lvdisplay, device);
    if (!report)
        return false;
    read_volume_group(report.get(), group);
    return !group.empty();
}

bool query_physical_volume(const lvm_name &group, lvm_name &volume) noexcept
{
    const tool_output report = run_tool(pvdisplay);
    if (!report || !read_physical_volume(report.get(), group, volume))
        return false;
    undo_encryption(volume);
    return true;
}

} // namespace

} // namespace orvane

extern "C" char *harddisk_id_lvm(const char *dev_name)
{
    orvane::path_buffer path;
    if (!orvane::is_runnable(orvane::lvdisplay) || !orvane::is_runnable(orvane::pvdisplay) ||
        !orvane::canonicalise_block_device(dev_name, path))
        return nullptr;

    orvane::lvm_name group;
    orvane::lvm_name volume;
    if (!orvane::query_volume_group(dev_name, group) ||
        !orvane::query_physical_volume(group, volume))
        return nullptr;
    return ::harddisk_id_smartctl(volume.c_str());
}
