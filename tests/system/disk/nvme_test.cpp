// SPDX-License-Identifier: LGPL-2.1-or-later
//
// NVMe disks: the identity in sysfs, and the query for the start of a model.
#include "built_locale.h"
#include "disk_machine.h"
#include "process.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include <malloc.h>

using namespace std::string_literals;

namespace {

class nvme_disk : public disk_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/nvme0n1p2");
        machine.directory("/sys/block");
    }
};

constexpr char partition[] = "/dev/nvme0n1p2";

} // namespace

TEST_F(nvme_disk, is_known_by_the_model_and_serial_number_of_its_partition)
{
    show_nvme_disk("nvme0n1", "Samsung SSD 970 EVO Plus 500GB\n", "S4EVNX0N123456 \n");
    EXPECT_EQ(identity(partition), "Samsung-SSD-970-EVO-Plus-500GB_S4EVNX0N123456");
    expect_trace({});
}

TEST_F(nvme_disk, is_known_through_the_links_of_the_kernel)
{
    const std::string controller = "/sys/devices/pci0000:00/0000:01:00.0/nvme/nvme0";
    machine.file(controller + "/model", "MODEL X\n");
    machine.file(controller + "/serial", "SERIAL\n");
    machine.directory(controller + "/nvme0n1");
    machine.link(controller + "/nvme0n1/device", "../../nvme0");
    machine.link("/sys/block/nvme0n1", "../devices/pci0000:00/0000:01:00.0/nvme/nvme0/nvme0n1");
    EXPECT_EQ(identity(partition), "MODEL-X_SERIAL");
}

TEST_F(nvme_disk, is_not_sent_the_identify_request)
{
    kernel.identify(partition, "MODEL", "SERIAL");
    EXPECT_EQ(identity(partition), no_text);
    expect_trace({});
}

TEST_F(nvme_disk, is_read_afresh_on_every_call)
{
    show_nvme_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity(partition), "MODEL_SERIAL");
    show_nvme_disk("nvme0n1", "OTHER\n", "NUMBER\n");
    EXPECT_EQ(identity(partition), "OTHER_NUMBER");
}

namespace {

struct nvme_node : named_case {
    std::string node;
    std::string disk;
};

class nvme_disk_of : public nvme_disk, public testing::WithParamInterface<nvme_node> {};

} // namespace

