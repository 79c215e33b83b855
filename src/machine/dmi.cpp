// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Vendor, model and product serial number, as the firmware reports them.
#include "machine/dmi.h"

#include "orvane.h"
#include "support/line_reader.h"

namespace orvane {

namespace {

// The kernel's file is read first; the command runs where it has no line.
struct dmi_source {
    const char *file;
    const char *command;
};

// Deliberate: the family stands in for the vendor, and the version for the SKU. Callers compare
// what they recorded earlier, so a machine must keep its answers from one version to the next.
constexpr dmi_source vendor = {"/sys/class/dmi/id/sys_vendor", family_command};
constexpr dmi_source model = {"/sys/class/dmi/id/product_sku", version_command};
constexpr dmi_source serial_number = {"/sys/class/dmi/id/product_serial", serial_number_command};

char *read_fact(const dmi_source &source) noexcept
{
    char *const line = ::get_machine_info_from_sysfs(source.file);
    return line != nullptr ? line : ::get_machine_info_from_dmidecode(source.command);
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
