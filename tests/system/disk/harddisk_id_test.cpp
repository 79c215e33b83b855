// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which question a device is asked for its identity, and what an ATA disk answers.
#include "disk_machine.h"
#include "orvane.h"

#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

namespace {

constexpr char refused[] = "ioctl(fd, HDIO_GET_IDENTITY, &id), return";
constexpr char dmsetup[] = "/usr/sbin/dmsetup";

} // namespace

// What an ATA disk answers.

namespace {

class ata_disk : public disk_machine {
protected:
    void furnish() override { machine.block_device("/dev/sda2"); }
};

} // namespace

TEST_F(ata_disk, is_known_by_its_model_and_serial_number)
{
    tell("ST1000DM003-1CH162", "    Z1D5ABCD");
    EXPECT_EQ(identity("/dev/sda2"), "ST1000DM003-1CH162_Z1D5ABCD");
}

TEST_F(ata_disk, is_asked_once_by_its_own_node)
{
    tell("MODEL", "SERIAL");
    record_calls();
    EXPECT_EQ(identity("/dev/sda2"), "MODEL_SERIAL");
    EXPECT_EQ(calls, (texts{"realpath /dev/sda2", "stat /dev/sda2", "trace", opened("/dev/sda2"),
                            "ioctl 0x30d", "close"}));
}

TEST_F(ata_disk, is_traced_before_it_is_opened)
{
    tell("MODEL", "SERIAL");
    EXPECT_EQ(identity("/dev/sda2"), "MODEL_SERIAL");
    EXPECT_EQ(machine.trace(), texts{"device :/dev/sda2"});
}

TEST_F(ata_disk, has_no_identity_when_it_cannot_be_opened)
{
    open_no_device();
    record_calls();
    EXPECT_TRUE(asked("/dev/sda2").is_null());
    EXPECT_EQ(calls, (texts{"realpath /dev/sda2", "stat /dev/sda2", "trace", opened("/dev/sda2"),
                            "trace"}));
    EXPECT_EQ(machine.trace(), (texts{"device :/dev/sda2", "fd < 0, return"}));
}

TEST_F(ata_disk, has_no_identity_and_is_closed_when_it_refuses_to_tell)
{
    tell_nothing();
    record_calls();
    EXPECT_TRUE(asked("/dev/sda2").is_null());
    EXPECT_EQ(calls, (texts{"realpath /dev/sda2", "stat /dev/sda2", "trace", opened("/dev/sda2"),
                            "ioctl 0x30d", "trace", "close"}));
    EXPECT_EQ(machine.trace(), (texts{"device :/dev/sda2", refused}));
}

TEST_F(ata_disk, has_no_identity_when_the_driver_does_not_know_the_request)
{
    open_devices();
    EXPECT_TRUE(asked("/dev/sda2").is_null());
    EXPECT_EQ(machine.trace(), (texts{"device :/dev/sda2", refused}));
}

TEST_F(ata_disk, has_no_identity_without_memory_for_it)
{
    tell("MODEL", "SERIAL");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked("/dev/sda2").is_null());
    EXPECT_EQ(calls, (texts{opened("/dev/sda2"), "ioctl 0x30d", "close"}));
}

TEST_F(ata_disk, is_asked_afresh_every_time)
{
    tell("MODEL", "SERIAL");
    EXPECT_EQ(identity("/dev/sda2"), "MODEL_SERIAL");
    tell("OTHER", "NUMBER");
    EXPECT_EQ(identity("/dev/sda2"), "OTHER_NUMBER");
    tell_nothing();
    EXPECT_TRUE(asked("/dev/sda2").is_null());
}

TEST_F(ata_disk, has_empty_texts_when_the_driver_fills_in_nothing)
{
    open_devices();
    interpose::ioctl = [](int, unsigned long, void *) { return 0; };
    EXPECT_EQ(identity("/dev/sda2"), "_");
}

TEST_F(ata_disk, is_known_where_no_trace_can_be_written)
{
    machine.read_only("/var/log");
    tell("MODEL", "SERIAL");
    std::string seen;
    EXPECT_EQ(standard_error_of([&seen] { seen = identity("/dev/sda2"); }),
              "Open log file failed: No such file or directory\n");
    EXPECT_EQ(seen, "MODEL_SERIAL");
}

