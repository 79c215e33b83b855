// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Machines that boot from a managed flash device: serial number, device name and card identifier.
#include "machine/dmi.h"
#include "orvane.h"
#include "support/line_reader.h"

#include <unistd.h>

namespace orvane {

namespace {

constexpr char boot_device_name_file[] = "/proc/bootdevice/product_name";
constexpr char boot_device_card_file[] = "/proc/bootdevice/cid";

constexpr std::size_t oem_info_bytes = 1024;
using oem_field = bounded_text<128>;

bool is_readable(const char *path) noexcept
{
    return ::access(path, R_OK) == 0;
}

bool has_sources() noexcept
{
    return has_dmidecode() && is_readable(boot_device_name_file) &&
           is_readable(boot_device_card_file);
}

bool read_boot_device_field(const char *path, oem_field &field) noexcept
{
    if (!start_of_file(path, field))
        return false;
    cut_at_line_end(field);
    return true;
}

// Leaves the text empty when one of the three parts cannot be read.
void read_oem_info(text_buffer &info) noexcept
{
    oem_field serial;
    oem_field name;
    oem_field card;
    if (first_line_of_command(serial_number_command, serial) &&
        read_boot_device_field(boot_device_name_file, name) &&
        read_boot_device_field(boot_device_card_file, card))
        info.format("%s_%s_%s", serial.c_str(), name.c_str(), card.c_str());
}

} // namespace

} // namespace orvane

extern "C" char *hw_oem_info(void)
{
    if (!orvane::has_sources())
        return nullptr;
    orvane::bounded_text<orvane::oem_info_bytes> info;
    orvane::read_oem_info(info);
    return info.copy();
}
