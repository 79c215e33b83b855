// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A device's name on the first line, the disks on the second, and behind them what the kernel
// reports as any disk's model and serial number.
#include "disk/nvme.h"
#include "faked_system.h"
#include "orvane.h"
#include "shell.h"

namespace {

bool is_graphic(char c)
{
    return c > ' ' && c < 0x7f;
}

// The graphic words, joined.
std::string joined(const std::string &text)
{
    std::string words;
    for (auto at = text.begin(); at != text.end();) {
        const auto start = std::find_if(at, text.end(), is_graphic);
        at = std::find_if_not(start, text.end(), is_graphic);
        if (start != at)
            words += (words.empty() ? "" : "-") + std::string(start, at);
    }
    return words;
}

bool has_disk(const std::string &name)
{
    const std::vector<std::string> disks = faked::listed();
    return std::any_of(disks.begin(), disks.end(),
                       [&name](const auto &disk) { return name.starts_with(disk); });
}

void require_start_of_model(const std::string &name)
{
    const orvane::heap_text model(harddisk_id_nvme_new(name.c_str()));
    const std::string start = faked::tool_output.substr(0, 3);
    const std::size_t line = start.find('\n');
    require(model.get() == up_to_zero(start.substr(0, line == start.npos ? line : line + 1)));
    model.get()[1023] = '?'; // the caller's to write to
    require(faked::commands.size() == 1 &&
            (runs_on(faked::commands[0], "cat /sys/block/", name, "/device/model") ||
             faked::commands[0].size() == 1023));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    std::string content = bytes_of(data, size);
    const std::string name = up_to_zero(take_line(content));
    faked::names = up_to_zero(take_line(content));
    faked::file = content;
    faked::tool_output = content;

    const orvane::heap_text identity(orvane::nvme_id_from_sysfs(name.c_str()));
    require((identity != nullptr) == (!content.empty() && has_disk(name)));
    const std::string text = joined(up_to_zero(content.substr(0, 1023)));
    require(!identity || identity.get() == text + "_" + text);
    require_start_of_model(name);
    return 0;
}
