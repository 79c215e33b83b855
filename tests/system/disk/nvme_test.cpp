// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of NVMe disks, which the kernel shows in /sys/block.
#include "disk_machine.h"
#include "listed_names.h"
#include "orvane.h"

#include <cerrno>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

namespace {

class nvme_disk : public disk_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/nvme0n1p2");
        machine.directory("/sys/block");
    }

    static std::string model_of(const std::string &disk)
    {
        return "/sys/block/" + disk + "/device/model";
    }
    static std::string serial_of(const std::string &disk)
    {
        return "/sys/block/" + disk + "/device/serial";
    }

    void show_disk(const std::string &name, std::string_view model, std::string_view serial)
    {
        machine.file(model_of(name), model);
        machine.file(serial_of(name), serial);
    }

    listed_names block_devices;
};

} // namespace

TEST_F(nvme_disk, is_known_by_the_model_and_serial_number_of_a_partition)
{
    show_disk("nvme0n1", "Samsung SSD 970 EVO Plus 500GB\n", "S4EVNX0N123456 \n");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "Samsung-SSD-970-EVO-Plus-500GB_S4EVNX0N123456");
}

TEST_F(nvme_disk, is_known_by_its_own_name)
{
    machine.block_device("/dev/nvme0n1");
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/dev/nvme0n1"), "MODEL_SERIAL");
}

TEST_F(nvme_disk, is_known_by_a_link)
{
    machine.link("/dev/disk/by-uuid/0123-4567", "../../nvme0n1p2");
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/dev/disk/by-uuid/0123-4567"), "MODEL_SERIAL");
}

TEST_F(nvme_disk, is_known_by_the_last_part_of_its_path)
{
    machine.block_device("/srv/nvme0n1p3");
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/srv/nvme0n1p3"), "MODEL_SERIAL");
}

TEST_F(nvme_disk, is_known_through_the_links_of_the_kernel)
{
    const std::string controller = "/sys/devices/pci0000:00/0000:01:00.0/nvme/nvme0";
    machine.file(controller + "/model", "MODEL X\n");
    machine.file(controller + "/serial", "SERIAL\n");
    machine.directory(controller + "/nvme0n1");
    machine.link(controller + "/nvme0n1/device", "../../nvme0");
    machine.link("/sys/block/nvme0n1", "../devices/pci0000:00/0000:01:00.0/nvme/nvme0/nvme0n1");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "MODEL-X_SERIAL");
}

TEST_F(nvme_disk, is_looked_up_and_then_read_model_first)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    open_devices();
    record_calls();
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "MODEL_SERIAL");
    EXPECT_EQ(calls, (texts{"realpath /dev/nvme0n1p2", "stat /dev/nvme0n1p2", "opendir /sys/block",
                            "closedir", "fopen /sys/block/nvme0n1/device/model r", "fclose",
                            "fopen /sys/block/nvme0n1/device/serial r", "fclose"}));
}

TEST_F(nvme_disk, is_read_afresh_every_time)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "MODEL_SERIAL");
    show_disk("nvme0n1", "OTHER\n", "NUMBER\n");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "OTHER_NUMBER");
    machine.remove(serial_of("nvme0n1"));
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
}

TEST_F(nvme_disk, has_no_identity_without_memory_for_it)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
}

TEST_F(nvme_disk, has_no_identity_unless_it_is_a_block_device)
{
    machine.character_device("/dev/nvme0", 1, 3);
    show_disk("nvme0", "MODEL\n", "SERIAL\n");
    EXPECT_TRUE(asked("/dev/nvme0").is_null());
}

// The disk of a name.

namespace {

struct listing : named_case {
    texts names;
    std::string identity;
    texts left; // not looked at
};

const listing listings[] = {
    {"the_disk_of_the_partition", {".", "..", "sda", "nvme0n1"}, "zero_", {}},
    {"the_first_of_two", {"nvme0n1", "nvme0n1p2"}, "zero_", {"nvme0n1p2"}},
    {"the_first_of_two_in_the_other_order", {"nvme0n1p2", "nvme0n1"}, "part_", {"nvme0n1"}},
    {"a_shorter_name_that_comes_first", {"nvme0", "nvme0n1"}, "controller_", {"nvme0n1"}},
    {"another_disk", {"nvme1n1", "nvme0n2"}, "(no text)", {}},
    {"a_longer_name", {"nvme0n1p2x", "nvme0n10"}, "(no text)", {}},
    {"a_name_in_capitals", {"NVME0N1"}, "(no text)", {}},
    {"nothing", {}, "(no text)", {}},
};

class listed_disk : public nvme_disk, public testing::WithParamInterface<listing> {
protected:
    void furnish() override
    {
        nvme_disk::furnish();
        for (const char *const other : {"nvme1n1", "nvme0n2", "nvme0n1p2x", "nvme0n10", "NVME0N1"})
            show_disk(other, "other\n", " \n");
        show_disk("nvme0", "controller\n", " \n");
        show_disk("nvme0n1", "zero\n", " \n");
        show_disk("nvme0n1p2", "part\n", " \n");
    }
};

} // namespace

