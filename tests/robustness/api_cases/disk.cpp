// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "api_case.h"
#include "orvane.h"

#include <string>

namespace {

using answering_kernel::add_disk;
using answering_kernel::disk_kind;

constexpr char dmsetup[] = "/usr/sbin/dmsetup";
constexpr char smartctl[] = "/usr/sbin/smartctl";
constexpr char lsblk[] = "/usr/bin/lsblk";
constexpr char lvdisplay[] = "/sbin/lvdisplay";
constexpr char pvdisplay[] = "/sbin/pvdisplay";

constexpr char smartctl_report[] = "Model Family:     Common Disks\n"
                                   "Device Model:     SMART DISK 1\n"
                                   "Serial Number:    S77\n";

// ---- The root device ----

void root_in_mount_table(constructed_machine &machine, const std::string &device)
{
    machine.file("/proc/mounts", "rootfs / rootfs rw 0 0\n" + device + " / ext4 rw 0 0\n");
}

// The mount table names one partition, the command line another.
void root_in_both_sources(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda2");
    machine.file("/proc/cmdline", "quiet root=/dev/sda3 ro\n");
    machine.block_device("/dev/sda2");
    machine.block_device("/dev/sda3");
}

void root_on_command_line(constructed_machine &machine)
{
    machine.file("/proc/mounts", "overlay / overlay rw 0 0\n");
    machine.file("/proc/cmdline", "quiet root=/dev/sda3 ro\n");
    machine.block_device("/dev/sda3");
}

void root_on_no_block_device(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/root");
    machine.file("/proc/cmdline", "root=PARTUUID=8a2f-11\n");
}

template <const char *line> void command_line(constructed_machine &machine)
{
    machine.file("/srv/calls/command_line", line);
}

constexpr char root_by_uuid[] = "BOOT_IMAGE=/vmlinuz root=UUID=8a2f-11 ro quiet\n";
constexpr char root_by_label[] = "root=LABEL=a/b ro\n";
constexpr char root_by_device[] = "ro root=/dev/vda1\n";
constexpr char root_by_unknown_form[] = "root=PARTUUID=8a2f-11\n";
constexpr char no_root[] = "ro quiet\nroot=/dev/vda1\n";
constexpr char uuid_without_value[] = "root=UUID ro\n";

void too_long_command_line(constructed_machine &machine)
{
    machine.file("/srv/calls/command_line", std::string(4096, 'x') + "\n");
}

template <const char *path> std::string root_on_line()
{
    return reported(command_line_get_root_device_name(path));
}

constexpr char command_line_file[] = "/srv/calls/command_line";
constexpr char no_file[] = "/proc/none";

api_case_list root_device_cases()
{
    const auto root = [] { return reported(root_device()); };
    const auto line = root_on_line<command_line_file>;
    const texts device_or_null = {"/dev/sda3", "NULL"};
    constexpr char on_line[] = "command_line_get_root_device_name";
    return joined({
        {
            {"root_device", "mounted", root_in_both_sources, root, "/dev/sda2", device_or_null,
             proc},
            {"root_device", "booted", root_on_command_line, root, "/dev/sda3", or_null, proc},
            {"root_device", "no_block_device", root_on_no_block_device, root, "NULL"},
            {"root_device", "unknown", nullptr, root, "NULL"},
        },
        with_truncated(
            {""},
            {
                {on_line, "uuid", command_line<root_by_uuid>, line, "/dev/disk/by-uuid/8a2f-11",
                 or_null},
                {on_line, "label", command_line<root_by_label>, line, "/dev/disk/by-label/a\\x2fb",
                 or_null},
                {on_line, "device", command_line<root_by_device>, line, "/dev/vda1", or_null},
                {on_line, "unknown_form", command_line<root_by_unknown_form>, line, "PARTUUID",
                 or_null},
                {on_line, "no_word", command_line<no_root>, line, "NULL"},
                {on_line, "no_uuid", command_line<uuid_without_value>, line, "NULL"},
                {on_line, "no_file", nullptr, root_on_line<no_file>, "NULL"},
                {on_line, "null", nullptr, root_on_line<nullptr>, "NULL"},
            }),
        {
            {.function = on_line,
             .name = "too_long",
             .furnish = too_long_command_line,
             .run = line,
             .failures = or_null,
             .traits = single_thread,
             .ends_with = "liborvane: fatal: the kernel command line is longer than 4095 "
                          "characters\n"},
        },
    });
}

// ---- The kernel's identity of a disk ----

void ata_disk(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "ACME SSD 860", " S5 42");
}

