// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device_calls.h"
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include <malloc.h>

using namespace std::string_literals;

namespace {

constexpr char model_file[] = "/sys/block/nvme0n1/device/model";

class nvme_model : public on_machine {
protected:
    [[nodiscard]] static owned_text asked(const std::string &name = "nvme0n1")
    {
        return owned_text(harddisk_id_nvme_new(name.c_str()));
    }

    [[nodiscard]] static std::string command_for(const std::string &name)
    {
        return command_of([&name] { EXPECT_TRUE(asked(name).is_null()); });
    }
};

} // namespace

TEST_F(nvme_model, is_cut_to_its_first_three_characters)
{
    machine.file(model_file, "Samsung SSD 970\n");
    EXPECT_EQ(asked().value(), "Sam");
    EXPECT_EQ(machine.trace(), texts{"harddisk_id_nvme_new model = Sam"});
}

TEST_F(nvme_model, is_empty_for_no_such_disk)
{
    EXPECT_EQ(asked().value(), "");
    EXPECT_EQ(machine.trace(), texts{"harddisk_id_nvme_new model = NULL"});
}

TEST_F(nvme_model, leaves_the_complaint_about_no_such_disk_on_standard_error)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(asked().value(), ""); }),
              "cat: /sys/block/nvme0n1/device/model: No such file or directory\n");
}

TEST_F(nvme_model, is_none_for_no_name)
{
    const device_calls calls;
    EXPECT_TRUE(owned_text(harddisk_id_nvme_new(nullptr)).is_null());
    EXPECT_EQ(calls.made(), texts{});
}

