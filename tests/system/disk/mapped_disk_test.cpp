// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of the disk under a mapped device.
#include "mapping_machine.h"

#include <algorithm>
#include <cstring>

#include <linux/hdreg.h>
#include <sys/stat.h>

namespace {

class mapped_disk : public mapping_machine {
protected:
    // The mapping stands on this one device, whose node stands.
    void stands_on(const std::string &device)
    {
        depends_on(device);
        machine.block_device("/dev/" + device);
    }

    // The mapping stands on a device without node, of which the lister has these texts.
    void is_listed(const std::string &serial, const std::string &model)
    {
        depends_on("sda2");
        machine.tool(lsblk, R"({"blockdevices": [{"name": "/dev/sda2", "serial": ")" + serial +
                                R"(", "model": ")" + model + R"("}]})");
    }
    static texts listed_lines(const std::string &serial, const std::string &model)
    {
        return joined(missing_lines("sda2"), {"current name '/dev/sda2', dev_name 'sda2'",
                                              "Serial for device '/dev/sda2': " + serial,
                                              "Serial for device '/dev/sda2': " + model});
    }

    void has_nvme_disk(const std::string &disk)
    {
        machine.file("/sys/block/" + disk + "/device/model", "Samsung SSD 970 EVO Plus 500GB\n");
        machine.file("/sys/block/" + disk + "/device/serial", "S4EVNX0N123456 \n");
    }
    static constexpr char nvme_identity[] = "Samsung-SSD-970-EVO-Plus-500GB_S4EVNX0N123456";

    // A device answers the ATA request, whichever is asked.
    void answers_request()
    {
        interpose::ioctl = [](int, unsigned long, void *answer) {
            const std::string model = "ST1000DM003-1CH162                      ";
            const std::string serial = "            Z1D5ABCD";
            auto *const identity = static_cast<hd_driveid *>(answer);
            std::copy(model.begin(), model.end(), identity->model);
            std::copy(serial.begin(), serial.end(), identity->serial_no);
            return 0;
        };
    }
    static constexpr char ata_identity[] = "ST1000DM003-1CH162_Z1D5ABCD";

    static void keep_no_text_like(const char *lost)
    {
        interpose::strdup = [lost](const char *text) -> char * {
            return std::strcmp(text, lost) == 0 ? nullptr : interpose::strdup.real(text);
        };
    }

    void expect_request(const texts &lines_before)
    {
        EXPECT_TRUE(asked().is_null());
        EXPECT_EQ(machine.trace(), joined(lines_before, request_lines()));
    }
};

} // namespace

// On a whole disk.

TEST_F(mapped_disk, that_is_whole_is_known_by_its_node)
{
    stands_on("sda");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/sda");
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/sda"});
    EXPECT_EQ(calls, (texts{"probe /dev/sda", "is whole?", "free probe"}));
}

TEST_F(mapped_disk, that_is_whole_is_asked_nothing_else)
{
    stands_on("sda");
    answers_request();
    machine.tool(lsblk, R"({"blockdevices": [{"name": "/dev/sda", "serial": "S", "model": "M"}]})");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/sda");
    EXPECT_EQ(machine.runs(lsblk).size(), 0U);
}

TEST_F(mapped_disk, that_is_whole_is_known_by_its_node_when_it_is_nvme)
{
    stands_on("nvme0n1");
    has_nvme_disk("nvme0n1");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/nvme0n1");
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/nvme0n1"});
}

TEST_F(mapped_disk, that_is_whole_is_asked_itself_when_it_cannot_be_probed)
{
    stands_on("sda");
    expect_request({"physicalDiskNode: /dev/sda"});
    EXPECT_EQ(calls, texts{"probe /dev/sda"});
}

TEST_F(mapped_disk, that_is_whole_and_nvme_is_read_from_sysfs_when_it_cannot_be_probed)
{
    stands_on("nvme0n1");
    has_nvme_disk("nvme0n1");
    EXPECT_EQ(asked().value(), nvme_identity);
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/nvme0n1"});
    EXPECT_EQ(calls, texts{"probe /dev/nvme0n1"});
}

