// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane show and orvane root-disk.
#include "command_machine.h"

#include <filesystem>
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

    // Firmware tables, of which this is a sign, and what dmidecode prints of them.
    void describe_firmware(const std::string &dmidecode)
    {
        machine.file("/sys/class/dmi/id/board_name", "Board\n");
        machine.script("/usr/sbin/dmidecode", dmidecode);
    }

    [[nodiscard]] outcome shown(const std::string &name, uid_t user = 0) const
    {
        return orvane({"show", name}, user);
    }
};

// A fact without an answer: one line, and nothing on standard output.
outcome missing(int status, const std::string &name, const std::string &explanation)
{
    return {status, "",
            "orvane: " + name + ": " + explanation + " (see orvane explain " + name + ")\n"};
}

} // namespace

TEST_F(show_command, prints_one_aligned_row_for_each_fact)
{
    describe_machine();
    const outcome table = printed(
        "root_device  /dev/nvme0n1p2\n"
        "disk         Fast-Disk-1_S123\n"
        "mac          f4:8e:38:00:00:01\n"
        "system_uuid  4c4c4544-0042-3510-8052-b4c04f4d3132\n"
        "vendor       Acme Inc.\n"
        "model        0A1B\n"
        "serial       ABC 123\n"
        "oem_info     -                                    absent (file-absent)\n"
        "manufacturer -                                    not determinable here (tool-missing)\n"
        "lenovo       -                                    not determinable here (tool-missing)\n"
        "huawei_9x0   1\n"
        "os_version   2\n");
    EXPECT_EQ(orvane({"show"}), table);
    EXPECT_EQ(orvane({}), table);
}

// Unknown is not false, and not zero.
TEST_F(show_command, prints_why_there_is_no_answer)
{
    machine.file("/proc/mounts", "overlay / overlay rw 0 0\n");
    machine.directory("/sys/class");
    EXPECT_EQ(orvane({}), printed("root_device  - not determinable here (not-a-block-device)\n"
                                  "disk         - not determinable here (not-a-block-device)\n"
                                  "mac          - absent (no-interface)\n"
                                  "system_uuid  - absent (no-firmware-tables)\n"
                                  "vendor       - absent (no-firmware-tables)\n"
                                  "model        - absent (no-firmware-tables)\n"
                                  "serial       - absent (no-firmware-tables)\n"
                                  "oem_info     - absent (file-absent)\n"
                                  "manufacturer - absent (no-firmware-tables)\n"
                                  "lenovo       - absent (no-firmware-tables)\n"
                                  "huawei_9x0   - absent (file-absent)\n"
                                  "os_version   - absent (file-absent)\n"));
}

// In a chroot without /sys and the mount table, and where no file can be opened.
TEST_F(show_command, does_not_take_for_absent_what_cannot_be_read)
{
    const std::string rows = orvane({}).output;
    for (const std::string name : {"root_device ", "disk        ", "system_uuid ", "vendor      "})
        EXPECT_NE(rows.find(name + " - not determinable here (source-failed)\n"), std::string::npos)
            << rows;
    describe_machine();
    const std::string limited = shell("prlimit --nofile=6 orvane").output;
    for (const std::string name : {"root_device ", "disk        ", "system_uuid ", "vendor      ",
                                   "model       ", "huawei_9x0  ", "os_version  "})
        EXPECT_NE(limited.find(name + " - not determinable here (source-failed)\n"),
                  std::string::npos)
            << limited;
}

// As after a signal() of the program that starts the command.
TEST_F(show_command, answers_where_the_end_of_a_child_is_ignored)
{
    describe_machine();
    EXPECT_EQ(shell("trap '' CHLD; exec orvane show vendor disk"),
              printed("vendor Acme Inc.\ndisk   Fast-Disk-1_S123\n"));
    EXPECT_EQ(shell("(ulimit -f 0; exec orvane show vendor) | cat"), printed("Acme Inc.\n"));
}

