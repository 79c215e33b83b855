// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "answers.h"
#include "call_lists.h"
#include "call_makers.h"
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

// A query that takes nothing.
template <auto query>
library_call query_call(const std::string &function, const std::string &way, furnishing furnish,
                        const std::string &answer, const std::vector<std::string> &failures = {})
{
    return call_for(
        function, way, furnish, [] { return told(query()); }, answer, failures);
}

// ---- The system UUID ----

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";

constexpr char uuid_of_file[] = "4c4c4544-0042-3510-8053-b4c04f564433";
constexpr char uuid_of_tool[] = "11111111-2222-3333-4444-555555555555";

void uuid_in_tool(constructed_machine &machine)
{
    dmidecode_prints(machine, std::string(uuid_of_tool) + "\n", "");
}

void uuid_in_both_sources(constructed_machine &machine)
{
    machine.file(uuid_file, std::string(uuid_of_file) + "\n");
    uuid_in_tool(machine);
}

void placeholder_in_file(constructed_machine &machine)
{
    machine.file(uuid_file, "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n");
    uuid_in_tool(machine);
}

void placeholders_in_both_sources(constructed_machine &machine)
{
    machine.file(uuid_file, "12345678-1234-5678-90AB-CDDEEFAABBCC\n");
    dmidecode_prints(machine, "03000200-0400-0500-0006-000700080009\n", "");
}

void placeholder_in_tool(constructed_machine &machine)
{
    dmidecode_prints(machine, "FEFEFEFE-fefe-fefe-fefe-fefefefefefe\n", "");
}

void empty_line_in_uuid_file(constructed_machine &machine)
{
    machine.file(uuid_file, "\n4c4c4544-0042-3510-8053-b4c04f564433\n");
    uuid_in_tool(machine);
}

void nothing_in_uuid_file(constructed_machine &machine)
{
    machine.file(uuid_file, "");
    uuid_in_tool(machine);
}

void long_line_in_uuid_file(constructed_machine &machine)
{
    machine.file(uuid_file, std::string(1500, 'a'));
}

constexpr char remark_with_uuid[] = "UUID: ABCDEF01-2345-6789-abcd-ef0123456789 (as printed)";

// What has no UUID in it does not count.
void remarks_in_tool(constructed_machine &machine)
{
    dmidecode_prints(machine, "# SMBIOS 3.2\n" + std::string(remark_with_uuid) + "\n", "");
}

void no_uuid_in_tool(constructed_machine &machine)
{
    dmidecode_prints(machine, "Not Settable\n", "");
}

std::vector<library_call> uuid_calls()
{
    constexpr auto call = query_call<system_uuid>;
    const std::string name = "system_uuid";
    const std::vector<std::string> none = {"NULL"};
    const std::vector<std::string> tool_or_none = {uuid_of_tool, "NULL"};
    return {
        call(name, "sysfs", uuid_in_both_sources, uuid_of_file, tool_or_none),
        call(name, "dmidecode", uuid_in_tool, uuid_of_tool, none),
        call(name, "placeholder", placeholder_in_file, uuid_of_tool, none),
        call(name, "placeholders", placeholders_in_both_sources, "NULL", {}),
        call(name, "placeholder_in_tool", placeholder_in_tool, "NULL", {}),
        call(name, "empty_line", empty_line_in_uuid_file, "", tool_or_none),
        call(name, "empty_file", nothing_in_uuid_file, uuid_of_tool, none),
        call(name, "long_line", long_line_in_uuid_file, std::string(1023, 'a'), none),
        call(name, "remarks", remarks_in_tool, remark_with_uuid, none),
        call(name, "no_uuid", no_uuid_in_tool, "NULL", {}),
        call(name, "unknown", nullptr, "NULL", {}),
        query_call<orvane_get_system_uuid>("orvane_get_system_uuid", "sysfs", uuid_in_both_sources,
                                           uuid_of_file, tool_or_none),
    };
}

// ---- What the firmware tells ----

constexpr char vendor_file[] = "/sys/class/dmi/id/sys_vendor";
constexpr char model_file[] = "/sys/class/dmi/id/product_sku";

