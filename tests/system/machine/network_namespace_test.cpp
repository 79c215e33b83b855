// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What this kernel tells of devices of its own, with nothing interposed.
#include "kernel_network.h"
#include "orvane.h"

namespace {

std::string answer()
{
    return owned_text(orvane_get_network_interface_max_mac()).value();
}

std::string found(const std::string &name)
{
    return "found network interface device: " + name + ", ignoreMountUSB: true";
}
const std::string eth0_addresses = "mac: <02:00:00:00:00:01>,  permanent_mac: <00:00:00:00:00:00>.";

struct device_kind : named_case {
    texts commands; // that make eth0
};

const device_kind device_kinds[] = {
    {"tap", {"tuntap add dev eth0 mode tap"}},
    {"veth", {"link add eth0 type veth peer name peer0"}},
    {"macvlan",
     {"link add base0 type veth peer name base1", "link add link base0 name eth0 type macvlan"}},
    {"dummy", {"link add eth0 type dummy"}},
};

class kernel_device : public kernel_network, public testing::WithParamInterface<device_kind> {
protected:
    void furnish() override
    {
        kernel_network::furnish();
        if (IsSkipped())
            return;
        place("eth0", "platform/onboard");
        for (const std::string &command : GetParam().commands) {
            make(command);
            if (IsSkipped())
                return;
        }
        set("link set eth0 address 02:00:00:00:00:01 addrgenmode none");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(kind, kernel_device, testing::ValuesIn(device_kinds));

TEST_P(kernel_device, has_a_permanent_address_of_zeros)
{
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), (texts{found("eth0"), eth0_addresses}));
}

TEST_P(kernel_device, has_its_changed_address_as_the_current_one_alone)
{
    set("link set eth0 address fe:DC:ba:98:76:54");
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    EXPECT_EQ(
        machine.trace(),
        (texts{found("eth0"), "mac: <fe:dc:ba:98:76:54>,  permanent_mac: <00:00:00:00:00:00>."}));
}

TEST_P(kernel_device, counts_once_for_each_of_its_addresses)
{
    set("address add 192.0.2.1/24 dev eth0");
    set("link set eth0 up");
    set("-6 address add 2001:db8::1/64 dev eth0 nodad");
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), (texts{found("eth0"), eth0_addresses, found("eth0"), eth0_addresses,
                                      found("eth0"), eth0_addresses}));
}

TEST_P(kernel_device, loses_against_the_slave_of_a_bond)
{
    machine.file("/proc/net/bonding/bond0",
                 "Slave Interface: eth1\nPermanent HW addr: 00:00:00:00:00:01\n");
    EXPECT_EQ(answer(), "00:00:00:00:00:01");
}

TEST_P(kernel_device, ends_the_walk_where_it_sits_on_the_usb_bus)
{
    place("eth0", "pci0000:00/usb1/1-1");
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(machine.trace(), (texts{found("eth0"), "<eth0> mounted on the usb bus, ignore."}));
}

TEST_P(kernel_device, ends_the_walk_where_no_device_is_behind_it)
{
    machine.remove("/sys/class/net/eth0");
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(machine.trace(),
              (texts{found("eth0"), "get stat error", "<eth0> mounted on the usb bus, ignore."}));
}

// Several devices.

namespace {

using network_namespace = tap_network;

} // namespace

TEST_F(network_namespace, holds_no_interface_that_counts_at_first)
{
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(network_namespace, holds_no_other_interface_that_counts)
{
    for (const char *const name : {"wlan0", "virbr0", "docker0", "et0", "Eth0", "xeth0", "e0"})
        add(name, "02:00:00:00:00:01");
    EXPECT_EQ(answer(), "(no text)");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(network_namespace, holds_interfaces_of_every_name_that_counts)
{
    const texts names = {"eth0", "enp3s0", "eno1", "em1", "en", "enx001a2b3c4d5", "eth';x;'"};
    texts trace;
    for (const std::string &name : names) {
        add(name, "02:00:00:00:00:01");
        place(name, "platform/onboard");
        trace.insert(trace.end(), {found(name), eth0_addresses});
    }
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), trace);
}

TEST_F(network_namespace, is_walked_in_the_kernels_order)
{
    add("eth0", "02:00:00:00:00:01");
    add("wlan0", "02:00:00:00:00:02");
    add("enp3s0", "02:00:00:00:00:03");
    add("em1", "02:00:00:00:00:04");
    for (const std::string &name : texts{"eth0", "wlan0", "enp3s0", "em1"}) {
        place(name, "platform/onboard");
        set("link set " + name + " up");
    }
    set("-6 address add 2001:db8::1/64 dev eth0 nodad");
    set("address add 192.0.2.3/24 dev enp3s0");
    set("address add 192.0.2.2/24 dev wlan0");
    set("address add 192.0.2.1/24 dev eth0");
    set("-6 address add 2001:db8::4/64 dev em1 nodad");

    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    const std::string enp3s0_addresses =
        "mac: <02:00:00:00:00:03>,  permanent_mac: <00:00:00:00:00:00>.";
    const std::string em1_addresses =
        "mac: <02:00:00:00:00:04>,  permanent_mac: <00:00:00:00:00:00>.";
    EXPECT_EQ(machine.trace(),
              (texts{found("eth0"), eth0_addresses, found("enp3s0"), enp3s0_addresses, found("em1"),
                     em1_addresses, // the devices
                     found("eth0"), eth0_addresses, found("enp3s0"), enp3s0_addresses, // IPv4
                     found("eth0"), eth0_addresses, found("em1"), em1_addresses}));    // IPv6
}

TEST_F(network_namespace, is_walked_up_to_the_first_usb_adapter)
{
    add("eth0", "02:00:00:00:00:01");
    add("eth1", "02:00:00:00:00:02");
    add("eth2", "02:00:00:00:00:03");
    place("eth0", "platform/onboard");
    place("eth1", "pci0000:00/usb1/1-1");
    place("eth2", "platform/onboard");
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), (texts{found("eth0"), eth0_addresses, found("eth1"),
                                      "<eth1> mounted on the usb bus, ignore."}));
}
