// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The query for the identity of the root disk: the order of the sources, and whole machines.
#include "disk_machine.h"

#include <cstring>
#include <optional>
#include <string>

namespace {

using answer = std::optional<std::string>;

struct sources : named_case {
    answer root;
    answer kernel;
    answer smartctl;
    int is_logical_volume;
    answer lvm;
    texts queried;
    std::string identity;
};

class disk_query_order : public on_machine, public testing::WithParamInterface<sources> {
protected:
    // Puts the answers of the case in the place of the exported functions.
    void answer_queries()
    {
        interpose::root_device = [] { return copy(GetParam().root); };
        interpose::harddisk_id = [this](const char *device) {
            note("kernel", device);
            return copy(GetParam().kernel);
        };
        interpose::harddisk_id_smartctl = [this](const char *device) {
            note("smartctl", device);
            return copy(GetParam().smartctl);
        };
        interpose::is_logical_volume = [this](const char *device) {
            note("type", device);
            return GetParam().is_logical_volume;
        };
        interpose::harddisk_id_lvm = [this](const char *device) {
            note("lvm", device);
            return copy(GetParam().lvm);
        };
    }

    texts queried;

private:
    static char *copy(const answer &text) { return text ? ::strdup(text->c_str()) : nullptr; }

    void note(const char *source, const char *device)
    {
        EXPECT_EQ(device, GetParam().root);
        queried.emplace_back(source);
    }
};

std::string root_disk()
{
    return owned_text(orvane_get_harddisk_id()).value();
}

} // namespace

