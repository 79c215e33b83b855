// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A device's name on the first line, and behind it what every tool and the kernel report of it.
#include "disk/smartctl.h"
#include "faked_system.h"
#include "orvane.h"
#include "shell.h"

#include <linux/hdreg.h>
#include <sys/ioctl.h>

namespace {

std::optional<std::string> answer_of_smartctl()
{
    const orvane::unique_file report =
        stream_of(faked::tool_output.data(), faked::tool_output.size());
    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    orvane::read_smartctl_report(report.get(), model, serial);
    if (model.empty() || serial.empty())
        return std::nullopt;
    const std::string identity = std::string(model.view()) + "_" + std::string(serial.view());
    return identity.substr(0, 1023);
}

bool is_same(const orvane::heap_text &identity, const std::optional<std::string> &expected)
{
    return identity ? expected == identity.get() : !expected;
}

// The tool and the name, or as much of the name as the command line holds, and nothing else.
void require_command(std::size_t place, std::string_view tool, const std::string &name)
{
    require(faked::commands.size() > place);
    const std::string &command = faked::commands[place];
    require(command.size() < 256 && runs_on(command, tool, name));
    const bool is_whole = command.size() < 250;
    require(!is_whole || literal_word(command.substr(tool.size())) == name);
}

void require_asked_of_smartctl(const std::string &name)
{
    faked::commands.clear();
    const orvane::heap_text identity(harddisk_id_smartctl(name.c_str()));
    require(is_same(identity, answer_of_smartctl()));
    require(faked::commands.size() == 1);
    require_command(0, "/usr/sbin/smartctl -i ", name);
}

void require_asked_of_lvm(const std::string &name)
{
    faked::commands.clear();
    const orvane::heap_text identity(harddisk_id_lvm(name.c_str()));
    require_command(0, "/sbin/lvdisplay ", name);
    require(faked::commands.size() <= 3);
    require(faked::commands.size() < 2 || faked::commands[1] == "/sbin/pvdisplay");
    require(!identity || faked::commands.size() == 3);
}

void require_asked_of_lister(const std::string &name)
{
    faked::commands.clear();
    static_cast<void>(is_logical_volume(name.c_str()));
    require(faked::commands.size() == 1);
    require_command(0, "/bin/lsblk -n -o \"TYPE\" ", name);
}

void require_asked_of_kernel(const std::string &name)
{
    faked::commands.clear();
    const orvane::heap_text identity(harddisk_id(name.c_str()));
    require(!identity || std::string_view(identity.get()).find('_') != std::string_view::npos);
    require(faked::commands.empty() || name.starts_with("/dev/mapper"));
}

} // namespace

// A name that is no path stands for a device as well, so that every name gets as far.
extern "C" char *realpath(const char *name, char *path) noexcept
{
    return std::strlen(name) < PATH_MAX ? std::strcpy(path, name) : nullptr;
}

extern "C" int open(const char *path, int flags, ...)
{
    return ::openat(AT_FDCWD, faked::is_below(path, {"/dev/"}) ? "/dev/null" : path, flags, 0600);
}

extern "C" int ioctl(int /*device*/, unsigned long what, ...) noexcept
{
    va_list arguments;
    va_start(arguments, what);
    hd_driveid &identity = *va_arg(arguments, hd_driveid *);
    va_end(arguments);
    require(what == HDIO_GET_IDENTITY);
    std::memcpy(&identity, faked::tool_output.data(),
                std::min(faked::tool_output.size(), sizeof identity));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    faked::tool_output = bytes_of(data, size);
    std::string name = up_to_zero(take_line(faked::tool_output));
    if (!name.starts_with("/dev/"))
        name.insert(0, "/dev/");
    if (name.size() >= PATH_MAX)
        return 0;
    faked::file = faked::tool_output;
    faked::names = "nvme0n1 sda";

    require_asked_of_smartctl(name);
    require_asked_of_lvm(name);
    require_asked_of_lister(name);
    require_asked_of_kernel(name);
    return 0;
}