void facts_in_both_sources(constructed_machine &machine)
{
    machine.file(vendor_file, "LENOVO\n");
    machine.file(model_file, "LENOVO_MT_30E0\n");
    dmidecode_knows_table(machine);
}

// An answer, and the tool is not asked.
void empty_lines_for_facts(constructed_machine &machine)
{
    facts_in_both_sources(machine);
    machine.file(vendor_file, "\nLENOVO\n");
    machine.file(model_file, "\nLENOVO_MT_30E0\n");
}

void empty_files_for_facts(constructed_machine &machine)
{
    facts_in_both_sources(machine);
    machine.file(vendor_file, "");
    machine.file(model_file, "");
}

// The first line that holds the word counts, and it has no second one.
void labels_without_facts(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "\tfamily:\n\tversion:\n" + std::string(system_information));
}

// The same in capitals, of which one has another small letter in some locales.
void labels_in_capitals(constructed_machine &machine)
{
    dmidecode_prints(machine, "",
                     "\tFAMILY: WORKSTATION\n\tVERSION: V8\n\tSERIAL NUMBER: PF1234\n");
}

void table_without_facts(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "System Information\n\tManufacturer: HUAWEI\n");
}

constexpr char boot_device_name[] = "/proc/bootdevice/product_name";
constexpr char boot_device_card[] = "/proc/bootdevice/cid";

void boot_device(constructed_machine &machine)
{
    machine.file(boot_device_name, "KLUDG8\n");
    machine.file(boot_device_card, "1501\n");
}

void flash_machine(constructed_machine &machine)
{
    dmidecode_knows_table(machine);
    boot_device(machine);
}

void flash_machine_with_labels_in_capitals(constructed_machine &machine)
{
    labels_in_capitals(machine);
    boot_device(machine);
}

// A name that says nothing.
void flash_machine_without_name(constructed_machine &machine)
{
    flash_machine(machine);
    machine.file(boot_device_name, "");
}

void flash_machine_without_card(constructed_machine &machine)
{
    flash_machine(machine);
    machine.file(boot_device_card, "");
}

void flash_machine_without_serial_number(constructed_machine &machine)
{
    flash_machine(machine);
    table_without_facts(machine);
}

void flash_machine_with_an_empty_line(constructed_machine &machine)
{
    flash_machine(machine);
    machine.file(boot_device_name, "\nKLUDG8\n");
}

void flash_machine_with_long_texts(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "\tSerial Number: " + std::string(200, 's') + "\n");
    machine.file(boot_device_name, std::string(200, 'n'));
    machine.file(boot_device_card, std::string(200, 'c'));
}

void boot_device_without_card(constructed_machine &machine)
{
    flash_machine(machine);
    machine.remove(boot_device_card);
}

// What the readers are given.
constexpr char line_file[] = "/srv/calls/line";
constexpr char line_with_carriage_return[] = "/srv/calls/carriage_return";
constexpr char line_with_zero[] = "/srv/calls/zero";
constexpr char empty_line[] = "/srv/calls/empty_line";
constexpr char long_line[] = "/srv/calls/long_line";
constexpr char empty_file[] = "/srv/calls/empty";
constexpr char no_file[] = "/srv/calls/none";
constexpr char directory[] = "/srv/calls";
constexpr char pipeline[] = "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number'";
constexpr char long_output[] = "printf '%01500d' 7";
constexpr char empty_output[] = "echo";
constexpr char no_output[] = ":";

void lines(constructed_machine &machine)
{
    using namespace std::string_view_literals;
    machine.file(line_file, "LENOVO \nsecond\n");
    machine.file(line_with_carriage_return, "LENOVO\rsecond\n");
    machine.file(line_with_zero, "LENOVO\0second\n"sv);
    machine.file(empty_line, "\nsecond\n");
    machine.file(long_line, std::string(1500, 'a'));
    machine.file(empty_file, "");
}

// There, but not to be run.
void dmidecode_of_no_use(constructed_machine &machine)
{
    machine.script(dmidecode, "", 0644);
}

