// SPDX-License-Identifier: LGPL-2.1-or-later
#include "verdicts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <mntent.h>
#include <net/if.h>
#include <unistd.h>

namespace {

bool exists(const char *path)
{
    return ::access(path, F_OK) == 0;
}

bool is_root()
{
    return ::geteuid() == 0;
}

const step *with(const finding &one, const reason &result)
{
    return last_with(one.steps, result.code);
}

void miss(finding &one, const reason &why)
{
    one.value = {};
    one.why = &why;
    if (&why != &reasons::tool_missing || !one.missing_tools.empty())
        return;
    for (const step *const leaf : leaves_of(one.steps)) {
        if (leaf->result == why.code)
            one.missing_tools.push_back(leaf->source);
    }
}

void add_unqueried(std::vector<step> &steps, const char *source, const std::string &why)
{
    steps.push_back({source, results::not_queried, why});
}

constexpr char earlier_one_answered[] = "an earlier source answered";

bool is_text(const finding &one)
{
    return std::holds_alternative<std::string>(one.value);
}

// ---- Firmware ----

// The kernel shows the folder where it found tables.
bool has_firmware_tables()
{
    return exists("/sys/class/dmi/id") || exists("/sys/devices/virtual/dmi/id") ||
           exists("/sys/firmware/dmi/tables/DMI");
}

bool runs_dmidecode(const step &one)
{
    return one.source.find("dmidecode") != std::string::npos &&
           one.source.find(' ') != std::string::npos;
}

// dmidecode prints nothing where it may not read the tables, and its filters hide its status.
void mark_refused_dmidecode(finding &one)
{
    if (is_root() || !has_firmware_tables())
        return;
    for (step &source : one.steps) {
        if (runs_dmidecode(source) && source.output.empty())
            source.result = reasons::permission_denied.code;
    }
}

void miss_in_firmware(finding &one)
{
    if (!has_firmware_tables())
        miss(one, reasons::no_firmware_tables);
    else if (with(one, reasons::permission_denied) != nullptr)
        miss(one, reasons::permission_denied);
    else if (with(one, reasons::tool_missing) != nullptr)
        miss(one, reasons::tool_missing);
    else
        miss(one, reasons::not_in_firmware);
}

// What was read and is not the answer was refused.
void mark_placeholders(finding &one)
{
    for (step &source : one.steps) {
        if (source.result == results::answered &&
            !(is_text(one) && to_text(one.value) == source.text))
            source.result = reasons::placeholder.code;
    }
}

void judge_firmware(finding &one)
{
    if (is_text(one)) {
        if (to_text(one.value).empty())
            one.why = &reasons::empty;
        else if (one.steps.size() == 1)
            add_unqueried(one.steps, "/usr/sbin/dmidecode", earlier_one_answered);
        return;
    }
    mark_refused_dmidecode(one);
    miss_in_firmware(one);
}

void judge_uuid(finding &one)
{
    mark_placeholders(one);
    if (!is_text(one) && with(one, reasons::placeholder) != nullptr)
        miss(one, reasons::placeholder);
    else
        judge_firmware(one);
}

// An empty text stands for a source that failed on the way.
void judge_flash(finding &one)
{
    if (is_text(one) && !to_text(one.value).empty())
        return;
    const bool is_empty = is_text(one);
    mark_refused_dmidecode(one);
    if (!exists("/proc/bootdevice/product_name") || !exists("/proc/bootdevice/cid"))
        miss(one, reasons::file_absent);
    else if (is_empty && with(one, reasons::permission_denied) == nullptr)
        one.why = &reasons::empty;
    else
        miss_in_firmware(one);
}

// The two classes of the manufacturer read the same sources.
void remove_repeated_steps(std::vector<step> &steps)
{
    std::vector<step> once;
    for (step &one : steps) {
        const bool is_there = std::any_of(once.begin(), once.end(), [&one](const step &other) {
            return other.source == one.source && other.text == one.text;
        });
        if (!is_there)
            once.push_back(std::move(one));
    }
    steps = std::move(once);
}

// 0 and TYPE_UNKNOWN are answers only where the manufacturer's name was read.
void judge_maker(finding &one)
{
    remove_repeated_steps(one.steps);
    const bool was_read = std::any_of(one.steps.begin(), one.steps.end(), [](const step &source) {
        return runs_dmidecode(source) && source.result == results::answered;
    });
    if (was_read)
        return;
    mark_refused_dmidecode(one);
    miss_in_firmware(one);
}

// ---- Files ----

// 0 is an answer only where the file was read.
void judge_file(finding &one)
{
    const bool was_read = std::any_of(one.steps.begin(), one.steps.end(), [](const step &source) {
        return source.result == results::answered || source.result == results::no_answer ||
               source.result == reasons::empty.code;
    });
    const bool is_traced = std::any_of(one.trace.begin(), one.trace.end(), [](const auto &line) {
        return line.find("os_ver = ") != std::string::npos;
    });
    if (was_read || is_traced) {
        for (step &source : one.steps) {
            if (source.result == results::no_answer || source.result == results::answered)
                source = {source.source, results::answered, "read"};
        }
        return;
    }
    miss(one, with(one, reasons::permission_denied) != nullptr ? reasons::permission_denied
                                                               : reasons::file_absent);
}

// ---- Network ----

bool has_counting_name(std::string_view name)
{
    return name.starts_with("eth") || name.starts_with("en") || name.starts_with("em");
}

struct free_names {
    void operator()(struct if_nameindex *names) const noexcept { ::if_freenameindex(names); }
};

// Interfaces that the walk did not come to, or whose names do not count.
void add_other_interfaces(finding &one)
{
    const std::unique_ptr<struct if_nameindex, free_names> names(::if_nameindex());
    for (const struct if_nameindex *next = names.get(); next != nullptr && next->if_name != nullptr;
         ++next) {
        const std::string name = next->if_name;
        const bool is_there =
            std::any_of(one.steps.begin(), one.steps.end(),
                        [&name](const step &source) { return source.source == name; });
        if (!is_there && name != "lo")
            add_unqueried(one.steps, name.c_str(),
                          has_counting_name(name) ? "the search ended before it"
                                                  : "its name does not count");
    }
}

void judge_network(finding &one)
{
    add_other_interfaces(one);
    if (is_text(one))
        return;
    if (const step *const end = with(one, reasons::tool_missing); end != nullptr) {
        one.missing_tools = {"/usr/bin/readlink"};
        miss(one, reasons::tool_missing);
    } else if (with(one, reasons::usb_adapter) != nullptr) {
        miss(one, reasons::usb_adapter);
    } else if (with(one, reasons::no_device_behind) != nullptr) {
        miss(one, reasons::no_device_behind);
    } else {
        miss(one, reasons::no_interface);
    }
}

// ---- The root device ----

struct mounted {
    std::string device;
    std::string type;
};

// The entry of the mount table that counts.
mounted root_mount()
{
    struct close_table {
        void operator()(std::FILE *table) const noexcept { ::endmntent(table); }
    };
    const std::unique_ptr<std::FILE, close_table> table(::setmntent("/proc/mounts", "re"));
    mntent entry = {};
    char buffer[4096];
    while (table && ::getmntent_r(table.get(), &entry, buffer, sizeof buffer) != nullptr) {
        if (std::string_view(entry.mnt_dir) == "/" &&
            std::string_view(entry.mnt_fsname) != "rootfs")
            return {entry.mnt_fsname, entry.mnt_type};
    }
    return {};
}

bool is_path_of_device(const std::string &name)
{
    return name.starts_with("/dev/");
}

// The steps of root_device(), below its call in the tree.
void explain_root_device(const std::string &answered, std::vector<step> &steps)
{
    const mounted root = root_mount();
    step table{"/proc/mounts", results::no_answer, root.device + " (" + root.type + ")"};
    if (root.device.empty())
        table.text = "no entry for /";
    else if (root.device == answered)
        table = {"/proc/mounts", results::answered, answered};
    else
        table.result = is_path_of_device(root.device) && !exists(root.device.c_str())
                           ? reasons::device_missing.code
                           : reasons::not_a_block_device.code;
    steps.insert(steps.begin(), table);
    if (table.result == results::answered)
        add_unqueried(steps, "/proc/cmdline", earlier_one_answered);
}

step *find(std::vector<step> &steps, std::string_view function)
{
    return const_cast<step *>(find_call(steps, function));
}

// The reason why root_device() has no answer: the mount table's where it names something else than
// a device, and otherwise that of the command line, which comes last.
const reason &reason_without_root_device(const finding &one)
{
    const mounted root = root_mount();
    const step *const cmdline = find_call(one.steps, "command_line_get_root_device_name");
    const std::string named = cmdline != nullptr ? cmdline->text : "";
    if (!root.device.empty() && !is_path_of_device(root.device))
        return reasons::not_a_block_device;
    if (!named.empty() && named.find('/') == std::string::npos)
        return reasons::form_not_followed;
    const std::string device = named.empty() ? root.device : named;
    return device.empty() || exists(device.c_str()) ? reasons::not_a_block_device
                                                    : reasons::device_missing;
}

void mark_command_line(finding &one, const std::string &answered)
{
    step *const cmdline = find(one.steps, "command_line_get_root_device_name");
    if (cmdline == nullptr || cmdline->text.empty() || cmdline->text == answered)
        return;
    cmdline->result = cmdline->text.find('/') == std::string::npos ? reasons::form_not_followed.code
                                                                   : reasons::device_missing.code;
}

void judge_device(finding &one)
{
    const std::string device = is_text(one) ? to_text(one.value) : "";
    step *const call = find(one.steps, "root_device");
    explain_root_device(device, call != nullptr ? call->below : one.steps);
    mark_command_line(one, device);
    if (device.empty())
        miss(one, reason_without_root_device(one));
}

// ---- The disk ----

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

// The library knows the way from a mapping to one NVMe partition, and from a logical volume.
bool is_followed(const storage_layer &top)
{
    if (top.kind == layer_kind::multipath)
        return false;
    const bool is_mapping = top.kind == layer_kind::encryption || top.kind == layer_kind::mapping;
    return !is_mapping || (top.below.size() == 1 && top.below.front().starts_with("nvme"));
}

// What no tool and no right would change; nullptr where there is nothing such.
const reason *reason_by_layers(const layers &below)
{
    if (below.empty())
        return nullptr;
    if (stand_on_no_identity(below))
        return &reasons::disk_unsupported;
    if (has(below, layer_kind::array))
        return &reasons::array_not_followed;
    if (is_followed(below.front()))
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

bool is_of_lvm(std::string_view tool)
{
    return tool.ends_with("/lvdisplay") || tool.ends_with("/pvdisplay") || tool.ends_with("/lsblk");
}

// The missing tools that would be of use for such a device.
std::vector<std::string> useful_tools(const finding &one)
{
    const bool may_be_mapped = one.layers.empty() ? one.device.starts_with("/dev/mapper/")
                                                  : !one.layers.front().below.empty();
    const bool may_be_volume =
        one.layers.empty() ? may_be_mapped : one.layers.front().kind == layer_kind::logical_volume;
    std::vector<std::string> tools;
    for (const step *const leaf : leaves_of(one.steps)) {
        const std::string &tool = leaf->source;
        const bool is_useful = is_of_lvm(tool)              ? may_be_volume
                               : tool.ends_with("/dmsetup") ? may_be_mapped
                                                            : true;
        if (leaf->result == reasons::tool_missing.code && is_useful &&
            std::find(tools.begin(), tools.end(), tool) == tools.end())
            tools.push_back(tool);
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

// What a mapping stands on is known by name, and has no node.
bool is_node_missing(const layers &below)
{
    if (below.empty() || below.front().below.size() != 1)
        return false;
    const storage_layer *const lower = find_layer(below, below.front().below.front());
    return lower != nullptr && !exists(("/dev/" + lower->node).c_str());
}

const reason &reason_without_disk(finding &one)
{
    if (const reason *const why = reason_by_layers(one.layers))
        return *why;
    if (is_node_missing(one.layers))
        return reasons::device_missing;
    if (with(one, reasons::permission_denied) != nullptr || is_device_refused(one.device))
        return reasons::permission_denied;
    if (ends_at_mapping(one))
        return reasons::mapping_not_followed;
    one.missing_tools = useful_tools(one);
    return one.missing_tools.empty() ? reason_by_smartctl(one) : reasons::tool_missing;
}

// Each answers for the next one, unless it is not reached.
void add_unqueried_sources_of_disk(finding &one)
{
    constexpr const char *sources[] = {"harddisk_id", "harddisk_id_smartctl", "harddisk_id_lvm"};
    const bool is_answered = is_text(one);
    const bool is_no_volume = find_call(one.steps, "is_logical_volume") != nullptr;
    for (const char *const source : sources) {
        if (find_call(one.steps, source) != nullptr)
            continue;
        add_unqueried(one.steps, source,
                      is_answered    ? earlier_one_answered
                      : is_no_volume ? "the root device is no logical volume"
                                     : "there is no root device");
    }
}

void explain_logical_volume(finding &one)
{
    if (step *const volume = find(one.steps, "is_logical_volume")) {
        const bool is_volume = volume->text != "0";
        volume->text =
            is_volume ? "it may be one, so LVM's tools are run" : "it is no logical volume";
        for (step &tool : volume->below)
            tool.text = tool.text.empty() ? "" : "\"" + tool.text + "\"";
    }
}

void judge_disk(finding &one)
{
    step *const root = find(one.steps, "root_device");
    const std::string device = root != nullptr ? root->text : "";
    if (root != nullptr)
        explain_root_device(device, root->below);
    mark_command_line(one, device);
    one.file_system = root_mount().type;
    one.device = device;
    one.layers = layers_of(device);
    explain_logical_volume(one);
    if (!is_text(one))
        miss(one, device.empty() ? reason_without_root_device(one) : reason_without_disk(one));
    add_unqueried_sources_of_disk(one);
}

} // namespace

void judge(finding &one)
{
    switch (one.what->kind) {
    case fact_kind::device:
        return judge_device(one);
    case fact_kind::disk:
        return judge_disk(one);
    case fact_kind::network:
        return judge_network(one);
    case fact_kind::uuid:
        return judge_uuid(one);
    case fact_kind::firmware:
        return judge_firmware(one);
    case fact_kind::flash:
        return judge_flash(one);
    case fact_kind::maker:
        return judge_maker(one);
    default:
        return judge_file(one);
    }
}
