// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What readlink prints of an interface's device, beside the devices on the USB bus.
#include "usb_machine.h"

using namespace std::string_literals;

namespace {

struct printed_path : named_case {
    std::string printed;
    texts trace;
    texts usb_devices = {"usb1", "1-1", "1-1:1.0", "virtio10"};
};

class usb_bus_by_the_path : public usb_machine, public testing::WithParamInterface<printed_path> {};

} // namespace

TEST_P(usb_bus_by_the_path, is_told_in_the_trace)
{
    plug(eth0);
    list_usb_devices(GetParam().usb_devices);
    let_readlink_print({GetParam().printed});
    EXPECT_EQ(traced(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    printed, usb_bus_by_the_path,
    testing::Values(
        printed_path{"nothing", "\0"s, ignored_after("get basename error")},
        printed_path{"the_root", "/\0"s, ignored_after("get basename error")},
        printed_path{"a_slash_last", "/sys/virtio0/\0"s, ignored_after("get basename error")},
        printed_path{"without_a_zero_byte", "/sys/usb1/1-1", ignored_trace},
        printed_path{"without_a_directory", "1-1\0"s, ignored_trace},
        printed_path{"no_device_of_the_bus", "/sys/usb1/1-1/virtio0\0"s, taken_trace},
        printed_path{"up_to_its_zero_byte", "/sys/usb1/1-1\0/virtio0\0"s, ignored_trace},
        printed_path{"with_a_newline_last", "/sys/usb1/1-1\n", taken_trace},
        printed_path{"with_a_newline_inside", "/sys/virtio0\n/1-1\0"s, taken_trace},
        printed_path{"with_a_newline_in_a_directory", "/usb1/1-1/\n/1-1\0"s, taken_trace},
        printed_path{"beyond_ascii", "/sys/\xff\0"s, ignored_trace, {"\xff"}}));

INSTANTIATE_TEST_SUITE_P(
    of_a_device, usb_bus_by_the_path,
    testing::Values(
        printed_path{"that_is_on_it", "/sys/1-1:1.0\0"s, ignored_trace, {"1-1:1.0"}},
        printed_path{"whose_name_begins_another", "/sys/1-1\0"s, ignored_trace, {"1-1:1.0"}},
        printed_path{"whose_number_begins_another", "/sys/virtio1\0"s, ignored_trace, {"virtio10"}},
        printed_path{"whose_name_another_begins", "/sys/1-1:1.0\0"s, taken_trace, {"1-1", "usb1"}},
        printed_path{"whose_number_another_begins", "/sys/virtio10\0"s, taken_trace, {"virtio1"}},
        printed_path{"whose_name_ends_another", "/sys/1-1\0"s, taken_trace, {"2-1-1", "x1-1"}},
        printed_path{"whose_name_another_has_inside", "/sys/1\0"s, taken_trace, {"usb1", "2-1"}},
        printed_path{"in_another_case", "/sys/USB1\0"s, taken_trace, {"usb1"}},
        printed_path{"among_others", "/sys/b\0"s, ignored_trace, {"a", "b", "c", "d"}},
        printed_path{"on_an_empty_bus", "/sys/1-1\0"s, taken_trace, {}},
        printed_path{"called_dot", "/sys/.\0"s, taken_trace},
        printed_path{"called_dot_dot", "/sys/..\0"s, taken_trace},
        printed_path{"called_dot_beside_a_hidden_one", "/sys/.\0"s, ignored_trace, {".usb1"}},
        printed_path{"called_dot_dot_beside_a_hidden_one", "/sys/..\0"s, ignored_trace, {"..."}}));

namespace {

struct long_path : named_case {
    std::size_t directory; // its length
    const char *device;
    texts trace;
};

class usb_bus_by_a_path : public usb_machine, public testing::WithParamInterface<long_path> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(cut_at_1023, usb_bus_by_a_path,
                         testing::Values(long_path{"of_1022", 1017, "1-1x", taken_trace},
                                         long_path{"of_1023", 1018, "1-1x", taken_trace},
                                         long_path{"of_1024", 1019, "1-1x", ignored_trace},
                                         long_path{"of_1027", 1022, "1-1x",
                                                   ignored_after("get basename error")},
                                         long_path{"of_5000", 4996, "1-1", taken_trace}));

TEST_P(usb_bus_by_a_path, of_at_most_1023_bytes)
{
    plug(eth0);
    const std::string path = "/" + std::string(GetParam().directory - 1, 'd') + "/";
    let_readlink_print({path + GetParam().device + "\0"s});
    EXPECT_EQ(traced(), GetParam().trace);
}
