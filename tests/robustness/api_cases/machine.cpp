// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "api_case.h"
#include "builtin_patterns.h"
#include "glib_owners.h"
#include "orvane.h"

#include <string>
#include <string_view>

namespace {

using answering_kernel::add_card;

constexpr char dmidecode[] = "/usr/sbin/dmidecode";

constexpr char system_information[] = "System Information\n"
                                      "\tManufacturer: HUAWEI\n"
                                      "\tVersion: V7\n"
                                      "\tSerial Number: PF1234\n"
                                      "\tFamily: ThinkStation\n";

// What dmidecode prints for a keyword, and for a table.
void dmidecode_prints(constructed_machine &machine, const std::string &keyword,
                      const std::string &table)
{
    add_script(machine, dmidecode,
               "case $1 in\n-s) " + printing(keyword) + " ;;\n-t) " + printing(table) +
                   " ;;\nesac");
}

template <const char *keyword, const char *table> void dmidecode_says(constructed_machine &machine)
{
    dmidecode_prints(machine, keyword, table);
}

constexpr char nothing[] = "";
constexpr auto dmidecode_knows_table = dmidecode_says<nothing, system_information>;

template <auto query> std::string answer_of()
{
    return reported(query());
}

// ---- The system UUID ----

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";
constexpr char uuid_of_file[] = "4c4c4544-0042-3510-8053-b4c04f564433";
constexpr char uuid_of_tool[] = "11111111-2222-3333-4444-555555555555";

constexpr char uuid_line[] = "4c4c4544-0042-3510-8053-b4c04f564433\n";
constexpr char placeholder_line[] = "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n";
constexpr char empty_first_line[] = "\n4c4c4544-0042-3510-8053-b4c04f564433\n";

constexpr char tool_line[] = "11111111-2222-3333-4444-555555555555\n";
constexpr char placeholder_of_tool[] = "FEFEFEFE-fefe-fefe-fefe-fefefefefefe\n";
constexpr char remark_with_uuid[] = "UUID: ABCDEF01-2345-6789-abcd-ef0123456789 (as printed)";
constexpr char remarks[] = "# SMBIOS 3.2\nUUID: ABCDEF01-2345-6789-abcd-ef0123456789 (as "
                           "printed)\n";
constexpr char no_uuid[] = "Not Settable\n";

template <const char *line> void uuid_sources(constructed_machine &machine)
{
    machine.file(uuid_file, line);
    dmidecode_says<tool_line, nothing>(machine);
}

void long_line_in_uuid_file(constructed_machine &machine)
{
    machine.file(uuid_file, std::string(1500, 'a'));
}

api_case_list uuid_cases()
{
    constexpr char f[] = "system_uuid";
    const auto uuid = answer_of<system_uuid>;
    const texts tool_or_null = {uuid_of_tool, "NULL"};
    constexpr unsigned firmware_tool = tools | path | root;
    return {
        {f, "sysfs", uuid_sources<uuid_line>, uuid, uuid_of_file, tool_or_null, sys | root},
        {f, "dmidecode", dmidecode_says<tool_line, nothing>, uuid, uuid_of_tool, or_null,
         firmware_tool},
        {f, "placeholder", uuid_sources<placeholder_line>, uuid, uuid_of_tool, or_null},
        {f, "placeholder_in_tool", dmidecode_says<placeholder_of_tool, nothing>, uuid, "NULL"},
        {f, "empty_line", uuid_sources<empty_first_line>, uuid, "", tool_or_null},
        {f, "empty_file", uuid_sources<nothing>, uuid, uuid_of_tool, or_null},
        {f, "long_line", long_line_in_uuid_file, uuid, std::string(1023, 'a'), or_null},
        {f, "remarks", dmidecode_says<remarks, nothing>, uuid, remark_with_uuid, or_null},
        {f, "no_uuid", dmidecode_says<no_uuid, nothing>, uuid, "NULL"},
        {f, "unknown", nullptr, uuid, "NULL"},
        {"orvane_get_system_uuid", "sysfs", uuid_sources<uuid_line>,
         answer_of<orvane_get_system_uuid>, uuid_of_file, tool_or_null, sys | root},
    };
}

// ---- Vendor, model and OEM information ----

constexpr char vendor_file[] = "/sys/class/dmi/id/sys_vendor";
constexpr char model_file[] = "/sys/class/dmi/id/product_sku";
constexpr char vendor_line[] = "LENOVO\n";
constexpr char model_line[] = "LENOVO_MT_30E0\n";

template <const char *vendor, const char *model> void facts(constructed_machine &machine)
{
    machine.file(vendor_file, vendor);
    machine.file(model_file, model);
    dmidecode_knows_table(machine);
}

constexpr char empty_line[] = "\nLENOVO\n";

// The first line that holds the word counts, and it has no second word.
constexpr char labels_without_facts[] = "\tfamily:\n\tversion:\n";
// "I" has another small letter in some locales.
constexpr char labels_in_capitals[] = "\tFAMILY: WORKSTATION\n\tVERSION: V8\n"
                                      "\tSERIAL NUMBER: PF1234\n";
constexpr char no_labels[] = "System Information\n\tManufacturer: HUAWEI\n";

constexpr char boot_device_name[] = "/proc/bootdevice/product_name";
constexpr char boot_device_card[] = "/proc/bootdevice/cid";

template <const char *table> void flash_machine(constructed_machine &machine)
{
    dmidecode_says<nothing, table>(machine);
    machine.file(boot_device_name, "KLUDG8\n");
    machine.file(boot_device_card, "1501\n");
}

void flash_machine_without_name(constructed_machine &machine)
{
    flash_machine<system_information>(machine);
    machine.file(boot_device_name, "");
}

void flash_machine_without_card(constructed_machine &machine)
{
    flash_machine<system_information>(machine);
    machine.remove(boot_device_card);
}

void flash_machine_with_long_texts(constructed_machine &machine)
{
    dmidecode_prints(machine, "", "\tSerial Number: " + std::string(200, 's') + "\n");
    machine.file(boot_device_name, std::string(200, 'n'));
    machine.file(boot_device_card, std::string(200, 'c'));
}

api_case_list firmware_cases()
{
    constexpr char vendor_name[] = "orvane_get_vendor";
    constexpr char model_name[] = "orvane_get_model";
    constexpr char oem_name[] = "hw_oem_info";
    const auto vendor = answer_of<orvane_get_vendor>;
    const auto model = answer_of<orvane_get_model>;
    const auto oem = answer_of<hw_oem_info>;
    const texts family_or_null = {"ThinkStation", "NULL"};
    const texts version_or_null = {"V7", "NULL"};
    const texts empty_or_null = {"", "NULL"};
    const std::string long_texts =
        std::string(127, 's') + "_" + std::string(127, 'n') + "_" + std::string(127, 'c');
    constexpr auto in_sysfs = facts<vendor_line, model_line>;
    constexpr auto empty_lines = facts<empty_line, empty_line>;
    constexpr auto empty_files = facts<nothing, nothing>;
    constexpr unsigned firmware_tool = tools | path | root;
    return {
        {vendor_name, "sysfs", in_sysfs, vendor, "LENOVO", family_or_null, sys},
        {vendor_name, "empty_line", empty_lines, vendor, "", family_or_null},
        {vendor_name, "empty_file", empty_files, vendor, "ThinkStation", or_null},
        {vendor_name, "dmidecode", dmidecode_knows_table, vendor, "ThinkStation", or_null,
         firmware_tool},
        {vendor_name, "no_word", dmidecode_says<nothing, labels_without_facts>, vendor, "",
         or_null},
        {vendor_name, "capitals", dmidecode_says<nothing, labels_in_capitals>, vendor,
         "WORKSTATION", or_null, firmware_tool, c_locale},
        {vendor_name, "no_line", dmidecode_says<nothing, no_labels>, vendor, "NULL"},
        {vendor_name, "unknown", nullptr, vendor, "NULL"},
        {model_name, "sysfs", in_sysfs, model, "LENOVO_MT_30E0", version_or_null, sys},
        {model_name, "empty_file", empty_files, model, "V7", or_null},
        {model_name, "dmidecode", dmidecode_knows_table, model, "V7", or_null, firmware_tool},
        {model_name, "no_line", dmidecode_says<nothing, no_labels>, model, "NULL"},
        {oem_name, "whole", flash_machine<system_information>, oem, "PF1234_KLUDG8_1501",
         empty_or_null, firmware_tool | proc},
        {oem_name, "truncated", flash_machine_with_long_texts, oem, long_texts, empty_or_null},
        {oem_name, "no_serial_number", flash_machine<no_labels>, oem, "", or_null},
        {oem_name, "no_name", flash_machine_without_name, oem, "", or_null},
        {oem_name, "no_card", flash_machine_without_card, oem, "NULL"},
        {oem_name, "no_boot_device", dmidecode_knows_table, oem, "NULL"},
    };
}

// ---- Readers of what the caller names ----

constexpr char line_file[] = "/srv/calls/line";
constexpr char line_with_zero[] = "/srv/calls/zero";
constexpr char empty_line_file[] = "/srv/calls/empty_line";
constexpr char long_line_file[] = "/srv/calls/long_line";
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
    machine.file(line_with_zero, "LENOVO\0second\n"sv);
    machine.file(empty_line_file, "\nsecond\n");
    machine.file(long_line_file, std::string(1500, 'a'));
    machine.file(empty_file, "");
}

