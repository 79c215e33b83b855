// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"
#include "answers.h"
#include "call_lists.h"
#include "call_makers.h"
#include "orvane.h"
#include "without_descriptors.h"

#include <cstdio>
#include <memory>
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

// ---- Kinds of calls ----

// A new text, or none.
library_call text_call(const std::string &function, const std::string &way, furnishing furnish,
                       running run, const std::string &answer)
{
    return call_for(function, way, furnish, run, answer, {"NULL"});
}

// Whatever else fails, there is nothing to tell.
library_call null_call(const std::string &function, const std::string &way, furnishing furnish,
                       running run)
{
    return call_for(function, way, furnish, run, "NULL");
}

// One that comes back has found less than there is.
library_call call_that_ends(const std::string &function, const std::string &way, furnishing furnish,
                            running run, const std::vector<std::string> &failures,
                            const std::string &line)
{
    library_call call = call_for(function, way, furnish, run, "no answer", failures);
    call.ends_with = line;
    return not_for_threads(call); // its end is everybody's
}

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

// Neither source names a block device.
void root_on_no_block_device(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/root");
    machine.file("/proc/cmdline", "root=PARTUUID=8a2f-11\n");
}

std::vector<library_call> root_device_calls()
{
    const running root = [] { return told(root_device()); };
    return {
        call_for("root_device", "mounted", root_in_both_sources, root, "/dev/sda2",
                 {"/dev/sda3", "NULL"}),
        text_call("root_device", "booted", root_on_command_line, root, "/dev/sda3"),
        null_call("root_device", "no_block_device", root_on_no_block_device, root),
        null_call("root_device", "unknown", nullptr, root),
    };
}

template <const char *line> void command_line(constructed_machine &machine)
{
    machine.file("/srv/calls/command_line", line);
}

template <const char *line>
library_call command_line_call(const std::string &way, const std::string &answer,
                               const std::vector<std::string> &failures = {"NULL"})
{
    return call_for(
        "command_line_get_root_device_name", way, command_line<line>,
        [] { return told(command_line_get_root_device_name("/srv/calls/command_line")); }, answer,
        failures);
}

template <const char *line> library_call empty_command_line_call(const std::string &way)
{
    return command_line_call<line>(way, "NULL", {});
}

constexpr char root_by_uuid[] = "BOOT_IMAGE=/vmlinuz root=UUID=8a2f-11 ro quiet\n";
constexpr char root_by_label[] = "root=LABEL=a/b ro\n";
constexpr char root_by_device[] = "ro root=/dev/vda1\n";
constexpr char root_by_unknown_form[] = "root=PARTUUID=8a2f-11\n";
constexpr char no_root[] = "ro quiet\n";
constexpr char root_below[] = "ro quiet\nroot=/dev/vda1\n";
constexpr char root_without_value[] = "root= ro\n";
constexpr char uuid_without_value[] = "root=UUID ro\n";
constexpr char label_without_value[] = "root=LABEL= ro\n";
constexpr char empty_line[] = "";

void too_long_command_line(constructed_machine &machine)
{
    machine.file("/srv/calls/long", std::string(4096, 'x') + "\n");
}

std::vector<library_call> command_line_calls()
{
    constexpr char function[] = "command_line_get_root_device_name";
    return {
        command_line_call<root_by_uuid>("uuid", "/dev/disk/by-uuid/8a2f-11"),
        command_line_call<root_by_label>("label", "/dev/disk/by-label/a\\x2fb"),
        command_line_call<root_by_device>("device", "/dev/vda1"),
        command_line_call<root_by_unknown_form>("unknown_form", "PARTUUID"),
        empty_command_line_call<no_root>("no_word"),
        empty_command_line_call<root_below>("no_word_in_the_first_line"),
        empty_command_line_call<root_without_value>("no_value"),
        empty_command_line_call<uuid_without_value>("no_uuid"),
        empty_command_line_call<label_without_value>("no_label"),
        empty_command_line_call<empty_line>("no_line"),
        null_call(function, "no_file", nullptr,
                  [] { return told(command_line_get_root_device_name("/proc/none")); }),
        null_call(function, "no_name", nullptr,
                  [] { return told(command_line_get_root_device_name(nullptr)); }),
        call_that_ends(
            function, "too_long", too_long_command_line,
            [] { return told(command_line_get_root_device_name("/srv/calls/long")); }, {"NULL"},
            "liborvane: fatal: the kernel command line is longer than 4095 characters\n"),
    };
}

