// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include "orvane.h"

#include <string>
#include <vector>

namespace {

using result = outcome;

constexpr uid_t ordinary_user = 65534;
constexpr char trace_log[] = "/var/log/orvane/liborvane.log";

class orvane_command : public command_machine {
protected:
    void describe_machine()
    {
        machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
        machine.block_device("/dev/nvme0n1p2");
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk 1\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S123\n");
        machine.file("/sys/devices/virtual/dmi/id/product_uuid",
                     "4c4c4544-0042-3510-8052-b4c04f4d3132\n", 0400);
        machine.file("/sys/class/dmi/id/sys_vendor", "Acme Inc.\n");
        machine.file("/sys/class/dmi/id/product_sku", "0A1B\n");
        machine.file("/sys/class/dmi/id/product_serial", "ABC 123\n", 0400);
        machine.file("/proc/net/bonding/bond0", "Slave Interface: eno1\n"
                                                "Permanent HW addr: f4:8e:38:00:00:01\n");
        machine.file("/proc/cpuinfo", "Hardware\t: Kirin 9006C\n");
    }

    void describe_education_system() { machine.file("/etc/os-release", "VARIANT=EDU\n"); }
};

} // namespace

TEST_F(orvane_command, shows_one_aligned_row_a_fact)
{
    describe_machine();
    describe_education_system();
    const result shown = orvane({"show"});
    EXPECT_EQ(shown.output, "root_device  /dev/nvme0n1p2\n"
                            "disk         Fast-Disk-1_S123\n"
                            "mac          f4:8e:38:00:00:01\n"
                            "system_uuid  4c4c4544-0042-3510-8052-b4c04f4d3132\n"
                            "vendor       Acme Inc.\n"
                            "model        0A1B\n"
                            "serial       ABC 123\n"
                            "oem_info     -\n"
                            "manufacturer TYPE_UNKNOWN\n"
                            "lenovo       0\n"
                            "huawei_9x0   1\n"
                            "os_version   2\n");
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, shows_the_same_without_a_word)
{
    describe_machine();
    EXPECT_EQ(orvane({}).output, orvane({"show"}).output);
    EXPECT_NE(orvane({}).output.find("Acme Inc."), std::string::npos);
}

TEST_F(orvane_command, puts_a_dash_where_there_is_no_answer)
{
    EXPECT_EQ(orvane({}).output, "root_device  -\n"
                                 "disk         -\n"
                                 "mac          -\n"
                                 "system_uuid  -\n"
                                 "vendor       -\n"
                                 "model        -\n"
                                 "serial       -\n"
                                 "oem_info     -\n"
                                 "manufacturer TYPE_UNKNOWN\n"
                                 "lenovo       0\n"
                                 "huawei_9x0   0\n"
                                 "os_version   0\n");
}

TEST_F(orvane_command, prints_one_json_object)
{
    describe_machine();
    describe_education_system();
    const result shown = orvane({"show", "--json"});
    EXPECT_EQ(shown.output, "{\n"
                            "  \"root_device\": \"/dev/nvme0n1p2\",\n"
                            "  \"disk\": \"Fast-Disk-1_S123\",\n"
                            "  \"mac\": \"f4:8e:38:00:00:01\",\n"
                            "  \"system_uuid\": \"4c4c4544-0042-3510-8052-b4c04f4d3132\",\n"
                            "  \"vendor\": \"Acme Inc.\",\n"
                            "  \"model\": \"0A1B\",\n"
                            "  \"serial\": \"ABC 123\",\n"
                            "  \"oem_info\": null,\n"
                            "  \"manufacturer\": \"TYPE_UNKNOWN\",\n"
                            "  \"lenovo\": 0,\n"
                            "  \"huawei_9x0\": 1,\n"
                            "  \"os_version\": 2\n"
                            "}\n");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, keeps_json_valid_for_any_bytes)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "\"A\\B\"\t\xFF\x01\n");
    const result shown = orvane({"show", "--json"});
    EXPECT_NE(shown.output.find(R"("vendor": "\"A\\B\"\t)"
                                "\xEF\xBF\xBD"
                                R"(\u0001")"),
              std::string::npos)
        << shown.output;
}