void dmidecode_that_cannot_run(constructed_machine &machine)
{
    machine.file(dmidecode, "", 0644);
}

template <auto reader, const char *source> std::string read_by()
{
    return reported(reader(source));
}

api_case_list reader_cases()
{
    constexpr char from_file[] = "get_machine_info_from_sysfs";
    constexpr char from_tool[] = "get_machine_info_from_dmidecode";
    constexpr char tag_of_file[] = "get_service_tag_from_sysfs";
    constexpr char tag_of_tool[] = "get_service_tag_from_dmidecode";
    constexpr auto file = get_machine_info_from_sysfs;
    constexpr auto tool = get_machine_info_from_dmidecode;
    constexpr auto file_tag = get_service_tag_from_sysfs;
    constexpr auto tool_tag = get_service_tag_from_dmidecode;
    const auto with_tool = dmidecode_knows_table;
    constexpr unsigned firmware_tool = tools | path | root;
    return {
        {from_file, "line", lines, read_by<file, line_file>, "LENOVO ", or_null},
        {from_file, "zero_byte", lines, read_by<file, line_with_zero>, "LENOVO", or_null},
        {from_file, "empty_line", lines, read_by<file, empty_line_file>, "", or_null},
        {from_file, "long_line", lines, read_by<file, long_line_file>, std::string(1023, 'a'),
         or_null},
        {from_file, "empty_file", lines, read_by<file, empty_file>, "NULL"},
        {from_file, "absent", lines, read_by<file, no_file>, "NULL"},
        {from_file, "directory", lines, read_by<file, directory>, "NULL"},
        {from_file, "null", lines, read_by<file, nullptr>, "NULL"},
        {from_tool, "pipeline", with_tool, read_by<tool, pipeline>, "\tSerial Number: PF1234",
         or_null, firmware_tool},
        {from_tool, "empty_line", with_tool, read_by<tool, empty_output>, "", or_null},
        {from_tool, "long_line", with_tool, read_by<tool, long_output>, std::string(1023, '0'),
         or_null},
        {from_tool, "silent", with_tool, read_by<tool, no_output>, "NULL"},
        {from_tool, "not_executable", dmidecode_that_cannot_run, read_by<tool, empty_output>,
         "NULL"},
        {from_tool, "null", with_tool, read_by<tool, nullptr>, "NULL"},
        {tag_of_file, "line", lines, read_by<file_tag, line_file>, "LENOVO ", or_null},
        {tag_of_file, "absent", lines, read_by<file_tag, no_file>, "NULL"},
        {tag_of_tool, "pipeline", with_tool, read_by<tool_tag, pipeline>, "\tSerial Number: PF1234",
         or_null, firmware_tool},
        {tag_of_tool, "absent", dmidecode_says<nothing, no_labels>, read_by<tool_tag, pipeline>,
         "NULL"},
    };
}

