// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which interfaces are left out because they sit on the USB bus.
#include "directory_calls.h"
#include "usb_machine.h"

#include <csignal>

using namespace std::string_literals;

namespace {

using usb_bus = usb_machine;

} // namespace

TEST_F(usb_bus, holds_an_adapter)
{
    plug_into_usb(eth0);
    EXPECT_EQ(traced(), ignored_trace);
}

TEST_F(usb_bus, does_not_hold_an_onboard_interface)
{
    plug(eth0);
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, is_looked_up_in_this_order)
{
    plug(eth0);
    const directory_calls calls;
    EXPECT_EQ(asked().value(), address);
    const texts looked_up = {"opendir /sys/bus/usb/devices/",
                             "lstat /sys/class/net/eth0/device",
                             "popen readlink -f -z '/sys/class/net/eth0/device' r",
                             "fgets 1024",
                             "pclose",
                             "basename /sys/devices/pci0000:00/0000:00:1f.6",
                             "closedir"};
    ASSERT_GE(calls.made().size(), looked_up.size());
    EXPECT_EQ(texts(calls.made().begin(), calls.made().begin() + 7), looked_up);
}

TEST_F(usb_bus, is_looked_up_anew_for_each_address)
{
    plug({"eth0", address, address, {AF_PACKET, AF_INET, AF_INET6}});
    int lookups = 0;
    interpose::popen = [&lookups](const char *command, const char *mode) {
        ++lookups;
        return interpose::popen.real(command, mode);
    };
    EXPECT_EQ(asked().value(), address);
    EXPECT_EQ(lookups, 3);
}

// The devices on the bus.

TEST_F(usb_bus, that_is_missing_holds_nothing)
{
    plug_into_usb(eth0);
    machine.remove(usb_devices);
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, that_is_missing_is_not_asked_about)
{
    plug(eth0);
    machine.remove(usb_devices);
    const directory_calls calls;
    EXPECT_EQ(asked().value(), address);
    EXPECT_EQ(calls.made(), (texts{"opendir /sys/bus/usb/devices/", "strdup 00:1a:2b:3c:4d:5e",
                                   "strdup 00:1a:2b:3c:4d:5e", "strdup eth0",
                                   "strdup 00:1a:2b:3c:4d:5e", "strdup 00:1a:2b:3c:4d:5e",
                                   "opendir /proc/net/bonding", "strdup 00:1a:2b:3c:4d:5e"}));
}

TEST_F(usb_bus, that_is_missing_does_not_hold_an_interface_without_a_device)
{
    plug(eth0);
    machine.remove(device_of_eth0);
    machine.remove(usb_devices);
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, that_is_no_directory_holds_nothing)
{
    plug_into_usb(eth0);
    machine.file(usb_devices, "");
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, that_may_not_be_listed_holds_nothing)
{
    plug_into_usb(eth0);
    machine.directory(usb_devices, 0);
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const other_user caller;
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, that_is_empty_holds_nothing)
{
    plug_into_usb(eth0);
    machine.directory(usb_devices);
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, that_is_empty_holds_an_interface_without_a_device)
{
    plug(eth0);
    machine.remove(device_of_eth0);
    machine.directory(usb_devices);
    EXPECT_EQ(traced(), ignored_after("get stat error"));
}

// The link to the interface's device.

TEST_F(usb_bus, holds_an_interface_without_a_device)
{
    plug(eth0);
    machine.remove(device_of_eth0);
    EXPECT_EQ(traced(), ignored_after("get stat error"));
}

TEST_F(usb_bus, holds_an_interface_that_sysfs_does_not_know)
{
    plug(eth0);
    machine.remove("/sys/class/net/eth0");
    EXPECT_EQ(traced(), ignored_after("get stat error"));
}

TEST_F(usb_bus, holds_an_interface_whose_device_is_a_directory)
{
    plug(eth0);
    machine.directory(device_of_eth0);
    EXPECT_EQ(traced(), ignored_after("is not link file"));
}

TEST_F(usb_bus, holds_an_interface_whose_device_is_a_file)
{
    plug(eth0);
    machine.file(device_of_eth0, "1-1");
    EXPECT_EQ(traced(), ignored_after("is not link file"));
}