TEST_F(orvane_command, tells_an_empty_answer_from_none_in_json)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "\n");
    const result shown = orvane({"show", "--json"});
    EXPECT_NE(shown.output.find("\"vendor\": \"\""), std::string::npos) << shown.output;
    EXPECT_NE(shown.output.find("\"model\": null"), std::string::npos) << shown.output;
}

TEST_F(orvane_command, keeps_an_unprintable_answer_on_one_row)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "A\x1B[31m\tB\n");
    EXPECT_NE(orvane({}).output.find("vendor       A\\x1b[31m\\x09B\n"), std::string::npos)
        << orvane({}).output;
}

TEST_F(orvane_command, shows_the_letters_of_the_users_locale)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "M\xc3\xbcller\n");
    const auto shown_in = [this](const std::string &locale) {
        return machine.run({"/usr/bin/env", "LC_ALL=" + locale, "/opt/orvane/bin/orvane"}).output;
    };
    EXPECT_NE(shown_in("C.UTF-8").find("vendor       M\xc3\xbcller\n"), std::string::npos);
    EXPECT_NE(shown_in("C").find("vendor       M\\xc3\\xbcller\n"), std::string::npos);
}

TEST_F(orvane_command, prints_one_value_alone)
{
    describe_machine();
    const result shown = orvane({"show", "serial"});
    EXPECT_EQ(shown.output, "ABC 123\n");
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, prints_nothing_and_fails_for_one_fact_without_answer)
{
    const result shown = orvane({"show", "vendor"});
    EXPECT_EQ(shown.output, "");
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(shown.status, 1);
}

TEST_F(orvane_command, prints_an_empty_line_for_an_empty_answer)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "\n");
    const result shown = orvane({"show", "vendor"});
    EXPECT_EQ(shown.output, "\n");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, asks_only_for_the_fact_that_is_wanted)
{
    machine.tool("/usr/sbin/dmidecode", "");
    machine.file("/sys/class/dmi/id/sys_vendor", "Acme\n");
    EXPECT_EQ(orvane({"show", "vendor"}).output, "Acme\n");
    EXPECT_TRUE(machine.runs("/usr/sbin/dmidecode").empty());
}

TEST_F(orvane_command, reads_the_serial_number_from_dmidecode_where_the_kernel_has_none)
{
    machine.tool("/usr/sbin/dmidecode", "\tSerial Number: ABC 123\n");
    EXPECT_EQ(orvane({"show", "serial"}).output, "ABC 123\n");
}

TEST_F(orvane_command, shows_the_flash_boot_device)
{
    machine.tool("/usr/sbin/dmidecode", "\tSerial Number: SN0001\n");
    machine.file("/proc/bootdevice/product_name", "FLASH01\n");
    machine.file("/proc/bootdevice/cid", "0123abcd\n");
    EXPECT_EQ(orvane({"show", "oem_info"}).output, "SN0001_FLASH01_0123abcd\n");
}

TEST_F(orvane_command, names_the_class_of_a_manufacturer_that_is_known_exactly)
{
    machine.tool("/usr/sbin/dmidecode", "LENOVO\n");
    EXPECT_EQ(orvane({"show", "manufacturer"}).output, "TYPE_LENOVO\n");
    EXPECT_EQ(orvane({"show", "lenovo"}).output, "1\n");
}