TEST_P(nvme_disk_of, is_the_one_whose_name_begins_that_of_the_node)
{
    machine.block_device(GetParam().node);
    show_nvme_disk("sda", "WRONG\n", "1\n");
    show_nvme_disk(GetParam().disk, "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity(GetParam().node.c_str()), "MODEL_SERIAL");
}

INSTANTIATE_TEST_SUITE_P(
    a_node, nvme_disk_of,
    testing::Values(nvme_node{"of_the_disk", "/dev/nvme0n1", "nvme0n1"},
                    nvme_node{"of_a_partition", partition, "nvme0n1"},
                    nvme_node{"of_the_controller_alone", partition, "nvme0"},
                    nvme_node{"of_a_longer_namespace", "/dev/nvme0n10p1", "nvme0n1"},
                    nvme_node{"outside_dev", "/srv/nvme0n1p3", "nvme0n1"},
                    nvme_node{"like_a_format", "/dev/nvme%s%n", "nvme%s%n"},
                    nvme_node{"of_the_longest_name", "/dev/nvme" + std::string(251, 'n'),
                              "nvme" + std::string(251, 'n')}));

TEST_F(nvme_disk, is_none_where_sysfs_has_others_alone)
{
    for (const char *const other : {"nvme1n1", "nvme0n2", "nvme0n1p2x", "nvme0n10", "NVME0N1"})
        show_nvme_disk(other, "MODEL\n", "SERIAL\n");
    EXPECT_EQ(identity(partition), no_text);
    expect_trace({});
}

namespace {

class two_nvme_disks : public nvme_disk, public testing::WithParamInterface<texts> {};

} // namespace

// Of two creation orders, a file system lists each disk first in one.
TEST_P(two_nvme_disks, leave_the_choice_to_the_directory_order)
{
    for (const std::string &name : GetParam())
        show_nvme_disk(name, name, "1");
    const std::string first =
        std::filesystem::directory_iterator("/sys/block")->path().filename().string();
    machine.block_device("/dev/nvme0n10p1");
    EXPECT_EQ(identity("/dev/nvme0n10p1"), first + "_1");
}

INSTANTIATE_TEST_SUITE_P(created, two_nvme_disks,
                         testing::Values(texts{"nvme0n1", "nvme0n10"},
                                         texts{"nvme0n10", "nvme0n1"}));

// Only one name is tried, even where another disk has the attributes.
TEST_F(nvme_disk, is_none_where_the_first_match_has_no_attributes)
{
    for (const texts &names : {texts{"nvme0", "nvme0n1"}, texts{"nvme0n1", "nvme0"}}) {
        machine.directory("/sys/block");
        for (const std::string &name : names)
            machine.directory("/sys/block/" + name);
        const std::string first =
            std::filesystem::directory_iterator("/sys/block")->path().filename().string();
        show_nvme_disk(first == "nvme0" ? "nvme0n1" : "nvme0", "MODEL\n", "SERIAL\n");
        EXPECT_EQ(identity(partition), no_text);
    }
}

TEST_F(nvme_disk, traces_that_sysfs_has_no_disks)
{
    machine.remove("/sys/block");
    EXPECT_EQ(identity(partition), no_text);
    expect_trace({"(!dp) return"});
}

TEST_F(nvme_disk, is_none_where_a_file_stands_for_the_directory_of_disks)
{
    machine.file("/sys/block", "nvme0n1\n");
    EXPECT_EQ(identity(partition), no_text);
}

TEST_F(nvme_disk, is_none_for_a_user_who_may_not_list_disks)
{
    show_nvme_disk("nvme0n1", "MODEL\n", "SERIAL\n");
    std::filesystem::permissions("/sys/block", std::filesystem::perms::owner_all);
    const other_user caller;
    standard_error_of([] { EXPECT_EQ(identity(partition), no_text); });
}

// The attributes of a disk.

namespace {

struct attribute : named_case {
    std::string content;
    std::string text;
};

const attribute attributes[] = {
    {"a_line", "MODEL\n", "MODEL"},
    {"one_character", "M", "M"},
    {"runs_inside", "A  B \t\n\r C\n", "A-B-C"},
    {"blanks_around", " \t\n  A   B   \n", "A-B"},
    {"one_blank_before", " MODEL\n", "MODEL"},
    {"a_blank_and_a_line_end", " \n", ""},
    {"a_line_end_alone", "\n", ""},
    {"hyphens", "-A- -B--C-\n", "-A---B--C-"},
    {"punctuation", "%s%n_\\\"'$(x)/\n", "%s%n_\\\"'$(x)/"},
    {"control_characters", "\x01X\x02\x03Y\x7f\x1f", "X-Y"},
    {"bytes_above_ascii", "\xc4\xc4X\x80\xffY\xc4\n", "X-Y"},
    {"a_zero_byte", "A B\0C\n"s, "A-B"},
    {"of_1023_bytes", std::string(1023, 'x'), std::string(1023, 'x')},
    {"of_2000_bytes", std::string(2000, 'x') + "\n", std::string(1023, 'x')},
    {"a_last_character_at_the_bound", std::string(1022, ' ') + "AB", "A"},
    {"a_blank_at_the_bound", std::string(1022, 'x') + " B", std::string(1022, 'x')},
    {"a_character_behind_the_bound", std::string(1023, ' ') + "A", ""},
};

class nvme_attribute : public nvme_disk, public testing::WithParamInterface<attribute> {};

} // namespace

TEST_P(nvme_attribute, is_a_part_of_the_identity)
{
    show_nvme_disk("nvme0n1", GetParam().content, "S");
    EXPECT_EQ(identity(partition), GetParam().text + "_S");
    show_nvme_disk("nvme0n1", "M", GetParam().content);
    EXPECT_EQ(identity(partition), "M_" + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(of, nvme_attribute, testing::ValuesIn(attributes));

TEST_F(nvme_disk, has_an_identity_of_two_long_attributes)
{
    show_nvme_disk("nvme0n1", std::string(2000, 'm'), std::string(2000, 's'));
    EXPECT_EQ(identity(partition), std::string(1023, 'm') + "_" + std::string(1023, 's'));
}

TEST_F(nvme_disk, keeps_the_characters_that_are_graphic_in_the_locale_of_the_caller)
{
    const built_locale locale(machine, "letters", graphic_c4_and_e9);
    show_nvme_disk("nvme0n1", "\xc4\x85X\xe9\n", "\x9f\xe9\n");
    EXPECT_EQ(identity(partition), "\xc4-X\xe9_\xe9");
}

namespace {

struct unreadable_attribute : named_case {
    void (*spoil)(constructed_machine &machine, const std::string &path);
};

const unreadable_attribute unreadable_attributes[] = {
    {"missing",
     [](constructed_machine &machine, const std::string &path) { machine.remove(path); }},
    {"empty",
     [](constructed_machine &machine, const std::string &path) { machine.file(path, ""); }},
    {"a_directory",
     [](constructed_machine &machine, const std::string &path) { machine.directory(path); }},
    {"of_another_user", [](constructed_machine &machine,
                           const std::string &path) { machine.file(path, "TEXT\n", 0600); }},
};

class nvme_disk_without : public nvme_disk,
                          public testing::WithParamInterface<unreadable_attribute> {};

} // namespace

TEST_P(nvme_disk_without, one_attribute_has_no_identity)
{
    for (const char *const lost : {"model", "serial"}) {
        SCOPED_TRACE(lost);
        show_nvme_disk("nvme0n1", "MODEL\n", "SERIAL\n");
        GetParam().spoil(machine, "/sys/block/nvme0n1/device/" + std::string(lost));
        const other_user caller;
        EXPECT_EQ(identity(partition), no_text);
    }
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(because_it_is, nvme_disk_without,
                         testing::ValuesIn(unreadable_attributes));

// The start of a model.

namespace {

class nvme_model : public on_machine {
protected:
    static owned_text model_of(const char *name = "nvme0n1")
    {
        return owned_text(harddisk_id_nvme_new(name));
    }

    void show_model(std::string_view content)
    {
        machine.file("/sys/block/nvme0n1/device/model", content);
    }
};

} // namespace

TEST_F(nvme_model, is_traced)
{
    show_model("Samsung SSD 970\n");
    EXPECT_EQ(model_of().value(), "Sam");
    expect_trace({"harddisk_id_nvme_new model = Sam"});
}

TEST_F(nvme_model, is_empty_and_traced_as_missing_without_such_a_disk)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(model_of().value(), ""); }),
              "cat: /sys/block/nvme0n1/device/model: No such file or directory\n");
    expect_trace({"harddisk_id_nvme_new model = NULL"});
}

