// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A program that defines the two sources which the library leaves to programs. No other program
// that is tortured has them, nor reaches what comes of their texts.
#include "answers.h"
#include "fixture.h"
#include "glib_owners.h"
#include "orvane.h"
#include "summary.h"
#include "torture.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#define DEFINED_BY_PROGRAM extern "C" __attribute__((visibility("default")))

DEFINED_BY_PROGRAM char *zdk_system_get_appScene(void);

char *zdk_system_get_appScene(void)
{
    return ::strdup("EDU-SCHOOL");
}

DEFINED_BY_PROGRAM char *get_machine_info_simulate(void)
{
    static char maker[] = "LENOVO";
    return maker;
}

namespace {

class source_of_a_program : public on_machine {};

TEST_F(source_of_a_program, may_have_no_scene)
{
    const library_call call = {
        .function = "orvane_get_os_version",
        .way = "scene of a program",
        .furnish = nullptr,
        .run = [] { return told(static_cast<int>(orvane_get_os_version())); },
        .answer = "2",
        .failures = {"0"},
    };
    const torture_result result = torture(machine, call);
    report(call, result);
    EXPECT_EQ(result.failures.count("zdk_system_get_appScene"), 1U);
    EXPECT_EQ(result.failures.count("g_get_os_info"), 0U);
}

std::string machine_type()
{
    const owned_key_file patterns(::generate_machine_whitelist());
    return told(::maching_machine_type(patterns.get(), false));
}

TEST_F(source_of_a_program, may_name_a_maker_that_cannot_be_copied)
{
    machine.tool("/usr/sbin/dmidecode", "HUAWEI\n");
    const library_call call = {
        .function = "maching_machine_type",
        .way = "maker of a program",
        .furnish = nullptr,
        .run = machine_type,
        .answer = "0",
        .failures = {"-1"},
    };
    const torture_result result = torture(machine, call);
    report(call, result);
    EXPECT_EQ(result.failures.count("strdup"), 1U);
    EXPECT_EQ(result.failures.count("popen"), 0U) << "the firmware is asked";
}

} // namespace