TEST_F(orvane_command, names_the_class_of_a_manufacturer_that_is_known_without_case)
{
    machine.tool("/usr/sbin/dmidecode", "GREAT WALL\n");
    const result shown = orvane({"show", "manufacturer"});
    EXPECT_EQ(shown.output, "TYPE_GREATWALL\n");
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, asks_by_the_exact_patterns_first)
{
    machine.tool("/usr/sbin/dmidecode", "HUAWEI\n");
    EXPECT_EQ(orvane({"show", "manufacturer"}).output, "TYPE_HUAWEI\n");
    EXPECT_EQ(machine.runs("/usr/sbin/dmidecode").size(), 1U);
}

TEST_F(orvane_command, names_no_class_of_an_unknown_manufacturer)
{
    machine.tool("/usr/sbin/dmidecode", "Dell Inc.\n");
    const result shown = orvane({"show", "manufacturer"});
    EXPECT_EQ(shown.output, "TYPE_UNKNOWN\n");
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, hints_at_root_for_a_class_that_only_root_may_ask)
{
    machine.script("/usr/sbin/dmidecode", "[ $(id -u) = 0 ] && echo LENOVO");
    const result manufacturer = orvane({"show", "manufacturer"}, ordinary_user);
    EXPECT_EQ(manufacturer.output, "TYPE_UNKNOWN\n");
    EXPECT_EQ(manufacturer.error, "orvane: may need root: manufacturer\n");
    const result lenovo = orvane({"show", "lenovo"}, ordinary_user);
    EXPECT_EQ(lenovo.output, "0\n");
    EXPECT_EQ(lenovo.error, "orvane: may need root: lenovo\n");
    EXPECT_EQ(orvane({"show", "lenovo"}).error, "");
}

TEST_F(orvane_command, hints_at_nothing_where_every_user_is_told)
{
    for (const char *const name : {"mac", "huawei_9x0"})
        EXPECT_EQ(orvane({"show", name}, ordinary_user).error, "") << name;
}

TEST_F(orvane_command, hints_at_root_for_a_disk_that_only_root_may_ask)
{
    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    const result shown = orvane({"show", "disk"}, ordinary_user);
    EXPECT_EQ(shown.output, "");
    EXPECT_EQ(shown.error, "orvane: may need root: disk\n");
    EXPECT_EQ(shown.status, 1);
}

TEST_F(orvane_command, says_in_one_line_that_the_kernel_command_line_is_too_long)
{
    machine.file("/proc/cmdline", std::string(4096, 'x'));
    const result shown = orvane({});
    EXPECT_EQ(shown.error, "orvane: liborvane: fatal: the kernel command line is longer than 4095 "
                           "characters\n");
    EXPECT_EQ(shown.output, "");
    EXPECT_EQ(shown.status, 1);
}

TEST_F(orvane_command, prints_the_root_disk_that_lsblk_lists)
{
    machine.tool("/usr/bin/lsblk", R"({"blockdevices": [{"name": "sda", "children": [)"
                                   R"({"name": "sda1", "mountpoint": "/"}]}]})");
    const result printed = orvane({"root-disk"});
    EXPECT_EQ(printed.output, "sda\n");
    EXPECT_EQ(printed.error, "");
    EXPECT_EQ(printed.status, 0);
    EXPECT_EQ(machine.runs("/usr/bin/lsblk").at(0).arguments, (texts{"/usr/bin/lsblk", "-J"}));
}

class unlisted_root_disk : public orvane_command,
                           public testing::WithParamInterface<std::string> {};

TEST_P(unlisted_root_disk, is_one_line_and_status_1)
{
    machine.tool("/usr/bin/lsblk", GetParam());
    const result printed = orvane({"root-disk"});
    EXPECT_EQ(printed.output, "");
    EXPECT_EQ(printed.error,
              "orvane: lsblk -J lists no partition mounted at / by \"mountpoint\"\n");
    EXPECT_EQ(printed.status, 1);
}

INSTANTIATE_TEST_SUITE_P(orvane_command, unlisted_root_disk,
                         testing::Values(R"({"blockdevices": []})", "{}", "not json"));

