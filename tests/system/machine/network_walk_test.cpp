// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The walk over the kernel's list of interfaces: what counts, what is passed over, what ends it.
#include "network_kernel.h"
#include "network_machine.h"

#include <optional>
#include <string>
#include <vector>

namespace {

// Cards that tell their permanent address, which is also the current one.
const network_card on_board = {"eth0", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e"};
const network_card greater = {"enp3s0", "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"};

const texts on_board_found = {"found network interface device: eth0, ignoreMountUSB: true",
                              "mac: <00:1a:2b:3c:4d:5e>,  permanent_mac: <00:1a:2b:3c:4d:5e>."};
const texts greater_found = {"found network interface device: enp3s0, ignoreMountUSB: true",
                             "mac: <f4:8e:38:00:00:01>,  permanent_mac: <f4:8e:38:00:00:01>."};

constexpr char report[] = "Slave Interface: enp9s0\nPermanent HW addr: 00:aa:00:00:00:09\n";

using network_walk = network_machine;

// The entries that the test lists, which are none at first.
class listed_entries : public on_machine {
protected:
    network_kernel kernel;
};

using empty_list = listed_entries;

} // namespace

TEST_F(empty_list, gives_nothing_without_bonds)
{
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(empty_list, leaves_the_slaves_of_bonds_to_count)
{
    machine.file("/proc/net/bonding/bond0", report);
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
}

TEST_F(network_walk, traces_each_interface_in_the_order_of_the_list)
{
    plug(greater);
    plug({"wlan0", "ff:00:00:00:00:01", "ff:00:00:00:00:01"});
    plug(on_board);
    plug({"em1", "02:00:00:00:00:01", std::nullopt});
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(),
              (greater_found + on_board_found +
               texts{"found network interface device: em1, ignoreMountUSB: true",
                     "Could not read permanent MAC.",
                     "mac: <02:00:00:00:00:01>,  permanent_mac: <00:00:00:00:00:00>."}));
}

TEST_F(network_walk, takes_an_interface_once_for_each_of_its_addresses)
{
    network_card card = greater;
    card.families = {AF_PACKET, AF_INET, AF_INET6, AF_INET6};
    plug(card);
    plug(on_board);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(),
              greater_found + greater_found + greater_found + greater_found + on_board_found);
}

TEST_F(network_walk, traces_several_interfaces_in_several_families_in_the_order_of_the_list)
{
    for (const int family : {AF_PACKET, AF_INET}) {
        for (network_card card : {on_board, greater}) {
            card.families = {family};
            plug(card);
        }
    }
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(), on_board_found + greater_found + on_board_found + greater_found);
}

// Entries.

namespace {

struct passed_over : named_case {
    listed_entry entry;
};

const passed_over incomplete_entries[] = {
    {"without_an_address", {"eth1", std::nullopt}},
    {"without_a_name", {nullptr}},
    {"without_either", {nullptr, std::nullopt}},
    {"of_family_0", {"eth1", 0}},
    {"of_family_1", {"eth1", 1}},
    {"of_family_3", {"eth1", 3}},
    {"of_family_9", {"eth1", 9}},
    {"of_family_11", {"eth1", 11}},
    {"of_family_16", {"eth1", 16}},
    {"of_family_18", {"eth1", 18}},
    {"of_family_266", {"eth1", 266}}, // 10 in its low byte
    {"of_family_65535", {"eth1", 65535}},
    {"without_a_wired_name_or_an_address", {"lo", std::nullopt}},
};

class incomplete_entry : public listed_entries, public testing::WithParamInterface<passed_over> {};

} // namespace

TEST_P(incomplete_entry, is_passed_over)
{
    kernel.listed = {GetParam().entry, {"eth0"}, GetParam().entry};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: eth0, ignoreMountUSB: true",
                     "mac: <02:00:00:00:00:01>,  permanent_mac: <00:1a:2b:3c:4d:5e>."}));
    EXPECT_EQ(kernel.requests.size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(network, incomplete_entry, testing::ValuesIn(incomplete_entries));

namespace {

class listed_family : public network_walk, public testing::WithParamInterface<int> {};

} // namespace

TEST_P(listed_family, of_network_addresses_counts)
{
    network_card card = on_board;
    card.families = {GetParam()};
    plug(card);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(), on_board_found);
}

INSTANTIATE_TEST_SUITE_P(network, listed_family, testing::Values(2, 10, 17));

// Names.