TEST_F(show_command, prints_one_json_object)
{
    describe_machine();
    const outcome shown = orvane({"show", "--json", "vendor", "huawei_9x0", "lenovo"});
    EXPECT_EQ(shown.status, 3);
    EXPECT_EQ(shown.output, R"({
  "schema": 1,
  "facts": {
    "vendor": {
      "value": "Acme Inc.",
      "status": "known",
      "reason": "answered",
      "usable_as_identity": false,
      "source": "/sys/class/dmi/id/sys_vendor"
    },
    "huawei_9x0": {
      "value": 1,
      "status": "known",
      "reason": "answered",
      "usable_as_identity": false,
      "source": "/proc/cpuinfo"
    },
    "lenovo": {
      "value": null,
      "status": "not_determinable",
      "reason": "tool-missing",
      "usable_as_identity": false,
      "source": null
    }
  }
}
)");
    EXPECT_EQ(orvane({"show", "-j"}), orvane({"show", "--format=json"}));
}

TEST_F(show_command, prints_valid_json_for_any_bytes)
{
    const auto value = [this] {
        const std::string line = orvane({"show", "--json", "vendor"}).output;
        const std::size_t start = line.find("\"value\": ") + 9;
        return line.substr(start, line.find(",\n", start) - start);
    };
    vendor("\"A\\B\"\t\xFF\x01\n");
    EXPECT_EQ(value(), R"("\"A\\B\"\t)"
                       "\xEF\xBF\xBD"
                       R"(\u0001")");
    // U+009B starts an escape sequence, as ESC and "[" do.
    vendor("\x1b[0m\x7f\xc2\x80\xc2\x9b"
           "31mM\xc3\xbcller\xc2\xa0\xc2\xb5\xe2\x9b\x84\n");
    EXPECT_EQ(value(), R"("\u001b[0m\u007f\u0080\u009b31m)"
                       "M\xc3\xbcller\xc2\xa0\xc2\xb5\xe2\x9b\x84\"");
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

TEST_F(show_command, prints_assignments_that_a_shell_can_evaluate)
{
    const std::string hostile =
        "a'b\"c `touch /srv/ran` $(touch /srv/ran) \\ ;&|<>* \t\x1b[31m\xff";
    vendor(hostile + "\n");
    EXPECT_EQ(shell("eval \"$(orvane show --format=shell vendor model)\"; "
                    "printf '%s|%s|%s|%s' \"$ORVANE_VENDOR\" \"$ORVANE_VENDOR_STATUS\" "
                    "\"$ORVANE_MODEL\" \"$ORVANE_MODEL_STATUS\""),
              printed(hostile + "|known||not_determinable"));
    EXPECT_EQ(machine.content("/srv/ran"), "");
    EXPECT_FALSE(std::filesystem::exists("/srv/ran"));
}

TEST_F(show_command, prints_one_value_alone)
{
    describe_machine();
    EXPECT_EQ(shown("serial"), printed("ABC 123\n"));
    EXPECT_EQ(orvane({"show", "serial", "vendor"}), printed("serial ABC 123\nvendor Acme Inc.\n"));
}

TEST_F(show_command, reports_in_one_line_why_a_fact_has_no_value)
{
    machine.directory("/sys/class");
    EXPECT_EQ(shown("vendor"),
              missing(1, "vendor", "absent: the kernel shows no DMI tables; use another fact"));
    vendor("\n");
    EXPECT_EQ(shown("vendor"),
              missing(1, "vendor", "absent: the source holds an empty text; use another fact"));
    EXPECT_EQ(shown("model"),
              missing(3, "model",
                      "not determinable here: /usr/sbin/dmidecode is not installed; install the "
                      "package dmidecode"));
    machine.file("/sys/devices/virtual/dmi/id/product_uuid",
                 "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n");
    EXPECT_EQ(shown("system_uuid"),
              missing(1, "system_uuid",
                      "refused: the firmware holds a placeholder that many machines share: "
                      "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF; use "
                      "another fact, or have the board's maker set it"));
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

TEST_F(show_command, marks_a_value_that_many_machines_have)
{
    describe_machine();
    machine.file("/sys/class/dmi/id/product_serial", "To be filled by O.E.M.\n");
    EXPECT_EQ(orvane({"show", "serial", "model"}),
              printed("serial To be filled by O.E.M. identifies no machine\n"
                      "model  0A1B\n"));
    EXPECT_EQ(shown("serial"), printed("To be filled by O.E.M.\n"));
    const auto is_usable = [this](const std::string &name) {
        return orvane({"show", "--json", name}).output.find("\"usable_as_identity\": true") !=
               std::string::npos;
    };
    EXPECT_FALSE(is_usable("serial"));
    EXPECT_FALSE(is_usable("vendor")); // of many machines, whatever it is
    EXPECT_TRUE(is_usable("disk"));
    EXPECT_TRUE(is_usable("mac"));
    machine.file("/proc/net/bonding/bond0", "Slave Interface: eno1\n"
                                            "Permanent HW addr: 52:54:00:00:00:01\n");
    EXPECT_FALSE(is_usable("mac")) << "a hypervisor's";
    EXPECT_TRUE(is_usable("system_uuid"));
}

TEST_F(show_command, fails_where_a_required_fact_is_not_known)
{
    describe_machine();
    EXPECT_EQ(orvane({"show", "vendor", "--require", "vendor", "disk"}),
              (outcome{0, "Acme Inc.\n", ""}));
    outcome expected = missing(1, "manufacturer",
                               "not determinable here: /usr/sbin/dmidecode is not installed; "
                               "install the package dmidecode");
    expected.output = "Acme Inc.\n";
    EXPECT_EQ(orvane({"show", "vendor", "--require", "disk,manufacturer"}), expected);
    expected.output = orvane({}).output;
    EXPECT_EQ(orvane({"show", "--require", "manufacturer"}), expected);
}

TEST_F(show_command, redacts_what_identifies_the_machine)
{
    describe_machine();
    machine.file("/etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    const std::string redacted = orvane({"show", "--redact"}).output;
    for (const char *const secret : {"S123", "f4:8e:38:00:00:01", "4c4c4544", "ABC 123"})
        EXPECT_EQ(redacted.find(secret), std::string::npos) << secret << "\n" << redacted;
    EXPECT_NE(redacted.find("vendor       Acme Inc.\n"), std::string::npos) << redacted;
    EXPECT_NE(redacted.find("disk         Fast-Disk-1_#"), std::string::npos) << redacted;
    EXPECT_EQ(orvane({"show", "--redact"}).output, redacted) << "the same hashes each time";

    const std::string report = orvane({"explain", "--json", "--redact"}).output;
    for (const char *const secret : {"S123", "f4:8e:38:00:00:01", "4c4c4544", "ABC 123"})
        EXPECT_EQ(report.find(secret), std::string::npos) << secret << "\n" << report;

    machine.file("/etc/machine-id", "00000000000000000000000000000001\n");
    EXPECT_NE(orvane({"show", "--redact"}).output, redacted) << "others on another machine";
}

// Neither the model nor the serial number is free of what separates them.
TEST_F(show_command, redacts_a_serial_number_of_any_form)
{
    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    for (const std::string serial : {"lab_7", "HOUSE-LXWZ-0123456789AB", "x"}) {
        machine.tool("/usr/sbin/smartctl", "Device Model: MODELX\nSerial Number: " + serial + "\n");
        const std::string redacted = orvane({"show", "--redact", "disk"}).output;
        EXPECT_TRUE(redacted.starts_with("MODELX_#")) << redacted;
        EXPECT_EQ(redacted.size(), std::string("MODELX_#0123456789\n").size()) << redacted;
        const std::string report = orvane({"explain", "--redact", "--json", "disk"}).output;
        EXPECT_TRUE(serial.size() == 1 || report.find(serial) == std::string::npos) << report;
    }
}

// What only root can read.

TEST_F(show_command, names_the_facts_for_which_root_is_needed)
{
    describe_machine();
    describe_firmware("[ $(id -u) = 0 ] && echo LENOVO");
    const outcome all = orvane({}, ordinary_user);
    EXPECT_EQ(all.error, "orvane: root is needed for: system_uuid, serial, manufacturer, lenovo\n");
    EXPECT_NE(all.output.find("vendor       Acme Inc.\n"), std::string::npos) << all;
    EXPECT_NE(all.output.find("lenovo       -                 needs root (permission-denied)\n"),
              std::string::npos)
        << all;
    EXPECT_EQ(all.status, 0);
    const std::string explanation = "needs root: root alone may read the source; run the command "
                                    "as root, with the capabilities that SECURITY.md lists";
    for (const std::string name : {"serial", "lenovo", "manufacturer"})
        EXPECT_EQ(shown(name, ordinary_user), missing(3, name, explanation));
    for (const std::string name : {"vendor", "mac", "huawei_9x0"})
        EXPECT_EQ(shown(name, ordinary_user).error, "") << name;

    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    EXPECT_EQ(shell("chmod 660 /dev/sda2").status, 0);
    EXPECT_EQ(shown("disk", ordinary_user), missing(3, "disk", explanation));
}

TEST_F(show_command, names_root_only_for_what_root_is_told)
{
    machine.script("/usr/sbin/dmidecode", "echo '/dev/mem: Permission denied' >&2");
    EXPECT_EQ(orvane({}, ordinary_user).error, "") << "there is no firmware to read";
    describe_flash("[ $(id -u) = 0 ] && echo 'Serial Number: SN0001'");
    describe_firmware("[ $(id -u) = 0 ] && echo 'Serial Number: SN0001'");
    EXPECT_EQ(shown("oem_info", ordinary_user).status, 3);
    EXPECT_EQ(shown("oem_info"), printed("SN0001_FLASH01_0123abcd\n"));
}

// What the library and its tools report.

TEST_F(show_command, discards_the_standard_error_of_tools)
{
    machine.script("/usr/sbin/dmidecode", "echo '/dev/mem: Permission denied' >&2; exit 1");
    EXPECT_EQ(orvane({}).error, "");
    EXPECT_EQ(machine.runs("/usr/sbin/dmidecode").size(), 10U);
}

TEST_F(show_command, shows_the_other_facts_where_the_library_ends_the_process)
{
    describe_machine();
    machine.file("/proc/mounts", "");
    machine.file("/proc/cmdline", std::string(4096, 'x'));
    const outcome shown = orvane({"show", "disk", "vendor"});
    EXPECT_EQ(shown.output, "disk   -         not determinable here (library-ended)\n"
                            "vendor Acme Inc.\n");
    EXPECT_EQ(shown.status, 3);
    EXPECT_NE(orvane({"explain", "disk"})
                  .output.find("the process of the query: liborvane: fatal: the kernel"),
              std::string::npos);
}

TEST_F(show_command, writes_the_trace_log_on_demand_alone)
{
    describe_education_system();
    const std::string log = "/var/log/orvane/liborvane.log";
    machine.read_only("/var/log");
    EXPECT_EQ(shown("os_version"), printed("2\n"));
    EXPECT_EQ(
        orvane({"show", "--trace", "os_version"}),
        (outcome{0, "2\n", "orvane: the trace log cannot be opened, so this run left no trace\n"}));
}

TEST_F(show_command, traces_as_any_program_does_where_that_is_wanted)
{
    EXPECT_EQ(orvane({}).status, 0);
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
    EXPECT_EQ(orvane({"show", "--trace", "os_version"}).status, 1);
    const std::string log = machine.content("/var/log/orvane/liborvane.log");
    EXPECT_TRUE(log.ends_with("]: _os_get_version, begin\n")) << log;
}

// root-disk.

TEST_F(show_command, prints_the_root_disk_that_lsblk_lists)
{
    machine.tool("/usr/bin/lsblk", R"({"blockdevices": [{"name": "sda", "children": [)"
                                   R"({"name": "sda1", "mountpoint": "/"}]}]})");
    EXPECT_EQ(orvane({"root-disk"}), printed("sda\n"));
    EXPECT_EQ(machine.runs("/usr/bin/lsblk").at(0).arguments,
              (texts{"/usr/bin/lsblk", "-J", "-o", "NAME,MOUNTPOINT"}));
}

TEST_F(show_command, reports_why_there_is_no_root_disk)
{
    const std::string command = "lsblk -J -o NAME,MOUNTPOINT";
    const struct {
        std::string listing;
        int status;
        std::string message;
    } listings[] = {
        {R"({"blockdevices": []})", 1, command + " lists no disk with a partition mounted at /"},
        {"{}", 3, command + " prints no listing"},
        {"not json", 3, command + " prints no listing"},
        {std::string(5000, 'x'), 3, command + " prints no listing"},
        {"", 3, "lsblk is missing or lists nothing"},
    };
    for (const auto &[listing, status, message] : listings) {
        machine.tool("/usr/bin/lsblk", listing);
        EXPECT_EQ(orvane({"root-disk"}), (outcome{status, "", "orvane: " + message + "\n"}));
    }
    machine.remove("/usr/bin/lsblk");
    EXPECT_EQ(orvane({"root-disk"}),
              (outcome{3, "", "orvane: lsblk is missing or lists nothing\n"}));
}