TEST_P(listed_disk, is_the_first_whose_name_begins_the_one_of_the_device)
{
    block_devices.list(GetParam().names);
    EXPECT_EQ(identity("/dev/nvme0n1p2"), GetParam().identity);
    EXPECT_EQ(block_devices.not_listed(), GetParam().left);
    EXPECT_EQ(machine.trace(), texts{});
}

INSTANTIATE_TEST_SUITE_P(among, listed_disk, testing::ValuesIn(listings));

TEST_F(nvme_disk, may_be_taken_for_a_tenth_namespace)
{
    machine.block_device("/dev/nvme0n10p1");
    show_disk("nvme0n1", "ONE\n", "1\n");
    show_disk("nvme0n10", "TEN\n", "10\n");
    block_devices.list({"nvme0n1", "nvme0n10"});
    EXPECT_EQ(identity("/dev/nvme0n10p1"), "ONE_1");
    block_devices.list({"nvme0n10", "nvme0n1"});
    EXPECT_EQ(identity("/dev/nvme0n10p1"), "TEN_10");
}

TEST_F(nvme_disk, may_have_the_longest_of_names)
{
    const std::string name = "nvme" + std::string(251, 'n');
    machine.block_device("/dev/" + name);
    show_disk(name, "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/dev/" + name), "MODEL_SERIAL");
}

TEST_F(nvme_disk, may_have_a_name_like_a_format)
{
    machine.block_device("/dev/nvme%s%n");
    show_disk("nvme%s%n", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity("/dev/nvme%s%n"), "MODEL_SERIAL");
}

TEST_F(nvme_disk, is_looked_for_no_further_when_it_has_no_attributes)
{
    machine.directory("/sys/block/nvme0");
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    block_devices.list({"nvme0", "nvme0n1"});
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
}

TEST_F(nvme_disk, has_no_identity_where_no_name_is_listed)
{
    record_calls();
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(calls, (texts{"realpath /dev/nvme0n1p2", "stat /dev/nvme0n1p2", "opendir /sys/block",
                            "closedir"}));
}

TEST_F(nvme_disk, has_no_identity_where_the_listing_breaks_off)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    interpose::readdir = [](DIR *) -> dirent * {
        errno = EIO;
        return nullptr;
    };
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(nvme_disk, is_not_asked_itself_where_sysfs_does_not_know_it)
{
    tell("MODEL", "SERIAL");
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(calls, texts{});
}

TEST_F(nvme_disk, has_no_identity_without_a_list_of_disks)
{
    machine.remove("/sys/block");
    record_calls();
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(calls, (texts{"realpath /dev/nvme0n1p2", "stat /dev/nvme0n1p2", "opendir /sys/block",
                            "trace"}));
    EXPECT_EQ(machine.trace(), texts{"(!dp) return"});
}

TEST_F(nvme_disk, has_no_identity_where_a_file_stands_for_the_list_of_disks)
{
    machine.file("/sys/block", "nvme0n1\n");
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(machine.trace(), texts{"(!dp) return"});
}

TEST_F(nvme_disk, has_no_identity_for_those_who_may_not_list_disks)
{
    machine.directory("/sys/block", 0700);
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    {
        const other_user caller;
        EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    }
    EXPECT_EQ(machine.trace(), texts{"(!dp) return"});
}

// The attributes of a disk.

namespace {

struct attribute : named_case {
    std::string content;
    std::string text;
};

const attribute attributes[] = {
    {"a_line", "MODEL\n", "MODEL"},
    {"without_a_line_end", "MODEL", "MODEL"},
    {"one_character", "M", "M"},
    {"one_character_and_a_line_end", "M\n", "M"},
    {"blanks_inside", "Samsung SSD 970 EVO\n", "Samsung-SSD-970-EVO"},
    {"runs_inside", "A  B \t\n\r C\n", "A-B-C"},
    {"blanks_behind", "MODEL   \t\n", "MODEL"},
    {"blanks_before", " \t\n MODEL\n", "MODEL"},
    {"one_blank_before", " MODEL\n", "MODEL"},
    {"blanks_around", "   A   B   \n", "A-B"},
    {"two_lines", "A\nB\n", "A-B"},
    {"a_blank_and_a_line_end", " \n", ""},
    {"a_line_end_alone", "\n", ""},
    {"one_blank_alone", " ", ""},
    {"blanks_alone", "      \t   \n", ""},
    {"hyphens", "-A- -B--C-\n", "-A---B--C-"},
    {"punctuation", "%s%n_\\\"'$(x)/\n", "%s%n_\\\"'$(x)/"},
    {"control_characters",
     "\x01"
     "A\x02\x03"
     "B\x7f\x1f",
     "A-B"},
    {"bytes_above_0x7f",
     "\xc4\xc4"
     "A\x80\xff"
     "B\xc4\n",
     "A-B"},
    {"a_zero_byte", std::string("A B\0C\n", 6), "A-B"},
    {"of_1022_bytes", std::string(1022, 'x'), std::string(1022, 'x')},
    {"of_1022_bytes_and_a_line_end", std::string(1022, 'x') + "\n", std::string(1022, 'x')},
    {"of_1023_bytes", std::string(1023, 'x'), std::string(1023, 'x')},
    {"of_1024_bytes", std::string(1024, 'x'), std::string(1023, 'x')},
    {"of_2000_bytes", std::string(2000, 'x') + "\n", std::string(1023, 'x')},
    {"a_last_character_at_the_bound", std::string(1022, ' ') + "AB", "A"},
    {"a_blank_at_the_bound", std::string(1022, 'x') + " B", std::string(1022, 'x')},
    {"a_character_behind_the_bound", std::string(1023, ' ') + "A", ""},
};

class attribute_text : public nvme_disk, public testing::WithParamInterface<attribute> {};

} // namespace

