// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The one address that a machine is known by, and the walk that finds it.
#include "kernel_network.h"
#include "network_machine.h"
#include "trace_lines.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

using max_mac_query = network_machine;

const network_card lesser = {"eth0", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"};
const network_card greater = {"enp3s0", "02:00:00:00:00:02", "f4:8e:38:00:00:01"};

constexpr char bond_report[] = "Slave Interface: enp9s0\nPermanent HW addr: 00:AA:00:00:00:09\n";

} // namespace

TEST_F(max_mac_query, is_the_greatest_permanent_address_whatever_the_current_ones_are)
{
    plug({"eth0", "ff:ff:ff:ff:ff:fe", "00:1a:2b:3c:4d:5e"});
    plug({"enp3s0", "02:00:00:00:00:01", "f4:8e:38:00:00:01"});
    plug({"eno1", "ff:ff:ff:ff:ff:ff", "f4:8e:38:00:00:00"});
    plug({"em1", "ff:00:00:00:00:00"});
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(owned_text(network_interface_get_max_mac()).value(), "f4:8e:38:00:00:01");
}

TEST_F(max_mac_query, is_none_without_interfaces_and_bonds)
{
    EXPECT_EQ(max_mac(), "(no text)");
    expect_trace({});
}

TEST_F(max_mac_query, is_zeros_where_no_driver_reports_a_permanent_address)
{
    plug({"eth0", "02:00:00:00:00:01"});
    plug({"eth1", "02:00:00:00:00:02"});
    EXPECT_EQ(max_mac(), "00:00:00:00:00:00");
}

TEST_F(max_mac_query, is_looked_up_afresh_on_every_call)
{
    plug(lesser);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    plug(greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    kernel.entries.clear();
    EXPECT_EQ(max_mac(), "(no text)");
}

TEST_F(max_mac_query, is_unchanged_what_the_exported_network_interface_get_max_mac_returns)
{
    char *const given = ::strdup("not an address");
    interpose::network_interface_get_max_mac = [given] { return given; };
    EXPECT_EQ(max_mac(), "not an address");
}

TEST_F(max_mac_query, is_found_by_every_user)
{
    plug(lesser);
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const other_user caller;
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
}

TEST_F(max_mac_query, is_the_same_where_nothing_can_be_traced)
{
    plug(lesser);
    machine.file("/var/log/orvane", "no directory");
    standard_error_of([] { EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e"); });
}

TEST_F(max_mac_query, is_found_without_a_word_on_standard_error)
{
    plug({"eth0", "02:00:00:00:00:01"});
    kernel.add({"eth1", "02:00:00:00:00:02"}, {AF_PACKET}); // no device
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(max_mac(), "00:00:00:00:00:00"); }), "");
}

// The greatest address.

