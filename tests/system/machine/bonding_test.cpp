// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The slaves of bonds, from the kernel's reports.
#include "bonding_machine.h"
#include "directory_calls.h"

#include <sys/stat.h>

namespace {

constexpr char reports[] = "/proc/net/bonding";

std::string slave(const std::string &name, const std::string &permanent)
{
    return "Slave Interface: " + name + "\nPermanent HW addr: " + permanent + "\n";
}
const std::string small = slave("eth1", "00:1a:2b:3c:4d:5e");
const std::string great = slave("eth2", "f4:8e:38:00:00:01");

using bonding = bonding_machine;

} // namespace

TEST_F(bonding, tells_the_permanent_address_of_a_slave_in_lower_case)
{
    bond("bond0", "Ethernet Channel Bonding Driver: v6.1.0-18-amd64\n\n"
                  "Bonding Mode: fault-tolerance (active-backup)\nPrimary Slave: None\n"
                  "Currently Active Slave: eth1\nMII Status: up\nMII Polling Interval (ms): 100\n\n"
                  "Slave Interface: eth1\nMII Status: up\nSpeed: 1000 Mbps\nDuplex: full\n"
                  "Link Failure Count: 0\nPermanent HW addr: 00:1A:2B:3C:4D:5E\nSlave queue ID: 0\n"
                  "\nSlave Interface: eth2\nMII Status: down\nSpeed: Unknown\nDuplex: Unknown\n"
                  "Link Failure Count: 1\nPermanent HW addr: 00:1A:2B:3C:4D:5D\n"
                  "Slave queue ID: 0\n");
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(bonding, of_no_kind_leaves_nothing_to_tell)
{
    EXPECT_TRUE(asked().is_null());
}

TEST_F(bonding, without_bonds_leaves_nothing_to_tell)
{
    machine.directory(reports);
    EXPECT_TRUE(asked().is_null());
}

TEST_F(bonding, whose_directory_is_a_file_leaves_nothing_to_tell)
{
    machine.file(reports, small);
    EXPECT_TRUE(asked().is_null());
}

TEST_F(bonding, whose_directory_may_not_be_listed_leaves_nothing_to_tell)
{
    bond("bond0", small);
    ::chmod(reports, 0311);
    const other_user caller;
    EXPECT_TRUE(asked().is_null());
}

TEST_F(bonding, is_read_in_this_order)
{
    machine.directory("/proc/net/bonding/a");
    bond("b", "\n" + small);
    bond("c", great);
    directory.list({".", "a", "b", "..", "missing", "c"});
    const directory_calls calls;
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
    EXPECT_EQ(calls.made(), (texts{"opendir /proc/net/bonding",
                                   "stat /proc/net/bonding/a",
                                   "stat /proc/net/bonding/b",
                                   "fopen /proc/net/bonding/b r",
                                   "fgets 1024",
                                   "fgets 1024",
                                   "fgets 1024",
                                   "strdup eth1",
                                   "strdup 00:1a:2b:3c:4d:5e",
                                   "strdup 00:1a:2b:3c:4d:5e",
                                   "fgets 1024",
                                   "fclose",
                                   "stat /proc/net/bonding/missing",
                                   "stat /proc/net/bonding/c",
                                   "fopen /proc/net/bonding/c r",
                                   "fgets 1024",
                                   "fgets 1024",
                                   "strdup eth2",
                                   "strdup f4:8e:38:00:00:01",
                                   "strdup f4:8e:38:00:00:01",
                                   "fgets 1024",
                                   "fclose",
                                   "closedir",
                                   "strdup f4:8e:38:00:00:01"}));
}

// Beside the interfaces that the kernel lists.

TEST_F(bonding, is_read_after_the_kernels_list_was_freed)
{
    struct : directory_calls {
        void watch()
        {
            interpose::getifaddrs = [this](ifaddrs **entries) {
                note("getifaddrs");
                return interpose::getifaddrs.real(entries);
            };
            interpose::freeifaddrs = [this](ifaddrs *entries) {
                note("freeifaddrs");
                interpose::freeifaddrs.real(entries);
            };
        }
    } calls;
    calls.watch();
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(), (texts{"getifaddrs", "freeifaddrs", "opendir /proc/net/bonding"}));
}

TEST_F(bonding, is_not_asked_about_where_the_interfaces_cannot_be_listed)
{
    bond("bond0", small);
    interpose::getifaddrs = [](ifaddrs **) { return -1; };
    const directory_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(), texts{});
}

