// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "answers.h"
#include "call_lists.h"
#include "glib_owners.h"
#include "orvane.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using answering_kernel::add_card;

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

// The System Information, as dmidecode -t 1 prints it.
constexpr char system_information[] = "System Information\n"
                                      "\tManufacturer: HUAWEI\n"
                                      "\tVersion: V7\n"
                                      "\tSerial Number: PF1234\n"
                                      "\tFamily: ThinkStation\n";

// What dmidecode prints for a keyword, and for the System Information.
void dmidecode_prints(constructed_machine &machine, const std::string &keyword,
                      const std::string &table)
{
    machine.file("/srv/calls/keyword", keyword);
    machine.file("/srv/calls/table", table);
    machine.script(dmidecode, "case $1 in\n"
                              "-s) exec cat /srv/calls/keyword ;;\n"
                              "-t) exec cat /srv/calls/table ;;\n"
                              "esac");
}

void dmidecode_knows_table(constructed_machine &machine)
{
    dmidecode_prints(machine, "", system_information);
}

// ---- The system UUID ----

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";

void uuid_in_tool(constructed_machine &machine)
{
    dmidecode_prints(machine, "11111111-2222-3333-4444-555555555555\n", "");
}

void uuid_in_both_sources(constructed_machine &machine)
{
    machine.file(uuid_file, "4c4c4544-0042-3510-8053-b4c04f564433\n");
    uuid_in_tool(machine);
}

void placeholder_in_file(constructed_machine &machine)
{
    machine.file(uuid_file, "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n");
    uuid_in_tool(machine);
}

std::vector<library_call> uuid_calls()
{
    return {
        {
            .function = "system_uuid",
            .way = "sysfs",
            .furnish = uuid_in_both_sources,
            .run = [] { return told(system_uuid()); },
            .answer = "4c4c4544-0042-3510-8053-b4c04f564433",
            .failures = {"11111111-2222-3333-4444-555555555555", "NULL"},
        },
        {
            .function = "system_uuid",
            .way = "dmidecode",
            .furnish = uuid_in_tool,
            .run = [] { return told(system_uuid()); },
            .answer = "11111111-2222-3333-4444-555555555555",
            .failures = {"NULL"},
        },
        {
            .function = "system_uuid",
            .way = "placeholder",
            .furnish = placeholder_in_file,
            .run = [] { return told(system_uuid()); },
            .answer = "11111111-2222-3333-4444-555555555555",
            .failures = {"NULL"},
        },
        {
            .function = "system_uuid",
            .way = "unknown",
            .furnish = nullptr,
            .run = [] { return told(system_uuid()); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "orvane_get_system_uuid",
            .way = "sysfs",
            .furnish = uuid_in_both_sources,
            .run = [] { return told(orvane_get_system_uuid()); },
            .answer = "4c4c4544-0042-3510-8053-b4c04f564433",
            .failures = {"11111111-2222-3333-4444-555555555555", "NULL"},
        },
    };
}

// ---- What the firmware tells ----

void facts_in_both_sources(constructed_machine &machine)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "LENOVO\n");
    machine.file("/sys/class/dmi/id/product_sku", "LENOVO_MT_30E0\n");
    dmidecode_knows_table(machine);
}

void flash_machine(constructed_machine &machine)
{
    dmidecode_knows_table(machine);
    machine.file("/proc/bootdevice/product_name", "KLUDG8\n");
    machine.file("/proc/bootdevice/cid", "1501\n");
}

// A name that says nothing.
void flash_machine_without_name(constructed_machine &machine)
{
    flash_machine(machine);
    machine.file("/proc/bootdevice/product_name", "");
}

