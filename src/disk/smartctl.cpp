// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk as smartctl reports it, which reaches disks that the kernel interfaces do
// not.
#include "disk/smartctl.h"

#include "disk/block_device.h"
#include "orvane.h"
#include "support/line_reader.h"
#include "support/shell.h"
#include "support/text.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace orvane {

namespace {

constexpr char smartctl[] = "/usr/sbin/smartctl";
constexpr char smartctl_information[] = "/usr/sbin/smartctl -i";

using words = std::span<const char *const>;
constexpr const char *model_words[] = {"Model", "product", "Product", "Device Model",
                                       "Model Number"};
constexpr const char *serial_words[] = {"Serial Number", "Serial number", "serial number",
                                        "serial"};

bool mentions(const char *text, words known) noexcept
{
    return std::any_of(known.begin(), known.end(),
                       [text](const char *word) { return ::strstr(text, word) != nullptr; });
}

// Deliberate: the last field of the last matching line wins, so that the device's model replaces
// its family's. Splitting leaves only the first field of the line for the next search.
void take_field(line_buffer &line, words known, smartctl_field &value) noexcept
{
    if (!mentions(line.c_str(), known))
        return;
    tokenizer parts(line.data(), ":");
    while (const char *const part = parts.next()) {
        if (mentions(part, known))
            continue;
        value.assign(part);
        ::removeSpaces(value.data());
    }
}

} // namespace

void read_smartctl_report(std::FILE *report, smartctl_field &model, smartctl_field &serial) noexcept
{
    line_buffer line;
    while (read_line(report, line)) {
        take_field(line, model_words, model);
        take_field(line, serial_words, serial);
    }
    if (has_read_error(report)) {
        model.clear();
        serial.clear();
    }
}

} // namespace orvane

extern "C" char *harddisk_id_smartctl(const char *device)
{
    orvane::path_buffer path;
    if (!orvane::is_runnable(orvane::smartctl) || !orvane::canonicalise_block_device(device, path))
        return nullptr;

    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    {
        const orvane::tool_output report =
            orvane::run_tool_on_device(orvane::smartctl_information, path.view());
        if (!report)
            return nullptr;
        orvane::read_smartctl_report(report.get(), model, serial);
    }
    if (serial.empty() || model.empty())
        return nullptr;

    orvane::bounded_text<1024> identity;
    identity.format("%s_%s", model.c_str(), serial.c_str());
    return identity.copy();
}
