// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A program that defines the two sources which the library leaves to programs.
#include "fixture.h"
#include "glib_owners.h"
#include "orvane.h"
#include "trial.h"

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

std::string machine_type()
{
    const owned_key_file patterns(::generate_machine_whitelist());
    return reported(::maching_machine_type(patterns.get(), false));
}

class source_of_a_program : public on_machine {};

TEST_F(source_of_a_program, takes_the_place_of_os_release_and_of_the_firmware)
{
    machine.file("/etc/os-release", "VARIANT=Server\n");
    add_tool(machine, "/usr/sbin/dmidecode", "HUAWEI\n");
    const api_case cases[] = {
        {.function = "orvane_get_os_version",
         .name = "scene of a program",
         .run = [] { return std::to_string(orvane_get_os_version()); },
         .answer = "2",
         .failures = {"0"}},
        {.function = "maching_machine_type",
         .name = "maker of a program",
         .run = machine_type,
         .answer = "0",
         .failures = {"-1"}},
    };
    for (const api_case &one : cases)
        EXPECT_EQ(try_with_faults(machine, one), texts()) << one;
}

} // namespace