// A reader of what its caller names.
template <char *(*reader)(const char *), const char *source>
library_call reader_call(const std::string &function, const std::string &way, furnishing furnish,
                         const std::string &answer, const std::vector<std::string> &failures = {})
{
    return call_for(
        function, way, furnish, [] { return told(reader(source)); }, answer, failures);
}

template <const char *path>
library_call file_call(const std::string &way, const std::string &answer,
                       const std::vector<std::string> &failures = {})
{
    return reader_call<get_machine_info_from_sysfs, path>("get_machine_info_from_sysfs", way, lines,
                                                          answer, failures);
}

template <const char *command>
library_call command_call(const std::string &way, furnishing furnish, const std::string &answer,
                          const std::vector<std::string> &failures = {})
{
    return reader_call<get_machine_info_from_dmidecode, command>("get_machine_info_from_dmidecode",
                                                                 way, furnish, answer, failures);
}

std::vector<library_call> reader_calls()
{
    const std::vector<std::string> none = {"NULL"};
    const std::string tag_of_file = "get_service_tag_from_sysfs";
    const std::string tag_of_tool = "get_service_tag_from_dmidecode";
    const auto with_tool = dmidecode_knows_table;
    return {
        file_call<line_file>("there", "LENOVO ", none),
        file_call<line_with_carriage_return>("carriage_return", "LENOVO", none),
        file_call<line_with_zero>("zero_byte", "LENOVO", none),
        file_call<empty_line>("empty_line", "", none),
        file_call<long_line>("long_line", std::string(1023, 'a'), none),
        file_call<empty_file>("empty_file", "NULL"),
        file_call<no_file>("absent", "NULL"),
        file_call<directory>("directory", "NULL"),
        file_call<nullptr>("null", "NULL"),
        command_call<pipeline>("pipeline", with_tool, "\tSerial Number: PF1234", none),
        command_call<empty_output>("empty_line", with_tool, "", none),
        command_call<long_output>("long_line", with_tool, std::string(1023, '0'), none),
        command_call<no_output>("silent", with_tool, "NULL"),
        command_call<empty_output>("not_executable", dmidecode_of_no_use, "NULL"),
        command_call<empty_output>("not_installed", nullptr, "NULL"),
        command_call<nullptr>("null", with_tool, "NULL"),
        reader_call<get_service_tag_from_sysfs, line_file>(tag_of_file, "there", lines, "LENOVO ",
                                                           none),
        reader_call<get_service_tag_from_sysfs, no_file>(tag_of_file, "absent", lines, "NULL"),
        reader_call<get_service_tag_from_sysfs, nullptr>(tag_of_file, "null", lines, "NULL"),
        reader_call<get_service_tag_from_dmidecode, pipeline>(tag_of_tool, "pipeline", with_tool,
                                                              "\tSerial Number: PF1234", none),
        reader_call<get_service_tag_from_dmidecode, pipeline>(tag_of_tool, "absent",
                                                              table_without_facts, "NULL"),
        reader_call<get_service_tag_from_dmidecode, nullptr>(tag_of_tool, "null", with_tool,
                                                             "NULL"),
    };
}