void ata_disk_without_name(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "", "");
}

void disk_without_driver(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
}

void nvme_partition(constructed_machine &machine)
{
    machine.block_device("/dev/nvme0n1p2", 259, 2);
}

void nvme_disk_without_serial(constructed_machine &machine)
{
    nvme_partition(machine);
    machine.file("/sys/block/nvme0n1/device/model", "ACME  NVMe 970        \n");
}

// One of two names in /sys/block is the disk's.
void nvme_disk(constructed_machine &machine)
{
    nvme_disk_without_serial(machine);
    machine.file("/sys/block/nvme0n1/device/serial", "N1234 \n");
    machine.directory("/sys/block/loop0");
}

void mapped_device(constructed_machine &machine)
{
    machine.block_device("/dev/dm-0", 253, 0);
    machine.link("/dev/mapper/root", "../dm-0");
    machine.remove(lsblk);
}

void mapping_of(constructed_machine &machine, const std::string &device)
{
    mapped_device(machine);
    add_tool(machine, dmsetup, "1 dependencies\t: (" + device + ")\n");
}

void mapping_of_whole_disk(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "ACME SSD 860", "S542");
    mapping_of(machine, "sda");
}

void mapping_of_nvme_partition(constructed_machine &machine)
{
    nvme_disk(machine);
    add_disk(machine, "/dev/nvme0n1p2", "", "", disk_kind::partition);
    mapping_of(machine, "nvme0n1p2");
}

// The mapped device passes the request on to its disk.
void mapping_of_ata_partition(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda2", "", "", disk_kind::partition);
    mapping_of(machine, "sda2");
    add_disk(machine, "/dev/dm-0", "ACME SSD 860", "S542", disk_kind::partition);
}

// lsblk knows the disk, and its answer begins like an NVMe disk's name.
void mapping_of_listed_disk(constructed_machine &machine)
{
    nvme_disk(machine);
    mapping_of(machine, "nvme7n1");
    add_tool(machine, lsblk,
             R"({"blockdevices": [{"name": "/dev/sda", "serial": "S", "model": "M"},)"
             R"({"name": "/dev/nvme7n1", "serial": "N1", "model": "nvme0n1"}]})");
}

// The mapped device answers for itself where nothing is known of the device below it.
void mapping_that_answers(constructed_machine &machine)
{
    mapped_device(machine);
    add_disk(machine, "/dev/dm-0", "ACME SSD 860", "S542", disk_kind::partition);
}

template <const char *report> void mapping_reported_as(constructed_machine &machine)
{
    mapping_that_answers(machine);
    add_tool(machine, dmsetup, report);
}

constexpr char no_devices[] = "0 dependencies\n";
constexpr char two_devices[] = "2 dependencies\t: (sdb1) (sda1)\n";
constexpr char no_report[] = "";
constexpr char missing_device[] = "1 dependencies\t: (sda9)\n";

template <const char *listing> void mapping_listed_as(constructed_machine &machine)
{
    mapping_reported_as<missing_device>(machine);
    add_tool(machine, lsblk, listing);
}

constexpr char no_json[] = "lsblk: unknown column: model\n";
constexpr char no_list[] = R"({"devices": []})";
constexpr char no_names[] = R"({"blockdevices": [{}, {"name": null}, {"name": "/dev/"}]})";
constexpr char no_serial[] =
    R"({"blockdevices": [{"name": "/dev/sda9", "serial": null, "model": "M"}]})";

void dmsetup_that_cannot_run(constructed_machine &machine)
{
    mapped_device(machine);
    machine.file(dmsetup, "#!/nowhere/interpreter\n", 0755);
}

template <const char *device> std::string identity()
{
    return reported(harddisk_id(device));
}

constexpr char sda[] = "/dev/sda";
constexpr char nvme0n1p2[] = "/dev/nvme0n1p2";
constexpr char mapper_root[] = "/dev/mapper/root";
constexpr char dev_null[] = "/dev/null";

