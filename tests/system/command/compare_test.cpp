// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane save and orvane compare.
#include "command_machine.h"

#include <string>

namespace {

constexpr uid_t ordinary_user = 65534;

// dmidecode, which would know them, is not installed.
const std::string not_known = "not known, then and now: model, serial, manufacturer, lenovo\n";

class compare_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
        machine.block_device("/dev/nvme0n1p2");
        disk("S123");
        uuid("4c4c4544-0042-3510-8052-b4c04f4d3132");
        vendor("Acme Inc.");
    }

    void disk(const std::string &serial)
    {
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk 1\n");
        machine.file("/sys/block/nvme0n1/device/serial", serial + "\n");
    }
    void uuid(const std::string &text)
    {
        machine.file("/sys/devices/virtual/dmi/id/product_uuid", text + "\n", 0400);
    }
    void vendor(const std::string &text)
    {
        machine.file("/sys/class/dmi/id/sys_vendor", text + "\n");
    }

    void save() { EXPECT_EQ(orvane({"save", "/srv/saved"}), printed("")); }
    [[nodiscard]] outcome compared(uid_t user = 0) const
    {
        return orvane({"compare", "/srv/saved"}, user);
    }

    // The status, and that these phrases are printed.
    void expect_change(const texts &phrases)
    {
        const outcome result = compared();
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.error, "");
        for (const std::string &phrase : phrases)
            EXPECT_NE(result.output.find(phrase), std::string::npos) << phrase << "\n" << result;
    }
};

} // namespace

TEST_F(compare_command, finds_nothing_changed)
{
    save();
    EXPECT_EQ(compared(), printed("nothing has changed\n" + not_known));
}

TEST_F(compare_command, names_what_changed_with_its_sources)
{
    save();
    disk("S999");
    EXPECT_EQ(compared(),
              (outcome{1,
                       "disk: changed\n"
                       "  then: Fast-Disk-1_S123 (/sys/block/nvme0n1/device/serial)\n"
                       "  now:  Fast-Disk-1_S999 (/sys/block/nvme0n1/device/serial)\n"
                       "this usually means: disk: the disk was replaced, or the root file system "
                       "was\n  moved\n" +
                           not_known,
                       ""}));
}

// JSON is UTF-8; firmware is not.
TEST_F(compare_command, finds_bytes_that_are_no_utf_8_unchanged)
{
    vendor("M\374ller \x1b[31m");
    disk("\377\376");
    save();
    EXPECT_EQ(compared(), printed("nothing has changed\n" + not_known));
    vendor("Mueller");
    expect_change({"vendor: changed\n"});
}

TEST_F(compare_command, tells_a_new_mainboard_from_a_clone)
{
    save();
    uuid("00000000-1111-2222-3333-444444444444");
    expect_change(
        {"this usually means: the same disk is in another machine, or the mainboard was"});
    disk("S999");
    expect_change(
        {"this usually means: this is another machine with another disk: the system was"});
    vendor("QEMU");
    expect_change(
        {"this usually means: this is a virtual machine now: the system was virtualised"});
}

TEST_F(compare_command, cannot_compare_where_a_tool_was_removed)
{
    machine.file("/proc/mounts", "/dev/sda2 / ext4 rw 0 0\n");
    machine.block_device("/dev/sda2");
    machine.tool("/usr/sbin/smartctl", "Product: A\nSerial number: B\n");
    save();
    machine.remove("/usr/sbin/smartctl");
    EXPECT_EQ(compared(),
              (outcome{3,
                       "disk: cannot be compared\n"
                       "  then: A_B (/usr/sbin/smartctl -i /dev/sda2)\n"
                       "  now:  no answer (tool-missing)\n"
                       "this usually means: disk: a tool was removed: /usr/sbin/smartctl\n" +
                           not_known,
                       ""}));
}

