// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/nvme.h"
#include "fixture.h"

#include <ostream>
#include <string>

namespace {

class sysfs_disk : public on_machine {
protected:
    void furnish() override
    {
        machine.file("/sys/block/nvme0n1/device/model", " MODEL  X \n");
        machine.file("/sys/block/nvme0n1/device/serial", "SERIAL\n");
        machine.file("/sys/block/nvme0n1/device/empty", "");
    }

    bool read(const std::string &disk, const std::string &attribute)
    {
        return orvane::read_sysfs_disk_attribute(disk.c_str(), attribute.c_str(), text);
    }
    static owned_text identity(const std::string &name)
    {
        return owned_text(orvane::nvme_id_from_sysfs(name.c_str()));
    }

    orvane::bounded_text<1024> text;
};

} // namespace

// One attribute.

TEST_F(sysfs_disk, has_an_attribute)
{
    EXPECT_TRUE(read("nvme0n1", "model"));
    EXPECT_EQ(text.view(), "MODEL-X");
}

TEST_F(sysfs_disk, has_an_attribute_whatever_the_disk_is_called)
{
    machine.file("/sys/block/sda/device/wwid", "naa.1\n");
    EXPECT_TRUE(read("sda", "wwid"));
    EXPECT_EQ(text.view(), "naa.1");
}

TEST_F(sysfs_disk, has_an_attribute_of_no_text)
{
    machine.file("/sys/block/nvme0n1/device/blank", " \n");
    EXPECT_TRUE(read("nvme0n1", "blank"));
    EXPECT_EQ(text.view(), "");
}

TEST_F(sysfs_disk, has_an_attribute_of_every_graphic_byte_once_others_are_folded)
{
    std::string content;
    for (int byte = 1; byte <= 0xff; ++byte)
        content += static_cast<char>(byte);
    machine.file("/sys/block/nvme0n1/device/bytes", content + "A");
    EXPECT_TRUE(read("nvme0n1", "bytes"));
    EXPECT_EQ(text.view(), "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                           "abcdefghijklmnopqrstuvwxyz{|}~-A");
}

namespace {

struct no_attribute : named_case {
    std::string disk;
    std::string attribute;
};

class missing_attribute : public sysfs_disk, public testing::WithParamInterface<no_attribute> {};

} // namespace

TEST_P(missing_attribute, leaves_no_text)
{
    EXPECT_FALSE(read(GetParam().disk, GetParam().attribute));
    EXPECT_TRUE(text.empty());
}

INSTANTIATE_TEST_SUITE_P(
    of, missing_attribute,
    testing::Values(no_attribute{"no_name", "nvme0n1", ""}, no_attribute{"no_disk", "", "model"},
                    no_attribute{"nothing_at_all", "", ""},
                    no_attribute{"another_name", "nvme0n1", "Model"},
                    no_attribute{"another_disk", "nvme1n1", "model"},
                    no_attribute{"no_byte", "nvme0n1", "empty"},
                    no_attribute{"a_directory", "nvme0n1", "."},
                    no_attribute{"a_disk_of_too_long_a_name", std::string(5000, 'd'), "model"},
                    no_attribute{"too_long_a_name", "nvme0n1", std::string(5000, 'a')}));

TEST_F(sysfs_disk, has_no_attribute_of_an_empty_name_even_if_there_is_such_a_file)
{
    machine.file("/sys/block/device/model", "MODEL\n");
    EXPECT_FALSE(read("", "model"));
    EXPECT_TRUE(text.empty());
}

// The identity of a device by its name.

TEST_F(sysfs_disk, is_known_by_any_name_that_it_begins)
{
    for (const char *const name : {"nvme0n1", "nvme0n1p2", "nvme0n1 anything"})
        EXPECT_EQ(identity(name).value(), "MODEL-X_SERIAL") << name;
}

TEST_F(sysfs_disk, is_not_known_by_any_other_name)
{
    for (const char *const name : {"nvme0n", "nvme0n2", "Nvme0n1", "xnvme0n1", "/dev/nvme0n1", ""})
        EXPECT_TRUE(identity(name).is_null()) << name;
}

TEST_F(sysfs_disk, is_known_by_its_name_alone_whatever_it_is_called)
{
    machine.file("/sys/block/sda/device/model", "DISK\n");
    machine.file("/sys/block/sda/device/serial", "1\n");
    EXPECT_EQ(identity("sda2").value(), "DISK_1");
}

TEST_F(sysfs_disk, is_not_known_by_an_empty_name_even_if_there_are_such_attributes)
{
    machine.file("/sys/block/device/model", "MODEL\n");
    machine.file("/sys/block/device/serial", "SERIAL\n");
    EXPECT_TRUE(identity("").is_null());
}

// Which names are NVMe's.

TEST(nvme_name, begins_with_nvme)
{
    for (const char *const name : {"nvme", "nvme0", "nvme0n1", "nvme0n1p2", "nvmeof", "nvme/x"})
        EXPECT_TRUE(orvane::is_nvme(name)) << name;
}

TEST(nvme_name, begins_with_nothing_else)
{
    for (const char *const name :
         {"", "n", "nvm", "nvmf0", "NVME0n1", "Nvme0n1", " nvme0n1", "xnvme0n1", "/dev/nvme0n1"})
        EXPECT_FALSE(orvane::is_nvme(name)) << name;
}
