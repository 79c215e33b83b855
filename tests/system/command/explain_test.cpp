// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane explain and orvane doctor.
#include "command_machine.h"

#include <string>

namespace {

constexpr uid_t ordinary_user = 65534;

class explain_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.file("/etc/os-release", "NAME=Debian\n");
    }

    [[nodiscard]] outcome explained(const std::string &name, uid_t user = 0) const
    {
        return machine.run(
            {"/usr/bin/env", "LC_ALL=C.UTF-8", "/opt/orvane/bin/orvane", "explain", name}, user);
    }

    void vendor(const std::string &text) { machine.file("/sys/class/dmi/id/sys_vendor", text); }

    // A block device with its directory in sysfs, below another one or not.
    void describe_layer(const std::string &node, const std::string &folder, unsigned minor)
    {
        machine.block_device("/dev/" + node, 7, minor);
        machine.directory(folder);
        machine.link("/sys/class/block/" + node, folder);
    }

    // The root file system in LUKS on the second partition of a disk.
    void describe_encryption(const std::string &disk, const std::string &partition,
                             const std::string &name)
    {
        const std::string folder = "/sys/devices/pci0/block/" + disk;
        const std::string mapping = "/sys/devices/virtual/block/dm-0";
        describe_layer(disk, folder, 1);
        describe_layer(partition, folder + "/" + partition, 2);
        describe_layer("dm-0", mapping, 0);
        machine.file(folder + "/" + partition + "/partition", "2\n");
        machine.file(mapping + "/dm/name", name + "\n");
        machine.file(mapping + "/dm/uuid", "CRYPT-LUKS2-0a1b-" + name + "\n");
        machine.link(mapping + "/slaves/" + partition, folder + "/" + partition);
        machine.link("/dev/mapper/" + name, "../dm-0");
        machine.file("/proc/mounts", "/dev/mapper/" + name + " / ext4 rw 0 0\n");
    }

    // On SATA, where each source fails in its own way.
    void describe_encrypted_disk()
    {
        describe_encryption("sda", "sda2", "sda2_crypt");
        machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda2)\n");
        machine.tool("/usr/sbin/smartctl", "smartctl 7.3\nCopyright\n\n/dev/dm-0: Unable to detect "
                                           "device type\n");
        machine.tool("/usr/bin/lsblk", "crypt\n");
        machine.script("/usr/sbin/lvdisplay", "echo '  Volume group \"dm\" not found' >&2; exit 5");
        machine.tool("/usr/sbin/pvdisplay", "");
    }
};

} // namespace

TEST_F(explain_command, names_the_source_that_answered_and_those_that_were_not_queried)
{
    vendor("Acme Inc.\n");
    EXPECT_EQ(explained("vendor"),
              printed("vendor: Acme Inc.\n"
                      "├─/sys/class/dmi/id/sys_vendor: Acme Inc.\n"
                      "└─/usr/sbin/dmidecode: not queried: an earlier source answered\n"
                      "  Source: /sys/class/dmi/id/sys_vendor\n"
                      "  Stability: the same after reboot, reinstallation, replacing the disk, "
                      "docking;\n"
                      "      may change after copying the disk to another machine.\n"));
}

TEST_F(explain_command, names_what_each_source_returned_where_none_answers)
{
    const std::string placeholder = "03000200-0400-0500-0006-000700080009";
    machine.file("/sys/devices/virtual/dmi/id/product_uuid", placeholder + "\n");
    EXPECT_EQ(
        explained("system_uuid"),
        (outcome{1,
                 "system_uuid: refused\n"
                 "├─/sys/devices/virtual/dmi/id/product_uuid:\n│   " +
                     placeholder +
                     ": a placeholder, refused\n"
                     "└─/usr/sbin/dmidecode: not installed (package dmidecode)\n"
                     "  Reason: the firmware holds a placeholder that many machines share:\n"
                     "      " +
                     placeholder +
                     " (placeholder).\n"
                     "  What to do: use another fact, or have the board's maker set it.\n"
                     "  More: docs/troubleshooting.md#placeholder\n"
                     "  Stability: the same after reboot, reinstallation, replacing the disk, "
                     "docking;\n"
                     "      changes after copying the disk to another machine.\n",
                 ""}));
}

// The library keeps the blanks of a UUID.
TEST_F(explain_command, takes_no_answer_for_a_placeholder)
{
    const std::string uuid = "4c4c4544-0042-3510-8052-b4c04f4d3132";
    const std::string file = "/sys/devices/virtual/dmi/id/product_uuid";
    machine.file(file, " " + uuid + " \n");
    EXPECT_TRUE(explained("system_uuid")
                    .output.starts_with("system_uuid:  " + uuid + "\n├─" + file + ": " + uuid +
                                        "\n└─/usr/sbin/dmidecode: not queried: an earlier source "
                                        "answered\n  Source: " +
                                        file + "\n"))
        << explained("system_uuid");
}

