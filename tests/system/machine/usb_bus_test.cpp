// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which interfaces are left out because they sit on the USB bus.
#include "network_machine.h"
#include "no_processes.h"
#include "trace_lines.h"

#include <regex>
#include <string>

#include <unistd.h>

using namespace std::string_literals;

namespace {

constexpr char usb_devices[] = "/sys/bus/usb/devices";
constexpr char device_link[] = "/sys/class/net/eth0/device";
constexpr char readlink_tool[] = "/bin/readlink";
constexpr char address[] = "00:1a:2b:3c:4d:5e";

const texts taken = {trace_line::found("eth0"), trace_line::addresses(address, address)};
const texts left_out = {trace_line::found("eth0"), trace_line::on_usb_bus("eth0")};
texts left_out_after(const char *reason)
{
    return {trace_line::found("eth0"), reason, trace_line::on_usb_bus("eth0")};
}

class usb_bus : public network_machine {
protected:
    void furnish() override
    {
        network_machine::furnish();
        plug({"eth0", address, address});
    }

    void expect_eth0_is(const texts &trace) const
    {
        EXPECT_EQ(max_mac(), trace == taken ? address : "(no text)");
        expect_trace(trace);
    }
};

struct seat : named_case {
    texts trace;
    void (*arrange)(constructed_machine &machine);
};

const seat seats[] = {
    {"onboard", taken, [](constructed_machine &) {}},
    {"on_the_bus", left_out,
     [](constructed_machine &machine) { machine.link(device_link, "/sys/devices/1-1"); }},
    {"behind_other_links", left_out,
     [](constructed_machine &machine) {
         machine.directory("/sys/devices/pci0000:00/usb1/1-1/1-1:1.0");
         machine.link("/sys/devices/virtual", "pci0000:00/usb1");
         machine.link(device_link, "../../../devices/virtual/1-1/../1-1/1-1:1.0");
     }},

    // Buses.
    {"without_a_bus", taken,
     [](constructed_machine &machine) {
         machine.remove(usb_devices);
         machine.link(device_link, "/sys/devices/1-1");
     }},
    {"without_a_bus_or_a_device", taken,
     [](constructed_machine &machine) {
         machine.remove(usb_devices);
         machine.remove(device_link);
     }},
    {"on_a_bus_that_is_a_file", taken,
     [](constructed_machine &machine) {
         machine.file(usb_devices, "");
         machine.link(device_link, "/sys/devices/1-1");
     }},
    {"on_an_empty_bus", taken,
     [](constructed_machine &machine) {
         machine.directory(usb_devices);
         machine.link(device_link, "/sys/devices/1-1");
     }},
    {"without_a_device_and_the_bus_empty", left_out_after(trace_line::no_device),
     [](constructed_machine &machine) {
         machine.directory(usb_devices);
         machine.remove(device_link);
     }},

    // Links.
    {"without_a_device", left_out_after(trace_line::no_device),
     [](constructed_machine &machine) { machine.remove(device_link); }},
    {"unknown_to_sysfs", left_out_after(trace_line::no_device),
     [](constructed_machine &machine) { machine.remove("/sys/class/net/eth0"); }},
    {"whose_device_is_a_directory", left_out_after(trace_line::device_is_no_link),
     [](constructed_machine &machine) { machine.directory(device_link); }},
    {"whose_device_is_a_file", left_out_after(trace_line::device_is_no_link),
     [](constructed_machine &machine) { machine.file(device_link, "1-1"); }},
    {"whose_link_leads_nowhere", left_out_after(trace_line::device_has_no_name),
     [](constructed_machine &machine) { machine.link(device_link, "/nowhere/at/all"); }},
    {"whose_link_leads_to_the_root", left_out_after(trace_line::device_has_no_name),
     [](constructed_machine &machine) { machine.link(device_link, "/"); }},
    {"whose_link_leads_to_itself", left_out_after(trace_line::device_has_no_name),
     [](constructed_machine &machine) { machine.link(device_link, "device"); }},

    // readlink.
    {"whatever_the_status_of_readlink", taken,
     [](constructed_machine &machine) {
         machine.script(readlink_tool, "printf '/sys/devices/virtio0\\0'; exit 1");
     }},
};

class usb_bus_of_an_interface : public usb_bus, public testing::WithParamInterface<seat> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, usb_bus_of_an_interface, testing::ValuesIn(seats));

TEST_P(usb_bus_of_an_interface, is_found_in_sysfs)
{
    GetParam().arrange(machine);
    expect_eth0_is(GetParam().trace);
}

