// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device_calls.h"
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr char smartctl[] = "/usr/sbin/smartctl";
constexpr char ordinary_report[] = "Device Model: DISK 1\nSerial Number: SN 2\n";

class smartctl_query : public on_machine {
protected:
    void furnish() override { machine.block_device("/dev/sda"); }

    [[nodiscard]] static owned_text asked(const char *device = "/dev/sda")
    {
        return owned_text(harddisk_id_smartctl(device));
    }

    [[nodiscard]] texts tool_arguments() const { return machine.runs(smartctl).at(0).arguments; }

    void expect_no_run_for(const char *device)
    {
        machine.tool(smartctl, ordinary_report);
        EXPECT_TRUE(asked(device).is_null());
        EXPECT_TRUE(machine.runs(smartctl).empty());
        EXPECT_EQ(machine.trace(), texts{});
    }
};

} // namespace

TEST_F(smartctl_query, joins_model_and_serial_number_without_blanks)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked().value(), "DISK1_SN2");
    EXPECT_EQ(machine.trace(), texts{});
}

// The command.

TEST_F(smartctl_query, runs_smartctl_for_the_information_section_of_the_device)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked().value(), "DISK1_SN2");
    EXPECT_EQ(machine.runs(smartctl).size(), 1U);
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", "/dev/sda"}));
}

TEST_F(smartctl_query, hands_the_command_line_to_the_shell)
{
    machine.tool(smartctl, "");
    EXPECT_EQ(command_of([] { EXPECT_TRUE(asked().is_null()); }), "/usr/sbin/smartctl -i /dev/sda");
}

TEST_F(smartctl_query, names_the_device_that_a_link_leads_to)
{
    machine.link("/dev/disk/by-id/ata-DISK_1", "../../sda");
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked("/dev/disk/by-id/ata-DISK_1").value(), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", "/dev/sda"}));
}

TEST_F(smartctl_query, names_the_device_without_detours)
{
    machine.directory("/dev/mapper");
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked("/dev//mapper/.././sda").value(), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", "/dev/sda"}));
}

namespace {

struct device_name : named_case {
    std::string path;
    std::string command;
};

const device_name device_names[] = {
    {"blanks", "/dev/a b  c", "/usr/sbin/smartctl -i '/dev/a b  c'"},
    {"a_percent_sign", "/dev/%s%n%d", "/usr/sbin/smartctl -i '/dev/%s%n%d'"},
    {"quotes", "/dev/it's \"so\"", "/usr/sbin/smartctl -i '/dev/it'\\''s \"so\"'"},
    {"a_command_behind", "/dev/a; touch b", "/usr/sbin/smartctl -i '/dev/a; touch b'"},
    {"a_command_inside", "/dev/$(pwd)`pwd`$HOME", "/usr/sbin/smartctl -i '/dev/$(pwd)`pwd`$HOME'"},
    {"a_pattern", "/dev/sd*", "/usr/sbin/smartctl -i '/dev/sd*'"},
    {"a_line_end", "/dev/a\nb", "/usr/sbin/smartctl -i '/dev/a\nb'"},
    {"other_bytes", "/dev/\xe9\xff", "/usr/sbin/smartctl -i '/dev/\xe9\xff'"},
    {"every_plain_kind", "/dev/aZ09_-.:+@,=", "/usr/sbin/smartctl -i /dev/aZ09_-.:+@,="},
};

class smartctl_for_a_name_with : public smartctl_query,
                                 public testing::WithParamInterface<device_name> {
    void furnish() override { machine.block_device(GetParam().path); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(disk, smartctl_for_a_name_with, testing::ValuesIn(device_names));

TEST_P(smartctl_for_a_name_with, gets_it_as_one_literal_word)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked(GetParam().path.c_str()).value(), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", GetParam().path}));
}

TEST_P(smartctl_for_a_name_with, is_run_by_this_command_line)
{
    machine.tool(smartctl, "");
    EXPECT_EQ(command_of([] { EXPECT_TRUE(asked(GetParam().path.c_str()).is_null()); }),
              GetParam().command);
}

// "/usr/sbin/smartctl -i " takes 22 of the 255 bytes of a command line.

namespace {

class smartctl_command : public smartctl_query {
protected:
    std::string command_for(const std::string &path)
    {
        machine.block_device(path);
        machine.tool(smartctl, "");
        return command_of([&path] { EXPECT_TRUE(asked(path.c_str()).is_null()); });
    }
};

} // namespace

TEST_F(smartctl_command, has_room_for_a_path_of_232_bytes)
{
    EXPECT_EQ(command_for(device_path_of(232)),
              "/usr/sbin/smartctl -i /dev/" + std::string(200, 'd') + "/" + std::string(26, 'n'));
}

TEST_F(smartctl_command, has_room_for_a_path_of_233_bytes)
{
    EXPECT_EQ(command_for(device_path_of(233)),
              "/usr/sbin/smartctl -i /dev/" + std::string(200, 'd') + "/" + std::string(27, 'n'));
}

TEST_F(smartctl_command, is_cut_for_a_path_of_234_bytes)
{
    EXPECT_EQ(command_for(device_path_of(234)),
              "/usr/sbin/smartctl -i /dev/" + std::string(200, 'd') + "/" + std::string(27, 'n'));
}

TEST_F(smartctl_command, is_cut_for_a_far_longer_path)
{
    EXPECT_EQ(command_for(device_path_of(400)),
              "/usr/sbin/smartctl -i /dev/" + std::string(200, 'd') + "/" + std::string(27, 'n'));
}

TEST_F(smartctl_command, is_cut_and_closed_for_a_quoted_path)
{
    EXPECT_EQ(command_for("/dev/" + std::string(200, 'd') + "/ " + std::string(30, 'n')),
              "/usr/sbin/smartctl -i '/dev/" + std::string(200, 'd') + "/ " + std::string(24, 'n') +
                  "'");
}

TEST_F(smartctl_command, is_run_although_it_was_cut)
{
    const std::string path = device_path_of(234);
    machine.block_device(path);
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked(path.c_str()).value(), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", device_path_of(233)}));
}

// The calls.

TEST_F(smartctl_query, looks_for_the_tool_then_resolves_and_examines_the_device_then_asks)
{
    machine.link("/dev/root", "sda");
    machine.tool(smartctl, ordinary_report);
    const device_calls calls;
    EXPECT_EQ(asked("/dev/root").value(), "DISK1_SN2");
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/smartctl 5", "realpath /dev/root", "stat /dev/sda",
                     "popen /usr/sbin/smartctl -i /dev/sda r", "fgets 1024", "fgets 1024",
                     "fgets 1024", "pclose", "strdup DISK1_SN2"}));
}