std::vector<library_call> firmware_calls()
{
    constexpr auto vendor = query_call<orvane_get_vendor>;
    constexpr auto model = query_call<orvane_get_model>;
    constexpr auto oem_info = query_call<hw_oem_info>;
    const std::string vendors = "orvane_get_vendor";
    const std::string models = "orvane_get_model";
    const std::string infos = "hw_oem_info";
    const std::vector<std::string> none = {"NULL"};
    const std::vector<std::string> empty_or_none = {"", "NULL"};
    const std::string long_texts =
        std::string(127, 's') + "_" + std::string(127, 'n') + "_" + std::string(127, 'c');
    return {
        vendor(vendors, "sysfs", facts_in_both_sources, "LENOVO", {"ThinkStation", "NULL"}),
        vendor(vendors, "empty_line", empty_lines_for_facts, "", {"ThinkStation", "NULL"}),
        vendor(vendors, "empty_file", empty_files_for_facts, "ThinkStation", none),
        vendor(vendors, "dmidecode", dmidecode_knows_table, "ThinkStation", none),
        vendor(vendors, "no_word", labels_without_facts, "", none),
        vendor(vendors, "capitals", labels_in_capitals, "WORKSTATION", none),
        vendor(vendors, "no_line", table_without_facts, "NULL", {}),
        vendor(vendors, "unknown", nullptr, "NULL", {}),
        model(models, "sysfs", facts_in_both_sources, "LENOVO_MT_30E0", {"V7", "NULL"}),
        model(models, "empty_line", empty_lines_for_facts, "", {"V7", "NULL"}),
        model(models, "empty_file", empty_files_for_facts, "V7", none),
        model(models, "dmidecode", dmidecode_knows_table, "V7", none),
        model(models, "no_word", labels_without_facts, "", none),
        model(models, "capitals", labels_in_capitals, "V8", none),
        model(models, "no_line", table_without_facts, "NULL", {}),
        model(models, "unknown", nullptr, "NULL", {}),
        oem_info(infos, "whole", flash_machine, "PF1234_KLUDG8_1501", empty_or_none),
        oem_info(infos, "empty_line", flash_machine_with_an_empty_line, "PF1234__1501",
                 empty_or_none),
        oem_info(infos, "capitals", flash_machine_with_labels_in_capitals, "PF1234_KLUDG8_1501",
                 empty_or_none),
        oem_info(infos, "cut", flash_machine_with_long_texts, long_texts, empty_or_none),
        oem_info(infos, "no_serial_number", flash_machine_without_serial_number, "", none),
        oem_info(infos, "no_name", flash_machine_without_name, "", none),
        oem_info(infos, "no_card", flash_machine_without_card, "", none),
        oem_info(infos, "no_card_file", boot_device_without_card, "NULL", {}),
        oem_info(infos, "no_boot_device", dmidecode_knows_table, "NULL", {}),
        oem_info(infos, "no_tool", boot_device, "NULL", {}),
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

// The one directory that the reports stand in has others too.
void bond(constructed_machine &machine)
{
    machine.directory("/proc/net/bonding/no_report");
    machine.file("/proc/net/bonding/bond0", "Ethernet Channel Bonding Driver\n\n"
                                            "Slave Interface: enp1s0\nMII Status: up\n"
                                            "Permanent HW addr: A0:00:00:00:00:02\n\n"
                                            "Slave Interface: enp2s0\nMII Status: up\n"
                                            "Permanent HW addr: a0:00:00:00:00:01\n");
}

void bonded_cards(constructed_machine &machine)
{
    first_card(machine);
    bond(machine);
}

void two_bonds(constructed_machine &machine)
{
    bond(machine);
    machine.file("/proc/net/bonding/bond1", "Slave Interface: enp3s0\n"
                                            "Permanent HW addr: a0:00:00:00:00:00\n");
}

// An address before any slave is nobody's, and a slave without one has the next slave's.
void bond_with_gaps(constructed_machine &machine)
{
    machine.file("/proc/net/bonding/bond0", "Permanent HW addr: ff:00:00:00:00:00\n"
                                            "Slave Interface:\n"
                                            "Slave Interface: enp1s0\nMII Status: down\n"
                                            "Slave Interface: enp2s0\n"
                                            "Permanent HW addr: a0:00:00:00:00:02\n"
                                            "Slave Interface: enp3s0\n");
}

void bond_without_address(constructed_machine &machine)
{
    machine.file("/proc/net/bonding/bond0", "Slave Interface: enp1s0\nMII Status: up\n");
}

// The walk ends before the second card.
void first_card_on_usb(constructed_machine &machine)
{
    two_cards(machine);
    machine.link("/sys/class/net/eth0/device", "/sys/devices/usb1/1-1");
    machine.directory("/sys/devices/usb1/1-1");
}

void first_card_without_address(constructed_machine &machine)
{
    two_cards(machine);
    machine.remove("/dev/.cards/eth0/address");
}

// A driver that does not tell the permanent address.
void silent_driver(constructed_machine &machine)
{
    first_card(machine);
    machine.remove("/dev/.cards/eth0/permanent_address");
}

void nothing_on_usb(constructed_machine &machine)
{
    first_card(machine);
    machine.directory(usb_devices);
}

// Of the other names none is a card's, and what the shell would read in one of the cards' stays.
void cards_of_other_names(constructed_machine &machine)
{
    machine.directory(std::string(usb_devices) + "/1-1");
    add_card(machine, "em1", current_of_eth0, permanent_of_eth0, "/sys/devices/pci0000:00/em1");
    add_card(machine, "en'$(x)", current_of_eth1, permanent_of_eth1, "/sys/devices/pci0000:00/en");
    add_card(machine, "Eth0", second_slave, second_slave, "/sys/devices/pci0000:00/Eth0");
    add_card(machine, "et0", second_slave, second_slave, "/sys/devices/pci0000:00/et0");
}

// A machine without a list of its USB devices.
void two_cards_without_usb(constructed_machine &machine)
{
    two_cards(machine);
    machine.remove(usb_devices);
}

library_call network_call(const std::string &way, furnishing furnish, const std::string &answer,
                          const std::vector<std::string> &failures)
{
    return query_call<network_interface_get_max_mac>("network_interface_get_max_mac", way, furnish,
                                                     answer, failures);
}

// Where descriptors or memory run out, interfaces may be missing or count with the address that
// they have in use. Where the list of USB devices cannot be opened, those on the bus are not known.
std::vector<library_call> network_calls()
{
    const std::vector<std::string> first_card_fails = {current_of_eth0, "NULL"};
    const std::vector<std::string> both_cards_fail = {permanent_of_eth0, current_of_eth0,
                                                      current_of_eth1, "NULL"};
    const std::vector<std::string> usb_bus_fails = {permanent_of_eth1, current_of_eth0, "NULL"};
    const std::vector<std::string> first_card_counts = {permanent_of_eth0};
    const std::vector<std::string> bond_fails = {first_slave, permanent_of_eth0, "NULL"};
    return {
        network_call("two_cards", two_cards, permanent_of_eth1, both_cards_fail),
        network_call("no_usb_bus", two_cards_without_usb, permanent_of_eth1, both_cards_fail),
        network_call("card_on_usb", second_card_on_usb, permanent_of_eth0, usb_bus_fails),
        network_call("no_device", card_without_device, "NULL", first_card_counts),
        network_call("no_link", card_with_a_directory_for_its_device, "NULL", first_card_counts),
        network_call("no_name", card_with_its_device_at_the_root, "NULL", first_card_counts),
        network_call("first_on_usb", first_card_on_usb, "NULL",
                     {permanent_of_eth0, permanent_of_eth1}),
        network_call("no_address", first_card_without_address, "NULL", {}),
        network_call("silent_driver", silent_driver, no_permanent_address,
                     {current_of_eth0, "NULL"}),
        network_call("nothing_on_usb", nothing_on_usb, permanent_of_eth0, first_card_fails),
        network_call("other_names", cards_of_other_names, permanent_of_eth1, both_cards_fail),
        network_call("bond", bonded_cards, second_slave, bond_fails),
        network_call("bond_alone", bond, second_slave, {first_slave, "NULL"}),
        network_call("two_bonds", two_bonds, second_slave,
                     {first_slave, "a0:00:00:00:00:00", "NULL"}),
        network_call("bond_with_gaps", bond_with_gaps, second_slave, {"NULL"}),
        network_call("bond_without_address", bond_without_address, "NULL", {}),
        network_call("no_card", nullptr, "NULL", {}),
        query_call<orvane_get_network_interface_max_mac>("orvane_get_network_interface_max_mac",
                                                         "one_card", first_card, permanent_of_eth0,
                                                         first_card_fails),
    };
}

// ---- The manufacturer ----

void made_by_lenovo(constructed_machine &machine)
{
    dmidecode_prints(machine, "LENOVO\n", system_information);
}

void made_by_kaitian(constructed_machine &machine)
{
    dmidecode_prints(machine, "KaiTian\n", "");
}

void made_by_great_wall(constructed_machine &machine)
{
    dmidecode_prints(machine, "Great Wall\n", "");
}

void made_by_inspur(constructed_machine &machine)
{
    dmidecode_prints(machine, "INSPUR\n", "");
}

void made_by_huawei(constructed_machine &machine)
{
    dmidecode_prints(machine, "HUAWEI\n", "");
}

// Told, if only by an empty line: the System Information is not asked.
void made_by_nobody(constructed_machine &machine)
{
    dmidecode_prints(machine, "\n", "\tManufacturer: LENOVO\n");
}

// In letters of another case, which is another name.
void made_by_small_lenovo(constructed_machine &machine)
{
    dmidecode_prints(machine, "lenovo\n", "\tManufacturer: kaitian\n");
}

// Only the System Information tells the manufacturer.
void lenovo_in_table(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "\tManufacturer: LENOVO\n");
}

std::string type_by(std::string_view lines, bool ignore_case)
{
    const std::string text = "[manufacturer_patterns]\n" + std::string(lines);
    return told(maching_machine_type(key_file_of(text).get(), ignore_case));
}

// The usual question: by the one set, and if that finds nothing by the other.
std::string type_by_own_patterns()
{
    const owned_key_file exact(generate_machine_whitelist());
    const owned_key_file folded(generate_machine_whitelist_ignore_case());
    const int type = maching_machine_type(exact.get(), false);
    return told(type != -1 ? type : maching_machine_type(folded.get(), true));
}

std::string all_type_names()
{
    std::string names;
    for (int type = -1; type <= 13; ++type)
        names += std::string(machineTypeToString(type)) + " ";
    return names;
}

std::string matched(const char *manufacturer, const char *pattern)
{
    return maching_machine_type_with_dmidecode(manufacturer, pattern) ? "1" : "0";
}

constexpr char several_patterns[] = "empty=\ntongfang=THTF\nlenovo=KaiTian|LENOVO\nHUAWEI=HUAWEI\n";

std::string told_patterns(GKeyFile *made)
{
    const owned_key_file kf(made);
    return kf ? text_of(kf.get()) : "NULL";
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

void kirin_9006c(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "processor\t: 0\nHardware\t: HISILICON Kirin 9006C\n");
}

void kirin_990(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "HARDWARE:KIRIN990\n");
}

