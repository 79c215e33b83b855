// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The disk of the root file system: what it stands on, and where the way to it ends.
#include "verdicts.h"

#include <algorithm>
#include <cerrno>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using layers = storage_layers;

bool has(const layers &below, layer_kind kind)
{
    return std::any_of(below.begin(), below.end(),
                       [kind](const storage_layer &one) { return one.kind == kind; });
}

bool stand_on_no_identity(const layers &below)
{
    return std::any_of(below.begin(), below.end(), [](const storage_layer &one) {
        return one.below.empty() && is_without_identity(one);
    });
}

// The library knows the way from a mapping, by its name, to one NVMe partition, and from a logical
// volume.
bool is_followed(const finding &one)
{
    const storage_layer &top = one.layers.front();
    const bool is_mapping = top.kind == layer_kind::encryption || top.kind == layer_kind::mapping ||
                            top.kind == layer_kind::multipath;
    return !is_mapping ||
           (top.kind != layer_kind::multipath && top.below.size() == 1 &&
            top.below.front().starts_with("nvme") && one.device.starts_with("/dev/mapper"));
}

// What no tool and no right would change; nullptr where there is nothing such.
const reason *reason_by_layers(const finding &one)
{
    const layers &below = one.layers;
    if (below.empty())
        return nullptr;
    if (stand_on_no_identity(below))
        return &reasons::disk_unsupported;
    if (has(below, layer_kind::array))
        return &reasons::array_not_followed;
    if (is_followed(one))
        return nullptr;
    return below.front().below.size() > 1 && below.front().kind != layer_kind::multipath
               ? &reasons::several_devices
               : &reasons::mapping_not_followed;
}

// The LVM tools name a physical volume that is a mapping itself, and whose name is not followed.
bool ends_at_mapping(const finding &one)
{
    const step *const volume = find_call(one.steps, "harddisk_id_lvm");
    const step *const disk =
        volume != nullptr ? find_call(volume->below, "harddisk_id_smartctl") : nullptr;
    return disk != nullptr && (disk->source.find("/dev/mapper/") != std::string::npos ||
                               disk->source.find("/dev/dm-") != std::string::npos);
}

// dmsetup leads from a mapping to an NVMe partition or a whole disk, and no further.
bool may_lead_to_disk(const finding &one)
{
    if (one.layers.empty())
        return one.device.starts_with("/dev/mapper/");
    const storage_layer &top = one.layers.front();
    const storage_layer *const lower =
        top.below.size() == 1 ? find_layer(one.layers, top.below.front()) : nullptr;
    return lower != nullptr && top.kind != layer_kind::partition &&
           (lower->kind == layer_kind::disk || lower->node.starts_with("nvme"));
}

bool may_be_volume(const finding &one)
{
    return one.layers.empty() ? one.device.starts_with("/dev/mapper/")
                              : one.layers.front().kind == layer_kind::logical_volume;
}

// smartctl knows disks and their partitions, and what LVM's tools name.
bool may_be_known_to_smartctl(const finding &one)
{
    if (one.layers.empty() || may_be_volume(one))
        return true;
    const layer_kind kind = one.layers.front().kind;
    return kind == layer_kind::disk || kind == layer_kind::partition;
}

// The listing by the other path of lsblk has never a disk that is wanted.
bool is_useful(std::string_view tool, const finding &one)
{
    if (tool.ends_with("/smartctl"))
        return may_be_known_to_smartctl(one);
    if (tool.ends_with("/dmsetup"))
        return may_lead_to_disk(one);
    return tool != "/usr/bin/lsblk" && may_be_volume(one);
}

// The missing tools that would be of use for such a device.
std::vector<std::string> useful_tools(const finding &one)
{
    std::vector<std::string> tools;
    for (const step *const leaf : leaves_of(one.steps)) {
        if (leaf->result == reasons::tool_missing.code && is_useful(leaf->source, one) &&
            std::find(tools.begin(), tools.end(), leaf->source) == tools.end())
            tools.push_back(leaf->source);
    }
    return tools;
}

std::string output_of_smartctl(const finding &one)
{
    std::string output;
    for (const step *const leaf : leaves_of(one.steps)) {
        if (leaf->source.find("smartctl -i ") != std::string::npos)
            output += leaf->output;
    }
    return output;
}

bool has_model(const std::string &report)
{
    constexpr const char *labels[] = {"Device Model:", "Model Number:", "Product:"};
    return std::any_of(std::begin(labels), std::end(labels), [&report](const char *label) {
        return report.find(label) != std::string::npos;
    });
}

