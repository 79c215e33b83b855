// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/block_device.h"
#include "fixture.h"

#include <cstddef>
#include <filesystem>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

// The last component.

namespace {

struct component_of : named_case {
    std::string path;
    std::string last;
};

class component : public testing::TestWithParam<component_of> {};

} // namespace

TEST_P(component, is_what_follows_the_last_slash)
{
    EXPECT_STREQ(orvane::last_component(GetParam().path.c_str()), GetParam().last.c_str());
}

INSTANTIATE_TEST_SUITE_P(of, component,
                         testing::Values(component_of{"a_node", "/dev/sda2", "sda2"},
                                         component_of{"a_deep_node", "/dev/a/b/c", "c"},
                                         component_of{"a_bare_name", "sda2", "sda2"},
                                         component_of{"a_relative_path", "dev/sda2", "sda2"},
                                         component_of{"a_directory", "/dev/", ""},
                                         component_of{"two_slashes", "/dev//sda2", "sda2"},
                                         component_of{"the_root", "/", ""},
                                         component_of{"nothing", "", ""},
                                         component_of{"other_bytes", "/dev/\xff\xaf", "\xff\xaf"}));

TEST(last_component, is_a_part_of_the_path_itself)
{
    const char path[] = "/dev/sda2";
    EXPECT_EQ(orvane::last_component(path), path + 5);
}

// Canonical paths.

namespace {

class canonical_path : public on_machine {
protected:
    void furnish() override
    {
        machine.block_device("/dev/sda2");
        machine.block_device("/dev/dm-0");
        machine.link("/dev/mapper/root", "../dm-0");
        machine.link("/dev/root", "/dev/mapper/root");
        machine.link("/dev/dangling", "sdz");
        machine.link("/dev/loop", "loop");
        machine.file("/srv/file", "");
    }

    static std::string canonical(const char *name)
    {
        orvane::path_buffer path;
        return orvane::canonicalise(name, path) ? path.c_str() : "(no path)";
    }
    static std::string canonical_device(const char *name)
    {
        orvane::path_buffer path;
        return orvane::canonicalise_block_device(name, path) ? path.c_str() : "(no device)";
    }
};

struct resolved : named_case {
    const char *path_name;
    std::string path;
    std::string device;
};

class path_of : public canonical_path, public testing::WithParamInterface<resolved> {};

} // namespace

TEST_P(path_of, has_no_link)
{
    EXPECT_EQ(canonical(GetParam().path_name), GetParam().path);
}

TEST_P(path_of, is_a_device_where_it_leads_to_a_block_device)
{
    EXPECT_EQ(canonical_device(GetParam().path_name), GetParam().device);
}

INSTANTIATE_TEST_SUITE_P(
    name, path_of,
    testing::Values(resolved{"a_node", "/dev/sda2", "/dev/sda2", "/dev/sda2"},
                    resolved{"a_link", "/dev/mapper/root", "/dev/dm-0", "/dev/dm-0"},
                    resolved{"a_link_to_a_link", "/dev/root", "/dev/dm-0", "/dev/dm-0"},
                    resolved{"a_detour", "/dev/../dev//./sda2", "/dev/sda2", "/dev/sda2"},
                    resolved{"a_file", "/srv/file", "/srv/file", "(no device)"},
                    resolved{"a_character_device", "/dev/null", "/dev/null", "(no device)"},
                    resolved{"a_directory", "/dev/mapper/", "/dev/mapper", "(no device)"},
                    resolved{"the_root", "/", "/", "(no device)"},
                    resolved{"a_missing_node", "/dev/sdz", "(no path)", "(no device)"},
                    resolved{"a_dangling_link", "/dev/dangling", "(no path)", "(no device)"},
                    resolved{"a_link_to_itself", "/dev/loop", "(no path)", "(no device)"},
                    resolved{"a_node_as_a_directory", "/dev/sda2/", "(no path)", "(no device)"},
                    resolved{"an_empty_name", "", "(no path)", "(no device)"},
                    resolved{"no_name", nullptr, "(no path)", "(no device)"}));

TEST_F(canonical_path, is_not_traced)
{
    EXPECT_EQ(canonical_device("/dev/root"), "/dev/dm-0");
    EXPECT_EQ(canonical_device("/dev/sdz"), "(no device)");
    EXPECT_EQ(machine.trace(), texts{});
}

namespace {

// A path of so many bytes that goes on from another one through directories of its own.
std::string deep_path(std::string path, std::size_t bytes)
{
    while (bytes - path.size() > 256)
        path += "/" + std::string(200, 'd');
    return path + "/" + std::string(bytes - path.size() - 1, 'e');
}

} // namespace

TEST_F(canonical_path, may_have_4095_bytes)
{
    const std::string path = deep_path("/srv", 4095);
    std::filesystem::create_directories(path);
    EXPECT_EQ(canonical(path.c_str()), path);
}

TEST_F(canonical_path, may_not_have_4096_bytes)
{
    const std::string directory = deep_path("/srv", 2000);
    std::filesystem::create_directories(directory);
    machine.link("/srv/link", directory);
    const std::string fits = deep_path("/srv/link", 9 + 2095);
    const std::string exceeds = deep_path("/srv/link", 9 + 2096);
    std::filesystem::create_directories(fits);
    std::filesystem::create_directories(exceeds);
    EXPECT_EQ(canonical(fits.c_str()).size(), 4095U);
    EXPECT_EQ(canonical(exceeds.c_str()), "(no path)");
}
