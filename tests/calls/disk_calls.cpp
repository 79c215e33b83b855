// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "answers.h"
#include "call_lists.h"
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

void command_lines(constructed_machine &machine)
{
    machine.file("/proc/cmdline", "BOOT_IMAGE=/vmlinuz root=UUID=8a2f-11 ro quiet\n");
    machine.file("/srv/calls/label", "root=LABEL=a/b ro\n");
    machine.file("/srv/calls/device", "ro root=/dev/vda1\n");
    machine.file("/srv/calls/none", "ro quiet\n");
    machine.file("/srv/calls/long", std::string(4096, 'x') + "\n");
}

std::string named_in(const char *file)
{
    return told(command_line_get_root_device_name(file));
}

std::vector<library_call> root_device_calls()
{
    return {
        {
            .function = "root_device",
            .way = "mounted",
            .furnish = root_in_both_sources,
            .run = [] { return told(root_device()); },
            .answer = "/dev/sda2",
            .failures = {"/dev/sda3", "NULL"},
        },
        {
            .function = "root_device",
            .way = "booted",
            .furnish = root_on_command_line,
            .run = [] { return told(root_device()); },
            .answer = "/dev/sda3",
            .failures = {"NULL"},
        },
        {
            .function = "root_device",
            .way = "unknown",
            .furnish = nullptr,
            .run = [] { return told(root_device()); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "uuid",
            .furnish = command_lines,
            .run = [] { return named_in("/proc/cmdline"); },
            .answer = "/dev/disk/by-uuid/8a2f-11",
            .failures = {"NULL"},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "label",
            .furnish = command_lines,
            .run = [] { return named_in("/srv/calls/label"); },
            .answer = "/dev/disk/by-label/a\\x2fb",
            .failures = {"NULL"},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "device",
            .furnish = command_lines,
            .run = [] { return named_in("/srv/calls/device"); },
            .answer = "/dev/vda1",
            .failures = {"NULL"},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "no_word",
            .furnish = command_lines,
            .run = [] { return named_in("/srv/calls/none"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "no_file",
            .furnish = nullptr,
            .run = [] { return named_in("/proc/none"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "command_line_get_root_device_name",
            .way = "too_long",
            .furnish = command_lines,
            .run = [] { return named_in("/srv/calls/long"); },
            .answer = "",
            .failures = {"NULL"},
            .ends_with =
                "liborvane: fatal: the kernel command line is longer than 4095 characters\n",
            .thread_safe = false, // its end is everybody's
        },
    };
}

// ---- The kernel's identity of a disk ----

void ata_disk(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "ACME SSD 860", " S5 42");
    machine.link("/dev/disk/by-id/ata-acme", "../../sda");
}

// One of two disks in /sys/block is the partition's.
void nvme_disk(constructed_machine &machine)
{
    machine.block_device("/dev/nvme0n1p2", 259, 2);
    machine.file("/sys/block/nvme0n1/device/model", "ACME  NVMe 970        \n");
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
    machine.tool(dmsetup, "1 dependencies\t: (" + device + ")\n");
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

// The lister knows the disk, and its text begins like an NVMe disk's name.
void mapping_of_listed_disk(constructed_machine &machine)
{
    nvme_disk(machine);
    mapping_of(machine, "nvme7n1");
    machine.tool(lsblk, R"({"blockdevices": [{"name": "/dev/sda", "serial": "S", "model": "M"},)"
                        R"({"name": "/dev/nvme7n1", "serial": "N1", "model": "nvme0n1"}]})");
}

void mapping_of_unlisted_disk(constructed_machine &machine)
{
    mapping_of(machine, "gone");
    machine.tool(lsblk, R"({"blockdevices": [{"name": null}, {"name": "/dev/sda"}]})");
}

void mapping_of_nothing(constructed_machine &machine)
{
    mapped_device(machine);
    add_disk(machine, "/dev/dm-0", "ACME SSD 860", "S542", disk_kind::partition);
    machine.tool(dmsetup, "0 dependencies\n");
}

// dmsetup is there, but what shall run it is not.
void dmsetup_that_cannot_run(constructed_machine &machine)
{
    mapped_device(machine);
    machine.file(dmsetup, "#!/nowhere/interpreter\n", 0755);
}

std::string identity_of(const char *device)
{
    return told(harddisk_id(device));
}

std::vector<library_call> kernel_identity_calls()
{
    return {
        {
            .function = "harddisk_id",
            .way = "ata",
            .furnish = ata_disk,
            .run = [] { return identity_of("/dev/sda"); },
            .answer = "ACMESSD860_S542",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id",
            .way = "link",
            .furnish = ata_disk,
            .run = [] { return identity_of("/dev/disk/by-id/ata-acme"); },
            .answer = "ACMESSD860_S542",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id",
            .way = "nvme",
            .furnish = nvme_disk,
            .run = [] { return identity_of("/dev/nvme0n1p2"); },
            .answer = "ACME-NVMe-970_N1234",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id",
            .way = "no_device",
            .furnish = nullptr,
            .run = [] { return identity_of("/dev/sdz"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "harddisk_id",
            .way = "no_block_device",
            .furnish = nullptr,
            .run = [] { return identity_of("/dev/null"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "harddisk_id",
            .way = "mapped_whole_disk",
            .furnish = mapping_of_whole_disk,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "/dev/sda",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "mapped_nvme",
            .furnish = mapping_of_nvme_partition,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "ACME-NVMe-970_N1234",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "mapped_ata",
            .furnish = mapping_of_ata_partition,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "ACMESSD860_S542",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "mapped_listed",
            .furnish = mapping_of_listed_disk,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "ACME-NVMe-970_N1234",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "mapped_unlisted",
            .furnish = mapping_of_unlisted_disk,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "NULL",
            .failures = {},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "mapped_alone",
            .furnish = mapping_of_nothing,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "ACMESSD860_S542",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "harddisk_id",
            .way = "dmsetup_that_cannot_run",
            .furnish = dmsetup_that_cannot_run,
            .run = [] { return identity_of("/dev/mapper/root"); },
            .answer = "NULL",
            .failures = {},
            .thread_safe = false,
        },
    };
}

// ---- Tools ----

void smartctl_knows_disk(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
    machine.tool(smartctl, smartctl_report);
}

void smartctl_knows_no_serial(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
    machine.tool(smartctl, "Device Model: SMART DISK 1\n");
}

// A name that the shell must not take for more than a word.
void smartctl_and_odd_name(constructed_machine &machine)
{
    machine.block_device("/dev/a 'disk'");
    machine.script(smartctl, "[ \"$2\" = \"/dev/a 'disk'\" ] && cat <<'REPORT'\n" +
                                 std::string(smartctl_report) + "REPORT");
}

void lister_of_type(constructed_machine &machine, const std::string &type)
{
    machine.tool("/bin/lsblk", type);
}

void logical_volume(constructed_machine &machine)
{
    machine.block_device("/dev/dm-0", 253, 0);
    machine.link("/dev/mapper/vg-root", "../dm-0");
    machine.tool(lvdisplay, "  --- Logical volume ---\n"
                            "  LV Name                root\n"
                            "  VG Name                vg\n");
    machine.block_device("/dev/sda3");
    machine.script(smartctl, "[ \"$2\" = /dev/sda3 ] && cat <<'REPORT'\n" +
                                 std::string(smartctl_report) + "REPORT");
}

void physical_volume(constructed_machine &machine, const std::string &name)
{
    machine.tool(pvdisplay, "  --- Physical volume ---\n"
                            "  PV Name               " +
                                name +
                                "\n"
                                "  VG Name               vg\n");
}

void volume_on_partition(constructed_machine &machine)
{
    logical_volume(machine);
    physical_volume(machine, "/dev/sda3");
}

void volume_on_encrypted_partition(constructed_machine &machine)
{
    logical_volume(machine);
    physical_volume(machine, "/dev/mapper/sda3_crypt");
}

void volume_of_another_group(constructed_machine &machine)
{
    volume_on_partition(machine);
    machine.tool(lvdisplay, "  VG Name                data\n");
}

// The model is the first thing that some drivers show, and the only one.
void model_in_sysfs(constructed_machine &machine)
{
    machine.file("/sys/block/nvme0n1/device/model", "ACME NVMe 970\n");
}

std::string told_volume(int is_volume)
{
    return is_volume == 0 ? "0" : "not 0";
}

std::vector<library_call> tool_calls()
{
    return {
        {
            .function = "harddisk_id_smartctl",
            .way = "report",
            .furnish = smartctl_knows_disk,
            .run = [] { return told(harddisk_id_smartctl("/dev/sda")); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id_smartctl",
            .way = "odd_name",
            .furnish = smartctl_and_odd_name,
            .run = [] { return told(harddisk_id_smartctl("/dev/a 'disk'")); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id_smartctl",
            .way = "no_serial",
            .furnish = smartctl_knows_no_serial,
            .run = [] { return told(harddisk_id_smartctl("/dev/sda")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "harddisk_id_smartctl",
            .way = "no_smartctl",
            .furnish = ata_disk,
            .run = [] { return told(harddisk_id_smartctl("/dev/sda")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "harddisk_id_nvme_new",
            .way = "model",
            .furnish = model_in_sysfs,
            .run = [] { return told(harddisk_id_nvme_new("nvme0n1")); },
            .answer = "ACM",
            .failures = {"", "NULL"},
        },
        {
            .function = "harddisk_id_nvme_new",
            .way = "no_disk",
            .furnish = nullptr,
            .run = [] { return told(harddisk_id_nvme_new("nvme9 n1")); },
            .answer = "",
            .failures = {"NULL"},
        },
        {
            .function = "is_logical_volume",
            .way = "volume",
            .furnish = [](constructed_machine &machine) { lister_of_type(machine, "lvm\n"); },
            .run = [] { return told_volume(is_logical_volume("/dev/dm-0")); },
            .answer = "not 0",
            .failures = {"0"},
        },
        {
            .function = "is_logical_volume",
            .way = "partition",
            .furnish = [](constructed_machine &machine) { lister_of_type(machine, "part\n"); },
            .run = [] { return told_volume(is_logical_volume("/dev/sda1")); },
            .answer = "0",
            .failures = {"not 0"}, // no line could be read
        },
        {
            .function = "harddisk_id_lvm",
            .way = "partition",
            .furnish = volume_on_partition,
            .run = [] { return told(harddisk_id_lvm("/dev/mapper/vg-root")); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id_lvm",
            .way = "encrypted_partition",
            .furnish = volume_on_encrypted_partition,
            .run = [] { return told(harddisk_id_lvm("/dev/mapper/vg-root")); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
        },
        {
            .function = "harddisk_id_lvm",
            .way = "another_group",
            .furnish = volume_of_another_group,
            .run = [] { return told(harddisk_id_lvm("/dev/mapper/vg-root")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "harddisk_id_lvm",
            .way = "no_tools",
            .furnish = ata_disk,
            .run = [] { return told(harddisk_id_lvm("/dev/sda")); },
            .answer = "NULL",
            .failures = {},
        },
    };
}

// ---- The listing ----

void listing(constructed_machine &machine)
{
    machine.tool(lsblk, R"({"blockdevices": []})");
}

void listing_of_4096_bytes(constructed_machine &machine)
{
    machine.tool(lsblk, std::string(2047, ' ') + "\n" + std::string(2048, ' '));
}

constexpr char root_on_second_disk[] = R"({"blockdevices": [)"
                                       R"({"name": "sda", "children": null},)"
                                       R"({"name": "sdb", "children": [)"
                                       R"({"name": "sdb1", "mountpoint": "/boot"},)"
                                       R"({"name": "sdb2", "mountpoint": "/"}]}]})";

std::vector<library_call> listing_calls()
{
    return {
        {
            .function = "get_lsblk_output",
            .way = "listing",
            .furnish = listing,
            .run = [] { return told(get_lsblk_output()); },
            .answer = R"({"blockdevices": []})",
            .failures = {"", "NULL"},
        },
        {
            .function = "get_lsblk_output",
            .way = "too_long",
            .furnish = listing_of_4096_bytes,
            .run = [] { return told(get_lsblk_output()); },
            .answer = "",
            .failures = {"NULL", std::string(2047, ' ') + "\n"},
            .ends_with = "liborvane: fatal: the listing of lsblk is longer than 4095 characters\n",
            .thread_safe = false, // its end is everybody's
        },
        {
            .function = "find_root_disk",
            .way = "second_disk",
            .furnish = nullptr,
            .run = [] { return told(find_root_disk(root_on_second_disk)); },
            .answer = "sdb",
            .failures = {"NULL"},
        },
        {
            .function = "find_root_disk",
            .way = "none",
            .furnish = nullptr,
            .run = [] { return told(find_root_disk(R"({"blockdevices": [{"name": "sda"}]})")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "find_root_disk",
            .way = "no_list",
            .furnish = nullptr,
            .run = [] { return told(find_root_disk("{}")); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "find_root_disk",
            .way = "no_json",
            .furnish = nullptr,
            .run = [] { return told(find_root_disk("{\"blockdevices\": [}")); },
            .answer = "NULL",
            .failures = {},
        },
    };
}

// ---- The identity of the disk below the root file system ----

// Whoever is asked answers for itself; no tool could take the lister's place.
void root_on_ata_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda1");
    add_disk(machine, "/dev/sda1", "ACME SSD 860", "S542", disk_kind::partition);
    machine.tool(smartctl, smartctl_report);
    lister_of_type(machine, "part\n");
}

void root_on_nvme_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/nvme0n1p2");
    nvme_disk(machine);
    lister_of_type(machine, "part\n");
}

void root_that_smartctl_knows(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda");
    smartctl_knows_disk(machine);
    lister_of_type(machine, "part\n");
}

void root_on_logical_volume(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/mapper/vg-root");
    volume_on_partition(machine);
    machine.tool(dmsetup, "1 dependencies\t: (sda3)\n");
    lister_of_type(machine, "lvm\n");
}

std::vector<library_call> disk_identity_calls()
{
    return {
        {
            .function = "orvane_get_harddisk_id",
            .way = "ata",
            .furnish = root_on_ata_disk,
            .run = [] { return told(orvane_get_harddisk_id()); },
            .answer = "ACMESSD860_S542",
            .failures = {"SMARTDISK1_S77", "NULL"},
        },
        {
            .function = "orvane_get_harddisk_id",
            .way = "nvme",
            .furnish = root_on_nvme_disk,
            .run = [] { return told(orvane_get_harddisk_id()); },
            .answer = "ACME-NVMe-970_N1234",
            .failures = {"NULL"},
        },
        {
            .function = "orvane_get_harddisk_id",
            .way = "smartctl",
            .furnish = root_that_smartctl_knows,
            .run = [] { return told(orvane_get_harddisk_id()); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
        },
        {
            .function = "orvane_get_harddisk_id",
            .way = "lvm",
            .furnish = root_on_logical_volume,
            .run = [] { return told(orvane_get_harddisk_id()); },
            .answer = "SMARTDISK1_S77",
            .failures = {"NULL"},
            .thread_safe = false,
        },
        {
            .function = "orvane_get_harddisk_id",
            .way = "no_root",
            .furnish = nullptr,
            .run = [] { return told(orvane_get_harddisk_id()); },
            .answer = "NULL",
            .failures = {},
        },
    };
}

} // namespace

std::vector<library_call> disk_calls()
{
    return joined({root_device_calls(), kernel_identity_calls(), tool_calls(), listing_calls(),
                   disk_identity_calls()});
}
