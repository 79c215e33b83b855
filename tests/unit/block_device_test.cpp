// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/block_device.h"
#include "fixture.h"

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace {

const std::string name_too_long = "/dev/" + std::string(256, 'n');
const texts no_name = {"!dev_name return"};
const texts not_examined = {"!stat(dev_name, &sb) return"};

constexpr char none[] = "(none)";

struct path_case : named_case {
    const char *path;
    bool is_block_device;
    const char *canonical;
    texts trace = {};
};

class path : public on_machine, public testing::WithParamInterface<path_case> {
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

TEST_P(path, is_tested_for_a_block_device)
{
    EXPECT_EQ(orvane::is_block_device(GetParam().path), GetParam().is_block_device);
    EXPECT_EQ(machine.trace(), GetParam().trace);
}

TEST_P(path, is_canonicalised)
{
    orvane::path_buffer canonical;
    const bool exists = orvane::canonicalise(GetParam().path, canonical);
    EXPECT_STREQ(exists ? canonical.c_str() : none, GetParam().canonical);
    EXPECT_TRUE(machine.trace().empty());
    EXPECT_EQ(orvane::canonicalise_block_device(GetParam().path, canonical),
              GetParam().is_block_device);
}

INSTANTIATE_TEST_SUITE_P(
    of, path,
    testing::Values(
        path_case{"a_node", "/dev/sda2", true, "/dev/sda2"},
        path_case{"a_detour", "/dev//./disk/../sda2", true, "/dev/sda2"},
        path_case{"a_node_without_permissions", "/dev/locked", true, "/dev/locked"},
        path_case{"a_node_without_a_driver", "/dev/driverless", true, "/dev/driverless"},
        path_case{"odd_bytes", "/dev/my %s disk\xff", true, "/dev/my %s disk\xff"},
        path_case{"a_link", "/dev/disk/by-uuid/1234-ABCD", true, "/dev/sda2"},
        path_case{"a_link_to_a_link", "/dev/chain", true, "/dev/sda2"},
        path_case{"a_file", "/dev/file", false, "/dev/file"},
        path_case{"a_link_to_a_file", "/dev/to_a_file", false, "/dev/file"},
        path_case{"a_directory", "/dev/disk/", false, "/dev/disk"},
        path_case{"a_character_device", "/dev/null", false, "/dev/null"},
        path_case{"a_pipe", "/dev/pipe", false, "/dev/pipe"},
        path_case{"a_socket", "/dev/socket", false, "/dev/socket"},
        path_case{"no_name", nullptr, false, none, no_name},
        path_case{"an_empty_name", "", false, none, not_examined},
        path_case{"a_missing_node", "/dev/root", false, none, not_examined},
        path_case{"a_missing_directory", "/dev/mapper/root", false, none, not_examined},
        path_case{"a_node_as_a_directory", "/dev/sda2/", false, none, not_examined},
        path_case{"a_dangling_link", "/dev/dangling", false, none, not_examined},
        path_case{"a_link_to_itself", "/dev/loop", false, none, not_examined},
        path_case{"a_name_too_long", name_too_long.c_str(), false, none, not_examined}));

namespace {

using block_device_test = on_machine;

} // namespace

TEST_F(block_device_test, fails_in_a_directory_that_the_caller_may_not_search)
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

// A link leads to the directory, so that the name itself stays below the bound.
TEST_F(block_device_test, resolves_to_at_most_4095_bytes)
{
    const std::string name(200, 'd');
    machine.directory("/srv/" + name);
    machine.link("/srv/link", name);
    const std::string directory = std::filesystem::canonical("/srv/link");
    std::string rest;
    while (directory.size() + rest.size() < 4095 - 201)
        rest += "/" + name;
    rest += "/" + std::string(4095 - directory.size() - rest.size() - 1, 'e');
    std::filesystem::create_directories("/srv/link" + rest);
    std::filesystem::create_directories("/srv/link" + rest + "e");

    orvane::path_buffer path;
    EXPECT_TRUE(orvane::canonicalise(("/srv/link" + rest).c_str(), path));
    EXPECT_EQ(path.view(), directory + rest);
    EXPECT_FALSE(orvane::canonicalise(("/srv/link" + rest + "e").c_str(), path));
}

TEST(last_component, is_what_follows_the_last_slash)
{
    EXPECT_STREQ(orvane::last_component("/dev/mapper/root"), "root");
    EXPECT_STREQ(orvane::last_component("sda2"), "sda2");
    EXPECT_STREQ(orvane::last_component("/dev/"), "");
    EXPECT_STREQ(orvane::last_component("/dev/\xff\xaf"), "\xff\xaf");
    EXPECT_STREQ(orvane::last_component(""), "");
}