TEST_F(nvme_model, is_none_and_not_traced_when_the_command_cannot_be_started)
{
    machine.file(model_file, "Samsung SSD 970\n");
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(nvme_model, costs_one_command_one_short_read_and_one_trace_line)
{
    machine.file(model_file, "Samsung SSD 970\nsecond line\n");
    const device_calls calls;
    EXPECT_EQ(asked().value(), "Sam");
    EXPECT_EQ(calls.made(),
              (texts{"popen cat /sys/block/nvme0n1/device/model r", "fgets 4", "trace", "pclose"}));
}

TEST_F(nvme_model, is_closed_also_without_a_line)
{
    machine.file(model_file, "");
    const device_calls calls;
    EXPECT_EQ(asked().value(), "");
    EXPECT_EQ(calls.made(),
              (texts{"popen cat /sys/block/nvme0n1/device/model r", "fgets 4", "trace", "pclose"}));
}

TEST_F(nvme_model, stands_in_a_block_of_1024_bytes)
{
    machine.file(model_file, "Samsung SSD 970\n");
    char *const model = harddisk_id_nvme_new("nvme0n1");
    ASSERT_NE(model, nullptr);
    EXPECT_GE(::malloc_usable_size(model), 1024U);
    std::memset(model + 3, 'x', 1020);
    model[1023] = '\0';
    EXPECT_EQ(owned_text(model).value(), "Sam" + std::string(1020, 'x'));
}

namespace {

struct model_text : named_case {
    std::string content;
    std::string model;
    std::string traced;
};

class nvme_model_file : public nvme_model, public testing::WithParamInterface<model_text> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    disk, nvme_model_file,
    testing::Values(
        model_text{"four_characters", "abcd", "abc", "harddisk_id_nvme_new model = abc"},
        model_text{"three_characters", "abc\n", "abc", "harddisk_id_nvme_new model = abc"},
        model_text{"two_characters", "ab\ncd\n", "ab\n", "harddisk_id_nvme_new model = ab"},
        model_text{"one_character", "a\nbcd\n", "a\n", "harddisk_id_nvme_new model = a"},
        model_text{"one_character_alone", "a", "a", "harddisk_id_nvme_new model = a"},
        model_text{"an_empty_line", "\nabc\n", "\n", "harddisk_id_nvme_new model = "},
        model_text{"nothing", "", "", "harddisk_id_nvme_new model = NULL"},
        model_text{"blanks", "   abc\n", "   ", "harddisk_id_nvme_new model =    "},
        model_text{"a_format", "%s%n\n", "%s%", "harddisk_id_nvme_new model = %s%"},
        model_text{"other_bytes", "\x80\xff\xc3\xa9\n", "\x80\xff\xc3",
                   "harddisk_id_nvme_new model = \x80\xff\xc3"},
        model_text{"a_zero_byte", "a\0b"s, "a", "harddisk_id_nvme_new model = a"},
        model_text{"a_zero_byte_first", "\0ab"s, "", "harddisk_id_nvme_new model = "}));

TEST_P(nvme_model_file, tells_the_start_of_its_first_line)
{
    machine.file(model_file, GetParam().content);
    const owned_text told = asked();
    EXPECT_FALSE(told.is_null());
    EXPECT_EQ(told.value(), GetParam().model);
    EXPECT_EQ(machine.trace(), texts{GetParam().traced});
}

TEST_F(nvme_model, is_the_start_of_a_megabyte)
{
    machine.file(model_file, std::string(1000000, 'x'));
    EXPECT_EQ(asked().value(), "xxx");
}

// The name.

namespace {

struct disk_name : named_case {
    std::string name;
    std::string command;
};

class nvme_model_of : public nvme_model, public testing::WithParamInterface<disk_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    disk, nvme_model_of,
    testing::Values(
        disk_name{"a_disk", "sda", "cat /sys/block/sda/device/model"},
        disk_name{"every_plain_kind", "aZ09_-.:+@,=", "cat /sys/block/aZ09_-.:+@,=/device/model"},
        disk_name{"an_exclamation_mark", "cciss!c0d0", "cat /sys/block/'cciss!c0d0'/device/model"},
        disk_name{"blanks", "a b", "cat /sys/block/'a b'/device/model"},
        disk_name{"a_percent_sign", "%s%n", "cat /sys/block/'%s%n'/device/model"},
        disk_name{"quotes", "it's \"so\"", "cat /sys/block/'it'\\''s \"so\"'/device/model"},
        disk_name{"a_command_behind", "a; pwd #", "cat /sys/block/'a; pwd #'/device/model"},
        disk_name{"a_command_inside", "$(pwd)`pwd`", "cat /sys/block/'$(pwd)`pwd`'/device/model"},
        disk_name{"other_bytes", "\xe9\xff", "cat /sys/block/'\xe9\xff'/device/model"}));

TEST_P(nvme_model_of, is_read_by_this_command_line)
{
    EXPECT_EQ(command_for(GetParam().name), GetParam().command);
}

TEST_P(nvme_model_of, is_read_from_the_directory_of_that_name)
{
    machine.file("/sys/block/" + GetParam().name + "/device/model", "Model\n");
    EXPECT_EQ(asked(GetParam().name).value(), "Mod");
}

TEST_F(nvme_model, is_asked_for_without_a_name)
{
    EXPECT_EQ(command_for(""), "cat /sys/block//device/model");
}

// Fifteen bytes before the name and thirteen behind it fill up to the 1023 of a command line.

TEST_F(nvme_model, is_asked_for_by_a_name_of_994_bytes)
{
    EXPECT_EQ(command_for(std::string(994, 'n')),
              "cat /sys/block/" + std::string(994, 'n') + "/device/model");
}

TEST_F(nvme_model, is_asked_for_by_a_name_of_995_bytes)
{
    EXPECT_EQ(command_for(std::string(995, 'n')),
              "cat /sys/block/" + std::string(995, 'n') + "/device/model");
}

TEST_F(nvme_model, is_asked_for_by_a_command_line_that_is_cut_for_a_name_of_996_bytes)
{
    EXPECT_EQ(command_for(std::string(996, 'n')),
              "cat /sys/block/" + std::string(996, 'n') + "/device/mode");
}

TEST_F(nvme_model, is_asked_for_by_a_name_that_fills_the_command_line)
{
    EXPECT_EQ(command_for(std::string(1008, 'n')), "cat /sys/block/" + std::string(1008, 'n'));
}

TEST_F(nvme_model, is_asked_for_by_a_name_that_is_cut)
{
    EXPECT_EQ(command_for(std::string(5000, 'n')), "cat /sys/block/" + std::string(1008, 'n'));
}

TEST_F(nvme_model, is_asked_for_by_a_quoted_name_that_is_cut_and_closed)
{
    EXPECT_EQ(command_for(" " + std::string(5000, 'n')),
              "cat /sys/block/' " + std::string(1005, 'n') + "'");
}
