// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The identity of a disk as smartctl reports it.
#include "disk_machine.h"

#include <fstream>
#include <string>
#include <thread>

#include <sys/stat.h>

using namespace std::string_literals;

namespace {

class smartctl_query : public on_machine {
protected:
    void furnish() override { machine.block_device("/dev/sda"); }

    static std::string reported(const char *device = "/dev/sda")
    {
        return owned_text(harddisk_id_smartctl(device)).value();
    }
    [[nodiscard]] texts tool_arguments() const { return machine.runs(smartctl).at(0).arguments; }
};

constexpr char ordinary_report[] = "Device Model: DISK 1\nSerial Number: SN 2\n";

} // namespace

TEST_F(smartctl_query, runs_smartctl_for_the_information_section)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(reported(), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", "/dev/sda"}));
    expect_trace({});
}

TEST_F(smartctl_query, runs_smartctl_for_the_node_that_a_name_resolves_to)
{
    machine.link("/dev/disk/by-id/ata-DISK_1", "../../sda");
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(reported("/dev/disk/by-id/../by-id//ata-DISK_1"), "DISK1_SN2");
    EXPECT_EQ(tool_arguments(), (texts{"/usr/sbin/smartctl", "-i", "/dev/sda"}));
}

// The tool has ended, but not its output.
TEST_F(smartctl_query, ends_when_a_process_that_the_tool_left_behind_closes_the_output)
{
    const std::string signal = machine.scratch("signal");
    ASSERT_EQ(::mkfifo(signal.c_str(), 0600), 0);
    machine.script(smartctl, "echo 'Device Model: DISK 1'\n"
                             "{ read line <" +
                                 signal + "; echo 'Serial Number: SN 2'; } &\n");
    std::string answer;
    std::thread caller([&answer] { answer = reported(); });
    std::ofstream(signal) << "end\n"; // opened when the process has opened it
    caller.join();
    EXPECT_EQ(answer, "DISK1_SN2");
}

TEST_F(smartctl_query, takes_each_report_afresh)
{
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(reported(), "DISK1_SN2");
    machine.tool(smartctl, "Product: P\n");
    EXPECT_EQ(reported(), no_text);
}