TEST_F(orvane_command, says_that_lsblk_lists_nothing)
{
    machine.tool("/usr/bin/lsblk", "");
    EXPECT_EQ(orvane({"root-disk"}).error, "orvane: lsblk is missing or lists nothing\n");
    machine.remove("/usr/bin/lsblk");
    const result printed = orvane({"root-disk"});
    EXPECT_EQ(printed.error, "orvane: lsblk is missing or lists nothing\n");
    EXPECT_EQ(printed.output, "");
    EXPECT_EQ(printed.status, 1);
}

TEST_F(orvane_command, keeps_what_a_terminal_obeys_out_of_its_complaints)
{
    const auto complaint_in = [this](const std::string &locale) {
        return machine
            .run({"/usr/bin/env", "LC_ALL=" + locale, "/opt/orvane/bin/orvane", "show",
                  "M\xc3\xbc\xc2\x9b"
                  "31m\x1b\xff"})
            .error;
    };
    EXPECT_NE(complaint_in("C.UTF-8").find("'M\xc3\xbc 31m ?'"), std::string::npos)
        << complaint_in("C.UTF-8");
    EXPECT_NE(complaint_in("C").find("'M????31m ?'"), std::string::npos) << complaint_in("C");
}

TEST_F(orvane_command, says_in_one_line_that_the_listing_is_too_long)
{
    machine.tool("/usr/bin/lsblk", std::string(5000, 'x'));
    const result printed = orvane({"root-disk"});
    EXPECT_EQ(printed.error,
              "orvane: liborvane: fatal: the listing of lsblk is longer than 4095 characters\n");
    EXPECT_EQ(printed.output, "");
    EXPECT_EQ(printed.status, 1);
}

TEST_F(orvane_command, tells_its_version)
{
    const result told = orvane({"--version"});
    EXPECT_EQ(told.output, "orvane " ORVANE_VERSION "\n");
    EXPECT_EQ(told.status, 0);
}

TEST_F(orvane_command, lists_every_fact_in_its_help)
{
    const result help = orvane({"show", "--help"});
    for (const char *const name :
         {"root_device", "disk", "mac", "system_uuid", "vendor", "model", "serial", "oem_info",
          "manufacturer", "lenovo", "huawei_9x0", "os_version"})
        EXPECT_NE(help.output.find(std::string("\n  ") + name + " "), std::string::npos) << name;
    EXPECT_EQ(help.status, 0);
}

TEST_F(orvane_command, helps)
{
    const result help = orvane({"--help"});
    EXPECT_NE(help.output.find("Usage: orvane"), std::string::npos);
    EXPECT_EQ(help.error, "");
    EXPECT_EQ(help.status, 0);
}

class wrong_use : public orvane_command,
                  public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(wrong_use, is_one_line_and_status_2)
{
    const result refused = orvane(GetParam());
    EXPECT_EQ(refused.output, "");
    EXPECT_TRUE(refused.error.starts_with("orvane: ")) << refused.error;
    EXPECT_TRUE(is_one_line(refused.error)) << refused.error;
    EXPECT_EQ(refused.status, 2);
}

INSTANTIATE_TEST_SUITE_P(orvane_command, wrong_use,
                         testing::Values(std::vector<std::string>{"bogus"},
                                         std::vector<std::string>{"--bogus"},
                                         std::vector<std::string>{""},
                                         std::vector<std::string>{"show", "bogus"},
                                         std::vector<std::string>{"show", ""},
                                         std::vector<std::string>{"show", "vendor", "model"},
                                         std::vector<std::string>{"show", "--bogus"},
                                         std::vector<std::string>{"root-disk", "bogus"},
                                         std::vector<std::string>{"show", "root-disk"},
                                         std::vector<std::string>{"show", "--json", "vendor"},
                                         std::vector<std::string>{"show", "two\nlines\x1B[31m"}));