// ---- The kernel's identity of a disk ----

void ata_disk(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "ACME SSD 860", " S5 42");
    machine.link("/dev/disk/by-id/ata-acme", "../../sda");
}

void nvme_partition(constructed_machine &machine)
{
    machine.block_device("/dev/nvme0n1p2", 259, 2);
}

// One of two names in /sys/block is the disk's.
void nvme_disk(constructed_machine &machine)
{
    nvme_partition(machine);
    machine.file("/sys/block/nvme0n1/device/model", "ACME  NVMe 970        \n");
    machine.file("/sys/block/nvme0n1/device/serial", "N1234 \n");
    machine.directory("/sys/block/loop0");
}

// Neither the model nor the serial number has a graphic character.
void ata_disk_without_name(constructed_machine &machine)
{
    add_disk(machine, "/dev/sda", "", "");
}

void disk_without_driver(constructed_machine &machine)
{
    machine.block_device("/dev/sda");
}

void nvme_disk_of_another_name(constructed_machine &machine)
{
    nvme_partition(machine);
    machine.file("/sys/block/nvme1n1/device/model", "ACME\n");
    machine.file("/sys/block/nvme1n1/device/serial", "N1\n");
}

void nvme_disk_without_serial(constructed_machine &machine)
{
    nvme_partition(machine);
    machine.file("/sys/block/nvme0n1/device/model", "ACME  NVMe 970        \n");
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

// The mapped device answers for itself where nobody says what it stands on.
void mapping_that_answers(constructed_machine &machine)
{
    mapped_device(machine);
    add_disk(machine, "/dev/dm-0", "ACME SSD 860", "S542", disk_kind::partition);
}

template <const char *report> void mapping_reported_as(constructed_machine &machine)
{
    mapping_that_answers(machine);
    machine.tool(dmsetup, report);
}

constexpr char no_devices[] = "0 dependencies\n";
constexpr char two_devices[] = "2 dependencies\t: (sdb1) (sda1)\n";
constexpr char no_report[] = "";
constexpr char header_alone[] = "1 dependencies\t:";
constexpr char missing_device[] = "1 dependencies\t: (sda9)\n";

// The device has no node here, and this is what the lister prints.
template <const char *listing> void mapping_listed_as(constructed_machine &machine)
{
    mapping_reported_as<missing_device>(machine);
    machine.tool(lsblk, listing);
}

constexpr char no_json[] = "lsblk: unknown column: model\n";
constexpr char no_list[] = R"({"devices": []})";
constexpr char numbers[] = R"({"blockdevices": [1, 2]})";
constexpr char no_names[] = R"({"blockdevices": [{}, {"name": null}, {"name": "/dev/sda"}]})";
constexpr char empty_name[] = R"({"blockdevices": [{"name": "/dev/"}]})";
constexpr char no_serial[] =
    R"({"blockdevices": [{"name": "/dev/sda9", "serial": null, "model": "M"}]})";
constexpr char no_model[] = R"({"blockdevices": [{"name": "/dev/sda9", "serial": "S"}]})";

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

std::string mapped_identity()
{
    return identity_of("/dev/mapper/root");
}

std::string nvme_identity()
{
    return identity_of("/dev/nvme0n1p2");
}

library_call mapped_call(const std::string &way, furnishing furnish, const std::string &answer,
                         running run = mapped_identity)
{
    return not_for_threads(text_call("harddisk_id", way, furnish, run, answer));
}

// The last source is the mapped device itself.
library_call fruitless_mapped_call(const std::string &way, furnishing furnish)
{
    return mapped_call(way, furnish, "ACMESSD860_S542");
}

std::vector<library_call> kernel_identity_calls()
{
    constexpr char function[] = "harddisk_id";
    const running sda = [] { return identity_of("/dev/sda"); };
    return {
        text_call(function, "ata", ata_disk, sda, "ACMESSD860_S542"),
        text_call(
            function, "link", ata_disk, [] { return identity_of("/dev/disk/by-id/ata-acme"); },
            "ACMESSD860_S542"),
        text_call(function, "ata_without_name", ata_disk_without_name, sda, "_"),
        null_call(function, "no_driver", disk_without_driver, sda),
        text_call(function, "nvme", nvme_disk, nvme_identity, "ACME-NVMe-970_N1234"),
        null_call(function, "nvme_without_sysfs", nvme_partition, nvme_identity),
        null_call(function, "nvme_of_another_name", nvme_disk_of_another_name, nvme_identity),
        null_call(function, "nvme_without_serial", nvme_disk_without_serial, nvme_identity),
        null_call(function, "no_device", nullptr, [] { return identity_of("/dev/sdz"); }),
        null_call(function, "no_block_device", nullptr, [] { return identity_of("/dev/null"); }),
        null_call(function, "no_name", nullptr, [] { return identity_of(nullptr); }),
        mapped_call("mapped_whole_disk", mapping_of_whole_disk, "/dev/sda"),
        mapped_call("mapped_nvme", mapping_of_nvme_partition, "ACME-NVMe-970_N1234"),
        mapped_call("mapped_nvme_without_1", mapping_of_nvme_partition, "ACME-NVMe-970_N1234",
                    without_descriptors<mapped_identity, 1>),
        mapped_call("mapped_nvme_without_2", mapping_of_nvme_partition, "ACME-NVMe-970_N1234",
                    without_descriptors<mapped_identity, 2>),
        mapped_call("mapped_nvme_without_0_and_1", mapping_of_nvme_partition, "ACME-NVMe-970_N1234",
                    without_descriptors<mapped_identity, 0, 1>),
        mapped_call("mapped_ata", mapping_of_ata_partition, "ACMESSD860_S542"),
        mapped_call("mapped_listed", mapping_of_listed_disk, "ACME-NVMe-970_N1234"),
        fruitless_mapped_call("mapped_without_dmsetup", mapping_that_answers),
        fruitless_mapped_call("mapped_alone", mapping_reported_as<no_devices>),
        fruitless_mapped_call("mapped_to_two", mapping_reported_as<two_devices>),
        fruitless_mapped_call("mapped_without_report", mapping_reported_as<no_report>),
        fruitless_mapped_call("mapped_to_no_name", mapping_reported_as<header_alone>),
        fruitless_mapped_call("mapped_without_lister", mapping_reported_as<missing_device>),
        fruitless_mapped_call("listed_as_no_json", mapping_listed_as<no_json>),
        fruitless_mapped_call("listed_as_no_list", mapping_listed_as<no_list>),
        fruitless_mapped_call("listed_as_numbers", mapping_listed_as<numbers>),
        fruitless_mapped_call("listed_without_names", mapping_listed_as<no_names>),
        fruitless_mapped_call("listed_by_empty_name", mapping_listed_as<empty_name>),
        fruitless_mapped_call("listed_without_serial", mapping_listed_as<no_serial>),
        fruitless_mapped_call("listed_without_model", mapping_listed_as<no_model>),
        not_for_threads(null_call(function, "dmsetup_that_cannot_run", dmsetup_that_cannot_run,
                                  mapped_identity)),
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

template <const char *type> void lister_of_type(constructed_machine &machine)
{
    machine.tool("/bin/lsblk", type);
}

constexpr char volume[] = "lvm\n";
constexpr char encrypted[] = "crypt\n";
constexpr char partition[] = "part\n";
constexpr char no_type[] = "";

// Where /bin is a directory of its own, there may be one in each.
void no_lister(constructed_machine &machine)
{
    machine.remove(lsblk);
    machine.remove("/bin/lsblk");
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

// Named after a device that is not there.
void volume_on_unknown_partition(constructed_machine &machine)
{
    logical_volume(machine);
    physical_volume(machine, "/dev/mapper/sdz9_crypt");
}

void volume_without_group(constructed_machine &machine)
{
    volume_on_partition(machine);
    machine.tool(lvdisplay, "  --- Logical volume ---\n");
}

void volume_without_physical_volume(constructed_machine &machine)
{
    logical_volume(machine);
    machine.tool(pvdisplay, "");
}

void volume_without_pvdisplay(constructed_machine &machine)
{
    volume_on_partition(machine);
    machine.remove(pvdisplay);
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

std::string smart_identity()
{
    return told(harddisk_id_smartctl("/dev/sda"));
}

std::vector<library_call> smartctl_calls()
{
    constexpr char function[] = "harddisk_id_smartctl";
    return {
        text_call(function, "report", smartctl_knows_disk, smart_identity, "SMARTDISK1_S77"),
        text_call(
            function, "odd_name", smartctl_and_odd_name,
            [] { return told(harddisk_id_smartctl("/dev/a 'disk'")); }, "SMARTDISK1_S77"),
        null_call(function, "no_serial", smartctl_knows_no_serial, smart_identity),
        null_call(function, "no_smartctl", ata_disk, smart_identity),
        null_call(function, "no_device", smartctl_knows_disk,
                  [] { return told(harddisk_id_smartctl("/dev/sdz")); }),
        null_call(function, "no_block_device", smartctl_knows_disk,
                  [] { return told(harddisk_id_smartctl("/dev/null")); }),
        null_call(function, "no_name", smartctl_knows_disk,
                  [] { return told(harddisk_id_smartctl(nullptr)); }),
    };
}

std::vector<library_call> model_calls()
{
    constexpr char function[] = "harddisk_id_nvme_new";
    return {
        call_for(function, "model", model_in_sysfs,
                 [] { return told(harddisk_id_nvme_new("nvme0n1")); }, "ACM", {"", "NULL"}),
        text_call(
            function, "no_disk", nullptr, [] { return told(harddisk_id_nvme_new("nvme9 n1")); },
            ""),
        null_call(function, "no_name", nullptr, [] { return told(harddisk_id_nvme_new(nullptr)); }),
    };
}

std::vector<library_call> volume_type_calls()
{
    constexpr char function[] = "is_logical_volume";
    const running type = [] { return told_volume(is_logical_volume("/dev/dm-0")); };
    return {
        call_for(function, "volume", lister_of_type<volume>, type, "not 0", {"0"}),
        call_for(function, "encrypted", lister_of_type<encrypted>, type, "not 0", {"0"}),
        // No line could be read.
        call_for(function, "partition", lister_of_type<partition>, type, "0", {"not 0"}),
        call_for(function, "no_line", lister_of_type<no_type>, type, "not 0", {"0"}),
        call_for(function, "no_lister", no_lister, type, "0"),
        call_for(
            function, "no_name", lister_of_type<volume>,
            [] { return told_volume(is_logical_volume(nullptr)); }, "0"),
    };
}

std::string volume_identity()
{
    return told(harddisk_id_lvm("/dev/mapper/vg-root"));
}

std::vector<library_call> volume_calls()
{
    constexpr char function[] = "harddisk_id_lvm";
    return {
        text_call(function, "partition", volume_on_partition, volume_identity, "SMARTDISK1_S77"),
        text_call(function, "encrypted_partition", volume_on_encrypted_partition, volume_identity,
                  "SMARTDISK1_S77"),
        null_call(function, "unknown_partition", volume_on_unknown_partition, volume_identity),
        null_call(function, "another_group", volume_of_another_group, volume_identity),
        null_call(function, "no_group", volume_without_group, volume_identity),
        null_call(function, "no_physical_volume", volume_without_physical_volume, volume_identity),
        null_call(function, "no_pvdisplay", volume_without_pvdisplay, volume_identity),
        null_call(function, "no_tools", ata_disk, [] { return told(harddisk_id_lvm("/dev/sda")); }),
        null_call(function, "no_device", volume_on_partition,
                  [] { return told(harddisk_id_lvm("/dev/mapper/none")); }),
        null_call(function, "no_name", volume_on_partition,
                  [] { return told(harddisk_id_lvm(nullptr)); }),
    };
}

// ---- The listing ----

void listing(constructed_machine &machine)
{
    machine.tool(lsblk, R"({"blockdevices": []})");
}

std::string first_line_of_listing()
{
    return std::string(2047, ' ') + "\n";
}

void listing_of_4096_bytes(constructed_machine &machine)
{
    machine.tool(lsblk, first_line_of_listing() + std::string(2048, ' '));
}

std::string told_listing()
{
    return told(get_lsblk_output());
}

// The text is what came before reading broke off, and empty where the shell finds no command.
std::vector<library_call> listing_calls()
{
    constexpr char function[] = "get_lsblk_output";
    return {
        call_for(function, "listing", listing, told_listing, R"({"blockdevices": []})",
                 {"", "NULL"}),
        text_call(function, "no_lister", no_lister, told_listing, ""),
        call_that_ends(function, "too_long", listing_of_4096_bytes, told_listing,
                       {"", first_line_of_listing(), "NULL"},
                       "liborvane: fatal: the listing of lsblk is longer than 4095 characters\n"),
    };
}

constexpr char root_on_second_disk[] = R"({"blockdevices": [)"
                                       R"({"name": "sda", "children": null},)"
                                       R"({"name": "sdb", "children": [)"
                                       R"({"name": "sdb1", "mountpoint": "/boot"},)"
                                       R"({"name": "sdb2", "mountpoint": "/"}]}]})";
constexpr char root_on_no_disk[] = R"({"blockdevices": [{"name": "sda"}]})";
constexpr char root_on_unnamed_disk[] = R"({"blockdevices": [)"
                                        R"({"name": 7, "children": [{"mountpoint": "/"}]}]})";
constexpr char one_disk[] = R"({"blockdevices": {"name": "sda"}})";
constexpr char no_disks[] = "{}";
constexpr char broken_json[] = "{\"blockdevices\": [}";

template <const char *json> std::string root_disk()
{
    return told(find_root_disk(json));
}

std::vector<library_call> root_disk_calls()
{
    constexpr char function[] = "find_root_disk";
    return {
        text_call(function, "second_disk", nullptr, root_disk<root_on_second_disk>, "sdb"),
        null_call(function, "none", nullptr, root_disk<root_on_no_disk>),
        null_call(function, "unnamed", nullptr, root_disk<root_on_unnamed_disk>),
        null_call(function, "no_array", nullptr, root_disk<one_disk>),
        null_call(function, "no_list", nullptr, root_disk<no_disks>),
        null_call(function, "no_json", nullptr, root_disk<broken_json>),
        null_call(function, "no_text", nullptr, root_disk<nullptr>),
    };
}

// ---- The identity of the disk below the root file system ----

// Whoever is asked answers for itself; no tool could take the lister's place.
void root_on_ata_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda1");
    add_disk(machine, "/dev/sda1", "ACME SSD 860", "S542", disk_kind::partition);
    machine.tool(smartctl, smartctl_report);
    lister_of_type<partition>(machine);
}

void root_on_nvme_disk(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/nvme0n1p2");
    nvme_disk(machine);
    lister_of_type<partition>(machine);
}

void root_that_smartctl_knows(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda");
    smartctl_knows_disk(machine);
    lister_of_type<partition>(machine);
}

void root_on_logical_volume(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/mapper/vg-root");
    volume_on_partition(machine);
    machine.tool(dmsetup, "1 dependencies\t: (sda3)\n");
    lister_of_type<volume>(machine);
}

// No source knows it, and the lister says that it is no volume.
void root_that_nobody_knows(constructed_machine &machine)
{
    root_in_mount_table(machine, "/dev/sda1");
    machine.block_device("/dev/sda1");
    lister_of_type<partition>(machine);
}

std::vector<library_call> disk_identity_calls()
{
    constexpr char function[] = "orvane_get_harddisk_id";
    const running identity = [] { return told(orvane_get_harddisk_id()); };
    return {
        call_for(function, "ata", root_on_ata_disk, identity, "ACMESSD860_S542",
                 {"SMARTDISK1_S77", "NULL"}),
        text_call(function, "nvme", root_on_nvme_disk, identity, "ACME-NVMe-970_N1234"),
        text_call(function, "smartctl", root_that_smartctl_knows, identity, "SMARTDISK1_S77"),
        not_for_threads(
            text_call(function, "lvm", root_on_logical_volume, identity, "SMARTDISK1_S77")),
        null_call(function, "no_answer", root_that_nobody_knows, identity),
        null_call(function, "no_root", nullptr, identity),
    };
}

} // namespace

std::vector<library_call> disk_calls()
{
    return joined({root_device_calls(), command_line_calls(), kernel_identity_calls(),
                   smartctl_calls(), model_calls(), volume_type_calls(), volume_calls(),
                   listing_calls(), root_disk_calls(), disk_identity_calls()});
}
