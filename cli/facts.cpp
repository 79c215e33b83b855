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

// Values that makers leave as they found them. Compared without regard to case.
constexpr const char *templates[] = {
    "0",
    "00000000",
    "0000000000",
    "0123456789",
    "012345678912",
    "0123456789ABCDEF",
    "1234567890",
    "123456789",
    "12345678",
    "00:00:00:00:00:00",
    "00000000-0000-0000-0000-000000000000",
    "00020003-0004-0005-0006-000700080009",
    "_",
    "[NoInformationFound]_[NoInformationFound]",
    "Default string",
    "Default",
    "Empty",
    "INVALID",
    "N/A",
    "None",
    "Not",
    "Not Applicable",
    "Not Available",
    "Not Present",
    "Not Settable",
    "Not Specified",
    "O.E.M.",
    "OEM",
    "Serial Number",
    "SMBIOS",
    "SKU",
    "System manufacturer",
    "System Product Name",
    "System Serial Number",
    "System Version",
    "To",
    "To be filled by O.E.M.",
    "Type1Sku0",
    "Undefined",
    "Unknown",
    "XXXXXXXXXX",
};

// Serial numbers that bridges and emulators give to every disk behind them.
constexpr std::string_view endings_of_no_disk[] = {
    "_0123456789ABCDEF",
    "_0123456789ABCDE",
    "_123456789012",
    "_1234567890",
    "_000000000000",
    "_00000000000000000000",
    "_QM00001",
    "_QM00003",
    "_QM00005",
    "_00000000000000000001",
    "_VMware-NVME-0000",
    "_DISK00_0001",
    "_",
};

bool is_same_without_case(std::string_view one, std::string_view other)
{
    return one.size() == other.size() &&
           g_ascii_strncasecmp(one.data(), other.data(), one.size()) == 0;
}

using enum change;

constexpr fact facts[] = {
    {"root_device",
     "block device of the root file system",
     fact_kind::device,
     false,
     "/proc/mounts, /proc/cmdline",
     {may_change, may_change, may_change, may_change, same},
     [] { return taken(root_device()); }},
    {"disk",
     "disk of the root file system: model and serial number",
     fact_kind::disk,
     true,
     "the kernel, smartctl, LVM's tools with smartctl",
     {same, same, changes, same, changes},
     [] { return taken(orvane_get_harddisk_id()); }},
    {"mac",
     "greatest permanent MAC address of the wired interfaces",
     fact_kind::network,
     true,
     "the kernel's network interfaces, /proc/net/bonding",
     {same, same, same, may_change, changes},
     [] { return taken(orvane_get_network_interface_max_mac()); }},
    {"system_uuid",
     "SMBIOS system UUID",
     fact_kind::uuid,
     true,
     "/sys/devices/virtual/dmi/id/product_uuid, dmidecode",
     {same, same, same, same, changes},
     [] { return taken(orvane_get_system_uuid()); }},
    {"vendor",
     "vendor of the machine",
     fact_kind::firmware,
     false,
     "/sys/class/dmi/id/sys_vendor, dmidecode",
     {same, same, same, same, may_change},
     [] { return taken(orvane_get_vendor()); }},
    {"model",
     "model: the SKU number",
     fact_kind::firmware,
     false,
     "/sys/class/dmi/id/product_sku, dmidecode",
     {same, same, same, same, may_change},
     [] { return taken(orvane_get_model()); }},
    {"serial",
     "product serial number (service tag)",
     fact_kind::firmware,
     true,
     "/sys/class/dmi/id/product_serial, dmidecode",
     {same, same, same, same, changes},
     serial},
    {"oem_info",
     "serial number and flash boot device, where there is one",
     fact_kind::flash,
     true,
     "dmidecode, /proc/bootdevice/product_name, /proc/bootdevice/cid",
     {same, same, changes, same, changes},
     [] { return taken(hw_oem_info()); }},
    {"manufacturer",
     "class of the manufacturer",
     fact_kind::maker,
     false,
     "dmidecode",
     {same, same, same, same, may_change},
     manufacturer},
    {"lenovo",
     "1 on a Lenovo machine, 0 on any other",
     fact_kind::maker,
     false,
     "dmidecode",
     {same, same, same, same, may_change},
     [] { return truth(is_lenovo_machine()); }},
    {"huawei_9x0",
     "1 with a Kirin 990, 9006C or 9A0 processor, 0 with any other",
     fact_kind::processor,
     false,
     "/proc/cpuinfo",
     {same, same, same, same, may_change},
     [] { return truth(is_huawei_9x0()); }},
    {"os_version",
     "variant of the operating system: 2 education, 0 any other",
     fact_kind::system,
     false,
     "/etc/os-release, or the system's own library",
     {same, may_change, may_change, same, same},
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

const char *words_for(change what)
{
    switch (what) {
    case change::same:
        return "the same";
    case change::may_change:
        return "may change";
    default:
        return "changes";
    }
}

bool is_repeated(std::string_view value)
{
    return value.starts_with("/dev/") ||
           std::any_of(std::begin(templates), std::end(templates),
                       [value](const char *one) { return is_same_without_case(value, one); }) ||
           std::any_of(std::begin(endings_of_no_disk), std::end(endings_of_no_disk),
                       [value](std::string_view end) { return value.ends_with(end); });
}

bool is_locally_administered(std::string_view address)
{
    constexpr std::string_view digits_with_the_bit = "2367abef"; // of the first byte
    return address.size() > 1 && digits_with_the_bit.find(address[1]) != std::string_view::npos;
}

std::string words_for(const stability &lasts)
{
    const struct {
        change what;
        const char *event;
    } events[] = {{lasts.reboot, "reboot"},
                  {lasts.reinstall, "reinstallation"},
                  {lasts.disk_change, "replacing the disk"},
                  {lasts.docking, "docking"},
                  {lasts.cloning, "copying the disk to another machine"}};
    std::string text;
    for (const change what : {change::same, change::may_change, change::changes}) {
        std::string names;
        for (const auto &one : events) {
            if (one.what == what)
                names += (names.empty() ? "" : ", ") + std::string(one.event);
        }
        if (!names.empty())
            text += (text.empty() ? "" : "; ") + std::string(words_for(what)) + " after " + names;
    }
    return text;
}