// ---- The network identity ----

constexpr char current_of_eth0[] = "02:00:00:00:00:01";
constexpr char current_of_eth1[] = "02:00:00:00:00:02";
constexpr char permanent_of_eth0[] = "00:1a:2b:3c:4d:5e";
constexpr char permanent_of_eth1[] = "00:1a:2b:3c:4d:5f";
constexpr char no_permanent_address[] = "00:00:00:00:00:00";
constexpr char first_slave[] = "a0:00:00:00:00:01";
constexpr char second_slave[] = "a0:00:00:00:00:02";
constexpr char usb_devices[] = "/sys/bus/usb/devices";

void first_card(constructed_machine &machine)
{
    for (const char *const device : {"/usb1", "/1-1", "/1-1:1.0"})
        machine.directory(usb_devices + std::string(device));
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

void two_cards_without_usb(constructed_machine &machine)
{
    two_cards(machine);
    machine.remove(usb_devices);
}

void second_card_on_usb(constructed_machine &machine)
{
    first_card(machine);
    add_card(machine, "eth1", current_of_eth1, permanent_of_eth1, "/sys/devices/usb1/1-1");
}

void first_card_on_usb(constructed_machine &machine)
{
    two_cards(machine);
    machine.link("/sys/class/net/eth0/device", "/sys/devices/usb1/1-1");
    machine.directory("/sys/devices/usb1/1-1");
}

void card_without_device(constructed_machine &machine)
{
    first_card(machine);
    machine.remove("/sys/class/net/eth0/device");
}

void first_card_without_address(constructed_machine &machine)
{
    two_cards(machine);
    machine.remove("/dev/.cards/eth0/address");
}

// The driver does not report the permanent address.
void silent_driver(constructed_machine &machine)
{
    first_card(machine);
    machine.remove("/dev/.cards/eth0/permanent_address");
}

// Most are no card's, and what the shell would read in one of the cards' stays.
void cards_of_other_names(constructed_machine &machine)
{
    machine.directory(usb_devices + std::string("/1-1"));
    add_card(machine, "em1", current_of_eth0, permanent_of_eth0, "/sys/devices/pci0000:00/em1");
    add_card(machine, "en'$(x)", current_of_eth1, permanent_of_eth1, "/sys/devices/pci0000:00/en");
    add_card(machine, "Eth0", second_slave, second_slave, "/sys/devices/pci0000:00/Eth0");
}

// The directory of the reports has a subdirectory too.
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

// An address before any slave does not count, and a slave without one has the next slave's.
void bond_with_gaps(constructed_machine &machine)
{
    machine.file("/proc/net/bonding/bond0", "Permanent HW addr: ff:00:00:00:00:00\n"
                                            "Slave Interface:\n"
                                            "Slave Interface: enp1s0\nMII Status: down\n"
                                            "Slave Interface: enp2s0\n"
                                            "Permanent HW addr: a0:00:00:00:00:02\n"
                                            "Slave Interface: enp3s0\n");
}

// Where descriptors or memory run out, interfaces may be missing or count with the address that
// they have in use. Where the list of USB devices cannot be opened, none is known to be on the bus.
api_case_list network_cases()
{
    constexpr char f[] = "network_interface_get_max_mac";
    const auto mac = answer_of<network_interface_get_max_mac>;
    const texts first_card_fails = {current_of_eth0, "NULL"};
    const texts a_card_fails = {permanent_of_eth0, current_of_eth0, current_of_eth1, "NULL"};
    const texts usb_bus_fails = {permanent_of_eth1, current_of_eth0, "NULL"};
    const texts first_card_counts = {permanent_of_eth0};
    const texts cards_count = {permanent_of_eth0, permanent_of_eth1};
    const texts a_slave_fails = {first_slave, permanent_of_eth0, "NULL"};
    const texts a_bond_fails = {first_slave, "a0:00:00:00:00:00", "NULL"};
    constexpr unsigned link_reader = kernel_requests | tools | path;
    return with_traits(
        ends_without_memory,
        {
            {f, "two_cards", two_cards, mac, permanent_of_eth1, a_card_fails, link_reader},
            {f, "no_usb_bus", two_cards_without_usb, mac, permanent_of_eth1, a_card_fails},
            {f, "card_on_usb", second_card_on_usb, mac, permanent_of_eth0, usb_bus_fails,
             link_reader | sys},
            {f, "no_device", card_without_device, mac, "NULL", first_card_counts},
            // The walk ends before the second card.
            {f, "first_on_usb", first_card_on_usb, mac, "NULL", cards_count},
            {f, "no_address", first_card_without_address, mac, "NULL"},
            {f, "silent_driver", silent_driver, mac, no_permanent_address, first_card_fails},
            {f, "other_names", cards_of_other_names, mac, permanent_of_eth1, a_card_fails},
            {f, "bond", bonded_cards, mac, second_slave, a_slave_fails, proc},
            {f, "two_bonds", two_bonds, mac, second_slave, a_bond_fails},
            {f, "bond_with_gaps", bond_with_gaps, mac, second_slave, or_null},
            {f, "no_card", nullptr, mac, "NULL"},
            {"orvane_get_network_interface_max_mac", "one_card", first_card,
             answer_of<orvane_get_network_interface_max_mac>, permanent_of_eth0, first_card_fails,
             link_reader},
        });
}

// ---- The manufacturer ----

constexpr char lenovo_keyword[] = "LENOVO\n";
constexpr char great_wall_keyword[] = "Great Wall\n";
constexpr char inspur_keyword[] = "INSPUR\n";
constexpr char small_lenovo_keyword[] = "lenovo\n";
constexpr char empty_keyword[] = "\n";
constexpr char lenovo_table[] = "\tManufacturer: LENOVO\n";

constexpr auto made_by_lenovo = dmidecode_says<lenovo_keyword, system_information>;
constexpr auto made_by_great_wall = dmidecode_says<great_wall_keyword, nothing>;
constexpr auto made_by_inspur = dmidecode_says<inspur_keyword, nothing>;
constexpr auto lenovo_in_table = dmidecode_says<nothing, lenovo_table>;
// An empty line is an answer, and the table is not queried.
constexpr auto made_by_nobody = dmidecode_says<empty_keyword, lenovo_table>;
constexpr auto made_by_small_lenovo = dmidecode_says<small_lenovo_keyword, nothing>;

constexpr char several_patterns[] = "empty=\ntongfang=THTF\nlenovo=KaiTian|LENOVO\nHUAWEI=HUAWEI\n";
constexpr char great_wall_pattern[] = "greatwall=Great wall\n";
constexpr char inspur_pattern[] = "Inspur=Inspur\n";
constexpr char pattern_in_pieces[] = "any=Nobody|In spur\n";
constexpr char empty_piece[] = "any=Nobody|\n";

template <const char *patterns, bool ignore_case> std::string type_by()
{
    const std::string text = "[manufacturer_patterns]\n" + std::string(patterns);
    return reported(maching_machine_type(key_file_of(text).get(), ignore_case));
}

std::string type_without_group()
{
    return reported(maching_machine_type(key_file_of("[other]\nlenovo=LENOVO\n").get(), false));
}

std::string type_without_patterns()
{
    return reported(maching_machine_type(nullptr, false));
}

std::string type_by_own_patterns()
{
    const owned_key_file exact(generate_machine_whitelist());
    const owned_key_file folded(generate_machine_whitelist_ignore_case());
    const int type = maching_machine_type(exact.get(), false);
    return reported(type != -1 ? type : maching_machine_type(folded.get(), true));
}

std::string all_type_names()
{
    std::string names;
    for (int type = -1; type <= 13; ++type)
        names += std::string(machineTypeToString(type)) + " ";
    return names;
}

std::string matches()
{
    std::string answers;
    constexpr const char *pairs[][2] = {
        {"LENOVO Ltd", "LENOVO"}, {"LEN", "LENOVO"},   {"LEN", ""},
        {nullptr, "LENOVO"},      {"LENOVO", nullptr}, {nullptr, nullptr}};
    for (const auto &[manufacturer, pattern] : pairs)
        answers += maching_machine_type_with_dmidecode(manufacturer, pattern) ? "1" : "0";
    return answers;
}

std::string found_types()
{
    std::string answers;
    constexpr const char *names[] = {"HUAWEI", "Great", "", "huawei", nullptr};
    for (const char *const name : names)
        answers += reported(findTypeEnum(name)) + " ";
    return answers;
}

template <auto generate> std::string patterns()
{
    const owned_key_file kf(generate());
    return kf ? text_of(kf.get()) : "NULL";
}

template <const char *text> void processor(constructed_machine &machine)
{
    machine.file("/proc/cpuinfo", text);
}

constexpr char kirin_9006c[] = "processor\t: 0\nHardware\t: HISILICON Kirin 9006C\n";
constexpr char kirin_9a0[] = " hard ware : kirin 9 a 0 or so";
constexpr char other_processor[] = "processor\t: 0\nHardware\t: Phytium\n"
                                   "model name\t: Kirin 990\n";

api_case_list manufacturer_cases()
{
    constexpr char f[] = "maching_machine_type";
    constexpr char lenovo[] = "is_lenovo_machine";
    constexpr char kirin[] = "is_huawei_9x0";
    const auto by_several = type_by<several_patterns, false>;
    const auto is_lenovo = answer_of<is_lenovo_machine>;
    const auto is_kirin = answer_of<is_huawei_9x0>;
    const texts none = {"-1"};
    const texts table_or_none = {"12", "-1"};
    const texts zero = {"0"};
    return joined({
        with_traits(
            ends_without_memory,
            {
                {f, "keyword", made_by_lenovo, by_several, "0", table_or_none, tools | root},
                {f, "table", lenovo_in_table, by_several, "0", none, tools | path | root},
                {f, "without_case", made_by_great_wall, type_by<great_wall_pattern, true>, "1",
                 none},
                {f, "without_case_of_i", made_by_inspur, type_by<inspur_pattern, true>, "2", none,
                 tools | root},
                {f, "pieces_without_case", made_by_inspur, type_by<pattern_in_pieces, true>, "2",
                 none},
                {f, "own_patterns", made_by_great_wall, type_by_own_patterns, "1", none},
                {f, "empty_piece", made_by_great_wall, type_by<empty_piece, false>, "0", none},
                {f, "empty_line", made_by_nobody, by_several, "-1", zero},
                {f, "no_match", made_by_inspur, by_several, "-1"},
                {f, "no_group", made_by_lenovo, type_without_group, "-1"},
                {f, "null", made_by_lenovo, type_without_patterns, "-1"},
                {f, "unknown", nullptr, by_several, "-1"},
                {"generate_machine_whitelist", "all", nullptr, patterns<generate_machine_whitelist>,
                 exact_patterns},
                {"generate_machine_whitelist_ignore_case", "all", nullptr,
                 patterns<generate_machine_whitelist_ignore_case>, patterns_without_case},
            }),
        with_traits(succeeds_without_memory,
                    {
                        {"maching_machine_type_with_dmidecode", "all", nullptr, matches, "101000"},
                        {"findTypeEnum", "all", nullptr, found_types, "12 1 0 -1 -1 "},
                        {"machineTypeToString", "all", nullptr, all_type_names,
                         "TYPE_UNKNOWN TYPE_LENOVO TYPE_GREATWALL TYPE_INSPUR TYPE_TONGFANG "
                         "TYPE_BAIXIN TYPE_SHUGUANG TYPE_HAIER TYPE_706SUO TYPE_KUNTAI "
                         "TYPE_ZIGUANG TYPE_SEEWO TYPE_LIANSHUO TYPE_HUAWEI TYPE_UNKNOWN "},
                    }),
        {
            {"get_machine_info_simulate", "never", nullptr,
             [] { return std::string(get_machine_info_simulate() == nullptr ? "NULL" : "text"); },
             "NULL"},
            {lenovo, "keyword", made_by_lenovo, is_lenovo, "1", zero, tools | root},
            {lenovo, "table", lenovo_in_table, is_lenovo, "1", zero, tools | path | root},
            {lenovo, "small_letters", made_by_small_lenovo, is_lenovo, "0"},
            {lenovo, "unknown", nullptr, is_lenovo, "0"},
            {kirin, "kirin", processor<kirin_9006c>, is_kirin, "1", zero, proc},
            {kirin, "kirin_9a0", processor<kirin_9a0>, is_kirin, "1", zero},
            {kirin, "other", processor<other_processor>, is_kirin, "0"},
            {kirin, "no_file", nullptr, is_kirin, "0"},
        },
    });
}

} // namespace

api_case_list machine_cases()
{
    return joined(
        {uuid_cases(), firmware_cases(), reader_cases(), network_cases(), manufacturer_cases()});
}