TEST_F(mapped_disk, that_is_whole_has_a_node_with_other_signs)
{
    stands_on("disk/%s a\xc3\xbc");
    machine.block_device("/dev/disk/%sa\xc3\xbc");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/disk/%sa\xc3\xbc");
    EXPECT_EQ(calls.front(), "probe /dev/disk/%sa\xc3\xbc");
}

TEST_F(mapped_disk, may_be_reached_through_a_link)
{
    machine.block_device("/dev/sda");
    machine.link("/dev/disk/root", "../sda");
    depends_on("disk/root");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/disk/root");
}

// On a partition of an NVMe disk.

TEST_F(mapped_disk, of_an_nvme_partition_is_read_from_sysfs)
{
    stands_on("nvme0n1p3");
    has_nvme_disk("nvme0n1");
    answers_request();
    probes_tell(0);
    EXPECT_EQ(asked().value(), nvme_identity);
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/nvme0n1p3"});
    EXPECT_EQ(calls, (texts{"probe /dev/nvme0n1p3", "is whole?", "free probe"}));
}

TEST_F(mapped_disk, of_an_nvme_partition_is_nobody_without_sysfs)
{
    stands_on("nvme0n1p3");
    answers_request();
    probes_tell(0);
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), (texts{"physicalDiskNode: /dev/nvme0n1p3", "(!dp) return"}));
}

TEST_F(mapped_disk, of_an_nvme_partition_is_nobody_without_a_serial)
{
    stands_on("nvme0n1p3");
    has_nvme_disk("nvme0n1");
    machine.remove("/sys/block/nvme0n1/device/serial");
    answers_request();
    probes_tell(0);
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/nvme0n1p3"});
}

TEST_F(mapped_disk, of_an_nvme_partition_is_nobody_when_it_cannot_be_kept)
{
    stands_on("nvme0n1p3");
    has_nvme_disk("nvme0n1");
    answers_request();
    probes_tell(0);
    keep_no_text_like(nvme_identity);
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/nvme0n1p3"});
}

TEST_F(mapped_disk, of_an_nvme_partition_is_known_by_the_last_part_of_its_path)
{
    stands_on("disk/nvme0n1p3");
    has_nvme_disk("nvme0n1");
    probes_tell(0);
    EXPECT_EQ(asked().value(), nvme_identity);
    EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/disk/nvme0n1p3"});
}

// On a partition of another disk.

namespace {

class mapped_partition : public mapped_disk, public testing::WithParamInterface<std::string> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(other, mapped_partition,
                         testing::Values("sda2", "mmcblk0p2", "vda1", "nvm0n1p3", "xnvme0n1p3",
                                         "NVME0N1P3", "nvme/sda2", "dm-1"));

TEST_P(mapped_partition, leaves_the_mapped_device_to_be_asked_in_vain)
{
    stands_on(GetParam());
    has_nvme_disk("nvme0n1");
    probes_tell(0);
    expect_request({"physicalDiskNode: /dev/" + GetParam()});
    EXPECT_EQ(calls, (texts{"probe /dev/" + GetParam(), "is whole?", "free probe"}));
    EXPECT_EQ(machine.runs(dmsetup).size(), 1U);
}

TEST_P(mapped_partition, leaves_the_mapped_device_to_be_asked_with_success)
{
    stands_on(GetParam());
    answers_request();
    probes_tell(0);
    EXPECT_EQ(asked().value(), ata_identity);
    EXPECT_EQ(machine.trace(),
              (texts{"physicalDiskNode: /dev/" + GetParam(), "device :/dev/dm-0"}));
}

TEST_F(mapped_disk, leaves_a_mapped_device_that_cannot_be_opened)
{
    stands_on("sda2");
    probes_tell(0);
    interpose::open = [](const char *path, int flags, mode_t mode) {
        if (std::strcmp(path, "/dev/dm-0") != 0)
            return interpose::open.real(path, flags, mode);
        errno = EACCES;
        return -1;
    };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(),
              (texts{"physicalDiskNode: /dev/sda2", "device :/dev/dm-0", "fd < 0, return"}));
}