TEST_F(explain_command, draws_the_way_to_the_disk_and_marks_where_it_ends)
{
    describe_encrypted_disk();
    const outcome disk = explained("disk");
    EXPECT_EQ(disk.status, 3);
    EXPECT_NE(
        disk.output.find("/  file system ext4\n"
                         "└─sda2_crypt  encryption\n"
                         "  └─sda2  partition  <-- the way ends here\n"
                         "    └─sda  disk\n"
                         "  Reason: the disk below the encryption or the mapping is not found\n"
                         "      (mapping-not-followed).\n"),
        std::string::npos)
        << disk;
    EXPECT_NE(disk.output.find("├─harddisk_id_smartctl(\"/dev/mapper/sda2_crypt\"): no answer\n"
                               "│ └─/usr/sbin/smartctl -i /dev/dm-0: /dev/dm-0: Unable to detect "
                               "device type\n"),
              std::string::npos)
        << disk;
    EXPECT_NE(disk.output.find("Volume group \"dm\" not found"), std::string::npos) << disk;
}

TEST_F(explain_command, marks_where_the_answer_came_from)
{
    machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
    const std::string disk = "/sys/devices/pci0/nvme0/nvme0n1";
    describe_layer("nvme0n1", disk, 1);
    describe_layer("nvme0n1p2", disk + "/nvme0n1p2", 2);
    machine.file(disk + "/nvme0n1p2/partition", "2\n");
    machine.file("/sys/block/nvme0n1/device/model", "Fast Disk 1\n");
    machine.file("/sys/block/nvme0n1/device/serial", "S123\n");
    const outcome explanation = explained("disk");
    EXPECT_EQ(explanation.status, 0);
    EXPECT_NE(explanation.output.find("└─nvme0n1p2  partition\n"
                                      "  └─nvme0n1  disk  <-- answered\n"),
              std::string::npos)
        << explanation;
}

TEST_F(explain_command, prints_no_character_that_a_terminal_obeys)
{
    vendor("A\x1b[31m\x7f\xc2\x9b\xff'\"\n");
    EXPECT_TRUE(explained("vendor").output.starts_with("vendor: A [31m  ?'\"\n"))
        << explained("vendor");
}

TEST_F(explain_command, draws_in_ascii_where_the_locale_has_no_more)
{
    vendor("Acme\n");
    const outcome explanation =
        machine.run({"/usr/bin/env", "LC_ALL=C", "/opt/orvane/bin/orvane", "explain", "vendor"});
    EXPECT_NE(explanation.output.find("\n|-/sys/class/dmi/id/sys_vendor: Acme\n`-/usr/sbin/"),
              std::string::npos)
        << explanation;
}

TEST_F(explain_command, explains_every_fact_with_status_0)
{
    const outcome all = orvane({"explain"});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.error, "");
    for (const std::string name :
         {"root_device", "disk", "mac", "system_uuid", "vendor", "model", "serial", "oem_info",
          "manufacturer", "lenovo", "huawei_9x0", "os_version"})
        EXPECT_NE(("\n" + all.output).find("\n" + name + ": "), std::string::npos) << name;
}

TEST_F(explain_command, keeps_its_own_trace)
{
    machine.file("/etc/os-release", "VARIANT=EDU\n");
    EXPECT_NE(orvane({"explain", "--json", "os_version"})
                  .output.find("\"trace\": [\n"
                               "        \"_os_get_version, begin\",\n"
                               "        \"_os_get_version, os_ver = EDU\"\n"
                               "      ]"),
              std::string::npos);
}

// What is missing.

TEST_F(explain_command, doctor_names_the_package_of_each_missing_tool)
{
    vendor("Acme\n");
    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    const std::string missing =
        "package smartmontools: needed for disk (/usr/sbin/smartctl is not installed)\n"
        "package dmidecode: needed for system_uuid, model, serial, manufacturer, lenovo "
        "(/usr/sbin/dmidecode is not installed)\n";
    EXPECT_EQ(orvane({"doctor"}), (outcome{1, missing, ""}));
    EXPECT_NE(orvane({"doctor", "--json"})
                  .output.find("      \"package\": \"smartmontools\",\n"
                               "      \"explanation\": \"/usr/sbin/smartctl is not installed\",\n"
                               "      \"facts\": [\n"
                               "        \"disk\"\n"
                               "      ]\n"),
              std::string::npos);
}

// On NVMe dmsetup alone leads through the encryption; smartctl would be asked about the mapping.
TEST_F(explain_command, doctor_names_the_tool_that_would_lead_to_the_disk)
{
    describe_encryption("nvme0n1", "nvme0n1p2", "root_crypt");
    for (const char *const tool : {"/usr/sbin/smartctl", "/usr/sbin/dmsetup", "/usr/bin/lsblk"})
        machine.remove(tool);
    EXPECT_EQ(
        orvane({"show", "disk"}).error,
        "orvane: disk: not determinable here: /usr/sbin/dmsetup is not installed; install the "
        "package dmsetup (see orvane explain disk)\n");
}

TEST_F(explain_command, doctor_names_no_tool_that_would_not_help)
{
    machine.file("/proc/mounts", "/dev/vda / ext4 rw 0 0\n");
    describe_layer("vda", "/sys/devices/virtio0/block/vda", 1);
    EXPECT_EQ(orvane({"doctor"}), printed("nothing is missing\n"));
}

TEST_F(explain_command, doctor_names_the_rights_that_are_missing)
{
    machine.file("/sys/class/dmi/id/product_serial", "ABC 123\n", 0400);
    machine.tool("/usr/sbin/dmidecode", "");
    vendor("Acme\n");
    machine.file("/sys/class/dmi/id/product_sku", "0A1B\n");
    EXPECT_EQ(orvane({"doctor"}, ordinary_user),
              (outcome{1, "root: needed for system_uuid, serial, manufacturer, lenovo\n", ""}));
}
