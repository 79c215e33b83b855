// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/usb_bus.h"

#include "orvane.h"
#include "support/directory.h"
#include "support/line_reader.h"
#include "support/shell.h"
#include "support/text.h"

#include <cstring>

#include <sys/stat.h>

namespace orvane {

namespace {

// Deliberate: an interface without this link, which no device backs, counts as a removable one, so
// that no virtual interface named like a card gives the machine its identity.
bool has_device_link(const char *link) noexcept
{
    struct stat status = {};
    if (::lstat(link, &status) != 0) {
        ::orvane_trace("get stat error");
        return false;
    }
    if (!S_ISLNK(status.st_mode)) {
        ::orvane_trace("is not link file");
        return false;
    }
    return true;
}

// What readlink prints is one path that a zero byte ends; empty where it prints nothing.
bool resolve(const char *link, line_buffer &path) noexcept
{
    constexpr std::size_t command_bytes = 4096; // each quote in the name takes four bytes
    heap_buffer<command_bytes> command;
    if (command) {
        command.append("readlink -f -z ");
        append_quoted(command, link);
    }
    const tool_output output = run_tool(command.c_str());
    if (!output) {
        ::orvane_trace("get real path error");
        return false;
    }
    if (!read_line(output.get(), path))
        path.clear();
    return true;
}

// The name of the device that a link leads to, or nullptr.
const char *device_name(const char *link, line_buffer &path) noexcept
{
    if (!has_device_link(link) || !resolve(link, path))
        return nullptr;
    const char *const slash = std::strrchr(path.c_str(), '/');
    const char *const name = slash != nullptr ? slash + 1 : path.c_str();
    if (*name == '\0') {
        ::orvane_trace("get basename error");
        return nullptr;
    }
    return name;
}

// A device that has an interface on the bus, as "1-1" has "1-1:1.0", is on the bus itself.
bool begins_any(const char *name, directory_names &devices) noexcept
{
    while (const char *const device = devices.next()) {
        if (has_prefix(device, name))
            return true;
    }
    return false;
}

} // namespace

bool network_interface_on_usb_bus(const char *name) noexcept
{
    directory_names usb_devices("/sys/bus/usb/devices/");
    if (!usb_devices)
        return false;
    heap_buffer<1024> link;
    if (!link)
        return true;
    link.format("/sys/class/net/%s/device", name);
    line_buffer path;
    const char *const device = device_name(link.c_str(), path);
    return device == nullptr || begins_any(device, usb_devices);
}

} // namespace orvane
