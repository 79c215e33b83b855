// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The headline query: which source is asked, in which order, and what comes of it.
#include "fixture.h"
#include "interpose.h"

#include "orvane.h"

#include <cstring>
#include <optional>
#include <string>

#include <fcntl.h>
#include <linux/hdreg.h>

namespace {

// What each source shall answer.
struct sources {
    std::optional<std::string> root = "/dev/mapper/root";
    std::optional<std::string> kernel = {};
    std::optional<std::string> smartctl = {};
    int logical_volume = 0;
    std::optional<std::string> lvm = {};
};

char *copy(const std::optional<std::string> &text)
{
    return text ? ::strdup(text->c_str()) : nullptr;
}

// Puts answers in the place of the sources and writes down which were asked about what.
texts asked(const sources &answers, std::string &result)
{
    texts calls;
    interpose::root_device = [&] {
        calls.emplace_back("root_device");
        return copy(answers.root);
    };
    interpose::harddisk_id = [&](const char *device) {
        calls.push_back(std::string("harddisk_id ") + device);
        return copy(answers.kernel);
    };
    interpose::harddisk_id_smartctl = [&](const char *device) {
        calls.push_back(std::string("harddisk_id_smartctl ") + device);
        return copy(answers.smartctl);
    };
    interpose::is_logical_volume = [&](const char *device) {
        calls.push_back(std::string("is_logical_volume ") + device);
        return answers.logical_volume;
    };
    interpose::harddisk_id_lvm = [&](const char *device) {
        calls.push_back(std::string("harddisk_id_lvm ") + device);
        return copy(answers.lvm);
    };
    result = owned_text(orvane_get_harddisk_id()).value();
    return calls;
}

class disk_query_order : public on_machine {
protected:
    std::string result;
};

} // namespace

TEST_F(disk_query_order, asks_nobody_where_there_is_no_root_device)
{
    EXPECT_EQ(asked({.root = std::nullopt, .kernel = "K"}, result), (texts{"root_device"}));
    EXPECT_EQ(result, "(no text)");
}

TEST_F(disk_query_order, ends_with_the_kernels_answer)
{
    EXPECT_EQ(
        asked({.kernel = "K_1", .smartctl = "S_1", .logical_volume = 1, .lvm = "L_1"}, result),
        (texts{"root_device", "harddisk_id /dev/mapper/root"}));
    EXPECT_EQ(result, "K_1");
}

TEST_F(disk_query_order, takes_an_empty_answer_for_one)
{
    EXPECT_EQ(asked({.kernel = ""}, result),
              (texts{"root_device", "harddisk_id /dev/mapper/root"}));
    EXPECT_EQ(result, "");
}

TEST_F(disk_query_order, asks_smartctl_second)
{
    EXPECT_EQ(asked({.smartctl = "S_1", .logical_volume = 1, .lvm = "L_1"}, result),
              (texts{"root_device", "harddisk_id /dev/mapper/root",
                     "harddisk_id_smartctl /dev/mapper/root"}));
    EXPECT_EQ(result, "S_1");
}

TEST_F(disk_query_order, asks_the_lvm_tools_last)
{
    EXPECT_EQ(asked({.logical_volume = 1, .lvm = "L_1"}, result),
              (texts{"root_device", "harddisk_id /dev/mapper/root",
                     "harddisk_id_smartctl /dev/mapper/root", "is_logical_volume /dev/mapper/root",
                     "harddisk_id_lvm /dev/mapper/root"}));
    EXPECT_EQ(result, "L_1");
}

TEST_F(disk_query_order, takes_any_number_but_zero_for_a_logical_volume)
{
    EXPECT_EQ(asked({.logical_volume = -7, .lvm = "L_1"}, result).back(),
              "harddisk_id_lvm /dev/mapper/root");
    EXPECT_EQ(result, "L_1");
}

TEST_F(disk_query_order, has_no_answer_where_the_lvm_tools_have_none)
{
    EXPECT_EQ(asked({.logical_volume = 1}, result).back(), "harddisk_id_lvm /dev/mapper/root");
    EXPECT_EQ(result, "(no text)");
}