TEST_F(smartctl_query, costs_one_call_without_the_tool)
{
    const device_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(), texts{"access /usr/sbin/smartctl 5"});
}

TEST_F(smartctl_query, ends_where_the_name_leads_nowhere)
{
    machine.tool(smartctl, ordinary_report);
    const device_calls calls;
    EXPECT_TRUE(asked("/dev/sdz").is_null());
    EXPECT_EQ(calls.made(), (texts{"access /usr/sbin/smartctl 5", "realpath /dev/sdz"}));
}

TEST_F(smartctl_query, ends_where_the_name_leads_to_no_block_device)
{
    machine.tool(smartctl, ordinary_report);
    const device_calls calls;
    EXPECT_TRUE(asked("/dev/null").is_null());
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/smartctl 5", "realpath /dev/null", "stat /dev/null"}));
}

TEST_F(smartctl_query, closes_the_command_where_nothing_is_told)
{
    machine.tool(smartctl, "");
    const device_calls calls;
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/smartctl 5", "realpath /dev/sda", "stat /dev/sda",
                     "popen /usr/sbin/smartctl -i /dev/sda r", "fgets 1024", "pclose"}));
}

// Devices that are none.

TEST_F(smartctl_query, asks_nothing_about_no_name)
{
    expect_no_run_for(nullptr);
}