TEST_F(ata_disk, is_asked_without_a_word_on_the_standard_streams)
{
    tell_nothing();
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of([] { EXPECT_TRUE(asked("/dev/sda2").is_null()); }), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

namespace {

struct ata_words : named_case {
    std::string_view model;
    std::string_view serial;
    std::string_view identity;
};

const ata_words told_words[] = {
    {"a_blank_inside", "WDC WD10EZEX", "WD-1 2", "WDCWD10EZEX_WD-12"},
    {"blanks_around", "  MODEL  ", "  SERIAL  ", "MODEL_SERIAL"},
    {"a_blank_model", "", "SERIAL", "_SERIAL"},
    {"a_blank_serial_number", "MODEL", "", "MODEL_"},
    {"blanks_alone", "", "", "_"},
    {"forty_characters", "0123456789abcdefghijABCDEFGHIJ0123456789", "SERIAL",
     "0123456789abcdefghijABCDEFGHIJ0123456789_SERIAL"},
    {"twenty_characters", "MODEL", "0123456789abcdefghij", "MODEL_0123456789abcdefghij"},
    {"control_characters", "A\tB\nC\x01\x7f\x1f", "\r1\v2\f3", "ABC_123"},
    {"zero_bytes", "\0AB\0CD\0"sv, "12\0\0 34"sv, "ABCD_1234"},
    {"punctuation", "%s%n_\\\"'$(x)/", "-*?~!", "%s%n_\\\"'$(x)/_-*?~!"},
    {"bytes_above_0x7f",
     "A\xc4\x80\xff"
     "B",
     "\xa0"
     "1",
     "AB_1"},
};

class ata_text : public ata_disk, public testing::WithParamInterface<ata_words> {};

} // namespace

TEST_P(ata_text, is_freed_of_all_but_graphic_characters)
{
    tell(GetParam().model, GetParam().serial);
    EXPECT_EQ(identity("/dev/sda2"), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(of, ata_text, testing::ValuesIn(told_words));

TEST_F(ata_disk, keeps_what_the_locale_of_the_caller_calls_graphic)
{
    const latin_1_locale locale(machine);
    tell("\xc4\x85 B", "\xe9\x9f"
                       "1");
    EXPECT_EQ(identity("/dev/sda2"), "\xc4"
                                     "B_\xe9"
                                     "1");
}

TEST_F(ata_disk, does_not_look_at_the_environment_for_a_locale)
{
    ::setenv("LC_ALL", "C.UTF-8", 1);
    tell("\xc3\x84"
         "B",
         "1");
    EXPECT_EQ(identity("/dev/sda2"), "B_1");
}

// Which question is asked for a name.

namespace {

struct asked_device : named_case {
    std::string node; // a block device
    std::string link; // to it, by this text; none when empty
    std::string target;
    std::string name; // as the caller gives it
    std::string asked;
};

const asked_device asked_devices[] = {
    {"a_disk", "/dev/sda", "", "", "/dev/sda", "/dev/sda"},
    {"a_partition", "/dev/sdb12", "", "", "/dev/sdb12", "/dev/sdb12"},
    {"a_memory_card", "/dev/mmcblk0p2", "", "", "/dev/mmcblk0p2", "/dev/mmcblk0p2"},
    {"a_virtual_disk", "/dev/vda1", "", "", "/dev/vda1", "/dev/vda1"},
    {"a_mapped_device_by_its_node", "/dev/dm-0", "", "", "/dev/dm-0", "/dev/dm-0"},
    {"a_loop_device", "/dev/loop0", "", "", "/dev/loop0", "/dev/loop0"},
    {"an_absolute_link", "/dev/sda1", "/dev/root", "/dev/sda1", "/dev/root", "/dev/sda1"},
    {"a_link_by_id", "/dev/sda2", "/dev/disk/by-id/ata-MODEL_SERIAL-part2", "../../sda2",
     "/dev/disk/by-id/ata-MODEL_SERIAL-part2", "/dev/sda2"},
    {"a_link_by_id_to_a_mapped_device", "/dev/dm-1", "/dev/disk/by-id/dm-name-root", "../../dm-1",
     "/dev/disk/by-id/dm-name-root", "/dev/dm-1"},
    {"a_name_with_detours", "/dev/sda2", "", "", "/dev/../dev/.//sda2", "/dev/sda2"},
    {"a_node_below_dev", "/dev/group/volume", "", "", "/dev/group/volume", "/dev/volume"},
    {"a_node_outside_dev", "/srv/sdc1", "", "", "/srv/sdc1", "/dev/sdc1"},
    {"a_name_like_a_format", "/dev/%s%n", "", "", "/dev/%s%n", "/dev/%s%n"},
    {"a_name_with_a_blank", "/dev/a b", "", "", "/dev/a b", "/dev/a b"},
    {"a_name_of_other_bytes", "/dev/\xff\xc4", "", "", "/dev/\xff\xc4", "/dev/\xff\xc4"},
    {"a_long_name", "/dev/" + std::string(255, 'd'), "", "", "/dev/" + std::string(255, 'd'),
     "/dev/" + std::string(255, 'd')},
    {"a_name_that_ends_before_nvme", "/dev/nvm", "", "", "/dev/nvm", "/dev/nvm"},
    {"a_name_that_is_nearly_nvme", "/dev/nvmf0", "", "", "/dev/nvmf0", "/dev/nvmf0"},
    {"a_name_with_nvme_inside", "/dev/xnvme0", "", "", "/dev/xnvme0", "/dev/xnvme0"},
    {"nvme_in_capitals", "/dev/NVME0n1", "", "", "/dev/NVME0n1", "/dev/NVME0n1"},
    {"a_directory_called_nvme", "/dev/nvme/sda", "", "", "/dev/nvme/sda", "/dev/sda"},
    {"a_link_called_nvme", "/dev/sda2", "/dev/nvme0n1", "sda2", "/dev/nvme0n1", "/dev/sda2"},
};

class device_by_name : public disk_machine, public testing::WithParamInterface<asked_device> {
protected:
    void furnish() override
    {
        machine.file("/sys/block/nvm/device/model", "a disk of another kind\n");
        machine.file("/sys/block/nvm/device/serial", "1\n");
        machine.tool(dmsetup, "");
        machine.block_device(GetParam().node);
        if (!GetParam().link.empty())
            machine.link(GetParam().link, GetParam().target);
    }
};

} // namespace

TEST_P(device_by_name, is_asked_to_identify_itself)
{
    tell("MODEL", "SERIAL");
    EXPECT_EQ(identity(GetParam().name), "MODEL_SERIAL");
    EXPECT_EQ(calls, (texts{opened(GetParam().asked), "ioctl 0x30d", "close"}));
    EXPECT_EQ(machine.trace(), texts{"device :" + GetParam().asked});
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

TEST_P(device_by_name, has_no_identity_when_it_refuses)
{
    tell_nothing();
    EXPECT_TRUE(asked(GetParam().name.c_str()).is_null());
    EXPECT_EQ(machine.trace(), (texts{"device :" + GetParam().asked, refused}));
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

INSTANTIATE_TEST_SUITE_P(of, device_by_name, testing::ValuesIn(asked_devices));

TEST_F(disk_machine, asks_in_dev_for_the_name_of_a_node_elsewhere)
{
    machine.block_device("/srv/sdc1");
    EXPECT_TRUE(asked("/srv/sdc1").is_null());
    EXPECT_EQ(machine.trace(), (texts{"device :/dev/sdc1", "fd < 0, return"}));
}

// Names that lead to no block device.

namespace {

struct no_device : named_case {
    const char *name;
};

const no_device names_of_no_device[] = {
    {"no_name", nullptr},
    {"an_empty_name", ""},
    {"a_missing_node", "/dev/sdz"},
    {"a_missing_mapped_device", "/dev/mapper/missing"},
    {"a_missing_name_like_mapper", "/dev/mapper-missing"},
    {"a_dangling_link", "/dev/root"},
    {"a_dangling_link_under_mapper", "/dev/mapper/dangling"},
    {"a_link_to_itself_under_mapper", "/dev/mapper/loop"},
    {"a_node_taken_for_a_directory", "/dev/sda2/"},
    {"a_mapped_node_taken_for_a_directory", "/dev/mapper/home/"},
    {"a_regular_file", "/dev/file"},
    {"a_regular_file_called_nvme", "/dev/nvme9n1"},
    {"a_directory", "/dev/disk"},
    {"a_character_device", "/dev/null"},
    {"the_root_directory", "/"},
};

class name_of_no_device : public disk_machine, public testing::WithParamInterface<no_device> {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2");
        machine.block_device("/dev/mapper/home");
        machine.file("/dev/file", "");
        machine.file("/dev/nvme9n1", "");
        machine.file("/sys/block/nvme9n1/device/model", "M\n");
        machine.file("/sys/block/nvme9n1/device/serial", "S\n");
        machine.directory("/dev/disk");
        machine.link("/dev/root", "sdz");
        machine.link("/dev/mapper/dangling", "../dm-7");
        machine.link("/dev/mapper/loop", "loop");
        machine.tool(dmsetup, "1 dependencies\t: (sda2)\n");
    }
};

} // namespace

TEST_P(name_of_no_device, has_no_identity_and_nobody_is_asked)
{
    tell("MODEL", "SERIAL");
    EXPECT_TRUE(asked(GetParam().name).is_null());
    EXPECT_EQ(calls, texts{});
    EXPECT_EQ(machine.trace(), texts{});
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

INSTANTIATE_TEST_SUITE_P(of, name_of_no_device, testing::ValuesIn(names_of_no_device));

TEST_F(ata_disk, has_no_identity_when_its_node_is_gone_once_the_name_is_resolved)
{
    tell("MODEL", "SERIAL");
    interpose::realpath = [](const char *, char *room) { return std::strcpy(room, "/dev/gone"); };
    EXPECT_TRUE(asked("/dev/sda2").is_null());
    EXPECT_EQ(calls, texts{});
    EXPECT_EQ(machine.trace(), texts{"!stat(dev_name, &sb) return"});
}

// Names of mapped devices: it is the caller's name that tells them.

namespace {

class mapped_device : public disk_machine {
protected:
    void furnish() override
    {
        machine.remove("/usr/bin/lsblk");
        machine.tool(dmsetup, "");
        machine.block_device("/dev/dm-0");
        machine.block_device("/dev/mapper/node");
        machine.block_device("/dev/mapped/root");
        machine.block_device("/srv/dev/mapper/root");
        machine.link("/dev/mapper/root", "../dm-0");
        machine.link("/dev/mapper-root", "dm-0");
        machine.link("/dev/mappe", "dm-0");
        machine.link("/dev/MAPPER/root", "../dm-0");
        machine.link("/dev/root", "mapper/root");
        machine.link("/dev/disk/by-id/dm-name-node", "/dev/mapper/node");
    }
};

struct mapper_name : named_case {
    const char *name;
};

class name_under_mapper : public mapped_device, public testing::WithParamInterface<mapper_name> {};
class name_beside_mapper : public mapped_device, public testing::WithParamInterface<mapper_name> {};

} // namespace

TEST_P(name_under_mapper, is_followed)
{
    tell_nothing();
    EXPECT_TRUE(asked(GetParam().name).is_null());
    EXPECT_EQ(machine.runs(dmsetup).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(of, name_under_mapper,
                         testing::Values(mapper_name{"a_link", "/dev/mapper/root"},
                                         mapper_name{"a_node", "/dev/mapper/node"},
                                         mapper_name{"a_name_that_begins_so", "/dev/mapper-root"},
                                         mapper_name{"the_directory", "/dev/mapper"}));

TEST_P(name_beside_mapper, is_not_followed)
{
    tell_nothing();
    EXPECT_TRUE(asked(GetParam().name).is_null());
    EXPECT_TRUE(machine.runs(dmsetup).empty());
}

INSTANTIATE_TEST_SUITE_P(of, name_beside_mapper,
                         testing::Values(mapper_name{"the_node_itself", "/dev/dm-0"},
                                         mapper_name{"a_shorter_name", "/dev/mappe"},
                                         mapper_name{"a_name_like_it", "/dev/mapped/root"},
                                         mapper_name{"capitals", "/dev/MAPPER/root"},
                                         mapper_name{"a_link_to_one", "/dev/root"},
                                         mapper_name{"a_link_to_a_node_there",
                                                     "/dev/disk/by-id/dm-name-node"},
                                         mapper_name{"two_slashes", "//dev/mapper/root"},
                                         mapper_name{"a_detour", "/dev/./mapper/root"},
                                         mapper_name{"a_directory_above", "/srv/dev/mapper/root"}));

TEST_F(mapped_device, that_cannot_be_followed_is_asked_by_its_node)
{
    tell("MODEL", "SERIAL");
    EXPECT_EQ(identity("/dev/mapper/root"), "MODEL_SERIAL");
    EXPECT_EQ(calls, (texts{opened("/dev/dm-0"), "ioctl 0x30d", "close"}));
}

// Closed standard descriptors.

namespace {

class ata_disk_without_standard_descriptors : public ata_disk,
                                              public testing::WithParamInterface<std::vector<int>> {
};

} // namespace

TEST_P(ata_disk_without_standard_descriptors, is_known_and_leaves_them_closed)
{
    tell("MODEL", "SERIAL");
    std::string seen;
    EXPECT_EQ(left_open(GetParam(), [&seen] { seen = identity("/dev/sda2"); }), std::vector<int>{});
    EXPECT_EQ(seen, "MODEL_SERIAL");
    EXPECT_EQ(calls, (texts{opened("/dev/sda2"), "ioctl 0x30d", "close"}));
}

TEST_P(ata_disk_without_standard_descriptors, refuses_and_leaves_them_closed)
{
    tell_nothing();
    std::string seen;
    EXPECT_EQ(left_open(GetParam(), [&seen] { seen = identity("/dev/sda2"); }), std::vector<int>{});
    EXPECT_EQ(seen, "(no text)");
    EXPECT_EQ(calls, (texts{opened("/dev/sda2"), "ioctl 0x30d", "close"}));
}

INSTANTIATE_TEST_SUITE_P(every_combination, ata_disk_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
