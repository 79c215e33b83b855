// SPDX-License-Identifier: LGPL-2.1-or-later
#include "facts.h"

#include "orvane.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

struct free_text {
    void operator()(char *text) const noexcept { std::free(text); }
};

answer serial()
{
    if (char *const tag = get_service_tag_from_sysfs("/sys/class/dmi/id/product_serial"))
        return taken(tag);
    return taken(get_service_tag_from_dmidecode(
        "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | awk -F': ' '{print $2}'"));
}

constexpr fact facts[] = {
    {"root_device", "block device of the root file system", false,
     [] { return taken(root_device()); }},
    {"disk", "disk of the root file system: model and serial number", true,
     [] { return taken(orvane_get_harddisk_id()); }},
    {"system_uuid", "SMBIOS system UUID", true, [] { return taken(orvane_get_system_uuid()); }},
    {"vendor", "vendor of the machine", true, [] { return taken(orvane_get_vendor()); }},
    {"model", "model: the SKU number", true, [] { return taken(orvane_get_model()); }},
    {"serial", "product serial number (service tag)", true, serial},
    {"oem_info", "serial number and flash boot device, where there is one", true,
     [] { return taken(hw_oem_info()); }},
    {"os_version", "variant of the operating system: 2 education, 0 any other", false,
     [] { return answer(orvane_get_os_version()); }},
};

} // namespace

answer taken(char *text)
{
    const std::unique_ptr<char, free_text> owner(text);
    return text != nullptr ? answer(std::string(text)) : answer();
}

bool is_answered(const answer &value)
{
    return !std::holds_alternative<std::monostate>(value);
}

std::string to_text(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *const number = std::get_if<unsigned int>(&value))
        return std::to_string(*number);
    return "-";
}

std::span<const fact> all_facts()
{
    return facts;
}

const fact *find_fact(std::string_view name)
{
    const auto *const found =
        std::find_if(std::begin(facts), std::end(facts),
                     [name](const fact &known) { return known.name == name; });
    return found != std::end(facts) ? found : nullptr;
}
