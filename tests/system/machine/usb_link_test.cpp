// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How readlink is asked where an interface's device is, whatever the interface is called.
#include "network_machine.h"
#include "orvane.h"

#include <string_view>

namespace {

constexpr char address[] = "00:1a:2b:3c:4d:5e";
constexpr char readlink_tool[] = "/bin/readlink";
constexpr char onboard[] = "/sys/devices/pci0000:00/0000:00:1f.6";

// What was asked about the device of the one interface.
class usb_link : public network_machine {
protected:
    static owned_text asked() { return owned_text(orvane_get_network_interface_max_mac()); }

    void furnish() override
    {
        network_machine::furnish();
        machine.directory("/srv/here"); // a name that became a command would write there
        interpose::lstat = [this](const char *path, struct stat *status) {
            link = path;
            return interpose::lstat.real(path, status);
        };
        interpose::popen = [this](const char *line, const char *mode) {
            command = line;
            return interpose::popen.real(line, mode);
        };
    }

    // For names that no file can have.
    void let_every_device_be_a_link()
    {
        interpose::lstat = [this](const char *path, struct stat *status) {
            link = path;
            *status = {};
            status->st_mode = S_IFLNK | 0777;
            return 0;
        };
    }

    std::string link;
    std::string command;
};

struct odd_name : named_case {
    const char *interface;
    const char *link;
    const char *command;
};

const odd_name odd_names[] = {
    {"a_plain_name", "enp3s0", "/sys/class/net/enp3s0/device",
     "readlink -f -z '/sys/class/net/enp3s0/device'"},
    {"a_blank", "eth x", "/sys/class/net/eth x/device",
     "readlink -f -z '/sys/class/net/eth x/device'"},
    {"a_blank_last", "eth ", "/sys/class/net/eth /device",
     "readlink -f -z '/sys/class/net/eth /device'"},
    {"a_quote", "eth'x", "/sys/class/net/eth'x/device",
     "readlink -f -z '/sys/class/net/eth'\\''x/device'"},
    {"a_command_between_quotes", "eth';>/srv/x;'", "/sys/class/net/eth';>/srv/x;'/device",
     "readlink -f -z '/sys/class/net/eth'\\'';>/srv/x;'\\''/device'"},
    {"a_double_quote", "eth\"x", "/sys/class/net/eth\"x/device",
     "readlink -f -z '/sys/class/net/eth\"x/device'"},
    {"a_command", "eth$(>/srv/x)", "/sys/class/net/eth$(>/srv/x)/device",
     "readlink -f -z '/sys/class/net/eth$(>/srv/x)/device'"},
    {"a_command_between_back_quotes", "eth`>/srv/x`", "/sys/class/net/eth`>/srv/x`/device",
     "readlink -f -z '/sys/class/net/eth`>/srv/x`/device'"},
    {"a_variable", "eth$HOME", "/sys/class/net/eth$HOME/device",
     "readlink -f -z '/sys/class/net/eth$HOME/device'"},
    {"a_backslash", "eth\\n\\", "/sys/class/net/eth\\n\\/device",
     "readlink -f -z '/sys/class/net/eth\\n\\/device'"},
    {"a_newline", "eth\nx", "/sys/class/net/eth\nx/device",
     "readlink -f -z '/sys/class/net/eth\nx/device'"},
    {"a_slash", "eth/x", "/sys/class/net/eth/x/device",
     "readlink -f -z '/sys/class/net/eth/x/device'"},
    {"a_format", "eth%s%n", "/sys/class/net/eth%s%n/device",
     "readlink -f -z '/sys/class/net/eth%s%n/device'"},
    {"a_pattern", "eth*", "/sys/class/net/eth*/device",
     "readlink -f -z '/sys/class/net/eth*/device'"},
    {"bytes_beyond_ascii", "eth\x80\xc3\xa9\xff", "/sys/class/net/eth\x80\xc3\xa9\xff/device",
     "readlink -f -z '/sys/class/net/eth\x80\xc3\xa9\xff/device'"},
};

class usb_link_with : public usb_link, public testing::WithParamInterface<odd_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, usb_link_with, testing::ValuesIn(odd_names));

