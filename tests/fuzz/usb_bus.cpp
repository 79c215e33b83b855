// SPDX-License-Identifier: LGPL-2.1-or-later
//
// An interface's name on the first line, the devices on the bus on the second, and behind them the
// path that the interface's link leads to.
#include "machine/usb_bus.h"
#include "faked_system.h"
#include "shell.h"

namespace {

bool expected(std::string output)
{
    const std::string path = take_read(output, 1024);
    const std::string device = path.substr(path.rfind('/') + 1); // all of it without one
    const std::vector<std::string> devices = faked::listed();
    return device.empty() || std::any_of(devices.begin(), devices.end(), [&](const auto &name) {
               return name.starts_with(device);
           });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    faked::tool_output = bytes_of(data, size);
    const std::string name = up_to_zero(take_line(faked::tool_output));
    faked::names = up_to_zero(take_line(faked::tool_output));

    require(orvane::network_interface_on_usb_bus(name.c_str()) == expected(faked::tool_output));
    const std::string link = "/sys/class/net/" + name + "/device";
    require(faked::commands.size() == 1 &&
            runs_on(faked::commands[0], "readlink -f -z ", link.substr(0, 1023)));
    return 0;
}