TEST_F(orvane_command, names_an_unknown_fact)
{
    EXPECT_NE(orvane({"show", "bogus"}).error.find("unknown fact 'bogus'"), std::string::npos);
}

TEST_F(orvane_command, names_the_facts_that_may_need_root_in_one_line)
{
    describe_machine();
    const result shown = orvane({}, ordinary_user);
    EXPECT_EQ(shown.error, "orvane: may need root: system_uuid, serial, oem_info, manufacturer, "
                           "lenovo\n");
    EXPECT_NE(shown.output.find("vendor       Acme Inc.\n"), std::string::npos) << shown.output;
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, names_only_what_was_asked_for_and_not_answered)
{
    describe_machine();
    EXPECT_EQ(orvane({"show", "vendor"}, ordinary_user).error, "");
    const result serial = orvane({"show", "serial"}, ordinary_user);
    EXPECT_EQ(serial.error, "orvane: may need root: serial\n");
    EXPECT_EQ(serial.output, "");
    EXPECT_EQ(serial.status, 1);
}

TEST_F(orvane_command, names_a_fact_that_is_empty_for_want_of_root)
{
    machine.script("/usr/sbin/dmidecode", "[ $(id -u) = 0 ] && echo 'Serial Number: SN0001'");
    machine.file("/proc/bootdevice/product_name", "FLASH01\n");
    machine.file("/proc/bootdevice/cid", "0123abcd\n");
    const result shown = orvane({"show", "oem_info"}, ordinary_user);
    EXPECT_EQ(shown.output, "\n");
    EXPECT_EQ(shown.error, "orvane: may need root: oem_info\n");
    EXPECT_EQ(orvane({"show", "oem_info"}).output, "SN0001_FLASH01_0123abcd\n");
}

TEST_F(orvane_command, hides_the_complaints_of_tools)
{
    machine.script("/usr/sbin/dmidecode", "echo '/dev/mem: Permission denied' >&2; exit 1");
    const result shown = orvane({});
    EXPECT_EQ(shown.error, "");
    EXPECT_EQ(machine.runs("/usr/sbin/dmidecode").size(), 10U);
}

TEST_F(orvane_command, traces_as_any_program_does)
{
    EXPECT_EQ(orvane({"show", "os_version"}).status, 0);
    EXPECT_TRUE(machine.content(trace_log).ends_with("]: _os_get_version, begin\n"))
        << machine.content(trace_log);
}

TEST_F(orvane_command, is_silent_about_the_trace_log_for_an_ordinary_user)
{
    describe_education_system(); // two trace lines
    const result shown = orvane({"show", "os_version"}, ordinary_user);
    EXPECT_EQ(shown.output, "2\n");
    EXPECT_EQ(shown.error, "");
}

TEST_F(orvane_command, tells_root_once_that_the_trace_log_cannot_be_opened)
{
    describe_education_system(); // two trace lines
    machine.read_only("/var/log");
    const result shown = orvane({"show", "os_version"});
    EXPECT_EQ(shown.output, "2\n");
    EXPECT_EQ(shown.error, "orvane: the trace log cannot be opened, so this run left no trace\n");
    EXPECT_EQ(shown.status, 0);
}

TEST_F(orvane_command, tells_that_its_output_could_not_be_written)
{
    const result full = orvane_by_shell(">/dev/full");
    EXPECT_EQ(full.error, "orvane: standard output: No space left on device\n");
    EXPECT_EQ(full.status, 1);
}

TEST_F(orvane_command, refuses_a_closed_standard_output)
{
    const result closed = orvane_by_shell(">&-");
    EXPECT_EQ(closed.error, "orvane: standard output is closed\n");
    EXPECT_EQ(closed.status, 1);
}

TEST_F(orvane_command, works_with_standard_input_and_error_closed)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "Acme\n");
    EXPECT_EQ(orvane_by_shell("show vendor <&- 2>&-").output, "Acme\n");
}
