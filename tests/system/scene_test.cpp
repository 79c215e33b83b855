// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A program that tells the application scene itself, as the system-information library does.
#include "fixture.h"
#include "orvane.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <malloc.h>

namespace {

std::optional<std::string> scene;
int times_asked = 0;
std::function<void()> when_asked = [] {};

} // namespace

extern "C" __attribute__((visibility("default"))) char *zdk_system_get_appScene(void)
{
    ++times_asked;
    when_asked();
    return scene ? ::strdup(scene->c_str()) : nullptr;
}

namespace {

class told_scene : public on_machine {
protected:
    void furnish() override
    {
        scene.reset();
        times_asked = 0;
        when_asked = [] {};
    }
};

} // namespace

TEST_F(told_scene, is_2_and_traced_for_education)
{
    scene = "EDU";
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(machine.trace(), (texts{"_os_get_version, begin", "_os_get_version, os_ver = EDU"}));
}

TEST_F(told_scene, is_0_and_only_begun_in_the_trace_where_there_is_none)
{
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(machine.trace(), (texts{"_os_get_version, begin"}));
    EXPECT_EQ(times_asked, 1);
}

TEST_F(told_scene, is_asked_for_once_in_every_call)
{
    scene = "EDU";
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(times_asked, 1);
    scene = "Server";
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(times_asked, 2);
    scene.reset();
    EXPECT_EQ(_os_get_version(), 0U);
    EXPECT_EQ(times_asked, 3);
}

TEST_F(told_scene, is_asked_for_after_the_first_trace_line)
{
    texts traced;
    when_asked = [&] { traced = machine.trace(); };
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(traced, (texts{"_os_get_version, begin"}));
}

TEST_F(told_scene, stands_before_os_release)
{
    machine.file("/etc/os-release", "VARIANT=EDU\n");
    machine.file("/usr/lib/os-release", "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
    scene = "Home";
    EXPECT_EQ(orvane_get_os_version(), 0U);
}

// So large that it is mapped on its own whatever came before, and the allocator counts it for as
// long as it lives.
TEST_F(told_scene, is_released_after_use)
{
    scene = "EDU" + std::string(40 * 1024 * 1024, 'x');
    const auto large_blocks = ::mallinfo2().hblks;
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(::mallinfo2().hblks, large_blocks);
}

TEST_F(told_scene, is_cut_in_the_trace_and_still_education)
{
    scene = "EDU" + std::string(5000, 'x');
    EXPECT_EQ(orvane_get_os_version(), 2U);
    ASSERT_EQ(machine.trace().size(), 2U);
    EXPECT_EQ(machine.trace().back().substr(0, 30), "_os_get_version, os_ver = EDUx");
}

TEST_F(told_scene, is_the_same_when_no_trace_can_be_written)
{
    scene = "EDU";
    machine.read_only("/var/log");
    EXPECT_NE(standard_error_of([] { EXPECT_EQ(orvane_get_os_version(), 2U); }), "");
}

namespace {

struct version_of_scene : named_case {
    const char *scene;
    unsigned int version;
};

class scene_text : public told_scene, public testing::WithParamInterface<version_of_scene> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(scenes, scene_text,
                         testing::Values(version_of_scene{"code", "EDU", 2},
                                         version_of_scene{"code_and_more", "EDUCATION", 2},
                                         version_of_scene{"code_and_a_blank", "EDU ", 2},
                                         version_of_scene{"code_and_a_format", "EDU%s%n", 2},
                                         version_of_scene{"code_and_other_bytes", "EDU\xff\x80", 2},
                                         version_of_scene{"empty", "", 0},
                                         version_of_scene{"one_letter", "E", 0},
                                         version_of_scene{"two_letters", "ED", 0},
                                         version_of_scene{"another_last_letter", "EDV", 0},
                                         version_of_scene{"another_letter_inside", "EXU", 0},
                                         version_of_scene{"another_first_letter", "XDU", 0},
                                         version_of_scene{"lower_case", "edu", 0},
                                         version_of_scene{"mixed_case", "EDu", 0},
                                         version_of_scene{"code_behind_a_blank", " EDU", 0},
                                         version_of_scene{"code_at_the_end", "HOME-EDU", 0}));

TEST_P(scene_text, gives_its_version)
{
    scene = GetParam().scene;
    EXPECT_EQ(orvane_get_os_version(), GetParam().version);
    EXPECT_EQ(machine.trace(), (texts{"_os_get_version, begin",
                                      "_os_get_version, os_ver = " + std::string(*scene)}));
}
