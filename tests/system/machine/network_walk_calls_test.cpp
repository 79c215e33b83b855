// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The calls that a walk over the interfaces is made of.
#include "network_kernel.h"

#include <cerrno>

#include <ifaddrs.h>

namespace {

// A walk of which every call is written down.
class whole_walk : public on_machine {
protected:
    void furnish() override
    {
        machine.directory("/sys/devices/pci0000:00/0000:00:1f.6");
        machine.link("/sys/class/net/eth0/device", "../../../devices/pci0000:00/0000:00:1f.6");
        machine.directory("/sys/bus/usb/devices");
        machine.file("/proc/net/bonding/bond0", "Slave Interface: enp9s0\n"
                                                "Permanent HW addr: 00:aa:00:00:00:09\n");
    }

    network_kernel kernel;
};

const texts bonding_scan = {"opendir /proc/net/bonding",
                            "stat /proc/net/bonding/bond0",
                            "fopen /proc/net/bonding/bond0 r",
                            "fgets 1024",
                            "fgets 1024",
                            "fgets 1024",
                            "fclose",
                            "closedir"};

} // namespace

TEST_F(whole_walk, asks_about_each_entry_in_turn_and_reads_the_bonds_when_the_list_is_freed)
{
    kernel.listed = {{"lo"}, {"eth0"}};
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
    EXPECT_EQ(
        kernel.made(),
        (texts{"getifaddrs", "trace found network interface device: eth0, ignoreMountUSB: true",
               "opendir /sys/bus/usb/devices/", "lstat /sys/class/net/eth0/device",
               "popen readlink -f -z '/sys/class/net/eth0/device' r", "fgets 1024", "pclose",
               "basename /sys/devices/pci0000:00/0000:00:1f.6", "closedir", "socket 2 2 0",
               "ioctl SIOCGIFHWADDR eth0", "close", "socket 2 2 0", "ioctl SIOCGIFHWADDR eth0",
               "ioctl SIOCETHTOOL eth0", "close",
               "trace mac: <02:00:00:00:00:01>,  permanent_mac: <00:1a:2b:3c:4d:5e>.",
               "freeifaddrs"} +
         bonding_scan));
}

TEST_F(whole_walk, that_ends_early_frees_the_list_before_it_reads_the_bonds)
{
    kernel.listed = {{"eth1"}, {"eth0"}};
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
    EXPECT_EQ(
        kernel.made(),
        (texts{"getifaddrs", "trace found network interface device: eth1, ignoreMountUSB: true",
               "opendir /sys/bus/usb/devices/", "lstat /sys/class/net/eth1/device",
               "trace get stat error", "closedir", "trace <eth1> mounted on the usb bus, ignore.",
               "freeifaddrs"} +
         bonding_scan));
}

TEST_F(whole_walk, without_an_interface_reads_the_bonds)
{
    kernel.listed = {{"lo"}};
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
    EXPECT_EQ(kernel.made(), (texts{"getifaddrs", "freeifaddrs"} + bonding_scan));
}

TEST_F(whole_walk, does_not_take_place_where_the_kernel_gives_no_list)
{
    ifaddrs rest = {};
    interpose::getifaddrs = [&rest](ifaddrs **entries) {
        *entries = &rest; // means nothing
        errno = ENOMEM;
        return -1;
    };
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(kernel.made(), texts{});
}