void kirin_9a0(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", " hard ware : kirin 9 a 0 or so");
}

void other_processor(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "processor\t: 0\nHardware\t: Phytium\n");
}

void kirin_by_another_label(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", "model name\t: Kirin 990\nOld Hardware\t: Kirin 990\n");
}

library_call type_call(const std::string &way, furnishing furnish, running run,
                       const std::string &answer, const std::vector<std::string> &failures = {})
{
    return call_for("maching_machine_type", way, furnish, run, answer, failures);
}

std::vector<library_call> type_calls()
{
    const std::vector<std::string> none = {"-1"};
    const auto by_several = [] { return type_by(several_patterns, false); };
    const auto by_case = [] { return type_by("Huawei=Huawei\n", true); };
    const auto in_pieces = [] { return type_by("any=Nobody|In spur\n", true); };
    const auto by_nothing = [] { return type_by("any=Nobody|\n", false); };
    const auto without_group = [] {
        return told(maching_machine_type(key_file_of("[other]\nlenovo=LENOVO\n").get(), false));
    };
    return {
        // The table tells another manufacturer.
        type_call("keyword", made_by_lenovo, by_several, "0", {"12", "-1"}),
        type_call("table", lenovo_in_table, by_several, "0", none),
        type_call(
            "without_case", made_by_great_wall,
            [] { return type_by("greatwall=Great wall\n", true); }, "1", none),
        // The small letter of "I" is another in some locales.
        type_call(
            "without_case_of_i", made_by_inspur, [] { return type_by("Inspur=Inspur\n", true); },
            "2", none),
        type_call("pieces_without_case", made_by_inspur, in_pieces, "2", none),
        type_call("match_without_type", made_by_huawei, by_case, "-1"),
        type_call("own_patterns", made_by_great_wall, type_by_own_patterns, "1", none),
        type_call("empty_piece", made_by_great_wall, by_nothing, "0", none),
        // The table would tell one.
        type_call("empty_line", made_by_nobody, by_several, "-1", {"0"}),
        type_call("no_match", made_by_inspur, by_several, "-1"),
        type_call(
            "no_keys", made_by_lenovo, [] { return type_by("", false); }, "-1"),
        type_call("no_group", made_by_lenovo, without_group, "-1"),
        type_call(
            "null", made_by_lenovo, [] { return told(maching_machine_type(nullptr, false)); },
            "-1"),
        type_call("not_told", nullptr, by_several, "-1"),
    };
}