namespace {

class smartctl_query_about : public smartctl_query,
                             public testing::WithParamInterface<const char *> {
    void furnish() override
    {
        machine.file("/dev/file", "");
        machine.link("/dev/to_file", "file");
        machine.link("/dev/dangling", "sda");
        machine.link("/dev/loop", "loop");
        machine.directory("/dev/directory");
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(no_block_device, smartctl_query_about,
                         testing::Values("", "/dev/sdz", "sda", "/dev/null", "/dev/file",
                                         "/dev/to_file", "/dev/dangling", "/dev/loop",
                                         "/dev/directory", "/dev", "/dev/null/sda"));

TEST_P(smartctl_query_about, runs_nothing)
{
    expect_no_run_for(GetParam());
}

TEST_F(smartctl_query, traces_a_device_that_is_gone_when_it_is_examined)
{
    machine.tool(smartctl, ordinary_report);
    interpose::stat = [](const char *, struct stat *) {
        errno = ENOENT;
        return -1;
    };
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.trace(), texts{"!stat(dev_name, &sb) return"});
    EXPECT_TRUE(machine.runs(smartctl).empty());
}

// What smartctl tells.

namespace {

struct smartctl_says : named_case {
    std::string printed;
    std::string identity = {};
};

class smartctl_identity : public smartctl_query,
                          public testing::WithParamInterface<smartctl_says> {};

const std::string banner = "smartctl 7.3 2022-02-28 r5338 [x86_64-linux-6.1.0-18] (local build)\n"
                           "Copyright (C) 2002-22, Bruce Allen, Christian Franke, "
                           "www.smartmontools.org\n"
                           "\n";
const std::string section = banner + "=== START OF INFORMATION SECTION ===\n";

} // namespace

TEST_P(smartctl_identity, is_made_of_what_is_told)
{
    machine.tool(smartctl, GetParam().printed);
    EXPECT_EQ(asked().value(), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(
    of_a_whole_report, smartctl_identity,
    testing::Values(
        smartctl_says{"of_an_ata_disk",
                      section + "Model Family:     Seagate Barracuda 7200.14 (AF)\n"
                                "Device Model:     ST1000DM003-1CH162\n"
                                "Serial Number:    Z1D5ABCD\n"
                                "LU WWN Device Id: 5 000c50 0abcdef01\n"
                                "Firmware Version: CC47\n"
                                "User Capacity:    1,000,204,886,016 bytes [1.00 TB]\n"
                                "Sector Sizes:     512 bytes logical, 4096 bytes physical\n"
                                "Rotation Rate:    7200 rpm\n"
                                "Form Factor:      3.5 inches\n"
                                "Device is:        In smartctl database 7.3/5319\n"
                                "ATA Version is:   ACS-2, ACS-3 T13/2161-D revision 3b\n"
                                "SATA Version is:  SATA 3.1, 6.0 Gb/s (current: 6.0 Gb/s)\n"
                                "Local Time is:    Mon Nov 16 03:55:07 2026 CET\n"
                                "SMART support is: Available - device has SMART capability.\n"
                                "SMART support is: Enabled\n\n",
                      "ST1000DM003-1CH162_Z1D5ABCD"},
        smartctl_says{"of_an_ata_disk_with_a_model_of_several_words",
                      section + "Device Model:     WDC WD10EZEX-08WN4A0\n"
                                "Serial Number:    WD-WCC6Y1234567\n"
                                "Device is:        Not in smartctl database 7.3/5319\n",
                      "WDCWD10EZEX-08WN4A0_WD-WCC6Y1234567"},
        smartctl_says{"of_an_ata_disk_with_an_added_product_id",
                      section + "Device Model:     ST500NM0011\n"
                                "Serial Number:    Z1M0ABCD\n"
                                "LU WWN Device Id: 5 000c50 0abcdef02\n"
                                "Add. Product Id:  DELL(tm)\n"
                                "Firmware Version: PA09\n",
                      "DELL(tm)_Z1M0ABCD"},
        smartctl_says{"of_a_scsi_disk",
                      section + "Vendor:               SEAGATE\n"
                                "Product:              ST4000NM0023\n"
                                "Revision:             0004\n"
                                "Compliance:           SPC-4\n"
                                "User Capacity:        4,000,787,030,016 bytes [4.00 TB]\n"
                                "Logical block size:   512 bytes\n"
                                "Logical Unit id:      0x5000c50012345678\n"
                                "Serial number:        Z1Z0ABCD0000W510ABCD\n"
                                "Device type:          disk\n"
                                "Transport protocol:   SAS (SPL-4)\n"
                                "Temperature Warning:  Enabled\n",
                      "ST4000NM0023_Z1Z0ABCD0000W510ABCD"},
        smartctl_says{"of_an_nvme_disk",
                      section + "Model Number:                       Example SSD 970 PRO 1TB\n"
                                "Serial Number:                      S462NX0K123456A\n"
                                "Firmware Version:                   1B2QEXP7\n"
                                "PCI Vendor/Subsystem ID:            0x144d\n"
                                "IEEE OUI Identifier:                0x002538\n"
                                "Total NVM Capacity:                 1,024,209,543,168 [1.02 TB]\n"
                                "Controller ID:                      4\n"
                                "NVMe Version:                       1.3\n"
                                "Number of Namespaces:               1\n"
                                "Namespace 1 IEEE EUI-64:            002538 5a81234567\n",
                      "ExampleSSD970PRO1TB_S462NX0K123456A"},
        smartctl_says{"with_several_colons_in_the_model",
                      section + "Model Number: A:B\nSerial Number: S1\n", "B_S1"},
        smartctl_says{"with_percent_signs", "Product: 100%s%n\nserial: %5c%d%%\n",
                      "100%s%n_%5c%d%%"},
        smartctl_says{"with_other_bytes", "Product: \xe9\xff\nserial: \x80\n", "\xe9\xff_\x80"},
        smartctl_says{"behind_a_long_line", std::string(5000, 'x') + "\nProduct: A\nserial: B\n",
                      "A_B"},
        smartctl_says{"of_509_bytes_each",
                      "Product:" + std::string(509, 'm') + "\nserial:" + std::string(509, 's'),
                      std::string(509, 'm') + "_" + std::string(509, 's')},
        smartctl_says{"of_510_bytes_each",
                      "Product:" + std::string(510, 'm') + "\nserial:" + std::string(510, 's'),
                      std::string(510, 'm') + "_" + std::string(510, 's')},
        smartctl_says{"of_511_bytes_each",
                      "Product:" + std::string(511, 'm') + "\nserial:" + std::string(511, 's'),
                      std::string(510, 'm') + "_" + std::string(510, 's')}));

namespace {

class smartctl_without_identity : public smartctl_query,
                                  public testing::WithParamInterface<smartctl_says> {};

} // namespace

TEST_P(smartctl_without_identity, is_no_answer)
{
    machine.tool(smartctl, GetParam().printed);
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.runs(smartctl).size(), 1U);
    EXPECT_EQ(machine.trace(), texts{});
}

INSTANTIATE_TEST_SUITE_P(
    disk, smartctl_without_identity,
    testing::Values(smartctl_says{"nothing", ""}, smartctl_says{"an_empty_line", "\n"},
                    smartctl_says{"a_bridge_that_hides_the_serial_number",
                                  section + "Device Model:     External USB 3.0\n"
                                            "Firmware Version: 0104\n"
                                            "User Capacity:    500,107,862,016 bytes [500 GB]\n"},
                    smartctl_says{"a_bridge_that_is_not_known",
                                  banner + "/dev/sda: Unknown USB bridge [0x1234:0x5678 (0x100)]\n"
                                           "Please specify device type with the -d option.\n\n"
                                           "Use smartctl -h to get a usage summary\n\n"},
                    smartctl_says{"a_device_that_cannot_be_opened",
                                  banner +
                                      "Smartctl open device: /dev/sda failed: Permission denied\n"},
                    smartctl_says{"a_serial_number_alone", "Serial Number: S\n"},
                    smartctl_says{"an_empty_model", "Device Model:   \nSerial Number: S\n"},
                    smartctl_says{"an_empty_serial_number", "Device Model: A\nSerial Number:   \n"},
                    smartctl_says{"a_serial_number_that_mentions_the_product",
                                  "Device Model: A\nSerial Number: Product7\n"},
                    smartctl_says{"bytes_at_random", std::string("\x7f"
                                                                 "ELF\0\xff:\xfe\n:\0:\n\x80",
                                                                 15)}));

TEST_F(smartctl_query, is_answered_behind_a_megabyte)
{
    machine.tool(smartctl, std::string(1000000, 'x') + "\nProduct: A\nserial: B\n");
    EXPECT_EQ(asked().value(), "A_B");
}

TEST_F(smartctl_query, is_answered_before_a_megabyte)
{
    machine.tool(smartctl, "Product: A\nserial: B\n" + std::string(1000000, 'x') + "\n");
    EXPECT_EQ(asked().value(), "A_B");
}

TEST_F(smartctl_query, has_no_answer_in_a_megabyte_without_a_line_end)
{
    machine.tool(smartctl, std::string(1000000, 'x'));
    EXPECT_TRUE(asked().is_null());
}

TEST_F(smartctl_query, has_no_answer_without_memory)
{
    machine.tool(smartctl, ordinary_report);
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
}

TEST_F(smartctl_query, takes_each_answer_afresh)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(asked().value(), "DISK1_SN2");
    machine.tool(smartctl, "Product: P\n");
    EXPECT_TRUE(asked().is_null());
}