TEST_F(usb_bus, that_may_not_be_listed_holds_nothing)
{
    machine.link(device_link, "/sys/devices/1-1");
    machine.directory(usb_devices, 0);
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const other_user caller;
    expect_eth0_is(taken);
}

TEST_F(usb_bus, holds_an_interface_where_no_process_can_be_started)
{
    machine.file("/var/log/orvane/liborvane.log", "", 0666);
    const no_processes caller;
    expect_eth0_is(left_out_after(trace_line::readlink_not_started));
}

TEST_F(usb_bus, holds_an_interface_where_readlink_is_missing)
{
    machine.remove(readlink_tool);
    EXPECT_NE(standard_error_of([this] {
                  expect_eth0_is(left_out_after(trace_line::device_has_no_name));
              }).find("readlink"),
              std::string::npos);
}

// The path that readlink prints, beside the names on the bus.

namespace {

struct printed_path : named_case {
    std::string printed;
    const char *answer;
    texts on_the_bus = {"usb1", "1-1", "1-1:1.0", "virtio10"};
};

std::string long_path(std::size_t directory_bytes, const char *device)
{
    return "/" + std::string(directory_bytes - 2, 'd') + "/" + device + '\0';
}

constexpr char none[] = "(no text)";

const printed_path printed_paths[] = {
    {"nothing", "", none},
    {"an_empty_path", "\0"s, none},
    {"a_slash_last", "/sys/virtio0/\0"s, none},
    {"without_a_zero_byte", "/sys/usb1/1-1", none},
    {"without_a_directory", "1-1\0"s, none},
    {"up_to_its_zero_byte", "/sys/usb1/1-1\0/virtio0\0"s, none},
    {"with_a_newline_last", "/sys/usb1/1-1\n", address},
    {"with_a_newline_inside", "/sys/virtio0\n/1-1\0"s, address},
    {"beyond_ascii", "/sys/\xff\0"s, none, {"\xff"}},
    {"of_1023_bytes", long_path(1019, "1-1x"), address},
    {"of_1024_bytes_without_the_last", long_path(1020, "1-1x"), none},
    {"of_1027_bytes_up_to_its_last_slash", long_path(1023, "1-1x"), none},
    {"of_5000_bytes", long_path(4997, "1-1"), address},

    {"that_is_on_the_bus", "/sys/1-1:1.0\0"s, none, {"1-1:1.0"}},
    {"whose_directory_is_on_the_bus", "/sys/usb1/1-1/virtio0\0"s, address},
    {"whose_name_begins_another", "/sys/1-1\0"s, none, {"1-1:1.0"}},
    {"whose_number_begins_another", "/sys/virtio1\0"s, none, {"virtio10"}},
    {"whose_name_another_begins", "/sys/1-1:1.0\0"s, address, {"1-1", "usb1"}},
    {"whose_name_ends_another", "/sys/1-1\0"s, address, {"2-1-1", "x1-1"}},
    {"in_another_case", "/sys/USB1\0"s, address, {"usb1"}},
    {"among_others", "/sys/b\0"s, none, {"a", "b", "c", "d"}},
    {"called_dot", "/sys/.\0"s, address},
    {"called_dot_dot", "/sys/..\0"s, address},
    {"called_dot_beside_a_hidden_one", "/sys/.\0"s, none, {".usb1"}},
    {"called_dot_dot_beside_a_hidden_one", "/sys/..\0"s, none, {"..."}},
};

class usb_bus_by_a_path : public usb_bus, public testing::WithParamInterface<printed_path> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, usb_bus_by_a_path, testing::ValuesIn(printed_paths));

TEST_P(usb_bus_by_a_path, is_known_by_the_last_name)
{
    machine.directory(usb_devices);
    for (const std::string &name : GetParam().on_the_bus)
        machine.directory(usb_devices + ("/" + name));
    machine.tool(readlink_tool, GetParam().printed);
    EXPECT_EQ(max_mac(), GetParam().answer);
}

// How readlink is run, whatever the interface is called.