TEST_F(mapped_disk, is_asked_itself_when_its_node_cannot_be_kept)
{
    stands_on("sda");
    probes_tell(1);
    keep_no_text_like("/dev/sda");
    expect_request({"physicalDiskNode: /dev/sda"});
    EXPECT_EQ(calls, texts());
}

TEST_F(mapped_disk, is_nobody_when_no_text_can_be_kept)
{
    stands_on("sda");
    answers_request();
    probes_tell(1);
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), joined(missing_lines("(null)"), {"device :/dev/dm-0"}));
}

// Without a node.

TEST_F(mapped_disk, without_any_source_is_asked_itself_in_vain)
{
    expect_request(missing_lines("(null)"));
    EXPECT_EQ(calls, texts());
}

TEST_F(mapped_disk, without_any_source_is_asked_itself_with_success)
{
    answers_request();
    EXPECT_EQ(asked().value(), ata_identity);
    EXPECT_EQ(machine.trace(), joined(missing_lines("(null)"), {"device :/dev/dm-0"}));
}

TEST_F(mapped_disk, without_dependency_is_asked_itself)
{
    machine.tool(dmsetup, "0 dependencies\n");
    expect_request(joined({"cannot found deps"}, missing_lines("(null)")));
}

TEST_F(mapped_disk, without_name_is_not_a_node_of_that_name)
{
    machine.tool(dmsetup, "0 dependencies\n");
    machine.tool(lsblk, R"({"blockdevices": []})");
    expect_request(joined({"cannot found deps"}, missing_lines("(null)")));
    EXPECT_EQ(machine.runs(lsblk).size(), 1U);
}

namespace {

// What stands where dmsetup names a node, and is none.
class no_node : public mapped_disk {
protected:
    void expect_it_to_be_refused()
    {
        depends_on("sda2");
        probes_tell(1);
        expect_request(
            {"physicalDiskNode: /dev/sda2", "'/dev/sda2' is not a block device, 'sda2'"});
        EXPECT_EQ(calls, texts());
    }
};

} // namespace

TEST_F(no_node, is_a_file)
{
    machine.file("/dev/sda2", "");
    expect_it_to_be_refused();
}

TEST_F(no_node, is_a_directory)
{
    machine.directory("/dev/sda2");
    expect_it_to_be_refused();
}

TEST_F(no_node, is_a_character_device)
{
    machine.character_device("/dev/sda2", 1, 3);
    expect_it_to_be_refused();
}

// The lister's text in the place of a node.

TEST_F(mapped_disk, with_a_listed_text_is_known_by_it_where_that_probes_as_a_whole_disk)
{
    is_listed("S1", "M 1");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "M-1_S1");
    EXPECT_EQ(machine.trace(), listed_lines("S1", "M 1"));
    EXPECT_EQ(calls, (texts{"probe M-1_S1", "is whole?", "free probe"}));
}

TEST_F(mapped_disk, with_a_listed_text_that_cannot_be_probed_is_asked_itself)
{
    is_listed("S1", "M1");
    expect_request(listed_lines("S1", "M1"));
    EXPECT_EQ(calls, texts{"probe M1_S1"});
}

TEST_F(mapped_disk, with_a_listed_text_that_is_no_whole_disk_is_asked_itself)
{
    is_listed("S1", "M1");
    answers_request();
    probes_tell(0);
    EXPECT_EQ(asked().value(), ata_identity);
    EXPECT_EQ(machine.trace(), joined(listed_lines("S1", "M1"), {"device :/dev/dm-0"}));
    EXPECT_EQ(calls, (texts{"probe M1_S1", "is whole?", "free probe"}));
}

TEST_F(mapped_disk, with_a_listed_text_is_asked_itself_when_that_cannot_be_kept)
{
    is_listed("S1", "M1");
    probes_tell(1);
    keep_no_text_like("M1_S1");
    expect_request(listed_lines("S1", "M1"));
    EXPECT_EQ(calls, texts());
}