namespace {

class wired_name : public network_walk, public testing::WithParamInterface<const char *> {};
class unwired_name : public network_walk, public testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(wired_name, counts)
{
    plug({GetParam(), "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"});
    plug(on_board);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(),
              (texts{std::string("found network interface device: ") + GetParam() +
                         ", ignoreMountUSB: true",
                     "mac: <f4:8e:38:00:00:01>,  permanent_mac: <f4:8e:38:00:00:01>."} +
               on_board_found));
}

INSTANTIATE_TEST_SUITE_P(network, wired_name,
                         testing::Values("eth", "eth1", "eth10", "ethernet", "eth1.100", "eth1:0",
                                         "en", "en0", "enp3s0", "eno1", "ens33", "enx001a2b3c4d5e",
                                         "enP2p1s0f1np1d1", "enTH", "en\xff\x80", "em", "em1",
                                         "emu", "em-1_a"));

TEST_P(unwired_name, does_not_count_and_does_not_end_the_walk)
{
    cards.push_back({GetParam(), "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"});
    plug(on_board);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(), on_board_found);
}

INSTANTIATE_TEST_SUITE_P(network, unwired_name,
                         testing::Values("lo", "wlan0", "wlp2s0", "wwan0", "virbr0", "docker0",
                                         "br0", "bond0", "tun0", "ib0", "usb0", "", "e", "n", "et",
                                         "et0", "eht0", "ech0", "el0", "eo0", "fm1", "dn0", "ETH1",
                                         "Eth1", "eTh1", "etH1", "EN1", "En1", "eN1", "EM1", "Em1",
                                         "eM1", "veth1", "xen1", "rem1", " eth1", "\xe5th1", "men1",
                                         "nen1"));

// The early end.

namespace {

enum class flaw { on_the_usb_bus, without_a_device, without_a_current_address };

struct walk_end : named_case {
    flaw kind;
    texts trace; // behind the line about the interface that is found
};

const walk_end walk_ends[] = {
    {"on_the_usb_bus", flaw::on_the_usb_bus, {"<eth1> mounted on the usb bus, ignore."}},
    {"without_a_device",
     flaw::without_a_device,
     {"get stat error", "<eth1> mounted on the usb bus, ignore."}},
    {"without_a_current_address", flaw::without_a_current_address, {}},
};

class interface_that_is : public network_walk, public testing::WithParamInterface<walk_end> {
protected:
    void plug_flawed(const std::string &name, const std::vector<int> &families = {AF_PACKET})
    {
        const network_card card = {name, "ff:00:00:00:00:01", "ff:00:00:00:00:01", families};
        switch (GetParam().kind) {
        case flaw::on_the_usb_bus:
            plug_into_usb(card);
            break;
        case flaw::without_a_device:
            cards.push_back(card);
            break;
        case flaw::without_a_current_address:
            plug({name, "", "ff:00:00:00:00:01", families});
            break;
        }
    }

    [[nodiscard]] static texts end_of_walk()
    {
        return texts{"found network interface device: eth1, ignoreMountUSB: true"} +
               GetParam().trace;
    }
};

} // namespace

TEST_P(interface_that_is, ends_the_walk)
{
    plug(on_board);
    plug_flawed("eth1");
    plug(greater);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(), on_board_found + end_of_walk());
}

TEST_P(interface_that_is, ends_the_walk_before_it_finds_anything)
{
    plug_flawed("eth1");
    plug(on_board);
    plug(greater);
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(machine.trace(), end_of_walk());
}

TEST_P(interface_that_is, does_not_count_at_the_end_of_the_list)
{
    plug(on_board);
    plug(greater);
    plug_flawed("eth1");
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(), on_board_found + greater_found + end_of_walk());
}

TEST_P(interface_that_is, ends_the_walk_with_the_first_of_its_addresses)
{
    plug_flawed("eth1", {AF_PACKET, AF_INET, AF_INET6});
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(machine.trace(), end_of_walk());
}

TEST_P(interface_that_is, leaves_the_slaves_of_bonds_to_count)
{
    plug_flawed("eth1");
    plug(greater);
    bond("bond0", report);
    EXPECT_EQ(max_mac(), "00:aa:00:00:00:09");
}

TEST_P(interface_that_is, ends_nothing_under_another_name)
{
    plug_flawed("wlan0");
    plug(greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(), greater_found);
}

TEST_P(interface_that_is, ends_nothing_with_an_address_of_another_family)
{
    plug_flawed("eth1", {AF_UNSPEC, AF_UNIX});
    plug(greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(), greater_found);
}

INSTANTIATE_TEST_SUITE_P(network, interface_that_is, testing::ValuesIn(walk_ends));