TEST_F(disk_query_order, leaves_the_lvm_tools_alone_for_any_other_device)
{
    EXPECT_EQ(
        asked({.logical_volume = 0, .lvm = "L_1"}, result),
        (texts{"root_device", "harddisk_id /dev/mapper/root",
               "harddisk_id_smartctl /dev/mapper/root", "is_logical_volume /dev/mapper/root"}));
    EXPECT_EQ(result, "(no text)");
}

TEST_F(disk_query_order, is_the_same_on_every_call)
{
    const texts first = asked({.smartctl = "S_1"}, result);
    EXPECT_EQ(asked({.smartctl = "S_2"}, result), first);
    EXPECT_EQ(result, "S_2");
}

TEST_F(disk_query_order, adds_nothing_to_the_trace)
{
    asked({.smartctl = "S_1"}, result);
    EXPECT_EQ(machine.trace(), texts{});
}

namespace {

// Whole machines, from the mount table to the answer.
class disk_query : public on_machine {
protected:
    void root_is(const std::string &device)
    {
        machine.file("/proc/mounts", device + " / ext4 rw,relatime 0 0\n");
    }

    void mapped_root(const std::string &name)
    {
        machine.block_device("/dev/dm-0");
        machine.link("/dev/mapper/" + name, "../dm-0");
        root_is("/dev/mapper/" + name);
    }

