// SPDX-License-Identifier: LGPL-2.1-or-later
//
// NVMe disks, whose model and serial number the kernel shows in sysfs.
#include "disk/nvme.h"

#include "disk/device_path.h"
#include "disk/graphic.h"
#include "orvane.h"
#include "support/directory.h"
#include "support/line_reader.h"
#include "support/text.h"

#include <cstring>
#include <string_view>

namespace orvane {

namespace {

// Deliberate: the first name in directory order wins, so nvme0n1 may stand for nvme0n10p1.
void find_disk(directory_names &disks, std::string_view name, text_buffer &disk) noexcept
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

int read_sysfs_disk_attribute(const char *disk, const char *attr, sysfs_attribute &out) noexcept
{
    if (*disk == '\0' || *attr == '\0')
        return -1;
    path_buffer path;
    path.format("/sys/block/%s/device/%s", disk, attr);
    sysfs_attribute raw;
    if (!start_of_file(path.c_str(), raw))
        return -1;

    bool after_graphic = false;
    for (const char c : without_trailing_blanks(raw.view())) {
        if (is_graphic(c))
            out.append({&c, 1});
        else if (after_graphic)
            out.append("-");
        after_graphic = is_graphic(c);
    }
    return 0;
}

char *nvme_id_from_sysfs(const char *name) noexcept
{
    bounded_text<1024> disk;
    {
        directory_names disks("/sys/block");
        if (!disks) {
            ::orvane_trace("(!dp) return");
            return nullptr;
        }
        find_disk(disks, name, disk);
    }

    sysfs_attribute model;
    sysfs_attribute serial;
    if (read_sysfs_disk_attribute(disk.c_str(), "model", model) != 0 ||
        read_sysfs_disk_attribute(disk.c_str(), "serial", serial) != 0)
        return nullptr;
    bounded_text<2048> identity;
    identity.format("%s_%s", model.c_str(), serial.c_str());
    return identity.copy();
}

} // namespace orvane
