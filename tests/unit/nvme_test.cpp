// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/nvme.h"
#include "fixture.h"

#include <string>

namespace {

class sysfs_attribute : public on_machine {
protected:
    void furnish() override
    {
        machine.file("/sys/block/nvme0n1/device/model", " MODEL  X \n");
        machine.file("/sys/block/nvme0n1/device/blank", " \n");
        machine.file("/sys/block/nvme0n1/device/empty", "");
        machine.file("/sys/block/device/model", "MODEL\n");
    }

    static std::string read(const std::string &disk, const std::string &attribute)
    {
        orvane::bounded_text<1024> text;
        const bool is_read =
            orvane::read_sysfs_disk_attribute(disk.c_str(), attribute.c_str(), text);
        EXPECT_TRUE(is_read || text.empty());
        return is_read ? text.c_str() : "(none)";
    }
};

struct attribute_case : named_case {
    std::string disk;
    std::string attribute;
    std::string text;
};

class sysfs_attribute_of : public sysfs_attribute,
                           public testing::WithParamInterface<attribute_case> {};

} // namespace

TEST_P(sysfs_attribute_of, is_read)
{
    EXPECT_EQ(read(GetParam().disk, GetParam().attribute), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    a_disk, sysfs_attribute_of,
    testing::Values(
        attribute_case{"with_runs_of_blanks", "nvme0n1", "model", "MODEL-X"},
        attribute_case{"without_a_graphic_byte", "nvme0n1", "blank", ""},
        attribute_case{"without_a_byte", "nvme0n1", "empty", "(none)"},
        attribute_case{"without_a_name", "", "model", "(none)"},
        attribute_case{"by_no_name", "nvme0n1", "", "(none)"},
        attribute_case{"with_a_name_beyond_the_bound", std::string(5000, 'd'), "model", "(none)"},
        attribute_case{"by_a_name_beyond_the_bound", "nvme0n1", std::string(5000, 'a'), "(none)"}));

TEST_F(sysfs_attribute, keeps_every_graphic_byte)
{
    std::string content;
    for (int byte = 1; byte <= 0xff; ++byte)
        content += static_cast<char>(byte);
    machine.file("/sys/block/nvme0n1/device/bytes", content + "A");
    EXPECT_EQ(read("nvme0n1", "bytes"),
              "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
              "abcdefghijklmnopqrstuvwxyz{|}~-A");
}

TEST_F(sysfs_attribute, is_appended)
{
    orvane::bounded_text<16> text;
    text.append("A_");
    EXPECT_TRUE(orvane::read_sysfs_disk_attribute("nvme0n1", "model", text));
    EXPECT_EQ(text.view(), "A_MODEL-X");
}