    static std::string disk() { return owned_text(orvane_get_harddisk_id()).value(); }
};

// Which nodes answer the identify request: the rest refuse it, as drivers do that do not know it.
class identify_answers {
public:
    explicit identify_answers(std::string node) : node_(std::move(node))
    {
        interpose::open = [this](const char *path, int flags, mode_t mode) {
            opened_ = path;
            return interpose::open.real(opened_.starts_with("/dev/") ? "/dev/null" : path,
                                        opened_.starts_with("/dev/") ? O_RDONLY : flags, mode);
        };
        interpose::ioctl = [this](int, unsigned long request, void *argument) {
            if (request != HDIO_GET_IDENTITY || opened_ != node_) {
                errno = ENOTTY;
                return -1;
            }
            auto *const identity = static_cast<hd_driveid *>(argument);
            ::memset(identity, ' ', sizeof *identity);
            ::memcpy(identity->model, "ST1000DM003-1CH162", 18);
            ::memcpy(identity->serial_no + 12, "Z1D5ABCD", 8);
            return 0;
        };
    }

private:
    std::string node_;
    std::string opened_;
};

constexpr char ata_report[] = "=== START OF INFORMATION SECTION ===\n"
                              "Model Family:     Seagate Barracuda 7200.14\n"
                              "Device Model:     ST1000DM003-1CH162\n"
                              "Serial Number:    Z1D5ABCD\n";

// What the trace says of a request that goes to a node and fails there.
texts refused(const std::string &node)
{
    return {"device :" + node, "ioctl(fd, HDIO_GET_IDENTITY, &id), return"};
}

texts operator+(texts first, const texts &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace

TEST_F(disk_query, asks_a_sata_partition_itself_and_runs_no_tool)
{
    root_is("/dev/sda2");
    machine.block_device("/dev/sda2");
    machine.tool("/usr/sbin/smartctl", ata_report);
    const identify_answers answers("/dev/sda2");
    EXPECT_EQ(disk(), "ST1000DM003-1CH162_Z1D5ABCD");
    EXPECT_TRUE(machine.runs("/usr/sbin/smartctl").empty());
    EXPECT_EQ(machine.trace(), (texts{"root_dev_name: /dev/sda2.", "device :/dev/sda2"}));
}

TEST_F(disk_query, reads_an_nvme_disk_from_sysfs)
{
    root_is("/dev/nvme0n1p2");
    machine.block_device("/dev/nvme0n1p2");
    machine.file("/sys/block/nvme0n1/device/model", "Samsung SSD 970 EVO Plus 500GB\n");
    machine.file("/sys/block/nvme0n1/device/serial", "S4EVNX0N123456 \n");
    EXPECT_EQ(disk(), "Samsung-SSD-970-EVO-Plus-500GB_S4EVNX0N123456");
    EXPECT_EQ(machine.trace(), (texts{"root_dev_name: /dev/nvme0n1p2."}));
}

TEST_F(disk_query, follows_a_mapping_to_an_nvme_partition)
{
    mapped_root("root");
    machine.block_device("/dev/nvme0n1p3");
    machine.file("/sys/block/nvme0n1/device/model", "Fast Disk\n");
    machine.file("/sys/block/nvme0n1/device/serial", "S1\n");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (nvme0n1p3)\n");
    interpose::blkid_new_probe_from_filename = [](const char *) -> blkid_probe { return nullptr; };
    EXPECT_EQ(disk(), "Fast-Disk_S1");
    EXPECT_EQ(machine.trace(),
              (texts{"root_dev_name: /dev/mapper/root.", "physicalDiskNode: /dev/nvme0n1p3"}));
}

TEST_F(disk_query, answers_with_the_node_of_a_whole_disk_under_a_mapping)
{
    mapped_root("root");
    machine.block_device("/dev/sda");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda)\n");
    interpose::blkid_probe_is_wholedisk = [](blkid_probe) { return 1; };
    interpose::blkid_new_probe_from_filename = [](const char *) { return blkid_new_probe(); };
    EXPECT_EQ(disk(), "/dev/sda");
    EXPECT_EQ(machine.trace(),
              (texts{"root_dev_name: /dev/mapper/root.", "physicalDiskNode: /dev/sda"}));
}

TEST_F(disk_query, asks_the_lvm_tools_about_a_volume_on_a_sata_partition)
{
    mapped_root("vg0-root");
    machine.block_device("/dev/sda3");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda3)\n");
    machine.tool("/usr/bin/lsblk", "lvm\n");
    machine.script("/usr/sbin/smartctl", "[ \"$2\" = /dev/sda3 ] && cat <<'REPORT'\n" +
                                             std::string(ata_report) + "REPORT\n");
    machine.tool("/usr/sbin/lvdisplay", "  --- Logical volume ---\n"
                                        "  LV Path                /dev/vg0/root\n"
                                        "  LV Name                root\n"
                                        "  VG Name                vg0\n");
    machine.tool("/usr/sbin/pvdisplay", "  --- Physical volume ---\n"
                                        "  PV Name               /dev/sda3\n"
                                        "  VG Name               vg0\n");
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "ST1000DM003-1CH162_Z1D5ABCD");
    EXPECT_EQ(machine.trace(),
              (texts{"root_dev_name: /dev/mapper/vg0-root.", "physicalDiskNode: /dev/sda3"} +
               refused("/dev/dm-0")));
    EXPECT_EQ(machine.runs("/usr/sbin/smartctl").at(0).arguments,
              (texts{"/usr/sbin/smartctl", "-i", "/dev/dm-0"}));
    EXPECT_EQ(machine.runs("/usr/sbin/lvdisplay").at(0).arguments,
              (texts{"/sbin/lvdisplay", "/dev/mapper/vg0-root"}));
}

TEST_F(disk_query, asks_the_partition_below_an_encrypted_physical_volume)
{
    mapped_root("vg0-root");
    machine.block_device("/dev/sda3");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda3_crypt)\n");
    machine.script("/usr/bin/lsblk", "case $1 in -n) echo lvm;; "
                                     "*) echo '{\"blockdevices\": [{\"name\": \"/dev/sda\"}]}';; "
                                     "esac");
    machine.script("/usr/sbin/smartctl", "[ \"$2\" = /dev/sda3 ] && cat <<'REPORT'\n" +
                                             std::string(ata_report) + "REPORT\n");
    machine.tool("/usr/sbin/lvdisplay", "  VG Name                vg0\n");
    machine.tool("/usr/sbin/pvdisplay", "  PV Name               /dev/mapper/sda3_crypt\n"
                                        "  VG Name               vg0\n");
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "ST1000DM003-1CH162_Z1D5ABCD");
    EXPECT_EQ(machine.trace(),
              (texts{"root_dev_name: /dev/mapper/vg0-root.", "physicalDiskNode: /dev/sda3_crypt",
                     "!stat(dev_name, &sb) return",
                     "'/dev/sda3_crypt' is not a block device, 'sda3_crypt'",
                     "current name '/dev/sda', dev_name 'sda3_crypt'"} +
               refused("/dev/dm-0")));
}

