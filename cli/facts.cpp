// SPDX-License-Identifier: LGPL-2.1-or-later
#include "facts.h"

#include "owned_text.h"

#include "orvane.h"

#include <algorithm>
#include <memory>

#include <glib.h>

namespace {

answer serial()
{
    if (char *const tag = get_service_tag_from_sysfs("/sys/class/dmi/id/product_serial"))
        return taken(tag);
    return taken(get_service_tag_from_dmidecode(
        "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | awk -F': ' '{print $2}'"));
}

struct free_key_file {
    void operator()(GKeyFile *key_file) const noexcept { g_key_file_free(key_file); }
};
using owned_key_file = std::unique_ptr<GKeyFile, free_key_file>;

answer manufacturer()
{
    const owned_key_file exact(generate_machine_whitelist());
    const owned_key_file without_case(generate_machine_whitelist_ignore_case());
    int type = maching_machine_type(exact.get(), false);
    if (type == -1)
        type = maching_machine_type(without_case.get(), true);
    return machineTypeToString(type);
}

answer truth(int holds)
{
    return holds != 0 ? 1U : 0U;
}

constexpr fact facts[] = {
    {"root_device", "block device of the root file system", nullptr,
     [] { return taken(root_device()); }},
    {"disk", "disk of the root file system: model and serial number", "",
     [] { return taken(orvane_get_harddisk_id()); }},
    {"mac", "greatest permanent MAC address of the wired interfaces", nullptr,
     [] { return taken(orvane_get_network_interface_max_mac()); }},
    {"system_uuid", "SMBIOS system UUID", "", [] { return taken(orvane_get_system_uuid()); }},
    {"vendor", "vendor of the machine", "", [] { return taken(orvane_get_vendor()); }},
    {"model", "model: the SKU number", "", [] { return taken(orvane_get_model()); }},
    {"serial", "product serial number (service tag)", "", serial},
    {"oem_info", "serial number and flash boot device, where there is one", "",
     [] { return taken(hw_oem_info()); }},
    {"manufacturer", "class of the manufacturer", "TYPE_UNKNOWN", manufacturer},
    {"lenovo", "1 on a Lenovo machine, 0 on any other", "0",
     [] { return truth(is_lenovo_machine()); }},
    {"huawei_9x0", "1 with a Kirin 990, 9006C or 9A0 processor, 0 with any other", nullptr,
     [] { return truth(is_huawei_9x0()); }},
    {"os_version", "variant of the operating system: 2 education, 0 any other", nullptr,
     [] { return answer(orvane_get_os_version()); }},
};

} // namespace

answer taken(char *text)
{
    const owned_text owner(text);
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