TEST_P(attribute_text, is_the_model)
{
    show_disk("nvme0n1", GetParam().content, "S");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), GetParam().text + "_S");
}

TEST_P(attribute_text, is_the_serial_number)
{
    show_disk("nvme0n1", "M", GetParam().content);
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "M_" + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(of, attribute_text, testing::ValuesIn(attributes));

TEST_F(nvme_disk, has_room_for_two_long_attributes)
{
    show_disk("nvme0n1", std::string(2000, 'm'), std::string(2000, 's'));
    EXPECT_EQ(identity("/dev/nvme0n1p2"), std::string(1023, 'm') + "_" + std::string(1023, 's'));
}

TEST_F(nvme_disk, has_an_underscore_for_an_identity_where_both_are_blank)
{
    show_disk("nvme0n1", " \n", "\n");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "_");
}

TEST_F(nvme_disk, keeps_what_the_locale_of_the_caller_calls_graphic)
{
    const latin_1_locale locale(machine);
    show_disk("nvme0n1",
              "\xc4\x85"
              "B\xe9\n",
              "\x9f\xff\n");
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "\xc4-B\xe9_\xff");
}

TEST_F(nvme_disk, has_no_identity_and_no_serial_number_is_read_without_a_model)
{
    machine.file(serial_of("nvme0n1"), "SERIAL\n");
    record_calls();
    EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
    EXPECT_EQ(calls, (texts{"realpath /dev/nvme0n1p2", "stat /dev/nvme0n1p2", "opendir /sys/block",
                            "closedir", "fopen /sys/block/nvme0n1/device/model r"}));
}

namespace {

enum class state { missing, without_a_byte, directory, for_another_user };

struct unreadable : named_case {
    state kind;
};

class unreadable_attribute : public nvme_disk, public testing::WithParamInterface<unreadable> {
protected:
    void furnish() override
    {
        nvme_disk::furnish();
        show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    }

    // No descriptor of the file is left open, whatever its state: the fixture looks.
    void expect_no_identity_with(const std::string &path)
    {
        switch (GetParam().kind) {
        case state::missing:
            machine.remove(path);
            break;
        case state::without_a_byte:
            machine.file(path, "");
            break;
        case state::directory:
            machine.directory(path);
            break;
        case state::for_another_user:
            machine.file(path, "TEXT\n", 0600);
            break;
        }
        {
            const other_user caller;
            EXPECT_TRUE(asked("/dev/nvme0n1p2").is_null());
        }
        EXPECT_EQ(machine.trace(), texts{});
    }
};

} // namespace

TEST_P(unreadable_attribute, that_is_the_model_leaves_no_identity)
{
    expect_no_identity_with(model_of("nvme0n1"));
}

TEST_P(unreadable_attribute, that_is_the_serial_number_leaves_no_identity)
{
    expect_no_identity_with(serial_of("nvme0n1"));
}

INSTANTIATE_TEST_SUITE_P(of, unreadable_attribute,
                         testing::Values(unreadable{"missing", state::missing},
                                         unreadable{"without_a_byte", state::without_a_byte},
                                         unreadable{"a_directory", state::directory},
                                         unreadable{"for_another_user", state::for_another_user}));

TEST_F(nvme_disk, is_known_to_every_user)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    const other_user caller;
    EXPECT_EQ(identity("/dev/nvme0n1p2"), "MODEL_SERIAL");
}

// Closed standard descriptors.

namespace {

class nvme_disk_without_standard_descriptors
    : public nvme_disk,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(nvme_disk_without_standard_descriptors, is_known_and_leaves_them_closed)
{
    show_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    std::string seen;
    EXPECT_EQ(left_open(GetParam(), [&seen] { seen = identity("/dev/nvme0n1p2"); }),
              std::vector<int>{});
    EXPECT_EQ(seen, "MODEL_SERIAL");
}

TEST_P(nvme_disk_without_standard_descriptors, is_not_known_and_leaves_them_closed)
{
    show_disk("nvme0n1", "MODEL\n", "");
    std::string seen;
    EXPECT_EQ(left_open(GetParam(), [&seen] { seen = identity("/dev/nvme0n1p2"); }),
              std::vector<int>{});
    EXPECT_EQ(seen, "(no text)");
}

INSTANTIATE_TEST_SUITE_P(every_combination, nvme_disk_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