api_case_list kernel_identity_cases()
{
    constexpr char f[] = "harddisk_id";
    constexpr auto mapped = identity<mapper_root>;
    constexpr char ata_identity[] = "ACMESSD860_S542";
    constexpr char nvme_identity[] = "ACME-NVMe-970_N1234";
    constexpr unsigned mapping = takes_first_read | waits_for_any_child;
    return joined({
        with_truncated(
            {""},
            {
                {f, "ata", ata_disk, identity<sda>, ata_identity, or_null, kernel_requests | root},
                {f, "ata_without_name", ata_disk_without_name, identity<sda>, "_", or_null},
                {f, "no_driver", disk_without_driver, identity<sda>, "NULL"},
                {f, "nvme", nvme_disk, identity<nvme0n1p2>, nvme_identity, or_null, sys},
                {f, "nvme_without_sysfs", nvme_partition, identity<nvme0n1p2>, "NULL"},
                {f, "nvme_without_serial", nvme_disk_without_serial, identity<nvme0n1p2>, "NULL"},
                {f, "no_device", nullptr, identity<sda>, "NULL"},
                {f, "no_block_device", nullptr, identity<dev_null>, "NULL"},
                {f, "null", nullptr, identity<nullptr>, "NULL"},
            }),
        with_traits(
            mapping,
            with_truncated(
                {""},
                {
                    {f, "mapped_whole_disk", mapping_of_whole_disk, mapped, sda, or_null,
                     tools | root},
                    {f, "mapped_nvme", mapping_of_nvme_partition, mapped, nvme_identity, or_null,
                     tools | root | sys},
                    {f, "mapped_nvme_without_1", mapping_of_nvme_partition,
                     without_descriptors<mapped, 1>, nvme_identity, or_null, 0, 0, single_thread},
                    {f, "mapped_nvme_without_0_and_1", mapping_of_nvme_partition,
                     without_descriptors<mapped, 0, 1>, nvme_identity, or_null, 0, 0,
                     single_thread},
                    {f, "mapped_ata", mapping_of_ata_partition, mapped, ata_identity, or_null},
                    {f, "mapped_listed", mapping_of_listed_disk, mapped, nvme_identity, or_null,
                     tools | root | sys},
                    {f, "mapped_without_dmsetup", mapping_that_answers, mapped, ata_identity,
                     or_null},
                    {f, "mapped_alone", mapping_reported_as<no_devices>, mapped, ata_identity,
                     or_null},
                    {f, "mapped_to_two", mapping_reported_as<two_devices>, mapped, ata_identity,
                     or_null},
                    {f, "mapped_without_report", mapping_reported_as<no_report>, mapped,
                     ata_identity, or_null},
                    {f, "mapped_without_lsblk", mapping_reported_as<missing_device>, mapped,
                     ata_identity, or_null},
                    {f, "listed_as_no_json", mapping_listed_as<no_json>, mapped, ata_identity,
                     or_null},
                    {f, "listed_as_no_list", mapping_listed_as<no_list>, mapped, ata_identity,
                     or_null},
                    {f, "listed_without_names", mapping_listed_as<no_names>, mapped, ata_identity,
                     or_null},
                    {f, "listed_without_serial", mapping_listed_as<no_serial>, mapped, ata_identity,
                     or_null},
                    {f, "dmsetup_that_cannot_run", dmsetup_that_cannot_run, mapped, "NULL"},
                })),
    });
}

// ---- Tools ----

void smartctl_knows_disk(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
    add_tool(machine, smartctl, smartctl_report);
}

void smartctl_knows_no_serial(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
    add_tool(machine, smartctl, "Device Model: SMART DISK 1\n");
}

void smartctl_knows(constructed_machine &machine, const std::string &device)
{
    machine.block_device(device);
    add_script(machine, smartctl,
               "[ \"$2\" = \"" + device + "\" ] && " + printing(smartctl_report));
}

constexpr char odd_name[] = "/dev/a 'disk'";

void smartctl_and_odd_name(constructed_machine &machine)
{
    smartctl_knows(machine, odd_name);
}

template <const char *device> std::string smart_identity()
{
    return reported(harddisk_id_smartctl(device));
}

template <const char *type> void lsblk_of_type(constructed_machine &machine)
{
    add_tool(machine, "/bin/lsblk", type);
}

constexpr char volume[] = "lvm\n";
constexpr char partition[] = "part\n";
constexpr char no_type[] = "";

// Where /bin is a directory of its own, there may be one in each.
void no_lsblk(constructed_machine &machine)
{
    machine.remove(lsblk);
    machine.remove("/bin/lsblk");
}

template <const char *device> std::string is_volume()
{
    return is_logical_volume(device) == 0 ? "0" : "not 0";
}

void volume_on(constructed_machine &machine, const std::string &physical)
{
    machine.block_device("/dev/dm-0", 253, 0);
    machine.link("/dev/mapper/vg-root", "../dm-0");
    add_tool(machine, lvdisplay,
             "  --- Logical volume ---\n"
             "  LV Name                root\n"
             "  VG Name                vg\n");
    smartctl_knows(machine, "/dev/sda3");
    add_tool(machine, pvdisplay,
             "  --- Physical volume ---\n"
             "  PV Name               " +
                 physical + "\n  VG Name               vg\n");
}

