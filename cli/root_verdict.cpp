// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device, and why there is none.
#include "verdicts.h"

#include <cstdio>
#include <memory>

#include <mntent.h>
#include <sys/stat.h>
#include <unistd.h>

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

// In this process: for a moment it may have been none.
bool is_block_device_now(const std::string &path)
{
    struct stat file = {};
    return !path.empty() && ::stat(path.c_str(), &file) == 0 && S_ISBLK(file.st_mode);
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

// cppcheck-suppress constParameter ; one of the steps is changed
void mark_command_line(std::vector<step> &steps, const std::string &answered)
{
    step *const cmdline = find_call(steps, "command_line_get_root_device_name");
    if (cmdline == nullptr || cmdline->text.empty() || cmdline->text == answered)
        return;
    cmdline->result = cmdline->text.find('/') == std::string::npos ? reasons::form_not_followed.code
                                                                   : reasons::device_missing.code;
}

} // namespace

std::string explain_root_device(finding &one)
{
    step *const call = find_call(one.steps, "root_device");
    const bool has_answer = call != nullptr && call->result == results::answered;
    std::string device = has_answer ? call->text : "";
    add_mount_table(device, call != nullptr ? call->below : one.steps);
    mark_command_line(one.steps, device);
    return device;
}

// The reason is the mount table's where it names something else than a device, and otherwise that
// of the command line, which comes last.
void miss_root_device(finding &one)
{
    const mounted root = root_mount();
    const step *const cmdline = find_call(one.steps, "command_line_get_root_device_name");
    const std::string named = cmdline != nullptr ? cmdline->text : "";
    const std::string device = named.empty() ? root.device : named;
    if (root.device.empty() && ::access("/proc/mounts", R_OK) != 0)
        miss(one, reasons::source_failed, "/proc/mounts");
    else if (!root.device.empty() && !is_path_of_device(root.device))
        miss(one, reasons::not_a_block_device, root.device);
    else if (!named.empty() && named.find('/') == std::string::npos)
        miss(one, reasons::form_not_followed, named);
    else if (is_block_device_now(root.device) || is_block_device_now(named))
        miss(one, reasons::source_failed, device);
    else if (device.empty() || exists(device.c_str()))
        miss(one, reasons::not_a_block_device, device);
    else
        miss(one, reasons::device_missing, device);
}

std::string type_of_root()
{
    return root_mount().type;
}

void judge_device(finding &one)
{
    if (explain_root_device(one).empty())
        miss_root_device(one);
}