TEST_P(disk_query_order, is_the_same_on_every_call)
{
    answer_queries();
    EXPECT_EQ(root_disk(), GetParam().identity);
    EXPECT_EQ(queried, GetParam().queried);
    EXPECT_EQ(root_disk(), GetParam().identity);
    EXPECT_EQ(queried, GetParam().queried + GetParam().queried);
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(
    where, disk_query_order,
    testing::Values(
        sources{"there_is_no_root_device", {}, "K", "S", 1, "L", {}, no_text},
        sources{"the_kernel_answers", "/dev/mapper/root", "K", "S", 1, "L", {"kernel"}, "K"},
        sources{
            "the_kernel_answers_with_an_empty_text", "/dev/sda", "", "S", 1, "L", {"kernel"}, ""},
        sources{"smartctl_answers", "/dev/sda", {}, "S", 1, "L", {"kernel", "smartctl"}, "S"},
        sources{"the_lvm_tools_answer",
                "/dev/mapper/root",
                {},
                {},
                1,
                "L",
                {"kernel", "smartctl", "type", "lvm"},
                "L"},
        sources{"the_type_is_any_number_but_0",
                "/dev/sda",
                {},
                {},
                -7,
                "L",
                {"kernel", "smartctl", "type", "lvm"},
                "L"},
        sources{"the_lvm_tools_have_no_answer",
                "/dev/sda",
                {},
                {},
                1,
                {},
                {"kernel", "smartctl", "type", "lvm"},
                no_text},
        sources{"the_device_is_no_logical_volume",
                "/dev/sda",
                {},
                {},
                0,
                "L",
                {"kernel", "smartctl", "type"},
                no_text}));

// Whole machines, from the mount table to the answer.

namespace {

constexpr char ata_report[] = "=== START OF INFORMATION SECTION ===\n"
                              "Model Family:     Seagate Barracuda 7200.14\n"
                              "Device Model:     ST1000DM003-1CH162\n"
                              "Serial Number:    Z1D5ABCD\n";
constexpr char ata_identity[] = "ST1000DM003-1CH162_Z1D5ABCD";

class disk_query : public disk_machine {
protected:
    void root_is(const std::string &device)
    {
        machine.file("/proc/mounts", device + " / ext4 rw,relatime 0 0\n");
        machine.block_device(device);
    }
    void root_is_mapped()
    {
        root_is("/dev/dm-0");
        machine.link("/dev/mapper/vg0-root", "../dm-0");
        machine.file("/proc/mounts", "/dev/mapper/vg0-root / ext4 rw,relatime 0 0\n");
    }

    void smartctl_answers_for(const std::string &node)
    {
        machine.script(smartctl,
                       "[ \"$2\" = " + node + " ] && cat <<'REPORT'\n" + ata_report + "REPORT\n");
    }
    void has_volume_group(const std::string &physical_volumes)
    {
        machine.tool(lvdisplay, "  LV Name                root\n  VG Name                vg0\n");
        machine.tool(pvdisplay, physical_volumes);
    }
};

} // namespace

TEST_F(disk_query, sends_the_request_to_a_sata_partition_and_runs_no_tool)
{
    root_is("/dev/sda2");
    machine.tool(smartctl, ata_report);
    kernel.identify("/dev/sda2", "ST1000DM003-1CH162", "    Z1D5ABCD");
    EXPECT_EQ(root_disk(), ata_identity);
    EXPECT_TRUE(machine.runs(smartctl).empty());
    expect_trace({trace_line::root_device("/dev/sda2"), trace_line::identify_request("/dev/sda2")});
}

TEST_F(disk_query, answers_with_the_node_of_a_whole_disk_under_a_mapping)
{
    root_is_mapped();
    machine.block_device("/dev/sda");
    machine.tool(dmsetup, "1 dependencies\t: (sda)\n");
    kernel.set_whole_disk("/dev/sda");
    EXPECT_EQ(root_disk(), "/dev/sda");
}

TEST_F(disk_query, queries_the_lvm_tools_for_a_volume_on_a_sata_partition)
{
    root_is_mapped();
    machine.block_device("/dev/sda3");
    machine.tool(dmsetup, "1 dependencies\t: (sda3)\n");
    machine.tool(lsblk, "lvm\n");
    smartctl_answers_for("/dev/sda3");
    has_volume_group("  PV Name               /dev/sda3\n  VG Name               vg0\n");
    EXPECT_EQ(root_disk(), ata_identity);
    const auto queries = machine.runs(smartctl);
    ASSERT_EQ(queries.size(), 2U);
    EXPECT_EQ(queries[0].arguments.back(), "/dev/dm-0");
    EXPECT_EQ(queries[1].arguments.back(), "/dev/sda3");
    EXPECT_EQ(machine.runs(lsblk).at(0).arguments.back(), "/dev/mapper/vg0-root");
    EXPECT_EQ(machine.runs(lvdisplay).at(0).arguments.back(), "/dev/mapper/vg0-root");
}

TEST_F(disk_query, queries_the_partition_below_an_encrypted_physical_volume)
{
    root_is_mapped();
    machine.block_device("/dev/sda3");
    machine.tool(dmsetup, "1 dependencies\t: (sda3_crypt)\n");
    machine.script(lsblk, "case $1 in -n) echo lvm;; "
                          "*) echo '{\"blockdevices\": [{\"name\": \"/dev/sda\"}]}';; esac");
    smartctl_answers_for("/dev/sda3");
    has_volume_group("  PV Name   /dev/mapper/sda3_crypt\n  VG Name   vg0\n");
    EXPECT_EQ(root_disk(), ata_identity);
    expect_trace({trace_line::root_device("/dev/mapper/vg0-root"),
                  trace_line::physical_node("sda3_crypt"), trace_line::no_such_device,
                  trace_line::no_block_device("sda3_crypt"),
                  trace_line::listed_name("/dev/sda", "sda3_crypt"),
                  trace_line::identify_request("/dev/dm-0"), trace_line::request_refused});
}

TEST_F(disk_query, queries_smartctl_for_flash_memory)
{
    root_is("/dev/mmcblk0p2");
    machine.tool(smartctl, ata_report);
    EXPECT_EQ(root_disk(), ata_identity);
}

TEST_F(disk_query, runs_no_lvm_tools_for_a_partition)
{
    root_is("/dev/vda1");
    machine.tool(lsblk, "part\n");
    has_volume_group("  PV Name /dev/sda\n  VG Name vg0\n");
    EXPECT_EQ(root_disk(), no_text);
    EXPECT_TRUE(machine.runs(lvdisplay).empty());
}
