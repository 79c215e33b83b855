// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "disk_kernel.h"
#include "fixture.h"
#include "orvane.h"
#include "trace_lines.h"

#include <string>
#include <string_view>

inline constexpr char no_text[] = "(no text)";

inline constexpr char dmsetup[] = "/usr/sbin/dmsetup";
inline constexpr char lsblk[] = "/usr/bin/lsblk";
inline constexpr char smartctl[] = "/usr/sbin/smartctl";
inline constexpr char lvdisplay[] = "/sbin/lvdisplay";
inline constexpr char pvdisplay[] = "/sbin/pvdisplay";

// The definition of a locale in which the bytes c4 and e9 are letters, and thus graphic.
inline constexpr char graphic_c4_and_e9[] =
    "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00C4>;<U00E9>\n";

// A machine with disks that answer as a test describes them.
class disk_machine : public on_machine {
protected:
    static std::string identity(const char *device)
    {
        return owned_text(harddisk_id(device)).value();
    }

    void show_nvme_disk(const std::string &name, std::string_view model, std::string_view serial)
    {
        machine.file("/sys/block/" + name + "/device/model", model);
        machine.file("/sys/block/" + name + "/device/serial", serial);
    }

    disk_kernel kernel;
};

// A machine whose root file system is on the mapped device /dev/mapper/root, which is /dev/dm-0. It
// has no dmsetup, and its lsblk lists nothing.
class mapping_machine : public disk_machine {
protected:
    void furnish() override
    {
        machine.tool(lsblk, R"({"blockdevices": []})");
        machine.block_device("/dev/dm-0");
        machine.link("/dev/mapper/root", "../dm-0");
    }

    static std::string mapped_identity() { return identity("/dev/mapper/root"); }

    void depends_on(const std::string &device)
    {
        machine.tool(dmsetup, "1 dependencies\t: (" + device + ")\n");
    }
    void stands_on(const std::string &device)
    {
        depends_on(device);
        machine.block_device("/dev/" + device);
    }

    // Of a dependency whose node is no block device, before the lister is queried.
    static texts missing_node_trace(const std::string &dependency)
    {
        return {trace_line::physical_node(dependency), trace_line::no_such_device,
                trace_line::no_block_device(dependency)};
    }
    // Of the request to the mapped device's own node, which refuses it.
    static texts refused_request_trace()
    {
        return {trace_line::identify_request("/dev/dm-0"), trace_line::request_refused};
    }
};

inline texts operator+(texts first, const texts &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}
