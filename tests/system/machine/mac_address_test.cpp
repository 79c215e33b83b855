// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the kernel is asked about one interface, and what its answers make of the addresses.
#include "network_kernel.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

// Without a USB bus, so that no interface can be on it.
class asked_interface : public on_machine {
protected:
    network_kernel kernel;
};

// Writes down copies of text as well.
class copying_kernel : public network_kernel {
public:
    copying_kernel()
    {
        interpose::strdup = [this](const char *text) {
            note("strdup", text);
            return interpose::strdup.real(text);
        };
    }

    // The calls that begin so.
    [[nodiscard]] texts made_as(const texts &beginnings) const
    {
        texts kept;
        for (const std::string &call : made()) {
            for (const std::string &beginning : beginnings) {
                if (call.starts_with(beginning))
                    kept.push_back(call);
            }
        }
        return kept;
    }
};

class copied_address : public on_machine {
protected:
    copying_kernel kernel;
};

std::string bytes_of(const void *object, size_t size)
{
    return {static_cast<const char *>(object), size};
}

std::string name_field(const ifreq &request)
{
    return bytes_of(request.ifr_name, sizeof request.ifr_name);
}

} // namespace

TEST_F(asked_interface, is_asked_for_both_addresses_with_a_socket_each)
{
    kernel.listed = {{"eth0"}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(
        kernel.made(),
        (texts{"getifaddrs", "trace found network interface device: eth0, ignoreMountUSB: true",
               "opendir /sys/bus/usb/devices/", "socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "close",
               "socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "ioctl SIOCETHTOOL eth0", "close",
               "trace mac: <02:00:00:00:00:01>,  permanent_mac: <00:1a:2b:3c:4d:5e>.",
               "freeifaddrs", "opendir /proc/net/bonding"}));
}

TEST_F(copied_address, is_made_for_the_caller_and_for_the_record_with_the_name)
{
    kernel.listed = {{"eth0"}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(kernel.made_as({"strdup "}),
              (texts{"strdup 02:00:00:00:00:01", "strdup 00:1a:2b:3c:4d:5e", "strdup eth0",
                     "strdup 02:00:00:00:00:01", "strdup 00:1a:2b:3c:4d:5e",
                     "strdup 00:1a:2b:3c:4d:5e"}));
}

TEST_F(copied_address, is_made_when_its_socket_is_closed)
{
    kernel.listed = {{"eth0"}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    texts calls = kernel.made_as({"socket ", "close", "strdup "});
    calls.resize(6); // the record follows
    EXPECT_EQ(calls, (texts{"socket 2 2 0", "close", "strdup 02:00:00:00:00:01", "socket 2 2 0",
                            "close", "strdup 00:1a:2b:3c:4d:5e"}));
}

// Requests.

TEST_F(asked_interface, is_asked_for_its_current_address_in_an_otherwise_zeroed_request)
{
    kernel.listed = {{"eth0"}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    ifreq expected = {};
    std::memcpy(expected.ifr_name, "eth0", 4);
    expected.ifr_addr.sa_family = AF_INET;
    ASSERT_EQ(kernel.requests.size(), 3U);
    EXPECT_EQ(kernel.requests[0].number, 0x8927U);
    EXPECT_EQ(bytes_of(&kernel.requests[0].asked, sizeof(ifreq)),
              bytes_of(&expected, sizeof expected));
}

TEST_F(asked_interface, is_asked_for_its_permanent_address_with_zeroed_room_for_six_bytes)
{
    kernel.listed = {{"eth0"}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    ASSERT_EQ(kernel.requests.size(), 3U);
    EXPECT_EQ(kernel.requests[2].number, 0x8946U);
    EXPECT_EQ(kernel.requests[2].ethtool.command, 32U);
    EXPECT_EQ(kernel.requests[2].ethtool.size, 6U);
    EXPECT_EQ(kernel.requests[2].ethtool.room, (network_kernel::address{0, 0, 0, 0, 0, 0}));
}

namespace {

struct long_name : named_case {
    std::string interface;
    std::string field; // without what fills it up
};

const long_name long_names[] = {
    {"of_one_character_behind_the_prefix", "em1", "em1"},
    {"of_14_characters", "enp0s20f0u10u1", "enp0s20f0u10u1"},
    {"of_15_characters", "enx001a2b3c4d5e", "enx001a2b3c4d5e"},
    {"of_16_characters", "enx001a2b3c4d5ef", "enx001a2b3c4d5e"},
    {"of_17_characters", "enx001a2b3c4d5eff", "enx001a2b3c4d5e"},
    {"of_200_characters", "eth" + std::string(197, '7'), "eth777777777777"},
    {"like_a_format", "en%s%n%d", "en%s%n%d"},
    {"with_bytes_above_0x7f", "en\xc3\xa9\xff\x80", "en\xc3\xa9\xff\x80"},
    {"with_shell_syntax", "en;$(x)`y`&|*\"", "en;$(x)`y`&|*\""},
};

class name_in_a_request : public asked_interface, public testing::WithParamInterface<long_name> {
protected:
    [[nodiscard]] std::vector<std::string> name_fields()
    {
        kernel.listed = {{GetParam().interface.c_str()}};
        EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
        std::vector<std::string> fields;
        for (const network_kernel::request &request : kernel.requests)
            fields.push_back(name_field(request.asked));
        return fields;
    }
};

} // namespace

TEST_P(name_in_a_request, is_cut_at_15_characters_and_always_terminated)
{
    std::string field = GetParam().field;
    field.resize(16, '\0');
    EXPECT_EQ(name_fields(), std::vector<std::string>(3, field));
}

TEST_P(name_in_a_request, stands_whole_in_the_trace)
{
    kernel.listed = {{GetParam().interface.c_str()}};
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace().at(0),
              "found network interface device: " + GetParam().interface + ", ignoreMountUSB: true");
}

INSTANTIATE_TEST_SUITE_P(network, name_in_a_request, testing::ValuesIn(long_names));

// The text of an address.

namespace {

struct address_text : named_case {
    network_kernel::address bytes;
    std::string text;
};

const address_text address_texts[] = {
    {"zeros", {0, 0, 0, 0, 0, 0}, "00:00:00:00:00:00"},
    {"single_digits", {0, 1, 2, 3, 4, 5}, "00:01:02:03:04:05"},
    {"letters", {0xab, 0xcd, 0xef, 0xfe, 0xdc, 0xba}, "ab:cd:ef:fe:dc:ba"},
    {"a_letter_in_each_half", {0x0a, 0xb0, 0x0c, 0xd0, 0x0e, 0xf0}, "0a:b0:0c:d0:0e:f0"},
    {"sign_bits", {0x7f, 0x80, 0x81, 0xff, 0x7f, 0x80}, "7f:80:81:ff:7f:80"},
    {"ones", {0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, "ff:ff:ff:ff:ff:ff"},
    {"blanks_and_line_ends", {' ', '\t', '\n', '\r', '%', 's'}, "20:09:0a:0d:25:73"},
};

class printed_address : public asked_interface, public testing::WithParamInterface<address_text> {};

} // namespace

TEST_P(printed_address, that_is_permanent_is_told_in_lower_case_pairs_of_digits)
{
    kernel.listed = {{"eth0"}};
    kernel.permanent = GetParam().bytes;
    EXPECT_EQ(max_mac(), GetParam().text);
    EXPECT_EQ(machine.trace().at(1),
              "mac: <02:00:00:00:00:01>,  permanent_mac: <" + GetParam().text + ">.");
}

TEST_P(printed_address, that_is_current_is_traced_in_lower_case_pairs_of_digits)
{
    kernel.listed = {{"eth0"}};
    kernel.current = GetParam().bytes;
    EXPECT_EQ(max_mac(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace().at(1),
              "mac: <" + GetParam().text + ">,  permanent_mac: <00:1a:2b:3c:4d:5e>.");
}

INSTANTIATE_TEST_SUITE_P(network, printed_address, testing::ValuesIn(address_texts));

TEST_F(asked_interface, has_zeros_for_a_permanent_address_that_the_driver_leaves_out)
{
    kernel.listed = {{"eth0"}};
    interpose::ioctl = [](int, unsigned long, void *) { return 0; };
    EXPECT_EQ(max_mac(), "00:00:00:00:00:00");
    EXPECT_EQ(machine.trace(), (texts{"found network interface device: eth0, ignoreMountUSB: true",
                                      "mac: <00:00:00:00:00:00>,  permanent_mac: "
                                      "<00:00:00:00:00:00>."}));
}

// Failures.

namespace {

struct failing_step : named_case {
    int step;
    int error;
    std::string answer;
    texts calls; // from the first socket on
};

const failing_step failing_steps[] = {
    {"no_socket_for_the_current_address", 1, EMFILE, "(no text)", {"socket 2 2 0"}},
    {"no_current_address",
     2,
     EADDRNOTAVAIL,
     "(no text)",
     {"socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "close"}},
    {"no_socket_for_the_permanent_address",
     3,
     EMFILE,
     "02:00:00:00:00:01",
     {"socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "close", "socket 2 2 0",
      "trace no permanent mac!",
      "trace mac: <02:00:00:00:00:01>,  permanent_mac: <02:00:00:00:00:01>."}},
    {"an_interface_that_is_gone",
     4,
     ENODEV,
     "02:00:00:00:00:01",
     {"socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "close", "socket 2 2 0",
      "ioctl SIOCGIFHWADDR eth0", "trace Set device name error: No such device.", "close",
      "trace no permanent mac!",
      "trace mac: <02:00:00:00:00:01>,  permanent_mac: <02:00:00:00:00:01>."}},
    {"a_driver_that_does_not_tell",
     5,
     EOPNOTSUPP,
     "00:00:00:00:00:00",
     {"socket 2 2 0", "ioctl SIOCGIFHWADDR eth0", "close", "socket 2 2 0",
      "ioctl SIOCGIFHWADDR eth0", "ioctl SIOCETHTOOL eth0", "trace Could not read permanent MAC.",
      "close", "trace mac: <02:00:00:00:00:01>,  permanent_mac: <00:00:00:00:00:00>."}},
};

class interface_with : public asked_interface, public testing::WithParamInterface<failing_step> {};

} // namespace

TEST_P(interface_with, is_asked_no_further_than_the_failure)
{
    kernel.listed = {{"eth0"}};
    kernel.fail(GetParam().step, GetParam().error);
    EXPECT_EQ(max_mac(), GetParam().answer);
    EXPECT_EQ(
        kernel.made(),
        (texts{"getifaddrs", "trace found network interface device: eth0, ignoreMountUSB: true",
               "opendir /sys/bus/usb/devices/"} +
         GetParam().calls + texts{"freeifaddrs", "opendir /proc/net/bonding"}));
}

TEST_P(interface_with, leaves_closed_standard_descriptors_closed)
{
    kernel.listed = {{"eth0"}};
    kernel.fail(GetParam().step, GetParam().error);
    std::string told;
    EXPECT_EQ(left_open({0, 1, 2}, [&told] { told = max_mac(); }), std::vector<int>{});
    EXPECT_EQ(told, GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(network, interface_with, testing::ValuesIn(failing_steps));

TEST_F(asked_interface, has_no_current_address_where_the_request_gives_anything_but_zero)
{
    kernel.listed = {{"eth0"}};
    interpose::ioctl = [](int, unsigned long, void *) { return 1; };
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(machine.trace(), texts{"found network interface device: eth0, ignoreMountUSB: true"});
}

namespace {

struct system_error : named_case {
    int number;
    std::string text;
};

const system_error system_errors[] = {
    {"eperm", EPERM, "Operation not permitted"},   {"eio", EIO, "Input/output error"},
    {"enxio", ENXIO, "No such device or address"}, {"enodev", ENODEV, "No such device"},
    {"unknown", 4000, "Unknown error 4000"},
};

class failure_reason : public asked_interface, public testing::WithParamInterface<system_error> {};

} // namespace

TEST_P(failure_reason, is_traced_where_the_interface_cannot_be_found_again)
{
    kernel.listed = {{"eth0"}};
    kernel.fail(4, GetParam().number);
    EXPECT_EQ(max_mac(), "02:00:00:00:00:01");
    EXPECT_EQ(machine.trace().at(1), "Set device name error: " + GetParam().text + ".");
}

INSTANTIATE_TEST_SUITE_P(network, failure_reason, testing::ValuesIn(system_errors));