TEST_F(bonding, adds_its_slaves_behind_the_other_interfaces)
{
    plug({"eth0", "02:00:00:00:00:01", "02:00:00:00:00:02"});
    machine.remove("/sys/bus/usb/devices");
    bond("bond0", small);
    const directory_calls calls;
    EXPECT_EQ(answer(), "02:00:00:00:00:02");
    EXPECT_EQ(
        calls.made(),
        (texts{"opendir /sys/bus/usb/devices/", "strdup 02:00:00:00:00:01",
               "strdup 02:00:00:00:00:02", "strdup eth0", "strdup 02:00:00:00:00:01",
               "strdup 02:00:00:00:00:02", "opendir /proc/net/bonding",
               "stat /proc/net/bonding/bond0", "fopen /proc/net/bonding/bond0 r", "fgets 1024",
               "fgets 1024", "strdup eth1", "strdup 00:1a:2b:3c:4d:5e", "strdup 00:1a:2b:3c:4d:5e",
               "fgets 1024", "fclose", "closedir", "strdup 02:00:00:00:00:02"}));
}

TEST_F(bonding, counts_where_it_has_a_greater_address_than_the_other_interfaces)
{
    plug({"eth0", "02:00:00:00:00:01", "02:00:00:00:00:02"});
    bond("bond0", great);
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

TEST_F(bonding, counts_though_a_usb_adapter_ended_the_walk)
{
    plug_into_usb({"eth0", "f4:8e:38:00:00:02", "f4:8e:38:00:00:02"});
    bond("bond0", great);
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

TEST_F(bonding, counts_though_an_interface_without_an_address_ended_the_walk)
{
    plug({"eth0", ""});
    bond("bond0", great);
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

TEST_F(bonding, takes_slaves_of_any_name)
{
    bond("bond0", slave("wlan0", "f4:8e:38:00:00:01"));
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

// Several bonds, and what else stands beside their reports.

TEST_F(bonding, tells_the_greatest_address_of_several_bonds)
{
    bond("bond0", small);
    bond("bond1", small + great);
    bond("bond2", small);
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

TEST_F(bonding, takes_bonds_of_any_name)
{
    bond(".hidden", small);
    bond("...", great);
    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
    machine.remove("/proc/net/bonding/...");
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
}

TEST_F(bonding, takes_a_bond_whose_name_is_as_long_as_a_file_may_have_it)
{
    bond(std::string(255, 'b'), small);
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
}

namespace {

struct other_entry : named_case {
    void (*make)(constructed_machine &machine);
};

const other_entry other_entries[] = {
    {"a_directory",
     [](constructed_machine &machine) { machine.file("/proc/net/bonding/other/bond0", great); }},
    {"a_fifo", [](constructed_machine &) { ::mkfifo("/proc/net/bonding/other", 0666); }},
    {"a_socket", [](constructed_machine &) { ::mknod("/proc/net/bonding/other", S_IFSOCK, 0); }},
    {"a_character_device",
     [](constructed_machine &machine) {
         machine.character_device("/proc/net/bonding/other", 1, 3);
     }},
    {"a_block_device",
     [](constructed_machine &machine) { machine.block_device("/proc/net/bonding/other"); }},
    {"a_link_to_a_directory",
     [](constructed_machine &machine) { machine.link("/proc/net/bonding/other", "."); }},
    {"a_link_to_a_fifo",
     [](constructed_machine &machine) {
         ::mkfifo("/srv/fifo", 0666);
         machine.link("/proc/net/bonding/other", "/srv/fifo");
     }},
    {"a_link_to_nothing",
     [](constructed_machine &machine) { machine.link("/proc/net/bonding/other", "/nothing"); }},
    {"a_link_to_itself",
     [](constructed_machine &machine) { machine.link("/proc/net/bonding/other", "other"); }},
};

class bonding_beside : public bonding, public testing::WithParamInterface<other_entry> {
protected:
    void furnish() override
    {
        bonding::furnish();
        machine.directory("/srv/bonding");
        machine.directory(reports);
        GetParam().make(machine);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(what_is_no_file, bonding_beside, testing::ValuesIn(other_entries));

TEST_P(bonding_beside, does_not_open_it)
{
    const directory_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(),
              (texts{"opendir /proc/net/bonding", "stat /proc/net/bonding/other", "closedir"}));
}

TEST_P(bonding_beside, takes_the_other_reports)
{
    bond("bond0", small);
    bond("zero", small);
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
}

TEST_F(bonding, takes_a_report_through_a_link)
{
    machine.file("/proc/net/report", small);
    machine.link("/proc/net/bonding/bond0", "../report");
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
}

TEST_F(bonding, goes_on_behind_a_report_that_may_not_be_read)
{
    bond("bond0", great);
    bond("bond1", small);
    directory.list({"bond0", "bond1"});
    ::chmod("/proc/net/bonding/bond0", 0);
    const other_user caller;
    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
}
