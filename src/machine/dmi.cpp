// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the firmware tells about the machine: vendor, model, product serial number.
#include "machine/dmi.h"

#include "machine/dmidecode.h"
#include "orvane.h"
#include "support/line_reader.h"

namespace orvane {

namespace {

// One fact: the kernel's file is asked first, the command where the file gives nothing.
struct dmi_source {
    const char *file;
    const char *command;
};

// Deliberate: the family stands in for the vendor, and the version for the SKU. Callers compare
// what they recorded earlier, so a machine must keep its answers from one version to the next.
constexpr dmi_source vendor = {
    "/sys/class/dmi/id/sys_vendor",
    "/usr/sbin/dmidecode -t 1 |grep -i 'Family' |awk '{print $2}'",
};
constexpr dmi_source model = {
    "/sys/class/dmi/id/product_sku",
    "/usr/sbin/dmidecode -t 1 |grep -i 'Version' |awk '{print $2}'",
};
constexpr dmi_source serial_number = {
    "/sys/class/dmi/id/product_serial",
    serial_number_command,
};

char *read_fact(const dmi_source &source) noexcept
{
    char *const told = ::get_machine_info_from_sysfs(source.file);
    return told != nullptr ? told : ::get_machine_info_from_dmidecode(source.command);
}

} // namespace

char *get_service_tag() noexcept
{
    return read_fact(serial_number);
}

} // namespace orvane

extern "C" char *get_machine_info_from_sysfs(const char *path)
{
    orvane::line_buffer line;
    return orvane::first_line_of_file(path, line) ? line.copy() : nullptr;
}

extern "C" char *get_machine_info_from_dmidecode(const char *command)
{
    orvane::line_buffer line;
    return orvane::has_dmidecode() && orvane::first_line_of_command(command, line) ? line.copy()
                                                                                   : nullptr;
}

extern "C" char *get_service_tag_from_sysfs(const char *path)
{
    return ::get_machine_info_from_sysfs(path);
}

extern "C" char *get_service_tag_from_dmidecode(const char *command)
{
    return ::get_machine_info_from_dmidecode(command);
}

extern "C" char *orvane_get_vendor(void)
{
    return orvane::read_fact(orvane::vendor);
}

extern "C" char *orvane_get_model(void)
{
    return orvane::read_fact(orvane::model);
}
