// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The tools that the library or the shell find by PATH, where somebody else has put a program of
// the same name into it.
#include "network_machine.h"

#include <cstdlib>
#include <string>

namespace {

struct planted_tool : named_case {
    const char *planted;
    std::string (*answer)();
};

std::string listing()
{
    return owned_text(get_lsblk_output()).value();
}

std::string model_start()
{
    return owned_text(harddisk_id_nvme_new("nvme0n1")).value();
}

std::string uuid()
{
    return owned_text(orvane_get_system_uuid()).value();
}

std::string vendor()
{
    return owned_text(orvane_get_vendor()).value();
}

std::string greatest_address()
{
    return owned_text(orvane_get_network_interface_max_mac()).value();
}

const planted_tool planted_tools[] = {
    {"lsblk", "mine\n", listing},
    {"cat", "min", model_start},
    {"grep", "mine", uuid},
    {"awk", "mine", vendor},
    {"readlink", "00:1a:2b:3c:4d:5e", greatest_address},
};

class tool_in_path : public network_machine, public testing::WithParamInterface<planted_tool> {
protected:
    void furnish() override
    {
        network_machine::furnish();
        plug({"eth0", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e"});
        machine.directory("/sys/bus/usb/devices");
        machine.tool("/usr/sbin/dmidecode", "Family: Example\n");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, tool_in_path, testing::ValuesIn(planted_tools));

TEST_P(tool_in_path, is_run_in_the_place_of_the_systems)
{
    // Not one that records its runs: recording takes some of these tools.
    machine.file(std::string("/srv/planted/") + GetParam().name, "#!/bin/sh\necho mine\n", 0755);
    ::setenv("PATH", "/srv/planted:/usr/bin:/bin", 1);
    EXPECT_EQ(GetParam().answer(), GetParam().planted);
}
