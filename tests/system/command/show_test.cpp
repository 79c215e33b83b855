// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane show and orvane root-disk.
#include "command_machine.h"

#include <string>

namespace {

constexpr uid_t ordinary_user = 65534;

class show_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        for (const char *const variant : {"/etc/os-release", "/usr/lib/os-release"})
            machine.remove(variant);
    }

    void describe_machine()
    {
        machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
        machine.block_device("/dev/nvme0n1p2");
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk 1\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S123\n");
        machine.file("/sys/devices/virtual/dmi/id/product_uuid",
                     "4c4c4544-0042-3510-8052-b4c04f4d3132\n", 0400);
        vendor("Acme Inc.\n");
        machine.file("/sys/class/dmi/id/product_sku", "0A1B\n");
        machine.file("/sys/class/dmi/id/product_serial", "ABC 123\n", 0400);
        machine.file("/proc/net/bonding/bond0", "Slave Interface: eno1\n"
                                                "Permanent HW addr: f4:8e:38:00:00:01\n");
        machine.file("/proc/cpuinfo", "Hardware\t: Kirin 9006C\n");
        describe_education_system();
    }

    // The query of the variant writes two trace lines.
    void describe_education_system() { machine.file("/etc/os-release", "VARIANT=EDU\n"); }

    void vendor(const std::string &text) { machine.file("/sys/class/dmi/id/sys_vendor", text); }

    void describe_flash(const std::string &dmidecode)
    {
        machine.script("/usr/sbin/dmidecode", dmidecode);
        machine.file("/proc/bootdevice/product_name", "FLASH01\n");
        machine.file("/proc/bootdevice/cid", "0123abcd\n");
    }

    [[nodiscard]] outcome shown(const std::string &name, uid_t user = 0) const
    {
        return orvane({"show", name}, user);
    }
};

// No answer: nothing is printed.
const outcome none = {1, "", ""};

outcome may_need_root(int status, const std::string &output, const std::string &names)
{
    return {status, output, "orvane: may need root: " + names + "\n"};
}

} // namespace