TEST_F(usb_bus, is_known_by_a_link_that_leads_over_others)
{
    plug_into_usb(eth0);
    machine.link("/sys/devices/virtual", "pci0000:00/0000:00:14.0/usb1");
    machine.link(device_of_eth0, "../../../devices/virtual/1-1/../1-1/1-1:1.0");
    EXPECT_EQ(traced(), ignored_trace);
}

TEST_F(usb_bus, is_known_by_the_name_at_the_end_of_a_dangling_link)
{
    plug(eth0);
    machine.link(device_of_eth0, "/sys/devices/1-1");
    EXPECT_EQ(traced(), ignored_trace);
}

TEST_F(usb_bus, holds_an_interface_whose_link_leads_nowhere)
{
    plug(eth0);
    machine.link(device_of_eth0, "/nowhere/at/all");
    EXPECT_EQ(traced(), ignored_after("get basename error"));
}

TEST_F(usb_bus, holds_an_interface_whose_link_leads_to_the_root)
{
    plug(eth0);
    machine.link(device_of_eth0, "/");
    EXPECT_EQ(traced(), ignored_after("get basename error"));
}

TEST_F(usb_bus, holds_an_interface_whose_link_leads_to_itself)
{
    plug(eth0);
    machine.link(device_of_eth0, "device");
    EXPECT_EQ(traced(), ignored_after("get basename error"));
}

// Following the link.

TEST_F(usb_bus, holds_an_interface_where_nothing_can_be_run)
{
    plug(eth0);
    interpose::popen = [](const char *, const char *) -> std::FILE * { return nullptr; };
    EXPECT_EQ(traced(), ignored_after("get real path error"));
}

TEST_F(usb_bus, holds_an_interface_where_readlink_is_missing)
{
    plug(eth0);
    machine.remove("/bin/readlink");
    EXPECT_NE(standard_error_of([this] {
                  EXPECT_EQ(traced(), ignored_after("get basename error"));
              }).find("readlink"),
              std::string::npos);
}

TEST_F(usb_bus, holds_an_interface_whose_device_has_no_last_name)
{
    plug(eth0);
    interpose::basename = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(traced(), ignored_after("get basename error"));
}

TEST_F(usb_bus, does_not_depend_on_the_exit_status_of_readlink)
{
    plug(eth0);
    machine.script("/bin/readlink", "printf '/sys/devices/virtio0\\0'; exit 1");
    EXPECT_EQ(traced(), taken_trace);
}

TEST_F(usb_bus, is_known_after_a_signal_broke_off_the_reading)
{
    plug(eth0);
    let_readlink_print({"", "/sys/usb1/", "", "1-", "", "1\0"s});
    EXPECT_EQ(traced(), ignored_trace);
}

TEST_F(usb_bus, holds_an_interface_whose_link_cannot_be_read_to_its_end)
{
    plug(eth0);
    let_readlink_print({"/sys/devices/virtio0"}, EIO);
    EXPECT_EQ(traced(), ignored_after("get basename error"));
}

TEST_F(usb_bus, is_known_to_a_caller_that_ignores_the_end_of_its_children)
{
    plug_into_usb(eth0);
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    const texts trace = traced();
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
    EXPECT_EQ(trace, ignored_trace);
}

// Closed standard descriptors.

namespace {

class usb_bus_without_standard_descriptors : public usb_bus,
                                             public testing::WithParamInterface<std::vector<int>> {
};

} // namespace

INSTANTIATE_TEST_SUITE_P(every_set, usb_bus_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

TEST_P(usb_bus_without_standard_descriptors, is_looked_up_and_leaves_them_closed)
{
    plug(eth0);
    cards.push_back({"eth1", address, address});
    machine.link("/sys/class/net/eth1/device", "/sys/devices/pci0000:00/usb1/1-1");
    machine.directory("/sys/devices/pci0000:00/usb1/1-1");
    bond("bond0", "Slave Interface: eth2\nPermanent HW addr: f4:8e:38:00:00:01\n");
    std::string answer;
    EXPECT_EQ(left_open(GetParam(), [&answer] { answer = asked().value(); }), std::vector<int>{});
    EXPECT_EQ(answer, "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(), (texts{found, taken_trace.back(),
                                      "found network interface device: eth1, ignoreMountUSB: true",
                                      "<eth1> mounted on the usb bus, ignore."}));
}
