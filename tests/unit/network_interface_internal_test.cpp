// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/network_interface.h"
#include "network_records.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <malloc.h>

using orvane::interface_list;
using orvane::network_interface;

namespace {

int compared(const network_interface &first, const network_interface &second)
{
    return orvane::network_interface_compare_permanent_mac(&first, &second);
}

// A record of which only this is looked at.
network_interface with_address(const char *permanent_mac)
{
    return {nullptr, nullptr, const_cast<char *>(permanent_mac)};
}

void add(interface_list &list, const char *name, const char *permanent_mac)
{
    orvane::add_interface(list, orvane::network_interface_new(name, "mac", permanent_mac));
}

texts records(const interface_list &list)
{
    return records_of(list.get());
}

} // namespace

TEST(network_record, holds_the_three_texts_in_their_places)
{
    network_interface *const made = orvane::network_interface_new("eth0", "current", "permanent");
    ASSERT_NE(made, nullptr);
    EXPECT_STREQ(made->name, "eth0");
    EXPECT_STREQ(made->mac, "current");
    EXPECT_STREQ(made->permanent_mac, "permanent");
    orvane::network_interface_free(made);
}

TEST(network_record, holds_copies_of_its_own)
{
    std::string text = "text";
    network_interface *const made =
        orvane::network_interface_new(text.c_str(), text.c_str(), text.c_str());
    ASSERT_NE(made, nullptr);
    text.assign("gone");
    EXPECT_STREQ(made->name, "text");
    EXPECT_STREQ(made->mac, "text");
    EXPECT_STREQ(made->permanent_mac, "text");
    EXPECT_NE(made->mac, made->permanent_mac);
    EXPECT_NE(made->name, made->mac);
    orvane::network_interface_free(made);
}

TEST(network_record, can_hold_empty_texts)
{
    interface_list list;
    orvane::add_interface(list, orvane::network_interface_new("", "", ""));
    EXPECT_EQ(records(list), texts{"  "});
}

TEST(network_record, may_be_none_to_be_freed)
{
    orvane::network_interface_free(nullptr);
    orvane::free_interfaces(nullptr);
    const interface_list nothing;
    EXPECT_EQ(records(nothing), texts{});
}

// The order.

TEST(network_record_order, has_the_greater_permanent_address_first)
{
    const network_interface small = with_address("00:1a:2b:3c:4d:5e");
    const network_interface great = with_address("f4:8e:38:00:00:01");
    EXPECT_LT(compared(great, small), 0);
    EXPECT_GT(compared(small, great), 0);
    EXPECT_EQ(compared(small, small), 0);
}

TEST(network_record_order, looks_at_nothing_but_the_permanent_address)
{
    char text[][2] = {"a", "b", "c", "d", "1"};
    const network_interface first = {text[0], text[3], text[4]};
    const network_interface second = {text[1], text[2], text[4]};
    EXPECT_EQ(compared(first, second), 0);
    EXPECT_EQ(compared(second, first), 0);
}

TEST(network_record_order, is_that_of_unsigned_bytes)
{
    EXPECT_LT(compared(with_address("\xff"), with_address("z")), 0);
    EXPECT_GT(compared(with_address("9"), with_address("a")), 0);
    EXPECT_GT(compared(with_address("00:1a"), with_address("00:1a:")), 0);
    EXPECT_GT(compared(with_address(""), with_address("0")), 0);
}

TEST(network_record_order, has_none_where_a_record_is_missing)
{
    const network_interface one = with_address("f4:8e:38:00:00:01");
    EXPECT_EQ(orvane::network_interface_compare_permanent_mac(&one, nullptr), 0);
    EXPECT_EQ(orvane::network_interface_compare_permanent_mac(nullptr, &one), 0);
    EXPECT_EQ(orvane::network_interface_compare_permanent_mac(nullptr, nullptr), 0);
}

TEST(network_record_order, has_none_where_an_address_is_missing)
{
    const network_interface one = with_address("f4:8e:38:00:00:01");
    const network_interface none = with_address(nullptr);
    EXPECT_EQ(compared(one, none), 0);
    EXPECT_EQ(compared(none, one), 0);
    EXPECT_EQ(compared(none, none), 0);
}

TEST(network_record_order, keeps_equal_addresses_as_they_stood)
{
    interface_list list;
    add(list, "eth0", "2");
    add(list, "eth1", "1");
    add(list, "eth2", "3");
    add(list, "eth3", "2");
    add(list, "eth4", "1");
    add(list, "eth5", "2");
    list.reset(g_list_sort(list.release(), orvane::network_interface_compare_permanent_mac));
    EXPECT_EQ(records(list), (texts{"eth2 mac 3", "eth0 mac 2", "eth3 mac 2", "eth5 mac 2",
                                    "eth1 mac 1", "eth4 mac 1"}));
}

// The list.

TEST(network_records, are_appended_at_the_end)
{
    interface_list list;
    add(list, "eth1", "1");
    add(list, "eth0", "2");
    EXPECT_EQ(records(list), (texts{"eth1 mac 1", "eth0 mac 2"}));
}

TEST(network_records, do_not_grow_by_one_that_could_not_be_made)
{
    interface_list list;
    orvane::add_interface(list, nullptr);
    EXPECT_FALSE(list);
    add(list, "eth0", "1");
    orvane::add_interface(list, nullptr);
    EXPECT_EQ(records(list), texts{"eth0 mac 1"});
}

TEST(network_records, are_joined_in_their_order)
{
    interface_list list;
    add(list, "eth0", "1");
    add(list, "eth1", "2");
    interface_list more;
    add(more, "eth2", "0");
    add(more, "eth3", "3");
    orvane::append_interfaces(list, std::move(more));
    EXPECT_EQ(records(list), (texts{"eth0 mac 1", "eth1 mac 2", "eth2 mac 0", "eth3 mac 3"}));
}

TEST(network_records, are_the_same_with_none_joined)
{
    interface_list list;
    orvane::append_interfaces(list, {});
    EXPECT_FALSE(list);
    add(list, "eth0", "1");
    orvane::append_interfaces(list, {});
    EXPECT_EQ(records(list), texts{"eth0 mac 1"});
}

TEST(network_records, are_the_others_where_they_are_joined_to_none)
{
    interface_list list;
    interface_list more;
    add(more, "eth0", "1");
    orvane::append_interfaces(list, std::move(more));
    EXPECT_EQ(records(list), texts{"eth0 mac 1"});
}

TEST(network_records, leave_no_memory_in_use_behind)
{
    constexpr std::size_t many = 10000;
    const std::size_t before = ::mallinfo2().uordblks;
    for (std::size_t i = 0; i < many; ++i) {
        interface_list list;
        add(list, "eth0", "1");
    }
    // What malloc() keeps ready for this thread is less than a byte for each.
    EXPECT_LT(::mallinfo2().uordblks, before + many);
}