namespace {

struct odd_name : named_case {
    std::string interface;
    std::string link;
    std::string command;
};

// Names of some length, which only slashes let a file system hold.
std::string long_name(std::size_t size, char character)
{
    std::string name = "eth";
    while (name.size() < size)
        name += name.size() % 150 == 0 ? '/' : character;
    return name;
}

odd_name of_length(const char *name, std::size_t size, const char *behind)
{
    const std::string link =
        "/sys/class/net/" + long_name(std::min<std::size_t>(size, 1008), 'n') + behind;
    return {name, long_name(size, 'n'), link, "readlink -f -z '" + link + "'"};
}

odd_name of_quotes()
{
    const std::string link = "/sys/class/net/" + long_name(1008, '\'');
    const std::string quoted = std::regex_replace(link, std::regex("'"), "'\\''");
    return {"of_2000_quotes", long_name(2000, '\''), link, "readlink -f -z '" + quoted + "'"};
}

const odd_name odd_names[] = {
    {"plain", "enp3s0", "/sys/class/net/enp3s0/device",
     "readlink -f -z '/sys/class/net/enp3s0/device'"},
    {"with_a_blank", "eth x ", "/sys/class/net/eth x /device",
     "readlink -f -z '/sys/class/net/eth x /device'"},
    {"with_a_quote", "eth'x", "/sys/class/net/eth'x/device",
     "readlink -f -z '/sys/class/net/eth'\\''x/device'"},
    {"with_a_command_between_quotes", "eth';>x;'", "/sys/class/net/eth';>x;'/device",
     "readlink -f -z '/sys/class/net/eth'\\'';>x;'\\''/device'"},
    {"with_a_double_quote", "eth\"x", "/sys/class/net/eth\"x/device",
     "readlink -f -z '/sys/class/net/eth\"x/device'"},
    {"with_commands", "eth$(>x)`>x`", "/sys/class/net/eth$(>x)`>x`/device",
     "readlink -f -z '/sys/class/net/eth$(>x)`>x`/device'"},
    {"with_a_variable", "eth$HOME", "/sys/class/net/eth$HOME/device",
     "readlink -f -z '/sys/class/net/eth$HOME/device'"},
    {"with_backslashes", "eth\\n\\", "/sys/class/net/eth\\n\\/device",
     "readlink -f -z '/sys/class/net/eth\\n\\/device'"},
    {"with_a_newline", "eth\nx", "/sys/class/net/eth\nx/device",
     "readlink -f -z '/sys/class/net/eth\nx/device'"},
    {"with_a_slash", "eth/x", "/sys/class/net/eth/x/device",
     "readlink -f -z '/sys/class/net/eth/x/device'"},
    {"like_a_format", "eth%s%n", "/sys/class/net/eth%s%n/device",
     "readlink -f -z '/sys/class/net/eth%s%n/device'"},
    {"like_a_pattern", "eth*", "/sys/class/net/eth*/device",
     "readlink -f -z '/sys/class/net/eth*/device'"},
    {"beyond_ascii", "eth\x80\xc3\xa9\xff", "/sys/class/net/eth\x80\xc3\xa9\xff/device",
     "readlink -f -z '/sys/class/net/eth\x80\xc3\xa9\xff/device'"},
    of_length("of_1001_characters", 1001, "/device"),
    of_length("of_1002_characters", 1002, "/devic"),
    of_length("of_1008_characters", 1008, ""),
    of_length("of_2000_characters", 2000, ""),
    of_quotes(),
};

class usb_bus_of_a_name : public network_machine, public testing::WithParamInterface<odd_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, usb_bus_of_a_name, testing::ValuesIn(odd_names));

TEST_P(usb_bus_of_a_name, is_looked_up_with_one_literal_path_of_at_most_1023_bytes)
{
    kernel.add({GetParam().interface, address, address}, {AF_PACKET});
    machine.link(GetParam().link, onboard);
    machine.tool(readlink_tool, "/sys/devices/virtio0\0"s);
    machine.watch_shell();
    ASSERT_EQ(::chdir(machine.scratch("").c_str()), 0); // a name taken for a command writes here
    EXPECT_EQ(max_mac(), address);
    EXPECT_EQ(machine.shell_commands(), texts{GetParam().command});
    ASSERT_EQ(machine.runs(readlink_tool).size(), 1U);
    texts words = machine.runs(readlink_tool).front().arguments;
    words.erase(words.begin()); // how the shell found it
    EXPECT_EQ(words, (texts{"-f", "-z", GetParam().link}));
}

TEST_F(usb_bus, holds_an_interface_whose_name_is_too_long_for_a_file)
{
    const std::string name = "eth" + std::string(253, 'n');
    kernel.entries.clear();
    kernel.add({name, address, address}, {AF_PACKET});
    machine.watch_shell();
    EXPECT_EQ(max_mac(), "(no text)");
    EXPECT_EQ(machine.shell_commands(), texts{});
}