namespace {

struct pair_of_addresses : named_case {
    const char *lesser;
    const char *greater;
};

const pair_of_addresses pairs_of_addresses[] = {
    {"the_first_bytes", "00:1a:2b:3c:4d:5e", "f4:8e:38:00:00:01"},
    {"the_second_bytes", "00:1a:ff:ff:ff:ff", "00:1b:00:00:00:00"},
    {"the_third_bytes", "00:1a:2b:ff:ff:ff", "00:1a:2c:00:00:00"},
    {"the_fourth_bytes", "00:1a:2b:3c:ff:ff", "00:1a:2b:3d:00:00"},
    {"the_fifth_bytes", "00:1a:2b:3c:4d:ff", "00:1a:2b:3c:4e:00"},
    {"the_last_bytes", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5f"},
    {"a_digit_and_a_letter", "00:1a:2b:3c:4d:59", "00:1a:2b:3c:4d:5a"},
    {"a_letter_and_a_digit_of_the_first_half", "00:1a:2b:3c:4d:9f", "00:1a:2b:3c:4d:a0"},
    {"bytes_about_the_sign_bit", "7f:ff:ff:ff:ff:ff", "80:00:00:00:00:00"},
    {"the_ends_of_the_range", "00:00:00:00:00:00", "ff:ff:ff:ff:ff:ff"},
    {"zeros_and_the_least", "00:00:00:00:00:00", "00:00:00:00:00:01"},
    {"equal_addresses", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e"},
};

class max_mac_by : public network_machine, public testing::WithParamInterface<pair_of_addresses> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, max_mac_by, testing::ValuesIn(pairs_of_addresses));

TEST_P(max_mac_by, is_the_greater_of_two_in_either_order)
{
    plug({"eth0", "02:00:00:00:00:01", GetParam().lesser});
    plug({"eth1", "02:00:00:00:00:02", GetParam().greater});
    EXPECT_EQ(max_mac(), GetParam().greater);
    std::swap(kernel.entries[0], kernel.entries[1]);
    EXPECT_EQ(max_mac(), GetParam().greater);
}

// Entries of the list.

TEST_F(max_mac_query, is_looked_for_in_the_order_of_the_list_once_for_each_address_of_an_interface)
{
    plug(greater, onboard, {AF_PACKET, AF_INET});
    plug({"wlan0", "ff:00:00:00:00:01", "ff:00:00:00:00:01"});
    plug(lesser, onboard, {AF_INET6});
    kernel.add(greater, {AF_INET6});
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    const texts greater_found = {trace_line::found("enp3s0"),
                                 trace_line::addresses("02:00:00:00:00:02", "f4:8e:38:00:00:01")};
    const texts lesser_found = {trace_line::found("eth0"),
                                trace_line::addresses("02:00:00:00:00:01", "00:1a:2b:3c:4d:5e")};
    expect_trace(greater_found + greater_found + lesser_found + greater_found);
}

namespace {

struct entry_case : named_case {
    listed_entry entry;
    bool counts;
};

const entry_case entry_cases[] = {
    {"of_ipv4", {"eth1", AF_INET}, true},
    {"of_ipv6", {"eth1", AF_INET6}, true},
    {"of_the_device", {"eth1", AF_PACKET}, true},
    {"without_an_address", {"eth1", std::nullopt}, false},
    {"without_a_name", {nullptr}, false},
    {"without_either", {nullptr, std::nullopt}, false},
    {"of_family_0", {"eth1", 0}, false},
    {"of_family_1", {"eth1", 1}, false},
    {"of_family_3", {"eth1", 3}, false},
    {"of_family_9", {"eth1", 9}, false},
    {"of_family_11", {"eth1", 11}, false},
    {"of_family_16", {"eth1", 16}, false},
    {"of_family_18", {"eth1", 18}, false},
    {"of_family_266", {"eth1", 266}, false}, // 10 in its low byte
    {"of_family_65535", {"eth1", 65535}, false},
};

class entry_of_the_list : public network_machine, public testing::WithParamInterface<entry_case> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, entry_of_the_list, testing::ValuesIn(entry_cases));

TEST_P(entry_of_the_list, counts_where_it_is_complete_and_of_a_network_family)
{
    plug({"eth1", "02:00:00:00:00:01", "f4:8e:38:00:00:01"});
    kernel.entries = {GetParam().entry};
    plug(lesser);
    EXPECT_EQ(max_mac(), GetParam().counts ? "f4:8e:38:00:00:01" : "00:1a:2b:3c:4d:5e");
}

namespace {

class wired_name : public network_machine, public testing::WithParamInterface<const char *> {};
class other_name : public network_machine, public testing::WithParamInterface<const char *> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, wired_name,
                         testing::Values("eth", "eth1", "ethernet", "eth1.100", "eth1:0", "en",
                                         "en0", "enp3s0", "eno1", "enx001a2b3c4d5e", "enTH",
                                         "en\xff\x80", "em", "em1", "em-1_a"));
INSTANTIATE_TEST_SUITE_P(, other_name,
                         testing::Values("lo", "wlan0", "wwan0", "virbr0", "docker0", "br0",
                                         "bond0", "usb0", "", "e", "n", "et", "et0", "eht0", "ech0",
                                         "el0", "eo0", "fm1", "dn0", "ETH1", "eTh1", "etH1", "EN1",
                                         "eN1", "Em1", "eM1", "veth1", "xen1", "rem1", " eth1",
                                         "\xe5th1"));

TEST_P(wired_name, counts)
{
    plug({GetParam(), "02:00:00:00:00:01", "f4:8e:38:00:00:01"});
    plug(lesser);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

TEST_P(other_name, neither_counts_nor_ends_the_walk)
{
    kernel.add({GetParam(), "02:00:00:00:00:01", "f4:8e:38:00:00:01"}, {AF_PACKET}); // no device
    plug(lesser);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
}

TEST_F(max_mac_query, is_looked_for_in_nothing_where_the_kernel_gives_no_list)
{
    plug(lesser);
    bond("bond0", bond_report);
    kernel.cannot_list = true;
    EXPECT_EQ(max_mac(), "(no text)");
    expect_trace({});
}

// The early end.

namespace {

struct walk_end : named_case {
    const char *current;
    const char *device; // none where nullptr
    texts trace;        // behind the line about the interface that is found
};

const walk_end walk_ends[] = {
    {"on_the_usb_bus",
     "ff:00:00:00:00:01",
     "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1",
     {trace_line::on_usb_bus("eth1")}},
    {"without_a_device",
     "ff:00:00:00:00:01",
     nullptr,
     {trace_line::no_device, trace_line::on_usb_bus("eth1")}},
    {"without_a_current_address", "", "/sys/devices/pci0000:00/0000:00:1f.6", {}},
};

class interface_that_is : public network_machine, public testing::WithParamInterface<walk_end> {
protected:
    void plug_flawed(const std::vector<std::optional<int>> &families)
    {
        plug({"eth1", GetParam().current, "ff:00:00:00:00:01"},
             GetParam().device ? GetParam().device : onboard, families);
        if (GetParam().device == nullptr)
            machine.remove("/sys/class/net/eth1");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, interface_that_is, testing::ValuesIn(walk_ends));

TEST_P(interface_that_is, ends_the_walk_and_leaves_what_was_found_before)
{
    plug(lesser);
    plug_flawed({AF_UNIX, AF_PACKET, AF_INET});
    plug(greater);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    expect_trace(texts{trace_line::found("eth0"),
                       trace_line::addresses("02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"),
                       trace_line::found("eth1")} +
                 GetParam().trace);
}

TEST_P(interface_that_is, the_first_leaves_the_slaves_of_bonds_alone)
{
    plug_flawed({AF_PACKET});
    plug(greater);
    EXPECT_EQ(max_mac(), "(no text)");
    bond("bond0", bond_report);
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
}

TEST_P(interface_that_is, listed_by_other_addresses_ends_nothing)
{
    plug_flawed({std::nullopt, AF_UNSPEC, AF_UNIX});
    plug(greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

// Devices of this kernel, with nothing interposed.

namespace {

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

class kernel_device : public kernel_network, public testing::WithParamInterface<device_kind> {};
using kernel_devices = tap_network;

std::string answer()
{
    return owned_text(orvane_get_network_interface_max_mac()).value();
}

std::string zeros_beside(const std::string &current)
{
    return trace_line::addresses(current, "00:00:00:00:00:00");
}

} // namespace

INSTANTIATE_TEST_SUITE_P(, kernel_device, testing::ValuesIn(device_kinds));

TEST_P(kernel_device, has_its_changed_address_as_the_current_one_alone)
{
    for (const std::string &command : GetParam().commands) {
        make(command);
        if (IsSkipped())
            return;
    }
    place("eth0", "platform/onboard");
    set("link set eth0 address fe:DC:ba:98:76:54 addrgenmode none");
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    expect_trace({trace_line::found("eth0"), zeros_beside("fe:dc:ba:98:76:54")});
}

TEST_F(kernel_devices, are_walked_in_the_kernels_order)
{
    add("eth0", "02:00:00:00:00:01");
    add("wlan0", "02:00:00:00:00:02");
    add("enp3s0", "02:00:00:00:00:03");
    for (const std::string name : {"eth0", "wlan0", "enp3s0"}) {
        place(name, "platform/onboard");
        set("link set " + name + " up");
    }
    set("-6 address add 2001:db8::1/64 dev eth0 nodad");
    set("address add 192.0.2.3/24 dev enp3s0");
    set("address add 192.0.2.1/24 dev eth0");
    EXPECT_EQ(answer(), "00:00:00:00:00:00");
    const texts eth0 = {trace_line::found("eth0"), zeros_beside("02:00:00:00:00:01")};
    const texts enp3s0 = {trace_line::found("enp3s0"), zeros_beside("02:00:00:00:00:03")};
    expect_trace(eth0 + enp3s0   // the devices
                 + eth0 + enp3s0 // IPv4
                 + eth0);        // IPv6
}

TEST_F(kernel_devices, are_walked_up_to_the_first_usb_adapter)
{
    add("eth0", "02:00:00:00:00:01");
    add("eth1", "02:00:00:00:00:02");
    add("eth2", "02:00:00:00:00:03");
    place("eth0", "platform/onboard");
    place("eth1", "pci0000:00/usb1/1-1");
    place("eth2", "platform/onboard");
    machine.file("/proc/net/bonding/bond0", bond_report);
    EXPECT_EQ(answer(), "00:aa:00:00:00:09");
    expect_trace({trace_line::found("eth0"), zeros_beside("02:00:00:00:00:01"),
                  trace_line::found("eth1"), trace_line::on_usb_bus("eth1")});
}
