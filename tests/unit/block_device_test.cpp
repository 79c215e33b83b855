// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/block_device.h"
#include "fixture.h"

#include <string>

#include <sys/stat.h>

namespace {

const std::string name_too_long = "/dev/" + std::string(256, 'n');
const std::string path_too_long = "/dev/" + std::string(4091, '/');

struct examined : named_case {
    const char *path;
    bool result;
    texts trace;
};

class examined_path : public on_machine, public testing::WithParamInterface<examined> {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2", 8, 2);
        machine.block_device("/dev/locked");
        ::chmod("/dev/locked", 0);
        machine.block_device("/dev/driverless", 4000, 70000);
        machine.block_device("/dev/my %s disk\xff");
        machine.link("/dev/disk/by-uuid/1234-ABCD", "../../sda2");
        machine.link("/dev/chain", "disk/by-uuid/1234-ABCD");
        machine.link("/dev/dangling", "nothing");
        machine.link("/dev/loop", "loop");
        machine.link("/dev/to_a_file", "file");
        machine.file("/dev/file", "text");
        ::mkfifo("/dev/pipe", 0600);
        ::mknod("/dev/socket", S_IFSOCK | 0600, 0);
    }
};

} // namespace

TEST_P(examined_path, is_told_by_the_result_and_the_trace)
{
    EXPECT_EQ(orvane::is_block_device(GetParam().path), GetParam().result);
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(that_is_a_block_device, examined_path,
                         testing::Values(examined{"node", "/dev/sda2", true, {}},
                                         examined{
                                             "long_way_to_it", "/dev//./disk/../sda2", true, {}},
                                         examined{"without_permissions", "/dev/locked", true, {}},
                                         examined{"without_a_driver", "/dev/driverless", true, {}},
                                         examined{"odd_name", "/dev/my %s disk\xff", true, {}},
                                         examined{"link", "/dev/disk/by-uuid/1234-ABCD", true, {}},
                                         examined{"link_to_a_link", "/dev/chain", true, {}}));

INSTANTIATE_TEST_SUITE_P(that_is_something_else, examined_path,
                         testing::Values(examined{"file", "/dev/file", false, {}},
                                         examined{"directory", "/dev/disk", false, {}},
                                         examined{"character_device", "/dev/null", false, {}},
                                         examined{"pipe", "/dev/pipe", false, {}},
                                         examined{"socket", "/dev/socket", false, {}},
                                         examined{"link_to_a_file", "/dev/to_a_file", false, {}}));

namespace {

const texts not_examined = {"!stat(dev_name, &sb) return"};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    that_cannot_be_examined, examined_path,
    testing::Values(examined{"no_name", nullptr, false, {"!dev_name return"}},
                    examined{"empty_name", "", false, not_examined},
                    examined{"missing", "/dev/root", false, not_examined},
                    examined{"missing_directory", "/dev/mapper/root", false, not_examined},
                    examined{"below_a_device", "/dev/sda2/x", false, not_examined},
                    examined{"slash_behind_a_device", "/dev/sda2/", false, not_examined},
                    examined{"dangling_link", "/dev/dangling", false, not_examined},
                    examined{"link_to_itself", "/dev/loop", false, not_examined},
                    examined{"name_too_long", name_too_long.c_str(), false, not_examined},
                    examined{"path_too_long", path_too_long.c_str(), false, not_examined}));

using block_device_test = on_machine;

TEST_F(block_device_test, is_found_in_no_directory_that_the_caller_may_not_search)
{
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    machine.directory("/dev/private", 0700);
    machine.block_device("/dev/private/sda2");
    {
        const other_user caller;
        EXPECT_FALSE(orvane::is_block_device("/dev/private/sda2"));
    }
    EXPECT_EQ(machine.trace(), not_examined);
}

TEST_F(block_device_test, is_told_where_nothing_can_be_traced)
{
    machine.block_device("/dev/sda2");
    machine.read_only("/var/log");
    EXPECT_TRUE(orvane::is_block_device("/dev/sda2"));
    const std::string error =
        standard_error_of([] { EXPECT_FALSE(orvane::is_block_device("/dev/root")); });
    EXPECT_EQ(error, "Open log file failed: No such file or directory\n");
}
