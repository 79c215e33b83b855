// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A program that defines the source of the application scene itself, as the system-information
// library does.
#include "fixture.h"
#include "orvane.h"

#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include <malloc.h>

namespace {

std::optional<std::string> scene;
int queries = 0;
std::function<void()> when_queried = [] {};

} // namespace

extern "C" __attribute__((visibility("default"))) char *zdk_system_get_appScene(void)
{
    ++queries;
    when_queried();
    return scene ? ::strdup(scene->c_str()) : nullptr;
}

namespace {

class application_scene : public on_machine {
protected:
    void furnish() override
    {
        scene.reset();
        queries = 0;
        when_queried = [] {};
    }
};

struct version_of_scene : named_case {
    const char *scene;
    unsigned int version;
};

class version_of : public application_scene,
                   public testing::WithParamInterface<version_of_scene> {};

} // namespace

TEST_P(version_of, is_2_for_a_scene_that_begins_with_the_code)
{
    scene = GetParam().scene;
    EXPECT_EQ(orvane_get_os_version(), GetParam().version);
    expect_trace({"_os_get_version, begin", "_os_get_version, os_ver = " + *scene});
}

INSTANTIATE_TEST_SUITE_P(scene, version_of,
                         testing::Values(version_of_scene{"code", "EDU", 2},
                                         version_of_scene{"code_and_more", "EDUCATION", 2},
                                         version_of_scene{"code_and_a_format", "EDU %s%n", 2},
                                         version_of_scene{"code_and_other_bytes", "EDU\xff\x80", 2},
                                         version_of_scene{"empty", "", 0},
                                         version_of_scene{"two_letters", "ED", 0},
                                         version_of_scene{"another_last_letter", "EDV", 0},
                                         version_of_scene{"another_letter_inside", "EXU", 0},
                                         version_of_scene{"another_first_letter", "XDU", 0},
                                         version_of_scene{"lower_case", "edu", 0},
                                         version_of_scene{"mixed_case", "EDu", 0},
                                         version_of_scene{"code_behind_a_blank", " EDU", 0},
                                         version_of_scene{"code_at_the_end", "HOME-EDU", 0}));

TEST_F(application_scene, is_not_traced_where_there_is_none)
{
    EXPECT_EQ(orvane_get_os_version(), 0U);
    expect_trace({"_os_get_version, begin"});
}

TEST_F(application_scene, is_queried_once_in_every_call)
{
    scene = "EDU";
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(queries, 1);
    scene = "Server";
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(queries, 2);
    scene.reset();
    EXPECT_EQ(_os_get_version(), 0U);
    EXPECT_EQ(queries, 3);
}

TEST_F(application_scene, is_queried_after_the_first_trace_line)
{
    when_queried = [this] { expect_trace({"_os_get_version, begin"}); };
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(queries, 1);
}

TEST_F(application_scene, stands_before_os_release)
{
    machine.file("/etc/os-release", "VARIANT=EDU\n");
    machine.file("/usr/lib/os-release", "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
    scene = "Home";
    EXPECT_EQ(orvane_get_os_version(), 0U);
}

// So large that it is mapped on its own whatever came before, and the allocator counts it for as
// long as it lives.
TEST_F(application_scene, is_released_after_use_and_truncated_in_the_trace)
{
    scene = "EDU" + std::string(40 * 1024 * 1024, 'x');
    const auto large_blocks = ::mallinfo2().hblks;
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(::mallinfo2().hblks, large_blocks);
    ASSERT_EQ(machine.trace().size(), 2U);
    EXPECT_TRUE(machine.trace().back().starts_with("_os_get_version, os_ver = EDUx"));
}