TEST_F(disk_query, asks_the_last_physical_volume_of_two_groups)
{
    mapped_root("vg0-root");
    machine.block_device("/dev/sda3");
    machine.block_device("/dev/sdb1");
    machine.tool("/usr/bin/lsblk", "lvm\n");
    machine.script("/usr/sbin/smartctl",
                   "[ \"$2\" = /dev/sdb1 ] && printf 'Product: LAST\\nSerial number: 2\\n'");
    machine.tool("/usr/sbin/lvdisplay", "  VG Name                vg0\n");
    machine.tool("/usr/sbin/pvdisplay", "  PV Name               /dev/sda3\n"
                                        "  VG Name               vg0\n"
                                        "  PV Name               /dev/sdb1\n"
                                        "  VG Name               data\n");
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "LAST_2");
}

TEST_F(disk_query, asks_smartctl_about_flash_memory_the_kernel_says_nothing_of)
{
    root_is("/dev/mmcblk0p2");
    machine.block_device("/dev/mmcblk0p2");
    machine.tool("/usr/sbin/smartctl", ata_report);
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "ST1000DM003-1CH162_Z1D5ABCD");
    EXPECT_EQ(machine.trace(),
              (texts{"root_dev_name: /dev/mmcblk0p2."} + refused("/dev/mmcblk0p2")));
}

TEST_F(disk_query, leaves_the_lvm_tools_alone_for_a_partition)
{
    root_is("/dev/mmcblk0p2");
    machine.block_device("/dev/mmcblk0p2");
    machine.tool("/usr/bin/lsblk", "part\n");
    machine.tool("/usr/sbin/lvdisplay", "  VG Name vg0\n");
    machine.tool("/usr/sbin/pvdisplay", "  PV Name /dev/sda\n  VG Name vg0\n");
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "(no text)");
    EXPECT_TRUE(machine.runs("/usr/sbin/lvdisplay").empty());
}

TEST_F(disk_query, has_no_answer_for_a_virtual_disk)
{
    root_is("/dev/vda1");
    machine.block_device("/dev/vda1");
    machine.tool("/usr/bin/lsblk", "part\n");
    const identify_answers nobody("");
    EXPECT_EQ(disk(), "(no text)");
    EXPECT_EQ(machine.trace(), (texts{"root_dev_name: /dev/vda1."} + refused("/dev/vda1")));
}

TEST_F(disk_query, takes_the_answer_that_passes_through_a_linear_mapping)
{
    mapped_root("vg0-root");
    machine.block_device("/dev/sda3");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda3)\n");
    const identify_answers answers("/dev/dm-0");
    EXPECT_EQ(disk(), "ST1000DM003-1CH162_Z1D5ABCD");
}

TEST_F(disk_query, has_no_answer_without_a_root_device)
{
    EXPECT_EQ(disk(), "(no text)");
    EXPECT_EQ(machine.trace(), texts{});
}

class disk_query_without : public disk_query,
                           public testing::WithParamInterface<std::vector<int>> {};

// Every source is asked, with a pipe or a file on the slots that are free.
TEST_P(disk_query_without, some_standard_descriptors_is_answered_and_leaves_them_closed)
{
    mapped_root("vg0-root");
    machine.block_device("/dev/sda3");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (sda3_crypt)\n");
    machine.tool("/usr/bin/lsblk", "lvm\n");
    machine.script("/usr/sbin/smartctl",
                   "[ \"$2\" = /dev/sda3 ] && printf 'Product: DISK\\nSerial number: 1\\n'");
    machine.tool("/usr/sbin/lvdisplay", "  VG Name                vg0\n");
    machine.tool("/usr/sbin/pvdisplay", "  PV Name               /dev/mapper/sda3_crypt\n"
                                        "  VG Name               vg0\n");
    const identify_answers nobody("");
    std::string answer;
    EXPECT_EQ(left_open(GetParam(), [&] { answer = disk(); }), std::vector<int>{});
    EXPECT_EQ(answer, "DISK_1");
}

INSTANTIATE_TEST_SUITE_P(every_set, disk_query_without,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