bool has_serial_number(const std::string &report)
{
    return report.find("Serial Number:") != std::string::npos ||
           report.find("Serial number:") != std::string::npos;
}

// Whether the kernel refuses this user the device; the file's mode says so before any request.
bool is_device_refused(const std::string &device)
{
    return ::access(device.c_str(), R_OK) != 0 && (errno == EACCES || errno == EPERM);
}

const reason &reason_by_smartctl(const finding &one)
{
    const std::string report = output_of_smartctl(one);
    if (report.find("Unknown USB bridge") != std::string::npos)
        return reasons::disk_unsupported;
    return has_model(report) && !has_serial_number(report) ? reasons::no_serial_number
                                                           : reasons::tool_failed;
}

// What a mapping stands on is known by name, and has no node. The library does not look for the
// disk of a partition.
bool is_node_missing(const layers &below)
{
    if (below.empty() || below.front().kind == layer_kind::partition ||
        below.front().below.size() != 1)
        return false;
    const storage_layer *const lower = find_layer(below, below.front().below.front());
    if (lower == nullptr)
        return false;
    std::string path = "/dev/" + lower->node;
    std::replace(path.begin(), path.end(), '!', '/'); // as sysfs spells it
    return !exists(path.c_str());
}

// Root answers the identify request of a disk like this, without a tool.
bool is_ata_partition(const finding &one)
{
    if (one.layers.empty())
        return true; // as far as is known
    const storage_layer &top = one.layers.front();
    const storage_layer &disk = one.layers.back();
    const bool is_mapped = top.kind != layer_kind::partition && top.kind != layer_kind::disk;
    return !is_mapped && is_ata(disk);
}

// The capabilities that the requests to a disk need.
bool lacks_capabilities()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    constexpr unsigned int wanted = 1U << CAP_SYS_RAWIO | 1U << CAP_SYS_ADMIN;
    return ::geteuid() == 0 && ::syscall(SYS_capget, &header, data) == 0 &&
           (data[0].effective & wanted) != wanted;
}

bool is_refused(const finding &one)
{
    return with(one, reasons::permission_denied) != nullptr || is_device_refused(one.device) ||
           lacks_capabilities();
}

const reason &reason_without_disk(finding &one)
{
    if (const reason *const why = reason_by_layers(one))
        return *why;
    if (is_node_missing(one.layers))
        return reasons::device_missing;
    if (with(one, reasons::source_failed) != nullptr)
        return reasons::source_failed;
    const std::vector<std::string> tools = useful_tools(one);
    if (is_refused(one) && (tools.empty() || is_ata_partition(one)))
        return reasons::permission_denied;
    if (ends_at_mapping(one))
        return reasons::mapping_not_followed;
    one.missing_tools = tools;
    return tools.empty() ? reason_by_smartctl(one) : reasons::tool_missing;
}

// Each answers for the next one, unless it is not reached.
void add_unqueried_sources_of_disk(finding &one)
{
    constexpr const char *sources[] = {"harddisk_id", "harddisk_id_smartctl", "harddisk_id_lvm"};
    const bool has_answer = is_text(one);
    const step *const volume = find_call(one.steps, "is_logical_volume");
    for (const char *const source : sources) {
        if (find_call(one.steps, source) != nullptr)
            continue;
        add_unqueried(one.steps, source,
                      has_answer          ? earlier_one_answered
                      : volume != nullptr ? volume->text
                                          : "there is no root device");
    }
}

// cppcheck-suppress constParameter ; one of the steps is changed
void explain_logical_volume(std::vector<step> &steps)
{
    if (step *const volume = find_call(steps, "is_logical_volume")) {
        volume->text = last_with(volume->below, reasons::tool_missing.code) != nullptr
                           ? "it is not known, because lsblk is missing"
                       : volume->text != "0" ? "it may be one, so LVM's tools are run"
                                             : "it is no logical volume";
        for (step &tool : volume->below)
            tool.text = tool.text.empty() ? "" : "\"" + tool.text + "\"";
    }
}

} // namespace

void judge_disk(finding &one)
{
    one.device = explain_root_device(one);
    one.file_system = type_of_root();
    one.layers = layers_of(one.device);
    explain_logical_volume(one.steps);
    if (!is_text(one) && one.device.empty())
        miss_root_device(one);
    else if (!is_text(one))
        miss(one, reason_without_disk(one));
    add_unqueried_sources_of_disk(one);
}