std::vector<library_call> table_calls()
{
    const std::string match = "maching_machine_type_with_dmidecode";
    return {
        bare_call(
            match, "match", [] { return matched("LENOVO Ltd", "LENOVO"); }, "1"),
        bare_call(
            match, "no_match", [] { return matched("LEN", "LENOVO"); }, "0"),
        bare_call(
            match, "empty", [] { return matched("LEN", ""); }, "1"),
        bare_call(
            match, "null",
            [] {
                return matched(nullptr, "LENOVO") + matched("LENOVO", nullptr) +
                       matched(nullptr, nullptr);
            },
            "000"),
        bare_call(
            "findTypeEnum", "known", [] { return told(findTypeEnum("HUAWEI")); }, "12"),
        bare_call(
            "findTypeEnum", "start", [] { return told(findTypeEnum("Great")); }, "1"),
        bare_call(
            "findTypeEnum", "empty", [] { return told(findTypeEnum("")); }, "0"),
        bare_call(
            "findTypeEnum", "unknown", [] { return told(findTypeEnum("huawei")); }, "-1"),
        bare_call(
            "findTypeEnum", "null", [] { return told(findTypeEnum(nullptr)); }, "-1"),
        bare_call("machineTypeToString", "all", all_type_names,
                  "TYPE_UNKNOWN TYPE_LENOVO TYPE_GREATWALL TYPE_INSPUR TYPE_TONGFANG TYPE_BAIXIN "
                  "TYPE_SHUGUANG TYPE_HAIER TYPE_706SUO TYPE_KUNTAI TYPE_ZIGUANG TYPE_SEEWO "
                  "TYPE_LIANSHUO TYPE_HUAWEI TYPE_UNKNOWN "),
        bare_call(
            "generate_machine_whitelist", "whole",
            [] { return told_patterns(generate_machine_whitelist()); }, exact_patterns),
        bare_call(
            "generate_machine_whitelist_ignore_case", "whole",
            [] { return told_patterns(generate_machine_whitelist_ignore_case()); },
            patterns_without_case),
        bare_call(
            "get_machine_info_simulate", "never",
            [] { return std::string(get_machine_info_simulate() == nullptr ? "NULL" : "text"); },
            "NULL"),
    };
}