TEST_P(usb_link_with, reaches_readlink_as_one_literal_path)
{
    plug({GetParam().interface, address, address});
    machine.tool(readlink_tool, std::string_view("/sys/devices/virtio0\0", 21));
    EXPECT_EQ(asked().value(), address);

    EXPECT_EQ(link, GetParam().link);
    EXPECT_EQ(command, GetParam().command);
    ASSERT_EQ(machine.runs(readlink_tool).size(), 1U);
    texts arguments = machine.runs(readlink_tool).front().arguments;
    arguments.erase(arguments.begin()); // how the shell found it
    EXPECT_EQ(arguments, (texts{"-f", "-z", GetParam().link}));
    EXPECT_FALSE(std::filesystem::exists("/srv/x"));
}

TEST_P(usb_link_with, leads_to_the_device)
{
    plug({GetParam().interface, address, address});
    plug_into_usb({GetParam().interface + std::string("1"), "f4:8e:38:00:00:01", {}});
    EXPECT_EQ(asked().value(), address);
}

TEST_P(usb_link_with, leads_to_a_device_on_the_usb_bus)
{
    plug_into_usb({GetParam().interface, address, address});
    EXPECT_TRUE(asked().is_null());
}

// Long names.

TEST_F(usb_link, is_asked_about_by_all_of_200_characters)
{
    const std::string name = "eth" + std::string(197, 'n');
    cards.push_back({name, address, address});
    machine.directory(onboard);
    machine.link("/sys/class/net/" + name + "/device", onboard);
    machine.tool(readlink_tool, std::string_view("/sys/devices/virtio0\0", 21));
    // The kernel is asked by fifteen characters of the name, and knows no such interface.
    EXPECT_TRUE(asked().is_null());

    EXPECT_EQ(command, "readlink -f -z '/sys/class/net/" + name + "/device'");
    ASSERT_EQ(machine.runs(readlink_tool).size(), 1U);
    EXPECT_EQ(machine.runs(readlink_tool).front().arguments.back(),
              "/sys/class/net/" + name + "/device");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: " + name + ", ignoreMountUSB: true"}));
}

TEST_F(usb_link, is_missing_for_a_name_too_long_for_a_file)
{
    const std::string name = "eth" + std::string(253, 'n');
    cards.push_back({name, address, address});
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(link, "/sys/class/net/" + name + "/device");
    EXPECT_EQ(command, "");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: " + name + ", ignoreMountUSB: true",
                     "get stat error", "<" + name + "> mounted on the usb bus, ignore."}));
}

namespace {

struct long_name : named_case {
    std::size_t length;
    std::size_t kept;
    const char *behind;
};

class usb_link_of_a_name : public usb_link, public testing::WithParamInterface<long_name> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(around_a_path_of_1023_bytes, usb_link_of_a_name,
                         testing::Values(long_name{"of_1000_characters", 1000, 1000, "/device"},
                                         long_name{"of_1001_characters", 1001, 1001, "/device"},
                                         long_name{"of_1002_characters", 1002, 1002, "/devic"},
                                         long_name{"of_1007_characters", 1007, 1007, "/"},
                                         long_name{"of_1008_characters", 1008, 1008, ""},
                                         long_name{"of_1009_characters", 1009, 1008, ""},
                                         long_name{"of_2000_characters", 2000, 1008, ""}));

TEST_P(usb_link_of_a_name, is_cut_before_it_is_quoted)
{
    cards.push_back({"eth" + std::string(GetParam().length - 3, 'n'), address, address});
    let_every_device_be_a_link();
    EXPECT_TRUE(asked().is_null());
    const std::string path =
        "/sys/class/net/eth" + std::string(GetParam().kept - 3, 'n') + GetParam().behind;
    EXPECT_EQ(link, path);
    EXPECT_EQ(command, "readlink -f -z '" + path + "'");
}

TEST_F(usb_link, of_nothing_but_quotes_is_not_cut_in_the_command)
{
    cards.push_back({"eth" + std::string(2000, '\''), address, address});
    let_every_device_be_a_link();
    EXPECT_TRUE(asked().is_null());
    std::string quotes;
    for (int count = 0; count < 1005; ++count)
        quotes += "'\\''";
    EXPECT_EQ(command, "readlink -f -z '/sys/class/net/eth" + quotes + "'");
}