void volume_on_partition(constructed_machine &machine)
{
    volume_on(machine, "/dev/sda3");
}

void volume_on_encrypted_partition(constructed_machine &machine)
{
    volume_on(machine, "/dev/mapper/sda3_crypt");
}

void volume_on_unknown_partition(constructed_machine &machine)
{
    volume_on(machine, "/dev/mapper/sdz9_crypt");
}

void volume_without_group(constructed_machine &machine)
{
    volume_on_partition(machine);
    add_tool(machine, lvdisplay, "  --- Logical volume ---\n");
}

void volume_of_another_group(constructed_machine &machine)
{
    volume_on_partition(machine);
    add_tool(machine, lvdisplay, "  VG Name                data\n");
}

void volume_without_pvdisplay(constructed_machine &machine)
{
    volume_on_partition(machine);
    machine.remove(pvdisplay);
}

constexpr char mapper_vg_root[] = "/dev/mapper/vg-root";

template <const char *device> std::string volume_identity()
{
    return reported(harddisk_id_lvm(device));
}

void model_in_sysfs(constructed_machine &machine)
{
    machine.file("/sys/block/nvme0n1/device/model", "ACME NVMe 970\n");
}

template <const char *disk> std::string nvme_model()
{
    return reported(harddisk_id_nvme_new(disk));
}

constexpr char nvme0n1[] = "nvme0n1";
constexpr char two_words[] = "nvme9 n1";

api_case_list tool_cases()
{
    constexpr char smart[] = "harddisk_id_smartctl";
    constexpr char is_lvm[] = "is_logical_volume";
    constexpr char lvm[] = "harddisk_id_lvm";
    constexpr char model[] = "harddisk_id_nvme_new";
    constexpr char smart_answer[] = "SMARTDISK1_S77";
    const texts no_volume = {"0"};
    const texts volume_or_not = {"not 0"};
    const texts empty_or_null = {"", "NULL"};
    const auto on_volume = volume_identity<mapper_vg_root>;
    return joined({
        with_truncated(
            {""},
            {
                {smart, "report", smartctl_knows_disk, smart_identity<sda>, smart_answer, or_null,
                 tools | root},
                {smart, "odd_name", smartctl_and_odd_name, smart_identity<odd_name>, smart_answer,
                 or_null},
                {smart, "no_serial", smartctl_knows_no_serial, smart_identity<sda>, "NULL"},
                {smart, "no_smartctl", ata_disk, smart_identity<sda>, "NULL"},
                {smart, "no_block_device", smartctl_knows_disk, smart_identity<dev_null>, "NULL"},
                {smart, "null", smartctl_knows_disk, smart_identity<nullptr>, "NULL"},
                {lvm, "partition", volume_on_partition, on_volume, smart_answer, or_null,
                 tools | root},
                {lvm, "encrypted_partition", volume_on_encrypted_partition, on_volume, smart_answer,
                 or_null},
                {lvm, "unknown_partition", volume_on_unknown_partition, on_volume, "NULL"},
                {lvm, "no_group", volume_without_group, on_volume, "NULL"},
                {lvm, "another_group", volume_of_another_group, on_volume, "NULL"},
                {lvm, "no_pvdisplay", volume_without_pvdisplay, on_volume, "NULL"},
                {lvm, "no_device", volume_on_partition, volume_identity<sda>, "NULL"},
                {lvm, "null", volume_on_partition, volume_identity<nullptr>, "NULL"},
            }),
        {
            {is_lvm, "volume", lsblk_of_type<volume>, is_volume<sda>, "not 0", no_volume, 0, tools},
            // Where no line can be read, the device counts as a volume.
            {is_lvm, "partition", lsblk_of_type<partition>, is_volume<sda>, "0", volume_or_not},
            {is_lvm, "no_line", lsblk_of_type<no_type>, is_volume<sda>, "not 0", no_volume},
            {is_lvm, "no_lsblk", no_lsblk, is_volume<sda>, "0"},
            {is_lvm, "null", lsblk_of_type<volume>, is_volume<nullptr>, "0"},
            {model, "model", model_in_sysfs, nvme_model<nvme0n1>, "ACM", empty_or_null,
             tools | path | sys},
            {model, "no_disk", nullptr, nvme_model<two_words>, "", or_null},
            {model, "null", nullptr, nvme_model<nullptr>, "NULL"},
        },
    });
}

// ---- The listing ----

