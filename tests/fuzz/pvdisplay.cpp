// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/lvm.h"
#include "faked_system.h"
#include "lvm_lines.h"

namespace {

// The first part of the name that is not about encryption, where it leads to a block device.
std::string undone(const std::string &volume)
{
    if (volume.find("crypt") == std::string::npos || volume.find('_') == std::string::npos ||
        faked::device != S_IFBLK)
        return volume;
    std::string rest = volume.substr(volume.rfind('/') + 1);
    while (!rest.empty()) {
        const std::string part = up_to(rest, "_");
        rest.erase(0, part.size() + 1);
        if (!part.empty() && part.find("crypt") == std::string::npos)
            return ("/dev/" + part).substr(0, 510);
    }
    return volume;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::lvm_name group;
    group.append("vg0");
    orvane::lvm_name volume;
    const bool is_found = orvane::read_physical_volume(report.get(), group, volume);
    const std::string text = bytes_of(data, size);
    require(volume.view() == last_value(text, "PV Name"));
    require(!is_found || text.find("VG Name") != std::string::npos);

    for (const mode_t device : {mode_t{S_IFREG}, mode_t{S_IFBLK}}) {
        faked::device = device;
        orvane::lvm_name name;
        name.assign(volume.view());
        orvane::undo_encryption(name);
        require(name.view() == undone(volume.c_str()));
    }
    return 0;
}
