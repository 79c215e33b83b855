// SPDX-License-Identifier: LGPL-2.1-or-later
//
// NVMe disks, whose model and serial number the kernel reports in sysfs.
#include "disk/nvme.h"

#include "disk/block_device.h"
#include "disk/identity_text.h"
#include "orvane.h"
#include "support/directory.h"
#include "support/line_reader.h"
#include "support/outside_text.h"
#include "support/shell.h"
#include "support/text.h"

#include <cstring>
#include <string_view>

namespace orvane {

namespace {

using disk_name = bounded_text<1024>;

// Deliberate: the first prefix in directory order is taken, so nvme0n1 can match nvme0n10p1.
void find_disk(directory_names &disks, std::string_view name, disk_name &disk) noexcept
{
    while (const char *const candidate = disks.next()) {
        if (has_prefix(name, candidate)) {
            disk.append(candidate);
            return;
        }
    }
}

std::string_view without_trailing_blanks(std::string_view text) noexcept
{
    while (!text.empty() && !is_graphic(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

bool is_nvme(const char *name) noexcept
{
    return has_prefix(name, "nvme");
}

bool read_sysfs_disk_attribute(const char *disk, const char *attr, text_buffer &out) noexcept
{
    if (*disk == '\0' || *attr == '\0')
        return false;
    bounded_text<2048> path;
    path.format("/sys/block/%s/device/%s", disk, attr);
    bounded_text<1024> raw;
    if (!start_of_file(path.c_str(), raw))
        return false;

    bool after_graphic = false;
    for (const char c : without_trailing_blanks(raw.view())) {
        if (is_graphic(c))
            out.append({&c, 1});
        else if (after_graphic)
            out.append("-");
        after_graphic = is_graphic(c);
    }
    return true;
}

char *nvme_id_from_sysfs(const char *name) noexcept
{
    disk_name disk;
    {
        directory_names disks("/sys/block");
        if (!disks) {
            ::orvane_trace("(!dp) return");
            return nullptr;
        }
        find_disk(disks, name, disk);
    }

    heap_buffer<2048> identity;
    if (!identity || !read_sysfs_disk_attribute(disk.c_str(), "model", identity))
        return nullptr;
    identity.append("_");
    if (!read_sysfs_disk_attribute(disk.c_str(), "serial", identity))
        return nullptr;
    return identity.copy();
}

namespace {

constexpr std::size_t model_bytes = 1024; // of the block that the caller receives and may fill
using model_start = bounded_text<4>;      // three characters of the model are the whole answer

tool_output print_model(const char *name) noexcept
{
    if (name == nullptr)
        return {};
    bounded_text<1024> command;
    command.append("cat /sys/block/");
    append_word(command, name);
    command.append("/device/model");
    return run_tool(command.c_str());
}

} // namespace

} // namespace orvane

extern "C" char *harddisk_id_nvme_new(const char *name)
{
    const orvane::tool_output output = orvane::print_model(name);
    if (!output)
        return nullptr;
    orvane::heap_text result(static_cast<char *>(::malloc(orvane::model_bytes)));
    if (!result)
        return nullptr;

    orvane::model_start model;
    if (orvane::read_line(output.get(), model)) {
        orvane::trace_outside_text("harddisk_id_nvme_new model = %s", model.c_str());
    } else {
        model.clear(); // after a read error it may hold a part of the line
        ::orvane_trace("harddisk_id_nvme_new model = NULL");
    }
    ::memcpy(result.get(), model.c_str(), model.length() + 1);
    return result.release();
}