TEST_F(compare_command, cannot_compare_what_another_user_may_not_read)
{
    save();
    EXPECT_EQ(compared(ordinary_user),
              (outcome{3,
                       "system_uuid: cannot be compared\n"
                       "  then: 4c4c4544-0042-3510-8052-b4c04f4d3132\n"
                       "        (/sys/devices/virtual/dmi/id/product_uuid)\n"
                       "  now:  no answer (permission-denied)\n" +
                           not_known,
                       ""}));
}

TEST_F(compare_command, cannot_compare_where_nothing_was_known)
{
    machine.file("/srv/saved",
                 R"({"schema": 1, "facts": {"serial": {"status": "needs_root", "value": null}}})");
    EXPECT_EQ(compared(),
              (outcome{3, "nothing can be compared\nnot known, then and now: serial\n", ""}));
}

TEST_F(compare_command, reads_and_writes_standard_streams)
{
    EXPECT_EQ(shell("orvane save - | orvane compare -"),
              printed("nothing has changed\n" + not_known));
}

TEST_F(compare_command, prints_the_comparison_as_json)
{
    save();
    disk("S999");
    const outcome result = orvane({"compare", "--json", "/srv/saved"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("    \"disk\": {\n"
                                 "      \"result\": \"changed\",\n"
                                 "      \"then\": {\n"
                                 "        \"value\": \"Fast-Disk-1_S123\",\n"),
              std::string::npos)
        << result;
}

TEST_F(compare_command, refuses_a_file_that_is_not_its_own)
{
    save();
    const std::string saved = machine.content("/srv/saved");
    const struct {
        std::string content;
        std::string reason;
    } files[] = {
        {"", "it is no JSON"},
        {saved.substr(0, saved.size() / 2), "it is no JSON"},
        {std::string(100000, '['), "it is nested too deeply"},
        {"\"\x1b[31m\"", "it is no JSON"},
        {"[]", "it was not written by orvane save"},
        {R"({"schema": "1", "facts": {}})", "it was not written by orvane save"},
        {R"({"schema": 1, "facts": {}})", "it has no fact"},
        {R"({"schema": 2, "facts": {"new": {}}})", "it is of another version, 2, than 1"},
        {R"({"schema": 1, "facts": {"\u001b[31m": {}}})", "there is no fact ' [31m'"},
        {R"({"schema": 1, "redacted": true, "facts": {"disk": {}}})", "it is redacted"},
        {saved + std::string(1 << 20, ' '), "it is longer than 1048576 bytes"},
        {R"({"schema": 1, "facts": {"os_version": {"status": "known", "value": 4294967296}}})",
         "the fact 'os_version' has no status that fits its value"},
        {R"({"schema": 1, "facts": {"disk": {"status": "known"}}})",
         "the fact 'disk' has no status that fits its value"},
        {R"({"schema": 1, "facts": {"disk": {"status": "none"}}})",
         "the fact 'disk' has no status that fits its value"},
        {R"({"schema": 1, "facts": {"disk": 7}})",
         "the fact 'disk' has no status that fits its value"},
    };
    for (const auto &[content, reason] : files) {
        machine.file("/srv/saved", content);
        const outcome result = compared();
        EXPECT_EQ(result.status, 2) << content.substr(0, 60);
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(result.error.starts_with("orvane: /srv/saved: " + reason)) << result;
        EXPECT_EQ(result.error.find('\n'), result.error.size() - 1) << result;
    }
    machine.file("/srv/saved", std::string("{\0}", 3));
    EXPECT_EQ(compared().status, 2);
}

TEST_F(compare_command, cannot_tell_where_the_file_cannot_be_read)
{
    EXPECT_EQ(compared(), (outcome{3, "", "orvane: /srv/saved: No such file or directory\n"}));
}

TEST_F(compare_command, keeps_the_old_file_where_the_new_one_cannot_be_written)
{
    machine.file("/srv/saved", "before");
    EXPECT_EQ(orvane({"save", "/srv/missing/saved"}).status, 3);
    EXPECT_EQ(shell("exec orvane save /dev/full").status, 3);
    EXPECT_EQ(machine.content("/srv/saved"), "before");
    save();
    EXPECT_TRUE(machine.content("/srv/saved").starts_with("{\n  \"schema\": 1,\n"));
}
