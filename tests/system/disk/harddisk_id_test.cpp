// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Where the identity of a device comes from: the device by its name, and what a mapped device
// stands on.
#include "disk_machine.h"

#include <string>

namespace {

struct named_device : named_case {
    std::string node; // a block device
    std::string link; // to it, by this text; none when empty
    std::string target;
    std::string name;    // as the caller passes it
    std::string queried; // the node in /dev that gets the identify request
};

const named_device named_devices[] = {
    {"disk", "/dev/sda", "", "", "/dev/sda", "/dev/sda"},
    {"partition", "/dev/sdb12", "", "", "/dev/sdb12", "/dev/sdb12"},
    {"mapped_device_by_its_node", "/dev/dm-0", "", "", "/dev/dm-0", "/dev/dm-0"},
    {"mapped_device_by_a_link_elsewhere", "/dev/dm-1", "/dev/vg/root", "../dm-1", "/dev/vg/root",
     "/dev/dm-1"},
    {"absolute_link", "/dev/sda1", "/dev/root", "/dev/sda1", "/dev/root", "/dev/sda1"},
    {"link_by_id", "/dev/sda2", "/dev/disk/by-id/ata-MODEL_SERIAL-part2", "../../sda2",
     "/dev/disk/by-id/ata-MODEL_SERIAL-part2", "/dev/sda2"},
    {"detours", "/dev/sda2", "", "", "/dev/../dev/.//sda2", "/dev/sda2"},
    {"node_below_dev", "/dev/group/volume", "", "", "/dev/group/volume", "/dev/volume"},
    {"node_outside_dev", "/srv/sdc1", "", "", "/srv/sdc1", "/dev/sdc1"},
    {"format", "/dev/%s%n", "", "", "/dev/%s%n", "/dev/%s%n"},
    {"blank", "/dev/a b", "", "", "/dev/a b", "/dev/a b"},
    {"bytes_above_ascii", "/dev/\xff\xc4", "", "", "/dev/\xff\xc4", "/dev/\xff\xc4"},
    {"255_characters", "/dev/" + std::string(255, 'd'), "", "", "/dev/" + std::string(255, 'd'),
     "/dev/" + std::string(255, 'd')},
    {"three_letters_of_nvme", "/dev/nvm", "", "", "/dev/nvm", "/dev/nvm"},
    {"other_fourth_letter", "/dev/nvmf0", "", "", "/dev/nvmf0", "/dev/nvmf0"},
    {"nvme_inside", "/dev/xnvme0", "", "", "/dev/xnvme0", "/dev/xnvme0"},
    {"nvme_in_capitals", "/dev/NVME0n1", "", "", "/dev/NVME0n1", "/dev/NVME0n1"},
    {"nvme_as_a_directory", "/dev/nvme/sda", "", "", "/dev/nvme/sda", "/dev/sda"},
    {"nvme_as_a_link", "/dev/sda2", "/dev/nvme0n1", "sda2", "/dev/nvme0n1", "/dev/sda2"},
    {"shorter_than_mapper", "/dev/dm-0", "/dev/mappe", "dm-0", "/dev/mappe", "/dev/dm-0"},
    {"like_mapper", "/dev/mapped/root", "", "", "/dev/mapped/root", "/dev/root"},
    {"mapper_in_capitals", "/dev/MAPPER/root", "", "", "/dev/MAPPER/root", "/dev/root"},
    {"link_to_a_mapper_node", "/dev/mapper/node", "/dev/disk/by-id/dm-name-node",
     "../../mapper/node", "/dev/disk/by-id/dm-name-node", "/dev/node"},
    {"mapper_behind_two_slashes", "/dev/mapper/root", "", "", "//dev/mapper/root", "/dev/root"},
    {"mapper_behind_a_detour", "/dev/mapper/root", "", "", "/dev/./mapper/root", "/dev/root"},
    {"mapper_below_another_directory", "/srv/dev/mapper/root", "", "", "/srv/dev/mapper/root",
     "/dev/root"},
};

class device_by_name : public disk_machine, public testing::WithParamInterface<named_device> {
protected:
    void furnish() override
    {
        show_nvme_disk("nvm", "of another disk\n", "1\n");
        machine.tool(dmsetup, "");
        machine.block_device(GetParam().queried);
        machine.block_device(GetParam().node);
        if (!GetParam().link.empty())
            machine.link(GetParam().link, GetParam().target);
    }
};

} // namespace