void listing(constructed_machine &machine)
{
    add_tool(machine, lsblk, R"({"blockdevices": []})");
}

const std::string &first_line_of_listing()
{
    static const std::string line = std::string(2047, ' ') + "\n";
    return line;
}

void listing_of_4096_bytes(constructed_machine &machine)
{
    add_tool(machine, lsblk, first_line_of_listing() + std::string(2048, ' '));
}

constexpr char root_on_second_disk[] = R"({"blockdevices": [)"
                                       R"({"name": "sda", "children": null},)"
                                       R"({"name": "sdb", "children": [)"
                                       R"({"name": "sdb1", "mountpoint": "/boot"},)"
                                       R"({"name": "sdb2", "mountpoint": "/"}]}]})";
constexpr char root_on_unnamed_disk[] = R"({"blockdevices": [)"
                                        R"({"name": 7, "children": [{"mountpoint": "/"}]}]})";
constexpr char one_disk[] = R"({"blockdevices": {"name": "sda"}})";
constexpr char broken_json[] = "{\"blockdevices\": [}";

template <const char *json> std::string root_disk()
{
    return reported(find_root_disk(json));
}

// A listing ends where reading fails, and is empty where the shell finds no command.
api_case_list listing_cases()
{
    constexpr char list[] = "get_lsblk_output";
    constexpr char find[] = "find_root_disk";
    const auto lists = [] { return reported(get_lsblk_output()); };
    const texts empty_or_null = {"", "NULL"};
    return {
        {list, "listing", listing, lists, R"({"blockdevices": []})", empty_or_null, tools | path},
        {list, "no_lsblk", no_lsblk, lists, "", or_null},
        {.function = list,
         .name = "too_long",
         .furnish = listing_of_4096_bytes,
         .run = lists,
         .failures = {"", first_line_of_listing(), "NULL"},
         .traits = single_thread,
         .ends_with = "liborvane: fatal: the listing of lsblk is longer than 4095 characters\n"},
        {find, "second_disk", nullptr, root_disk<root_on_second_disk>, "sdb", or_null},
        {find, "unnamed", nullptr, root_disk<root_on_unnamed_disk>, "NULL"},
        {find, "no_array", nullptr, root_disk<one_disk>, "NULL"},
        {find, "no_json", nullptr, root_disk<broken_json>, "NULL"},
        {find, "null", nullptr, root_disk<nullptr>, "NULL"},
    };
}

// ---- The identity of the disk below the root file system ----

// No tool can answer in the kernel's place without being noticed.
void root_on_ata_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda1");
    add_disk(machine, "/dev/sda1", "ACME SSD 860", "S542", disk_kind::partition);
    add_tool(machine, smartctl, smartctl_report);
    lsblk_of_type<partition>(machine);
}

void root_on_nvme_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/nvme0n1p2");
    nvme_disk(machine);
    lsblk_of_type<partition>(machine);
}

void root_that_smartctl_knows(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda");
    smartctl_knows_disk(machine);
    lsblk_of_type<partition>(machine);
}

void root_on_logical_volume(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/mapper/vg-root");
    volume_on_partition(machine);
    add_tool(machine, dmsetup, "1 dependencies\t: (sda3)\n");
    lsblk_of_type<volume>(machine);
}

void root_without_answer(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda1");
    machine.block_device("/dev/sda1");
    lsblk_of_type<partition>(machine);
}

api_case_list disk_identity_cases()
{
    constexpr char f[] = "orvane_get_harddisk_id";
    const auto identity = [] { return reported(orvane_get_harddisk_id()); };
    const texts smartctl_or_null = {"SMARTDISK1_S77", "NULL"};
    return with_truncated(
        {""},
        {
            {f, "ata", root_on_ata_disk, identity, "ACMESSD860_S542", smartctl_or_null,
             kernel_requests | root | proc},
            {f, "nvme", root_on_nvme_disk, identity, "ACME-NVMe-970_N1234", or_null, proc | sys},
            {f, "smartctl", root_that_smartctl_knows, identity, "SMARTDISK1_S77", or_null,
             tools | root | proc},
            {f, "lvm", root_on_logical_volume, identity, "SMARTDISK1_S77", or_null,
             tools | root | proc, 0, takes_first_read | waits_for_any_child},
            {f, "no_answer", root_without_answer, identity, "NULL"},
            {f, "no_root", nullptr, identity, "NULL"},
        });
}

} // namespace

api_case_list disk_cases()
{
    return joined({root_device_cases(), kernel_identity_cases(), tool_cases(), listing_cases(),
                   disk_identity_cases()});
}