TEST_F(nvme_model, is_none_for_no_name)
{
    machine.watch_shell();
    EXPECT_TRUE(model_of(nullptr).is_null());
    EXPECT_EQ(machine.shell_commands(), texts{});
    expect_trace({});
}

TEST_F(nvme_model, is_none_where_no_shell_can_be_started)
{
    show_model("Samsung SSD 970\n");
    machine.remove("/bin/sh");
    EXPECT_TRUE(model_of().is_null());
    expect_trace({});
}

TEST_F(nvme_model, stands_in_a_block_of_1024_bytes)
{
    show_model("Samsung SSD 970\n");
    char *const model = harddisk_id_nvme_new("nvme0n1");
    ASSERT_NE(model, nullptr);
    EXPECT_GE(::malloc_usable_size(model), 1024U);
    std::memset(model + 3, 'x', 1020);
    model[1023] = '\0';
    EXPECT_EQ(owned_text(model).value(), "Sam" + std::string(1020, 'x'));
}

namespace {

struct model_start : named_case {
    std::string content;
    std::string start;
    std::string traced;
};

class nvme_model_file : public nvme_model, public testing::WithParamInterface<model_start> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(with, nvme_model_file,
                         testing::Values(model_start{"four_characters", "abcd", "abc", "abc"},
                                         model_start{"three_characters", "abc\n", "abc", "abc"},
                                         model_start{"two_characters", "ab\ncd\n", "ab\n", "ab"},
                                         model_start{"one_character_alone", "a", "a", "a"},
                                         model_start{"an_empty_line", "\nabc\n", "\n", ""},
                                         model_start{"nothing", "", "", "NULL"},
                                         model_start{"blanks", "   abc\n", "   ", "   "},
                                         model_start{"a_format", "%s%n\n", "%s%", "%s%"},
                                         model_start{"bytes_above_ascii", "\x80\xff\xc3\xa9\n",
                                                     "\x80\xff\xc3", "\x80\xff\xc3"},
                                         model_start{"a_zero_byte", "a\0b"s, "a", "a"},
                                         model_start{"a_zero_byte_first", "\0ab"s, "", ""},
                                         model_start{"a_megabyte", std::string(1000000, 'x'), "xxx",
                                                     "xxx"}));

TEST_P(nvme_model_file, shows_the_start_of_its_first_line)
{
    show_model(GetParam().content);
    const owned_text model = model_of();
    EXPECT_FALSE(model.is_null());
    EXPECT_EQ(model.value(), GetParam().start);
    expect_trace({trace_line::model_start(GetParam().traced)});
}