TEST_P(device_by_name, gets_the_identify_request)
{
    kernel.identify(GetParam().queried, "MODEL", "SERIAL");
    EXPECT_EQ(identity(GetParam().name.c_str()), "MODEL_SERIAL");
    expect_trace({trace_line::identify_request(GetParam().queried)});
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

INSTANTIATE_TEST_SUITE_P(by, device_by_name, testing::ValuesIn(named_devices));

namespace {

struct nameless_device : named_case {
    const char *name;
};

class no_block_device : public disk_machine, public testing::WithParamInterface<nameless_device> {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2");
        machine.block_device("/dev/mapper/home");
        machine.file("/dev/file", "");
        machine.file("/dev/nvme9n1", "");
        show_nvme_disk("nvme9n1", "MODEL\n", "SERIAL\n");
        machine.directory("/dev/disk");
        machine.link("/dev/root", "sdz");
        machine.link("/dev/mapper/dangling", "../dm-7");
        machine.link("/dev/mapper/loop", "loop");
        machine.tool(dmsetup, "1 dependencies\t: (sda2)\n");
        kernel.set_everything_whole();
    }
};

} // namespace

TEST_P(no_block_device, has_no_identity)
{
    EXPECT_EQ(identity(GetParam().name), no_text);
    expect_trace({});
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

INSTANTIATE_TEST_SUITE_P(
    as, no_block_device,
    testing::Values(nameless_device{"null", nullptr}, nameless_device{"empty_name", ""},
                    nameless_device{"missing_node", "/dev/sdz"},
                    nameless_device{"missing_mapped_device", "/dev/mapper/missing"},
                    nameless_device{"dangling_link", "/dev/root"},
                    nameless_device{"dangling_mapped_link", "/dev/mapper/dangling"},
                    nameless_device{"mapped_link_to_itself", "/dev/mapper/loop"},
                    nameless_device{"node_as_a_directory", "/dev/sda2/"},
                    nameless_device{"mapped_node_as_a_directory", "/dev/mapper/home/"},
                    nameless_device{"regular_file", "/dev/file"},
                    nameless_device{"regular_file_called_nvme", "/dev/nvme9n1"},
                    nameless_device{"directory", "/dev/disk"},
                    nameless_device{"character_device", "/dev/null"}));

// Mapped devices.

namespace {

class mapped_disk : public mapping_machine {};

constexpr char nvme_identity[] = "Fast-Disk_S1";

struct mapper_name : named_case {
    std::string name;
    std::string resolved;
};

class mapped_disk_by_name : public mapped_disk, public testing::WithParamInterface<mapper_name> {};

} // namespace

TEST_P(mapped_disk_by_name, is_followed_by_its_resolved_name)
{
    machine.block_device("/dev/mapper/luks-%s");
    machine.file("/dev/mapper/file", "");
    machine.link("/dev/mapperx", "dm-0");
    stands_on("sda");
    kernel.set_whole_disk("/dev/sda");
    EXPECT_EQ(identity(GetParam().name.c_str()), "/dev/sda");
    ASSERT_EQ(machine.runs(dmsetup).size(), 1U);
    EXPECT_EQ(machine.runs(dmsetup)[0].arguments.back(), GetParam().resolved);
}

INSTANTIATE_TEST_SUITE_P(
    which_is, mapped_disk_by_name,
    testing::Values(mapper_name{"a_link", "/dev/mapper/root", "/dev/dm-0"},
                    mapper_name{"a_node", "/dev/mapper/luks-%s", "/dev/mapper/luks-%s"},
                    mapper_name{"a_file", "/dev/mapper/file", "/dev/mapper/file"},
                    mapper_name{"the_directory", "/dev/mapper", "/dev/mapper"},
                    mapper_name{"longer_behind_mapper", "/dev/mapperx", "/dev/dm-0"},
                    mapper_name{"outside_again", "/dev/mapper/../dm-0", "/dev/dm-0"}));

TEST_F(mapped_disk, traces_the_node_of_a_whole_disk)
{
    stands_on("sda");
    kernel.set_whole_disk("/dev/sda");
    EXPECT_EQ(mapped_identity(), "/dev/sda");
    expect_trace({"physicalDiskNode: /dev/sda"});
}

TEST_F(mapped_disk, is_not_looked_up_by_the_lister_where_the_node_is_a_block_device)
{
    stands_on("sda2");
    EXPECT_EQ(mapped_identity(), no_text);
    EXPECT_TRUE(machine.runs(lsblk).empty());
    expect_trace(texts{trace_line::physical_node("sda2")} + refused_request_trace());
}

TEST_F(mapped_disk, may_stand_on_a_link_to_a_whole_disk)
{
    machine.block_device("/dev/sda");
    machine.link("/dev/disk/root", "../sda");
    depends_on("disk/root");
    kernel.set_whole_disk("/dev/disk/root");
    EXPECT_EQ(mapped_identity(), "/dev/disk/root");
}

namespace {

struct dependency : named_case {
    std::string device;
    bool can_be_probed;
    bool is_whole;
    std::string identity;
};

class mapped_disk_on : public mapped_disk, public testing::WithParamInterface<dependency> {};

constexpr char ata_identity[] = "MODEL_SERIAL";

const dependency dependencies[] = {
    {"a_whole_disk", "sda", true, true, "/dev/sda"},
    {"a_whole_disk_with_other_signs", "%sa\xc3\xbc", true, true, "/dev/%sa\xc3\xbc"},
    {"a_whole_nvme_disk", "nvme0n1", true, true, "/dev/nvme0n1"},
    {"a_whole_disk_that_cannot_be_probed", "sda", false, false, ata_identity},
    {"a_whole_nvme_disk_that_cannot_be_probed", "nvme0n1", false, false, nvme_identity},
    {"an_nvme_partition", "nvme0n1p3", true, false, nvme_identity},
    {"an_nvme_partition_in_a_directory", "disk/nvme0n1p3", true, false, nvme_identity},
    {"an_nvme_partition_outside_sysfs", "nvme1n1p3", true, false, no_text},
    {"a_partition", "sda2", true, false, ata_identity},
    {"a_partition_of_a_memory_card", "mmcblk0p2", true, false, ata_identity},
    {"a_virtual_disk", "vda1", true, false, ata_identity},
    {"another_mapped_device", "dm-1", true, false, ata_identity},
    {"a_name_that_is_nearly_nvme", "nvm0n1p3", true, false, ata_identity},
    {"a_name_with_nvme_inside", "xnvme0n1p3", true, false, ata_identity},
    {"nvme_in_capitals", "NVME0N1P3", true, false, ata_identity},
    {"a_directory_called_nvme", "nvme/sda2", true, false, ata_identity},
};

} // namespace

// The mapped device itself answers the identify request with the identity of an ATA disk.
TEST_P(mapped_disk_on, has_the_identity_of_what_answers_first)
{
    stands_on(GetParam().device);
    kernel.identify("/dev/dm-0", "MODEL", "SERIAL");
    if (GetParam().can_be_probed)
        kernel.set_whole_disk("/dev/" + GetParam().device, GetParam().is_whole);
    show_nvme_disk("nvme0n1", "Fast Disk\n", "S1\n");
    EXPECT_EQ(mapped_identity(), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(stands_on, mapped_disk_on, testing::ValuesIn(dependencies));

TEST_F(mapped_disk, is_truly_probed)
{
    stands_on("sda2");
    machine.file("/srv/disk", std::string(1024 * 1024, '\0'));
    texts probed;
    interpose::blkid_new_probe_from_filename = [&probed](const char *path) {
        probed.emplace_back(path);
        return interpose::blkid_new_probe_from_filename.real("/srv/disk");
    };
    interpose::blkid_probe_is_wholedisk.reset();
    interpose::blkid_free_probe.reset();
    EXPECT_EQ(mapped_identity(), no_text);
    EXPECT_EQ(probed, texts{"/dev/sda2"});
}

TEST_F(mapped_disk, has_the_identity_of_its_own_node_where_that_is_nvme)
{
    machine.block_device("/dev/nvme0n1p1");
    machine.link("/dev/mapper/nvme", "../nvme0n1p1");
    show_nvme_disk("nvme0n1", "Fast Disk\n", "S1\n");
    EXPECT_EQ(identity("/dev/mapper/nvme"), nvme_identity);
}

TEST_F(mapped_disk, has_no_identity_without_any_source)
{
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(texts{"physicalDiskNode: /dev/(null)", "!stat(dev_name, &sb) return",
                       "'/dev/(null)' is not a block device, '(null)'"} +
                 refused_request_trace());
}

TEST_F(mapped_disk, has_no_identity_where_its_name_leads_to_no_block_device)
{
    machine.file("/dev/mapper/file", "");
    EXPECT_EQ(identity("/dev/mapper/file"), no_text);
    EXPECT_EQ(identity("/dev/mapper"), no_text);
    expect_trace(missing_node_trace("(null)") + missing_node_trace("(null)"));
}

TEST_F(mapped_disk, has_no_identity_where_it_disappears_meanwhile)
{
    machine.script(dmsetup, "rm /dev/dm-0; echo '1 dependencies : (sda2)'");
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(missing_node_trace("sda2") + texts{trace_line::no_such_device});
}

TEST_F(mapped_disk, does_not_stand_on_what_is_no_block_device)
{
    depends_on("sda2");
    kernel.set_everything_whole();
    const texts trace =
        texts{trace_line::physical_node("sda2"), trace_line::no_block_device("sda2")} +
        refused_request_trace();
    machine.file("/dev/sda2", "");
    EXPECT_EQ(mapped_identity(), no_text);
    machine.directory("/dev/sda2");
    EXPECT_EQ(mapped_identity(), no_text);
    machine.character_device("/dev/sda2", 1, 3);
    EXPECT_EQ(mapped_identity(), no_text);
    expect_trace(trace + trace + trace);
}