std::vector<library_call> predicate_calls()
{
    constexpr auto is_lenovo = query_call<is_lenovo_machine>;
    constexpr auto is_kirin = query_call<is_huawei_9x0>;
    const std::string lenovo = "is_lenovo_machine";
    const std::string kirin = "is_huawei_9x0";
    return {
        is_lenovo(lenovo, "keyword", made_by_lenovo, "1", {"0"}),
        is_lenovo(lenovo, "kaitian", made_by_kaitian, "1", {"0"}),
        is_lenovo(lenovo, "table", lenovo_in_table, "1", {"0"}),
        is_lenovo(lenovo, "other", made_by_great_wall, "0", {}),
        is_lenovo(lenovo, "small_letters", made_by_small_lenovo, "0", {}),
        is_lenovo(lenovo, "not_told", nullptr, "0", {}),
        is_kirin(kirin, "kirin", kirin_9006c, "1", {"0"}),
        is_kirin(kirin, "kirin_990", kirin_990, "1", {"0"}),
        is_kirin(kirin, "kirin_9a0", kirin_9a0, "1", {"0"}),
        is_kirin(kirin, "other", other_processor, "0", {}),
        is_kirin(kirin, "other_label", kirin_by_another_label, "0", {}),
        is_kirin(kirin, "no_file", nullptr, "0", {}),
    };
}

} // namespace

std::vector<library_call> machine_calls()
{
    return joined({uuid_calls(), firmware_calls(), reader_calls(), network_calls(), type_calls(),
                   table_calls(), predicate_calls()});
}