TEST_F(mapped_disk, with_a_listed_text_that_begins_with_nvme_is_looked_for_in_sysfs)
{
    is_listed("S1", "nvme0n1");
    has_nvme_disk("nvme0n1");
    EXPECT_EQ(asked().value(), nvme_identity);
    EXPECT_EQ(machine.trace(), listed_lines("S1", "nvme0n1"));
}

TEST_F(mapped_disk, with_a_listed_text_that_begins_with_nvme_is_nobody_outside_sysfs)
{
    is_listed("S1", "nvme0n1");
    has_nvme_disk("nvme1n1");
    answers_request();
    probes_tell(0);
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), listed_lines("S1", "nvme0n1"));
}

TEST_F(mapped_disk, with_a_listed_text_is_looked_for_by_the_last_part_of_that)
{
    is_listed("S1", "NVMe/nvme0n1");
    has_nvme_disk("nvme0n1");
    EXPECT_EQ(asked().value(), nvme_identity);
}

TEST_F(mapped_disk, with_a_listed_text_of_another_case_is_asked_itself)
{
    is_listed("nvme0n1", "NVMe");
    has_nvme_disk("nvme0n1");
    expect_request(listed_lines("nvme0n1", "NVMe"));
}

TEST_F(mapped_disk, is_truly_probed)
{
    stands_on("sda2");
    machine.file("/srv/disk", std::string(1024 * 1024, '\0'));
    interpose::blkid_new_probe_from_filename = [this](const char *path) {
        calls.push_back(path);
        return interpose::blkid_new_probe_from_filename.real("/srv/disk");
    };
    interpose::blkid_probe_is_wholedisk.reset();
    interpose::blkid_free_probe.reset();
    expect_request({"physicalDiskNode: /dev/sda2"});
    EXPECT_EQ(calls, texts{"/dev/sda2"});
}

// The name.

namespace {

class name_of_a_mapping : public mapped_disk {
protected:
    void furnish() override
    {
        mapped_disk::furnish();
        stands_on("sda");
        probes_tell(1);
    }

    void expect_following(const char *name)
    {
        EXPECT_EQ(asked(name).value(), "/dev/sda");
        EXPECT_EQ(machine.trace(), texts{"physicalDiskNode: /dev/sda"});
    }
    void expect_no_following(const char *name, const texts &lines)
    {
        EXPECT_TRUE(asked(name).is_null());
        EXPECT_EQ(machine.trace(), lines);
        EXPECT_EQ(machine.runs(dmsetup).size(), 0U);
    }
    [[nodiscard]] std::string asked_of() const
    {
        const auto runs = machine.runs(dmsetup);
        return runs.size() == 1 ? runs[0].arguments.back() : "nothing";
    }
};

} // namespace

TEST_F(name_of_a_mapping, is_resolved_for_the_tool)
{
    expect_following("/dev/mapper/root");
    EXPECT_EQ(asked_of(), "/dev/dm-0");
}

TEST_F(name_of_a_mapping, may_be_its_node)
{
    machine.block_device("/dev/mapper/luks-%s");
    expect_following("/dev/mapper/luks-%s");
    EXPECT_EQ(asked_of(), "/dev/mapper/luks-%s");
}

TEST_F(name_of_a_mapping, may_lead_to_what_is_no_device)
{
    machine.file("/dev/mapper/file", "");
    expect_following("/dev/mapper/file");
    EXPECT_EQ(asked_of(), "/dev/mapper/file");
}

TEST_F(name_of_a_mapping, may_be_the_directory)
{
    expect_following("/dev/mapper");
    EXPECT_EQ(asked_of(), "/dev/mapper");
}

TEST_F(name_of_a_mapping, may_go_on_behind_mapper)
{
    machine.link("/dev/mapperx", "dm-0");
    expect_following("/dev/mapperx");
    EXPECT_EQ(asked_of(), "/dev/dm-0");
}

