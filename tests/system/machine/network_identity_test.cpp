// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The one address that a machine is known by.
#include "network_kernel.h"
#include "network_machine.h"
#include "orvane.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

class network_identity : public network_machine {
protected:
    // A card in whose place nothing but its addresses counts.
    void plug_address(const std::string &name, const std::string &permanent)
    {
        plug({name, "02:00:00:00:00:01", permanent});
    }
};

} // namespace

TEST_F(network_identity, is_answered_by_network_interface_get_max_mac)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    plug_address("enp3s0", "f4:8e:38:00:00:01");
    EXPECT_EQ(owned_text(network_interface_get_max_mac()).value(), "f4:8e:38:00:00:01");
}

TEST_F(network_identity, is_unchanged_what_the_exported_network_interface_get_max_mac_gives)
{
    char *const given = ::strdup("not an address");
    interpose::network_interface_get_max_mac = [given] { return given; };
    char *const returned = orvane_get_network_interface_max_mac();
    EXPECT_EQ(returned, given);
    EXPECT_EQ(owned_text(returned).value(), "not an address");
}

TEST_F(network_identity, is_none_where_the_exported_network_interface_get_max_mac_has_none)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    interpose::network_interface_get_max_mac = []() -> char * { return nullptr; };
    EXPECT_EQ(max_mac(), "(no text)");
}

TEST_F(network_identity, is_a_text_of_its_own_for_each_caller)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    const std::unique_ptr<char, free_text> first(orvane_get_network_interface_max_mac());
    const std::unique_ptr<char, free_text> second(orvane_get_network_interface_max_mac());
    EXPECT_NE(first, second);
    first.get()[0] = 'x';
    EXPECT_STREQ(second.get(), "00:1a:2b:3c:4d:5e");
}

TEST_F(network_identity, is_looked_for_afresh_every_time)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    plug_address("eth1", "f4:8e:38:00:00:01");
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    cards.pop_back();
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    cards.front().current.clear();
    EXPECT_EQ(max_mac(), "(no text)");
}

TEST_F(network_identity, does_not_depend_on_the_current_address)
{
    plug({"eth0", "ff:ff:ff:ff:ff:fe", "00:1a:2b:3c:4d:5e"});
    plug({"eth1", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5f"});
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5f");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: eth0, ignoreMountUSB: true",
                     "mac: <ff:ff:ff:ff:ff:fe>,  permanent_mac: <00:1a:2b:3c:4d:5e>.",
                     "found network interface device: eth1, ignoreMountUSB: true",
                     "mac: <02:00:00:00:00:01>,  permanent_mac: <00:1a:2b:3c:4d:5f>."}));
}

TEST_F(network_identity, is_the_same_where_nothing_can_be_traced)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    interpose::orvane_logger_env_init = [] { return 0; };
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
}

TEST_F(network_identity, is_known_to_every_user)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const other_user caller;
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
}

TEST_F(network_identity, prints_nothing)
{
    plug({"eth0", "02:00:00:00:00:01"});
    cards.push_back({"eth1", "02:00:00:00:00:02"}); // no device
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

class greatest_of : public network_identity,
                    public testing::WithParamInterface<pair_of_addresses> {};

} // namespace

TEST_P(greatest_of, a_list_that_ascends_is_the_last)
{
    plug_address("eth0", GetParam().lesser);
    plug_address("eth1", GetParam().greater);
    EXPECT_EQ(max_mac(), GetParam().greater);
}

TEST_P(greatest_of, a_list_that_descends_is_the_first)
{
    plug_address("eth0", GetParam().greater);
    plug_address("eth1", GetParam().lesser);
    EXPECT_EQ(max_mac(), GetParam().greater);
}

INSTANTIATE_TEST_SUITE_P(network, greatest_of, testing::ValuesIn(pairs_of_addresses));

