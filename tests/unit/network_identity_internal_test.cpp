// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The list of interfaces and what is asked about each, from the kernel's own devices.
#include "kernel_network.h"
#include "machine/bonding.h"
#include "machine/mac_address.h"
#include "machine/network_identity.h"
#include "machine/usb_bus.h"
#include "network_records.h"

#include <string>

namespace {

class listed_interfaces : public tap_network {
protected:
    void furnish() override
    {
        tap_network::furnish();
        if (IsSkipped())
            return;
        add("eth0", "02:00:00:00:00:01");
        add("eth1", "02:00:00:00:00:02");
        place("eth0", "pci0000:00/usb1/1-1");
        place("eth1", "platform/onboard");
    }

    static texts listed(bool ignore_usb)
    {
        return records_of(orvane::network_interface_list(ignore_usb).get());
    }

    static std::string text_of(const orvane::heap_text &text)
    {
        return text ? text.get() : "(no text)";
    }
};

} // namespace

TEST_F(listed_interfaces, hold_those_on_the_usb_bus_where_they_are_wanted)
{
    EXPECT_EQ(listed(false), (texts{"eth0 02:00:00:00:00:01 00:00:00:00:00:00",
                                    "eth1 02:00:00:00:00:02 00:00:00:00:00:00"}));
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: eth0, ignoreMountUSB: false",
                     "mac: <02:00:00:00:00:01>,  permanent_mac: <00:00:00:00:00:00>.",
                     "found network interface device: eth1, ignoreMountUSB: false",
                     "mac: <02:00:00:00:00:02>,  permanent_mac: <00:00:00:00:00:00>."}));
}

TEST_F(listed_interfaces, end_before_the_first_on_the_usb_bus_where_it_is_not_wanted)
{
    EXPECT_EQ(listed(true), texts{});
    EXPECT_EQ(machine.trace(), (texts{"found network interface device: eth0, ignoreMountUSB: true",
                                      "<eth0> mounted on the usb bus, ignore."}));
}

TEST_F(listed_interfaces, are_not_looked_up_on_the_usb_bus_where_all_are_wanted)
{
    machine.remove("/sys/class/net");
    machine.tool("/bin/readlink", "");
    EXPECT_EQ(listed(false), (texts{"eth0 02:00:00:00:00:01 00:00:00:00:00:00",
                                    "eth1 02:00:00:00:00:02 00:00:00:00:00:00"}));
    EXPECT_TRUE(machine.runs("/bin/readlink").empty());
}

TEST_F(listed_interfaces, end_with_the_slaves_of_bonds)
{
    machine.file("/proc/net/bonding/bond0",
                 "Slave Interface: eth0\nPermanent HW addr: F4:8E:38:00:00:01\n"
                 "Slave Interface: eth1\nPermanent HW addr: F4:8E:38:00:00:02\n");
    const texts slaves = {"eth0 f4:8e:38:00:00:01 f4:8e:38:00:00:01",
                          "eth1 f4:8e:38:00:00:02 f4:8e:38:00:00:02"};
    EXPECT_EQ(records_of(orvane::network_interface_list_bonding_slaves().get()), slaves);
    EXPECT_EQ(listed(true), slaves);
    EXPECT_EQ(listed(false),
              (texts{"eth0 02:00:00:00:00:01 00:00:00:00:00:00",
                     "eth1 02:00:00:00:00:02 00:00:00:00:00:00", slaves[0], slaves[1]}));
}

// One interface.

TEST_F(listed_interfaces, have_a_current_and_a_permanent_address)
{
    EXPECT_EQ(text_of(orvane::network_interface_get_mac("eth1")), "02:00:00:00:00:02");
    EXPECT_EQ(text_of(orvane::network_interface_get_permanent_mac("eth1")), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(listed_interfaces, have_a_current_address_that_can_change)
{
    set("link set eth1 address FE:dc:ba:98:76:54");
    EXPECT_EQ(text_of(orvane::network_interface_get_mac("eth1")), "fe:dc:ba:98:76:54");
}

TEST_F(listed_interfaces, have_no_address_where_there_is_none_of_the_name)
{
    for (const char *const name : {"eth2", "", "eth", "eth1 ", "enx001a2b3c4d5e6"}) {
        EXPECT_EQ(text_of(orvane::network_interface_get_mac(name)), "(no text)");
        EXPECT_EQ(text_of(orvane::network_interface_get_permanent_mac(name)), "(no text)");
    }
    EXPECT_EQ(machine.trace(), texts(5, "Set device name error: No such device."));
}

TEST_F(listed_interfaces, are_asked_by_at_most_fifteen_characters)
{
    add("enx001a2b3c4d5e", "02:00:00:00:00:03");
    for (const char *const name : {"enx001a2b3c4d5e", "enx001a2b3c4d5e6", "enx001a2b3c4d5e67"}) {
        EXPECT_EQ(text_of(orvane::network_interface_get_mac(name)), "02:00:00:00:00:03");
        EXPECT_EQ(text_of(orvane::network_interface_get_permanent_mac(name)), "00:00:00:00:00:00");
    }
}

TEST_F(listed_interfaces, are_on_the_usb_bus_or_not)
{
    EXPECT_TRUE(orvane::network_interface_on_usb_bus("eth0"));
    EXPECT_FALSE(orvane::network_interface_on_usb_bus("eth1"));
    EXPECT_EQ(machine.trace(), texts{});
}

namespace {

using interface_without_a_name = kernel_network;

} // namespace

TEST_F(interface_without_a_name, is_on_the_usb_bus)
{
    EXPECT_TRUE(orvane::network_interface_on_usb_bus(nullptr));
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(interface_without_a_name, is_on_a_usb_bus_without_devices)
{
    machine.directory("/sys/bus/usb/devices");
    EXPECT_TRUE(orvane::network_interface_on_usb_bus(nullptr));
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(interface_without_a_name, is_on_no_bus_where_there_is_none)
{
    machine.remove("/sys/bus/usb");
    EXPECT_FALSE(orvane::network_interface_on_usb_bus(nullptr));
    EXPECT_EQ(machine.trace(), texts{});
}
