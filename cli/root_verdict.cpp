// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device, and why there is none.
#include "verdicts.h"

#include <cstdio>
#include <memory>

#include <mntent.h>

namespace {

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

void add_mount_table(const std::string &answered, std::vector<step> &steps)
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

void mark_command_line(finding &one, const std::string &answered)
{
    step *const cmdline = find_call(one.steps, "command_line_get_root_device_name");
    if (cmdline == nullptr || cmdline->text.empty() || cmdline->text == answered)
        return;
    cmdline->result = cmdline->text.find('/') == std::string::npos ? reasons::form_not_followed.code
                                                                   : reasons::device_missing.code;
}

} // namespace

std::string explain_root_device(finding &one)
{
    step *const call = find_call(one.steps, "root_device");
    const bool is_answered = call != nullptr && call->result == results::answered;
    const std::string device = is_answered ? call->text : "";
    add_mount_table(device, call != nullptr ? call->below : one.steps);
    mark_command_line(one, device);
    return device;
}

// That of the mount table where it names something else than a device, and otherwise that of the
// command line, which comes last.
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

std::string type_of_root()
{
    return root_mount().type;
}

void judge_device(finding &one)
{
    if (explain_root_device(one).empty())
        miss(one, reason_without_root_device(one));
}