namespace {

class smartctl_query_for : public smartctl_query,
                           public testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(smartctl_query_for, what_is_no_block_device_runs_nothing)
{
    machine.file("/dev/file", "");
    machine.link("/dev/dangling", "sdz");
    machine.tool(smartctl, ordinary_report);
    EXPECT_EQ(reported(GetParam()), no_text);
    EXPECT_TRUE(machine.runs(smartctl).empty());
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(name, smartctl_query_for,
                         testing::Values(nullptr, "", "/dev/sdz", "sda", "/dev/null", "/dev/file",
                                         "/dev/dangling", "/dev", "/dev/null/sda"));

// The report.

namespace {

struct smartctl_report : named_case {
    std::string printed;
    std::string identity;
};

class identity_in_report : public smartctl_query,
                           public testing::WithParamInterface<smartctl_report> {};

const std::string banner = "smartctl 7.3 2022-02-28 r5338 [x86_64-linux-6.1.0-18] (local build)\n"
                           "Copyright (C) 2002-22, Bruce Allen, Christian Franke, "
                           "www.smartmontools.org\n"
                           "\n";
const std::string section = banner + "=== START OF INFORMATION SECTION ===\n";

} // namespace

TEST_P(identity_in_report, is_made_of_model_and_serial_number)
{
    machine.tool(smartctl, GetParam().printed);
    EXPECT_EQ(reported(), GetParam().identity);
    EXPECT_EQ(machine.runs(smartctl).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    of, identity_in_report,
    testing::Values(
        smartctl_report{"an_ata_disk",
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
        smartctl_report{"a_model_of_several_words",
                        section + "Device Model:     WDC WD10EZEX-08WN4A0\n"
                                  "Serial Number:    WD-WCC6Y1234567\n",
                        "WDCWD10EZEX-08WN4A0_WD-WCC6Y1234567"},
        smartctl_report{"an_added_product_id",
                        section + "Device Model:     ST500NM0011\n"
                                  "Serial Number:    Z1M0ABCD\n"
                                  "Add. Product Id:  DELL(tm)\n",
                        "DELL(tm)_Z1M0ABCD"},
        smartctl_report{"a_scsi_disk",
                        section + "Vendor:               SEAGATE\n"
                                  "Product:              ST4000NM0023\n"
                                  "Revision:             0004\n"
                                  "Compliance:           SPC-4\n"
                                  "User Capacity:        4,000,787,030,016 bytes [4.00 TB]\n"
                                  "Logical Unit id:      0x5000c50012345678\n"
                                  "Serial number:        Z1Z0ABCD0000W510ABCD\n"
                                  "Transport protocol:   SAS (SPL-4)\n",
                        "ST4000NM0023_Z1Z0ABCD0000W510ABCD"},
        smartctl_report{"an_nvme_disk",
                        section + "Model Number:                       Example SSD 970 PRO 1TB\n"
                                  "Serial Number:                      S462NX0K123456A\n"
                                  "Firmware Version:                   1B2QEXP7\n"
                                  "Controller ID:                      4\n"
                                  "Namespace 1 IEEE EUI-64:            002538 5a81234567\n",
                        "ExampleSSD970PRO1TB_S462NX0K123456A"}));

INSTANTIATE_TEST_SUITE_P(
    with, identity_in_report,
    testing::Values(
        smartctl_report{"small_product", "product: A\nSerial Number: S\n", "A_S"},
        smartctl_report{"small_serial_number", "Model: A\nserial number: S\n", "A_S"},
        smartctl_report{"serial_alone", "Model: A\nthe serial: S\n", "A_S"},
        smartctl_report{"other_capitals", "MODEL: A\nSERIAL NUMBER: S\n", no_text},
        smartctl_report{"several_colons", "Model Number: A:B\nSerial Number: S:1\n", "B_1"},
        smartctl_report{"runs_of_colons", "::Model::A\nserial::S\n", "A_S"},
        smartctl_report{"a_colon_at_the_end", "Model: A:\nserial: S\n", no_text},
        smartctl_report{"fields_before_the_label", "A:Model\nS:serial\n", "A_S"},
        smartctl_report{"a_label_without_a_colon", "Model A\nModel: B\nserial S\nserial: 1\n",
                        "B_1"},
        smartctl_report{"a_serial_number_behind_the_model_in_a_line",
                        "Model: A: serial: S\nserial: 1\n", "S_1"},
        smartctl_report{"a_serial_number_before_the_model_in_a_line",
                        "serial S: Model: A\nserial: 1\n", "A_1"},
        smartctl_report{"a_serial_number_in_the_first_field_of_a_model_line",
                        "Product serial: A\nSerial Number: S\n", "A_S"},
        smartctl_report{"percent_signs", "Product: 100%s%n\nserial: %5c%d%%\n", "100%s%n_%5c%d%%"},
        smartctl_report{"bytes_above_ascii", "Product: \xe9\xff\nserial: \x80\n", "\xe9\xff_\x80"},
        smartctl_report{"tabs", "Product:\tA\nserial: \tS\r\n", "\tA_\tS\r"},
        smartctl_report{"510_bytes_each",
                        "Product:" + std::string(510, 'm') + "\nserial:" + std::string(510, 's'),
                        std::string(510, 'm') + "_" + std::string(510, 's')},
        smartctl_report{"511_bytes_each",
                        "Product:" + std::string(511, 'm') + "\nserial:" + std::string(511, 's'),
                        std::string(510, 'm') + "_" + std::string(510, 's')},
        smartctl_report{"blanks_among_511_bytes",
                        "Product: " + std::string(510, 'm') + "\nserial: S\n",
                        std::string(509, 'm') + "_S"},
        smartctl_report{"1023_bytes_before_the_label",
                        std::string(1023, 'x') + "Product:A\nserial:S\n", "A_S"},
        smartctl_report{"a_label_across_1023_bytes",
                        std::string(1020, 'x') + "Product:A\nserial:S\n", no_text},
        smartctl_report{"a_megabyte_before_it",
                        std::string(1000000, 'x') + "\nProduct: A\nserial: B\n", "A_B"},
        smartctl_report{"a_megabyte_behind_it",
                        "Product: A\nserial: B\n" + std::string(1000000, 'x') + "\n", "A_B"}));

INSTANTIATE_TEST_SUITE_P(
    none_in, identity_in_report,
    testing::Values(
        smartctl_report{"nothing", "", no_text},
        smartctl_report{"a_bridge_that_hides_the_serial_number",
                        section + "Device Model:     External USB 3.0\n"
                                  "Firmware Version: 0104\n",
                        no_text},
        smartctl_report{"an_unknown_bridge",
                        banner + "/dev/sda: Unknown USB bridge [0x1234:0x5678 (0x100)]\n"
                                 "Please specify device type with the -d option.\n",
                        no_text},
        smartctl_report{"a_device_that_cannot_be_opened",
                        banner + "Smartctl open device: /dev/sda failed: Permission denied\n",
                        no_text},
        smartctl_report{"a_serial_number_alone", "Serial Number: S\n", no_text},
        smartctl_report{"an_empty_model", "Device Model:   \nSerial Number: S\n", no_text},
        smartctl_report{"an_empty_serial_number", "Device Model: A\nSerial Number:   \n", no_text},
        smartctl_report{"a_serial_number_that_mentions_the_product",
                        "Device Model: A\nSerial Number: Product7\n", no_text},
        smartctl_report{"random_bytes",
                        "\x7f"
                        "ELF\0\xff:\xfe\n:\0:\n\x80"s,
                        no_text}));
