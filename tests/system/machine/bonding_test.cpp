// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The slaves of bonds, from the kernel's reports, on a machine whose other interfaces are none.
#include "network_machine.h"

#include <string>

#include <sys/stat.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

constexpr char reports[] = "/proc/net/bonding";

std::string slave(const std::string &name, const std::string &permanent)
{
    return "Slave Interface: " + name + "\nPermanent HW addr: " + permanent + "\n";
}
const std::string lesser = slave("eth1", "00:1a:2b:3c:4d:5e");
const std::string greater = slave("eth2", "f4:8e:38:00:00:01");

using bonding = network_machine;

// What a report holds.

struct bond_report : named_case {
    std::string text;
    std::string answer;
};

const bond_report bond_reports[] = {
    {"of_the_kernel",
     "Ethernet Channel Bonding Driver: v6.1.0-18-amd64\n\n"
     "Bonding Mode: fault-tolerance (active-backup)\nPrimary Slave: None\n"
     "Currently Active Slave: eth1\nMII Status: up\nMII Polling Interval (ms): 100\n\n"
     "Slave Interface: eth1\nMII Status: up\nSpeed: 1000 Mbps\nDuplex: full\n"
     "Link Failure Count: 0\nPermanent HW addr: 00:1A:2B:3C:4D:5E\nSlave queue ID: 0\n"
     "\nSlave Interface: eth2\nMII Status: down\nSpeed: Unknown\nDuplex: Unknown\n"
     "Link Failure Count: 1\nPermanent HW addr: 00:1A:2B:3C:4D:5D\nSlave queue ID: 0\n",
     "00:1a:2b:3c:4d:5e"},
    {"whose_second_slave_has_the_greatest_address", lesser + greater, "f4:8e:38:00:00:01"},
    {"of_a_slave_of_any_name", slave("wlan0", "f4:8e:38:00:00:01"), "f4:8e:38:00:00:01"},
    {"ordered_by_its_bytes", slave("a", "99") + slave("b", "\xff") + slave("c", "a"), "\xff"},
    {"without_a_final_newline", "Slave Interface: a\nPermanent HW addr: 1", "1"},
    {"with_carriage_returns", "Slave Interface: a\r\nPermanent HW addr: 1\r\n", "1"},
    {"with_a_zero_byte", "Slave Interface: a\nPermanent HW addr: 1\0002\n"s, "1"},
    {"beyond_ascii", slave("\xff", "\xc9\x80"), "\xc9\x80"},
    {"with_other_blanks", "Slave\tInterface:a\nPermanent\v HW addr:\t1 2\n", "1"},
    {"with_labels_in_another_case", "slave interface: a\npermanent hw addr: 1\n", "(no text)"},
    {"with_labels_inside_lines", "x " + slave("a", "1"), "(no text)"},
    {"without_a_slave", "Permanent HW addr: 1\n", "(no text)"},
    {"without_an_address", "Slave Interface: a\n", "(no text)"},
    {"with_an_empty_slave", slave("", "1"), "(no text)"},
    {"with_an_empty_address", slave("a", ""), "(no text)"},
    {"with_an_address_for_the_first_of_two_slaves",
     "Slave Interface: a\nSlave Interface: b\nPermanent HW addr: 1\nPermanent HW addr: 2\n", "1"},
    {"with_a_name_of_5000_characters", slave(std::string(5000, 'n'), "1"), "1"},
    {"of_126_characters", slave("a", std::string(126, 'f')), std::string(126, 'f')},
    {"of_127_characters", slave("a", std::string(127, 'f')), std::string(127, 'f')},
    {"of_128_characters", slave("a", std::string(128, 'f')), std::string(127, 'f')},
    {"of_5000_characters", slave("a", std::string(5000, 'f')), std::string(127, 'f')},
    {"behind_1022_bytes_in_a_line", std::string(1022, 'x') + slave("a", "1"), "(no text)"},
    {"behind_1023_bytes_in_a_line", std::string(1023, 'x') + slave("a", "1"), "1"},
};

class bonding_by_a_report : public bonding, public testing::WithParamInterface<bond_report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, bonding_by_a_report, testing::ValuesIn(bond_reports));

TEST_P(bonding_by_a_report, adds_the_slaves_that_have_a_name_and_an_address)
{
    bond("bond0", GetParam().text);
    EXPECT_EQ(max_mac(), GetParam().answer);
    expect_trace({});
}

// Beside the interfaces that the kernel lists.

TEST_F(bonding, adds_its_slaves_to_the_other_interfaces)
{
    plug({"eth0", "02:00:00:00:00:01", "02:00:00:00:00:02"});
    bond("bond0", lesser);
    EXPECT_EQ(max_mac(), "02:00:00:00:00:02");
    bond("bond1", greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

// The directory of reports.

TEST_F(bonding, without_reports_adds_nothing)
{
    machine.directory(reports);
    EXPECT_EQ(max_mac(), "(no text)");
    machine.file(reports, lesser);
    EXPECT_EQ(max_mac(), "(no text)");
}

TEST_F(bonding, whose_directory_may_not_be_listed_adds_nothing)
{
    bond("bond0", lesser);
    ::chmod(reports, 0311);
    const other_user caller;
    EXPECT_EQ(max_mac(), "(no text)");
}

TEST_F(bonding, adds_the_slaves_of_every_bond)
{
    bond(".hidden", lesser);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    bond("...", slave("a", "00:1a:2b:3c:4d:5f"));
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5f");
    bond(std::string(255, 'b'), greater);
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

TEST_F(bonding, reads_a_report_through_a_link)
{
    machine.file("/proc/net/report", lesser);
    machine.link("/proc/net/bonding/bond0", "../report");
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
}

namespace {

struct other_entry : named_case {
    void (*make)(constructed_machine &machine, const std::string &path);
};

const other_entry other_entries[] = {
    {"a_directory", [](constructed_machine &machine,
                       const std::string &path) { machine.file(path + "/bond0", greater); }},
    {"a_fifo",
     [](constructed_machine &, const std::string &path) { ::mkfifo(path.c_str(), 0666); }},
    {"a_socket",
     [](constructed_machine &, const std::string &path) { ::mknod(path.c_str(), S_IFSOCK, 0); }},
    {"a_device", [](constructed_machine &machine,
                    const std::string &path) { machine.character_device(path, 1, 3); }},
    {"a_link_to_a_directory",
     [](constructed_machine &machine, const std::string &path) { machine.link(path, "."); }},
    {"a_link_to_nothing",
     [](constructed_machine &machine, const std::string &path) { machine.link(path, "/nothing"); }},
    {"a_link_to_itself",
     [](constructed_machine &machine, const std::string &path) { machine.link(path, "other"); }},
    {"an_unreadable_report",
     [](constructed_machine &machine, const std::string &path) { machine.file(path, greater, 0); }},
};

class bonding_beside : public bonding, public testing::WithParamInterface<other_entry> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, bonding_beside, testing::ValuesIn(other_entries));

// Another report stands before the entry and one behind it, whatever the order of the directory.
TEST_P(bonding_beside, adds_the_slaves_of_the_reports_that_can_be_read)
{
    bond("bond0", slave("a", "00:1a:2b:3c:4d:5f"));
    GetParam().make(machine, std::string(reports) + "/other");
    bond("zero", lesser);
    ::alarm(10); // for a reader that waits for a writer
    {
        const other_user caller;
        EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5f");
    }
    machine.remove("/proc/net/bonding/bond0");
    {
        const other_user caller;
        EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    }
    ::alarm(0);
}