TEST_F(show_command, prints_one_aligned_row_for_each_fact)
{
    describe_machine();
    const outcome table = printed("root_device  /dev/nvme0n1p2\n"
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
    EXPECT_EQ(orvane({"show"}), table);
    EXPECT_EQ(orvane({}), table);
}

TEST_F(show_command, prints_a_dash_where_there_is_no_answer)
{
    EXPECT_EQ(orvane({}), printed("root_device  -\n"
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
                                  "os_version   0\n"));
}

TEST_F(show_command, prints_one_json_object)
{
    describe_machine();
    EXPECT_EQ(orvane({"show", "--json"}),
              printed("{\n"
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
                      "}\n"));
}

TEST_F(show_command, prints_valid_json_for_any_bytes)
{
    vendor("\"A\\B\"\t\xFF\x01\n");
    EXPECT_NE(orvane({"show", "--json"})
                  .output.find(R"("vendor": "\"A\\B\"\t)"
                               "\xEF\xBF\xBD"
                               R"(\u0001")"),
              std::string::npos);
    vendor("\n");
    EXPECT_NE(orvane({"show", "--json"})
                  .output.find(R"("vendor": "",)"
                               "\n"
                               R"(  "model": null)"),
              std::string::npos);
}

// U+009B starts an escape sequence, as ESC and "[" do.
TEST_F(show_command, prints_json_without_characters_that_a_terminal_obeys)
{
    vendor("\x1b[0m\x7f\xc2\x80\xc2\x9b"
           "31mM\xc3\xbcller\xc2\xa0\xc2\xb5\xe2\x9b\x84\n");
    EXPECT_NE(orvane({"show", "--json"})
                  .output.find(R"("vendor": "\u001b[0m\u007f\u0080\u009b31m)"
                               "M\xc3\xbcller\xc2\xa0\xc2\xb5\xe2\x9b\x84\""),
              std::string::npos);
}

TEST_F(show_command, prints_the_printable_characters_of_the_locale)
{
    const auto row_in = [this](const std::string &locale) {
        const std::string rows =
            machine.run({"/usr/bin/env", "LC_ALL=" + locale, "/opt/orvane/bin/orvane"}).output;
        const std::size_t start = rows.find("vendor ");
        return rows.substr(start, rows.find('\n', start) - start);
    };
    vendor("A\x1B[31m\t\x7f\xc2\x9bM\xc3\xbcller\n");
    EXPECT_EQ(row_in("C.UTF-8"), "vendor       A\\x1b[31m\\x09\\x7f\\xc2\\x9bM\xc3\xbcller");
    EXPECT_EQ(row_in("C"), "vendor       A\\x1b[31m\\x09\\x7f\\xc2\\x9bM\\xc3\\xbcller");
}

TEST_F(show_command, prints_one_value_alone)
{
    EXPECT_EQ(shown("vendor"), none);
    vendor("\n");
    EXPECT_EQ(shown("vendor"), printed("\n"));
    describe_machine();
    EXPECT_EQ(shown("serial"), printed("ABC 123\n"));
}

TEST_F(show_command, queries_only_the_wanted_fact)
{
    machine.tool("/usr/sbin/dmidecode", "");
    vendor("Acme\n");
    EXPECT_EQ(shown("vendor"), printed("Acme\n"));
    EXPECT_TRUE(machine.runs("/usr/sbin/dmidecode").empty());
}

TEST_F(show_command, reads_the_serial_number_from_dmidecode_where_sysfs_has_none)
{
    machine.tool("/usr/sbin/dmidecode", "\tSerial Number: ABC 123\n");
    EXPECT_EQ(shown("serial"), printed("ABC 123\n"));
}

TEST_F(show_command, names_the_class_of_the_manufacturer)
{
    const struct {
        const char *manufacturer;
        const char *name;
        const char *lenovo;
        std::size_t runs; // the exact patterns take one, the others another
    } manufacturers[] = {
        {"LENOVO\n", "TYPE_LENOVO\n", "1\n", 1},
        {"HUAWEI\n", "TYPE_HUAWEI\n", "0\n", 1},
        {"GREAT WALL\n", "TYPE_GREATWALL\n", "0\n", 2},
        {"Dell Inc.\n", "TYPE_UNKNOWN\n", "0\n", 2},
    };
    for (const auto &[manufacturer, name, lenovo, runs] : manufacturers) {
        machine.tool("/usr/sbin/dmidecode", manufacturer);
        const std::size_t before = machine.runs("/usr/sbin/dmidecode").size();
        EXPECT_EQ(shown("manufacturer"), printed(name));
        EXPECT_EQ(machine.runs("/usr/sbin/dmidecode").size() - before, runs) << manufacturer;
        EXPECT_EQ(shown("lenovo"), printed(lenovo));
    }
}

// What only root can read.

TEST_F(show_command, names_the_facts_that_may_need_root)
{
    describe_machine();
    const outcome all = orvane({}, ordinary_user);
    EXPECT_EQ(all.error,
              "orvane: may need root: system_uuid, serial, oem_info, manufacturer, lenovo\n");
    EXPECT_NE(all.output.find("vendor       Acme Inc.\n"), std::string::npos) << all;
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(shown("serial", ordinary_user), may_need_root(1, "", "serial"));
    for (const std::string name : {"vendor", "mac", "huawei_9x0"})
        EXPECT_EQ(shown(name, ordinary_user).error, "") << name;

    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    EXPECT_EQ(shown("disk", ordinary_user), may_need_root(1, "", "disk"));
}

TEST_F(show_command, names_a_fact_whose_answer_root_may_change)
{
    machine.script("/usr/sbin/dmidecode", "[ $(id -u) = 0 ] && echo LENOVO");
    EXPECT_EQ(shown("manufacturer", ordinary_user),
              may_need_root(0, "TYPE_UNKNOWN\n", "manufacturer"));
    EXPECT_EQ(shown("lenovo", ordinary_user), may_need_root(0, "0\n", "lenovo"));
    EXPECT_EQ(shown("lenovo"), printed("1\n"));

    describe_flash("[ $(id -u) = 0 ] && echo 'Serial Number: SN0001'");
    EXPECT_EQ(shown("oem_info", ordinary_user), may_need_root(0, "\n", "oem_info"));
    EXPECT_EQ(shown("oem_info"), printed("SN0001_FLASH01_0123abcd\n"));
}

// What the library and its tools report.

TEST_F(show_command, discards_the_standard_error_of_tools)
{
    machine.script("/usr/sbin/dmidecode", "echo '/dev/mem: Permission denied' >&2; exit 1");
    EXPECT_EQ(orvane({}).error, "");
    EXPECT_EQ(machine.runs("/usr/sbin/dmidecode").size(), 10U);
}

TEST_F(show_command, prints_the_line_in_which_the_library_ends_the_process)
{
    machine.file("/proc/cmdline", std::string(4096, 'x'));
    EXPECT_EQ(orvane({}), failed("liborvane: fatal: the kernel command line is longer than 4095 "
                                 "characters"));
}

TEST_F(show_command, traces_as_any_program_does)
{
    EXPECT_EQ(shown("os_version").status, 0);
    const std::string log = machine.content("/var/log/orvane/liborvane.log");
    EXPECT_TRUE(log.ends_with("]: _os_get_version, begin\n")) << log;
}

TEST_F(show_command, reports_to_root_once_that_the_trace_log_cannot_be_opened)
{
    describe_education_system();
    EXPECT_EQ(shown("os_version", ordinary_user), printed("2\n"));
    machine.read_only("/var/log");
    EXPECT_EQ(
        shown("os_version"),
        (outcome{0, "2\n", "orvane: the trace log cannot be opened, so this run left no trace\n"}));
}

// root-disk.

TEST_F(show_command, prints_the_root_disk_that_lsblk_lists)
{
    machine.tool("/usr/bin/lsblk", R"({"blockdevices": [{"name": "sda", "children": [)"
                                   R"({"name": "sda1", "mountpoint": "/"}]}]})");
    EXPECT_EQ(orvane({"root-disk"}), printed("sda\n"));
    EXPECT_EQ(machine.runs("/usr/bin/lsblk").at(0).arguments, (texts{"/usr/bin/lsblk", "-J"}));
}

TEST_F(show_command, reports_why_there_is_no_root_disk)
{
    const std::string unlisted = "lsblk -J lists no partition mounted at / by \"mountpoint\"";
    const struct {
        std::string listing;
        std::string message;
    } listings[] = {
        {R"({"blockdevices": []})", unlisted},
        {"{}", unlisted},
        {"not json", unlisted},
        {"", "lsblk is missing or lists nothing"},
        {std::string(5000, 'x'),
         "liborvane: fatal: the listing of lsblk is longer than 4095 characters"},
    };
    for (const auto &[listing, message] : listings) {
        machine.tool("/usr/bin/lsblk", listing);
        EXPECT_EQ(orvane({"root-disk"}), failed(message));
    }
    machine.remove("/usr/bin/lsblk");
    EXPECT_EQ(orvane({"root-disk"}), failed("lsblk is missing or lists nothing"));
}