TEST_F(network_identity, is_the_greatest_in_every_order_of_the_list)
{
    const std::array<network_card, 4> all = {{
        {"eth0", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"},
        {"eth1", "02:00:00:00:00:02", "f4:8e:38:00:00:01"},
        {"eth2", "02:00:00:00:00:03", "f4:8e:38:00:00:00"},
        {"eth3", "02:00:00:00:00:04", std::nullopt},
    }};
    machine.remove("/sys/bus"); // no interface can be on it
    std::array<size_t, 4> order = {0, 1, 2, 3};
    do {
        cards.clear();
        for (const size_t place : order)
            cards.push_back(all.at(place));
        EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(network_identity, is_the_first_of_equal_addresses)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    plug_address("eth1", "00:1a:2b:3c:4d:5e");
    std::vector<const void *> originals;
    std::vector<const void *> copies;
    interpose::strdup = [&originals, &copies](const char *text) {
        originals.push_back(text);
        char *const copy = interpose::strdup.real(text);
        copies.push_back(copy);
        return copy;
    };
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    ASSERT_EQ(copies.size(), 11U);
    EXPECT_EQ(originals[10], copies[4]); // the permanent address in the first record
}

TEST_F(network_identity, is_zeros_where_no_driver_tells_a_permanent_address)
{
    plug({"eth0", "02:00:00:00:00:01"});
    plug({"eth1", "02:00:00:00:00:02"});
    EXPECT_EQ(max_mac(), "00:00:00:00:00:00");
}

TEST_F(network_identity, is_the_address_of_a_slave_of_a_bond_that_is_greater)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    bond("bond0", "Slave Interface: eth1\nPermanent HW addr: F4:8E:38:00:00:01\n");
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

TEST_F(network_identity, is_the_address_of_an_interface_that_is_greater_than_that_of_a_slave)
{
    plug_address("eth0", "f4:8e:38:00:00:01");
    bond("bond0", "Slave Interface: eth1\nPermanent HW addr: 00:1A:2B:3C:4D:5E\n");
    EXPECT_EQ(max_mac(), "f4:8e:38:00:00:01");
}

// Memory.

namespace {

struct missing_copy : named_case {
    size_t cards;
    int number; // of the copy that is refused, from 1
    const char *answer;
};

// The current address stands in for a permanent one that there is no memory for.
const missing_copy missing_copies[] = {
    {"for_the_current_address", 1, 1, "(no text)"},
    {"for_the_permanent_address", 1, 2, "02:00:00:00:00:01"},
    {"for_the_name_in_the_record", 1, 3, "(no text)"},
    {"for_the_current_address_in_the_record", 1, 4, "(no text)"},
    {"for_the_permanent_address_in_the_record", 1, 5, "(no text)"},
    {"for_the_answer", 1, 6, "(no text)"},
    {"for_any_more", 1, 7, "00:1a:2b:3c:4d:5e"},
    {"for_the_first_current_address", 2, 1, "(no text)"},
    {"for_the_first_permanent_address", 2, 2, "f4:8e:38:00:00:01"},
    {"for_the_first_name_in_a_record", 2, 3, "f4:8e:38:00:00:01"},
    {"for_the_first_current_address_in_a_record", 2, 4, "f4:8e:38:00:00:01"},
    {"for_the_first_permanent_address_in_a_record", 2, 5, "f4:8e:38:00:00:01"},
    {"for_the_second_current_address", 2, 6, "00:1a:2b:3c:4d:5e"},
    {"for_the_second_permanent_address", 2, 7, "f0:00:00:00:00:02"},
    {"for_the_second_name_in_a_record", 2, 8, "00:1a:2b:3c:4d:5e"},
    {"for_the_second_current_address_in_a_record", 2, 9, "00:1a:2b:3c:4d:5e"},
    {"for_the_second_permanent_address_in_a_record", 2, 10, "00:1a:2b:3c:4d:5e"},
    {"for_the_answer_about_two", 2, 11, "(no text)"},
    {"for_any_more_about_two", 2, 12, "f4:8e:38:00:00:01"},
};

class network_identity_without_memory : public network_identity,
                                        public testing::WithParamInterface<missing_copy> {};

} // namespace

TEST_P(network_identity_without_memory, is_what_could_be_copied)
{
    plug({"eth0", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"});
    plug({"eth1", "f0:00:00:00:00:02", "f4:8e:38:00:00:01"});
    cards.resize(GetParam().cards);
    interpose::strdup = [left = GetParam().number](const char *text) mutable -> char * {
        return --left == 0 ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(max_mac(), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(for_text, network_identity_without_memory,
                         testing::ValuesIn(missing_copies));

TEST_F(network_identity, traces_an_address_there_is_no_memory_for_as_one_that_is_not_told)
{
    plug({"eth0", "02:00:00:00:00:01", "00:1a:2b:3c:4d:5e"});
    interpose::strdup = [](const char *text) -> char * {
        return std::strcmp(text, "00:1a:2b:3c:4d:5e") == 0 ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(max_mac(), "02:00:00:00:00:01");
    EXPECT_EQ(
        machine.trace(),
        (texts{"found network interface device: eth0, ignoreMountUSB: true", "no permanent mac!",
               "mac: <02:00:00:00:00:01>,  permanent_mac: <02:00:00:00:00:01>."}));
}

// The calling process.

TEST_F(network_identity, is_found_where_the_caller_ignores_its_children)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    plug_into_usb({"eth1", "02:00:00:00:00:01", "f4:8e:38:00:00:01"});
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

namespace {

class network_identity_without_standard_descriptors
    : public network_identity,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(network_identity_without_standard_descriptors, is_found_and_leaves_them_closed)
{
    plug_address("eth0", "00:1a:2b:3c:4d:5e");
    plug_into_usb({"eth1", "02:00:00:00:00:01", "ff:00:00:00:00:01"});
    bond("bond0", "Slave Interface: eth2\nPermanent HW addr: f4:8e:38:00:00:01\n");
    std::string found;
    EXPECT_EQ(left_open(GetParam(), [&found] { found = max_mac(); }), std::vector<int>{});
    EXPECT_EQ(found, "f4:8e:38:00:00:01");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: eth0, ignoreMountUSB: true",
                     "mac: <02:00:00:00:00:01>,  permanent_mac: <00:1a:2b:3c:4d:5e>.",
                     "found network interface device: eth1, ignoreMountUSB: true",
                     "<eth1> mounted on the usb bus, ignore."}));
}

INSTANTIATE_TEST_SUITE_P(every_combination, network_identity_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

namespace {

// What the kernel lists to a thread: the one card that is the thread's own.
thread_local std::vector<listed_entry> own_card;
thread_local std::optional<interface_listing> own_listing;

texts sorted(texts lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

TEST_F(network_identity, is_its_own_for_each_of_many_threads)
{
    constexpr int threads = 32;
    interpose::getifaddrs = [](ifaddrs **entries) {
        *entries = own_listing.emplace(own_card).first();
        return 0;
    };
    interpose::freeifaddrs = [](ifaddrs *) { own_listing.reset(); };
    interpose::time_string = [] { return "2026-11-16 03:55:07.042"; };

    std::vector<std::string> expected;
    texts trace;
    for (int number = 10; number < 10 + threads; ++number) {
        const std::string name = "eth" + std::to_string(number);
        const std::string &mac = expected.emplace_back("00:1a:2b:3c:4d:" + name.substr(3));
        plug({name, mac, mac});
        trace.push_back("found network interface device: " + name + ", ignoreMountUSB: true");
        trace.push_back("mac: <" + mac + ">,  permanent_mac: <" + mac + ">.");
    }

    std::vector<std::string> answers(threads);
    {
        std::latch start(threads);
        std::vector<std::jthread> running;
        for (std::string &told : answers) {
            running.emplace_back([&start, &told, &card = cards.at(running.size())] {
                own_card = {{card.name.c_str()}};
                start.arrive_and_wait();
                told = max_mac();
            });
        }
    }
    EXPECT_EQ(answers, expected);
    EXPECT_EQ(sorted(machine.trace()), sorted(trace));
}