TEST_F(name_of_a_mapping, may_leave_the_directory_again)
{
    expect_following("/dev/mapper/../dm-0");
    EXPECT_EQ(asked_of(), "/dev/dm-0");
}

TEST_F(name_of_a_mapping, is_none_where_it_cannot_be_resolved)
{
    expect_no_following("/dev/mapper/none", {});
    EXPECT_EQ(calls, texts());
}

TEST_F(name_of_a_mapping, is_none_where_its_link_leads_nowhere)
{
    machine.link("/dev/mapper/lost", "../dm-1");
    expect_no_following("/dev/mapper/lost", {});
}

TEST_F(name_of_a_mapping, is_none_where_there_is_none)
{
    expect_no_following(nullptr, {});
    expect_no_following("", {});
}

TEST_F(name_of_a_mapping, is_not_that_of_its_node)
{
    expect_no_following("/dev/dm-0", request_lines());
}

TEST_F(name_of_a_mapping, is_not_that_of_a_link_to_it)
{
    machine.link("/dev/vg/root", "../mapper/root");
    expect_no_following("/dev/vg/root", request_lines());
}

TEST_F(name_of_a_mapping, is_not_spelled_otherwise)
{
    machine.link("/dev/mappe", "dm-0");
    machine.link("/dev/MAPPER", "mapper");
    for (const char *const name : {"/dev//mapper/root", "/dev/./mapper/root", "//dev/mapper/root",
                                   "/dev/MAPPER/root", "/dev/mappe"}) {
        SCOPED_TRACE(name);
        std::filesystem::remove("/var/log/orvane/liborvane.log");
        expect_no_following(name, request_lines());
    }
}

// What is asked of the mapped device when it is not followed.

TEST_F(mapped_disk, that_is_no_device_is_nobody)
{
    machine.file("/dev/mapper/file", "");
    answers_request();
    EXPECT_TRUE(asked("/dev/mapper/file").is_null());
    EXPECT_EQ(machine.trace(), missing_lines("(null)"));
}

TEST_F(mapped_disk, that_is_the_directory_is_nobody)
{
    answers_request();
    EXPECT_TRUE(asked("/dev/mapper").is_null());
    EXPECT_EQ(machine.trace(), missing_lines("(null)"));
}

TEST_F(mapped_disk, that_is_gone_meanwhile_is_nobody)
{
    machine.script(dmsetup, "rm /dev/dm-0; echo '1 dependencies : (sda2)'");
    answers_request();
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), joined(missing_lines("sda2"), {"!stat(dev_name, &sb) return"}));
}

TEST_F(mapped_disk, that_is_nvme_itself_is_read_from_sysfs)
{
    machine.block_device("/dev/nvme0n1p1");
    machine.link("/dev/mapper/nvme", "../nvme0n1p1");
    has_nvme_disk("nvme0n1");
    EXPECT_EQ(asked("/dev/mapper/nvme").value(), nvme_identity);
    EXPECT_EQ(machine.trace(), missing_lines("(null)"));
}

// What the caller keeps.

TEST_F(mapped_disk, is_found_without_a_trace_log)
{
    machine.read_only("/var/log");
    stands_on("sda");
    probes_tell(1);
    std::string found;
    EXPECT_EQ(standard_error_of([&found] { found = asked().value(); }),
              "Open log file failed: No such file or directory\n");
    EXPECT_EQ(found, "/dev/sda");
}

TEST_F(mapped_disk, is_found_under_any_umask)
{
    ::umask(0777);
    stands_on("sda");
    probes_tell(1);
    EXPECT_EQ(asked().value(), "/dev/sda");
    EXPECT_EQ(::umask(022), 0777U);
}

TEST_F(mapped_disk, is_found_in_any_directory)
{
    stands_on("sda");
    probes_tell(1);
    machine.directory("/srv/removed");
    std::filesystem::current_path("/srv/removed");
    machine.remove("/srv/removed");
    EXPECT_EQ(asked().value(), "/dev/sda");
    std::filesystem::current_path("/");
}