std::vector<library_call> firmware_calls()
{
    return {
        {
            .function = "orvane_get_vendor",
            .way = "sysfs",
            .furnish = facts_in_both_sources,
            .run = [] { return told(orvane_get_vendor()); },
            .answer = "LENOVO",
            .failures = {"ThinkStation", "NULL"},
        },
        {
            .function = "orvane_get_vendor",
            .way = "dmidecode",
            .furnish = dmidecode_knows_table,
            .run = [] { return told(orvane_get_vendor()); },
            .answer = "ThinkStation",
            .failures = {"NULL"},
        },
        {
            .function = "orvane_get_model",
            .way = "sysfs",
            .furnish = facts_in_both_sources,
            .run = [] { return told(orvane_get_model()); },
            .answer = "LENOVO_MT_30E0",
            .failures = {"V7", "NULL"},
        },
        {
            .function = "orvane_get_model",
            .way = "dmidecode",
            .furnish = dmidecode_knows_table,
            .run = [] { return told(orvane_get_model()); },
            .answer = "V7",
            .failures = {"NULL"},
        },
        {
            .function = "hw_oem_info",
            .way = "whole",
            .furnish = flash_machine,
            .run = [] { return told(hw_oem_info()); },
            .answer = "PF1234_KLUDG8_1501",
            .failures = {"", "NULL"},
        },
        {
            .function = "hw_oem_info",
            .way = "no_name",
            .furnish = flash_machine_without_name,
            .run = [] { return told(hw_oem_info()); },
            .answer = "",
            .failures = {"NULL"},
        },
        {
            .function = "hw_oem_info",
            .way = "no_boot_device",
            .furnish = dmidecode_knows_table,
            .run = [] { return told(hw_oem_info()); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "get_machine_info_from_sysfs",
            .way = "there",
            .furnish = facts_in_both_sources,
            .run = [] { return told(get_machine_info_from_sysfs("/sys/class/dmi/id/sys_vendor")); },
            .answer = "LENOVO",
            .failures = {"NULL"},
        },
        {
            .function = "get_machine_info_from_sysfs",
            .way = "absent",
            .furnish = nullptr,
            .run = [] { return told(get_machine_info_from_sysfs("/sys/class/dmi/id/sys_vendor")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "get_machine_info_from_dmidecode",
            .way = "pipeline",
            .furnish = dmidecode_knows_table,
            .run =
                [] { return told(get_machine_info_from_dmidecode("printf 'first\\nsecond\\n'")); },
            .answer = "first",
            .failures = {"NULL"},
        },
        {
            .function = "get_machine_info_from_dmidecode",
            .way = "silent",
            .furnish = dmidecode_knows_table,
            .run = [] { return told(get_machine_info_from_dmidecode(":")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "get_machine_info_from_dmidecode",
            .way = "not_installed",
            .furnish = nullptr,
            .run = [] { return told(get_machine_info_from_dmidecode("echo first")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "get_service_tag_from_sysfs",
            .way = "there",
            .furnish = facts_in_both_sources,
            .run = [] { return told(get_service_tag_from_sysfs("/sys/class/dmi/id/product_sku")); },
            .answer = "LENOVO_MT_30E0",
            .failures = {"NULL"},
        },
        {
            .function = "get_service_tag_from_dmidecode",
            .way = "pipeline",
            .furnish = dmidecode_knows_table,
            .run =
                [] {
                    return told(get_service_tag_from_dmidecode(
                        "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number'"));
                },
            .answer = "\tSerial Number: PF1234",
            .failures = {"NULL"},
        },
    };
}

// ---- The network identity ----

constexpr char current_of_eth0[] = "02:00:00:00:00:01";
constexpr char current_of_eth1[] = "02:00:00:00:00:02";
constexpr char permanent_of_eth0[] = "00:1a:2b:3c:4d:5e";
constexpr char permanent_of_eth1[] = "00:1a:2b:3c:4d:5f";
constexpr char no_permanent_address[] = "00:00:00:00:00:00";
constexpr char usb_devices[] = "/sys/bus/usb/devices";

void first_card(constructed_machine &machine)
{
    machine.directory(std::string(usb_devices) + "/usb1");
    machine.directory(std::string(usb_devices) + "/1-1");
    machine.directory(std::string(usb_devices) + "/1-1:1.0");
    add_card(machine, "eth0", current_of_eth0, permanent_of_eth0,
             "/sys/devices/pci0000:00/0000:00:1f.6");
}

// The loopback and the wireless interface do not count.
void two_cards(constructed_machine &machine)
{
    first_card(machine);
    add_card(machine, "eth1", current_of_eth1, permanent_of_eth1,
             "/sys/devices/pci0000:00/0000:00:1f.7");
    add_card(machine, "lo", no_permanent_address, no_permanent_address, "/sys/devices/virtual/lo");
    add_card(machine, "wlan0", "fe:00:00:00:00:03", "fe:00:00:00:00:03",
             "/sys/devices/pci0000:00/0000:00:14.3");
}

void second_card_on_usb(constructed_machine &machine)
{
    first_card(machine);
    add_card(machine, "eth1", current_of_eth1, permanent_of_eth1, "/sys/devices/usb1/1-1");
}

// Named like a card, but no device is behind it.
void card_without_device(constructed_machine &machine)
{
    first_card(machine);
    machine.remove("/sys/class/net/eth0/device");
}

void card_with_a_directory_for_its_device(constructed_machine &machine)
{
    first_card(machine);
    machine.directory("/sys/class/net/eth0/device");
}

void card_with_its_device_at_the_root(constructed_machine &machine)
{
    first_card(machine);
    machine.link("/sys/class/net/eth0/device", "/");
}

constexpr char first_slave[] = "a0:00:00:00:00:01";
constexpr char second_slave[] = "a0:00:00:00:00:02";

void bonded_cards(constructed_machine &machine)
{
    first_card(machine);
    machine.directory("/proc/net/bonding/no_report");
    machine.file("/proc/net/bonding/bond0", "Ethernet Channel Bonding Driver\n\n"
                                            "Slave Interface: enp1s0\nMII Status: up\n"
                                            "Permanent HW addr: A0:00:00:00:00:02\n\n"
                                            "Slave Interface: enp2s0\nMII Status: up\n"
                                            "Permanent HW addr: a0:00:00:00:00:01\n");
}

// A machine without a list of its USB devices.
void two_cards_without_usb(constructed_machine &machine)
{
    two_cards(machine);
    machine.remove(usb_devices);
}

library_call network_call(const std::string &way, void (*furnish)(constructed_machine &),
                          const std::string &answer, const std::vector<std::string> &failures)
{
    return {
        .function = "network_interface_get_max_mac",
        .way = way,
        .furnish = furnish,
        .run = [] { return told(network_interface_get_max_mac()); },
        .answer = answer,
        .failures = failures,
    };
}

// Where descriptors or memory run out, interfaces may be missing or count with the address that
// they have in use, and one that its driver does not tell is all zeros. Where the list of USB
// devices cannot be opened, those on the bus are not known.
std::vector<library_call> network_calls()
{
    const std::vector<std::string> first_card_fails = {current_of_eth0, no_permanent_address,
                                                       "NULL"};
    const std::vector<std::string> both_cards_fail = {
        permanent_of_eth0, current_of_eth0, current_of_eth1, no_permanent_address, "NULL"};
    const std::vector<std::string> usb_bus_fails = {permanent_of_eth1, current_of_eth0,
                                                    current_of_eth1, no_permanent_address, "NULL"};
    const std::vector<std::string> first_card_counts = {permanent_of_eth0, current_of_eth0,
                                                        no_permanent_address};
    const std::vector<std::string> bond_fails = {first_slave, permanent_of_eth0, current_of_eth0,
                                                 no_permanent_address, "NULL"};
    return {
        network_call("two_cards", two_cards, permanent_of_eth1, both_cards_fail),
        network_call("no_usb_bus", two_cards_without_usb, permanent_of_eth1, both_cards_fail),
        network_call("card_on_usb", second_card_on_usb, permanent_of_eth0, usb_bus_fails),
        network_call("no_device", card_without_device, "NULL", first_card_counts),
        network_call("no_link", card_with_a_directory_for_its_device, "NULL", first_card_counts),
        network_call("no_name", card_with_its_device_at_the_root, "NULL", first_card_counts),
        network_call("bond", bonded_cards, second_slave, bond_fails),
        network_call("no_card", nullptr, "NULL", {}),
        {
            .function = "orvane_get_network_interface_max_mac",
            .way = "one_card",
            .furnish = first_card,
            .run = [] { return told(orvane_get_network_interface_max_mac()); },
            .answer = permanent_of_eth0,
            .failures = first_card_fails,
        },
    };
}

// ---- The manufacturer ----

void made_by_lenovo(constructed_machine &machine)
{
    dmidecode_prints(machine, "LENOVO\n", system_information);
}

void made_by_great_wall(constructed_machine &machine)
{
    dmidecode_prints(machine, "Great Wall\n", "");
}

// Only the System Information tells the manufacturer.
void lenovo_in_table(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "\tManufacturer: LENOVO\n");
}

owned_key_file patterns(std::string_view lines)
{
    const std::string text = "[manufacturer_patterns]\n" + std::string(lines);
    owned_key_file kf(::g_key_file_new());
    if (!::g_key_file_load_from_data(kf.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr))
        throw std::runtime_error("not a key file: " + text);
    return kf;
}

std::string type_by(std::string_view lines, bool ignore_case)
{
    return told(maching_machine_type(patterns(lines).get(), ignore_case));
}

constexpr char several_patterns[] = "empty=\ntongfang=THTF\nlenovo=KaiTian|LENOVO\nHUAWEI=HUAWEI\n";

std::string text_of(GKeyFile *made)
{
    const owned_key_file kf(made);
    return kf ? glib_text(::g_key_file_to_data(kf.get(), nullptr, nullptr)).get() : "NULL";
}

constexpr char exact_patterns[] = "[manufacturer_patterns]\n"
                                  "lenovo=lenovo|KaiTian|LENOVO\n"
                                  "tongfang=THTF\n"
                                  "Baixin=Baixin\n"
                                  "shuguang=Suma\n"
                                  "Haier=Haier\n"
                                  "shenzhoukuntai=yunke china\n"
                                  "ziguang=H3C|UNIS|UNICOMPUTE|LANXCBCOMPUTER\n"
                                  "xiwo=seewo\n"
                                  "lianshuo=LIANSHUO COMPUTER\n"
                                  "HUAWEI=HUAWEI\n";
constexpr char patterns_without_case[] =
    "[manufacturer_patterns]\n"
    "greatwall=greatwall\n"
    "Inspur=Inspur\n"
    "706suo=Beijing Institute of Computer Technology and Application\n"
    "Huawei=Huawei\n";

void kirin_processor(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "processor\t: 0\nHardware\t: HISILICON Kirin 9006C\n");
}

void other_processor(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "processor\t: 0\nHardware\t: Phytium\n");
}

std::vector<library_call> manufacturer_calls()
{
    return {
        {
            .function = "maching_machine_type",
            .way = "keyword",
            .furnish = made_by_lenovo,
            .run = [] { return type_by(several_patterns, false); },
            .answer = "0",
            .failures = {"12", "-1"}, // the table tells another manufacturer
        },
        {
            .function = "maching_machine_type",
            .way = "table",
            .furnish = lenovo_in_table,
            .run = [] { return type_by(several_patterns, false); },
            .answer = "0",
            .failures = {"-1"},
        },
        {
            .function = "maching_machine_type",
            .way = "without_case",
            .furnish = made_by_great_wall,
            .run = [] { return type_by("greatwall=Great wall\n", true); },
            .answer = "1",
            .failures = {"-1"},
        },
        {
            .function = "maching_machine_type",
            .way = "no_keys",
            .furnish = made_by_lenovo,
            .run = [] { return type_by("", false); },
            .answer = "-1",
            .failures = {},
        },
        {
            .function = "maching_machine_type",
            .way = "not_told",
            .furnish = nullptr,
            .run = [] { return type_by(several_patterns, false); },
            .answer = "-1",
            .failures = {},
        },
        {
            .function = "maching_machine_type_with_dmidecode",
            .way = "match",
            .furnish = nullptr,
            .run = [] { return told(maching_machine_type_with_dmidecode("LENOVO Ltd", "LENOVO")); },
            .answer = "1",
            .failures = {},
        },
        {
            .function = "maching_machine_type_with_dmidecode",
            .way = "no_match",
            .furnish = nullptr,
            .run = [] { return told(maching_machine_type_with_dmidecode("LEN", "LENOVO")); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "findTypeEnum",
            .way = "known",
            .furnish = nullptr,
            .run = [] { return told(findTypeEnum("HUAWEI")); },
            .answer = "12",
            .failures = {},
        },
        {
            .function = "findTypeEnum",
            .way = "unknown",
            .furnish = nullptr,
            .run = [] { return told(findTypeEnum("huawei")); },
            .answer = "-1",
            .failures = {},
        },
        {
            .function = "machineTypeToString",
            .way = "known",
            .furnish = nullptr,
            .run = [] { return std::string(machineTypeToString(7)); },
            .answer = "TYPE_706SUO",
            .failures = {},
        },
        {
            .function = "machineTypeToString",
            .way = "unknown",
            .furnish = nullptr,
            .run = [] { return std::string(machineTypeToString(-1)); },
            .answer = "TYPE_UNKNOWN",
            .failures = {},
        },
        {
            .function = "generate_machine_whitelist",
            .way = "whole",
            .furnish = nullptr,
            .run = [] { return text_of(generate_machine_whitelist()); },
            .answer = exact_patterns,
            .failures = {},
        },
        {
            .function = "generate_machine_whitelist_ignore_case",
            .way = "whole",
            .furnish = nullptr,
            .run = [] { return text_of(generate_machine_whitelist_ignore_case()); },
            .answer = patterns_without_case,
            .failures = {},
        },
        {
            .function = "get_machine_info_simulate",
            .way = "never",
            .furnish = nullptr,
            .run =
                [] {
                    return std::string(get_machine_info_simulate() == nullptr ? "NULL" : "text");
                },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "is_lenovo_machine",
            .way = "keyword",
            .furnish = made_by_lenovo,
            .run = [] { return told(is_lenovo_machine()); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "is_lenovo_machine",
            .way = "table",
            .furnish = lenovo_in_table,
            .run = [] { return told(is_lenovo_machine()); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "is_lenovo_machine",
            .way = "other",
            .furnish = made_by_great_wall,
            .run = [] { return told(is_lenovo_machine()); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "is_huawei_9x0",
            .way = "kirin",
            .furnish = kirin_processor,
            .run = [] { return told(is_huawei_9x0()); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "is_huawei_9x0",
            .way = "other",
            .furnish = other_processor,
            .run = [] { return told(is_huawei_9x0()); },
            .answer = "0",
            .failures = {},
        },
    };
}

} // namespace

std::vector<library_call> machine_calls()
{
    return joined({uuid_calls(), firmware_calls(), network_calls(), manufacturer_calls()});
}
