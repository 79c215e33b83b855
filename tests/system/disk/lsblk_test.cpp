// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What lsblk lists: the identity of a mapped device's disk, the type of a device, and the disk that
// holds the root file system.
#include "built_locale.h"
#include "disk_machine.h"
#include "process.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

using namespace std::string_literals;

// The identity of a mapped device's disk.

namespace {

// A mapped device whose dependency sda2 is no node here. Every path probes as a whole disk: the
// identity that the listing comes to is the answer.
class listed_disk : public mapping_machine {
protected:
    void furnish() override
    {
        mapping_machine::furnish();
        depends_on("sda2");
        kernel.set_everything_whole();
    }

    std::string identity_in(std::string_view listing)
    {
        machine.tool(lsblk, listing);
        return mapped_identity();
    }

    void expect_listing_trace(const texts &lines)
    {
        expect_trace(missing_node_trace("sda2") + lines + refused_request_trace());
    }
};

std::string with_devices(const std::string &devices)
{
    return R"({"blockdevices": [)" + devices + "]}";
}
std::string with_disk(const std::string &serial, const std::string &model)
{
    return with_devices(R"({"name": "/dev/sda2", "serial": )" + serial + R"(, "model": )" + model +
                        "}");
}
const std::string disk = R"({"name": "/dev/sda2", "serial": "S1", "model": "M1"})";

} // namespace

TEST_F(listed_disk, is_known_by_its_model_and_serial_number)
{
    EXPECT_EQ(identity_in(R"({
   "blockdevices": [
      {"name":"/dev/sr0", "serial":null, "model":null},
      {"name":"/dev/sda2", "serial":"Z1D5 ABCD", "model":"ST1000DM003-1CH162",
         "children": [
            {"name":"/dev/sda1", "serial":null, "model":null}
         ]
      }
   ]
}
)"),
              "ST1000DM003-1CH162_Z1D5-ABCD");
    EXPECT_EQ(machine.runs(lsblk).at(0).arguments,
              (texts{"/usr/bin/lsblk", "-Jp", "-o", "name,serial,model"}));
    expect_trace(missing_node_trace("sda2") +
                 texts{"current name '/dev/sr0', dev_name 'sda2'",
                       "current name '/dev/sda2', dev_name 'sda2'",
                       "Serial for device '/dev/sda2': Z1D5 ABCD",
                       "Serial for device '/dev/sda2': ST1000DM003-1CH162"});
}

TEST_F(listed_disk, is_queried_after_dmsetup_by_this_command_line)
{
    machine.watch_shell();
    EXPECT_EQ(identity_in(with_devices(disk)), "M1_S1");
    EXPECT_EQ(machine.shell_commands(), texts{"/usr/bin/lsblk -Jp -o name,serial,model"});
    EXPECT_EQ(machine.runs(dmsetup).size(), 1U);
}

namespace {

struct traced_listing : named_case {
    std::string listing;
    texts trace;
};

class listed_disk_without : public listed_disk,
                            public testing::WithParamInterface<traced_listing> {};

const texts not_parsed = {"Failed to parse JSON"};
const texts no_devices = {"Key 'blockdevices' does not exist."};
const texts seen = {trace_line::listed_name("/dev/sda2", "sda2")};
const texts serial_seen = seen + texts{trace_line::listed_text("/dev/sda2", "S1")};
const texts no_string = {"Serial for device '/dev/sda2' is not a string or is NULL."};
const texts nameless_devices(11, trace_line::listed_name("(null)", "sda2"));

traced_listing nameless(const char *test, const std::string &name)
{
    return {test,
            with_devices(R"({"name": ")" + name + R"("}, )" + disk),
            {trace_line::listed_name(name, "sda2"), "get basename error"}};
}

} // namespace

TEST_P(listed_disk_without, has_no_identity)
{
    EXPECT_EQ(identity_in(GetParam().listing), no_text);
    expect_listing_trace(GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(
    a_listing, listed_disk_without,
    testing::Values(
        traced_listing{"being_empty", "", not_parsed},
        traced_listing{"being_json", "lsblk: unknown column: serial\n", not_parsed},
        traced_listing{"being_whole", R"({"blockdevices": [{"name": "/dev)", not_parsed},
        traced_listing{"a_first_byte", "\0{\"blockdevices\": []}"s, not_parsed},
        traced_listing{"members", "{}", no_devices},
        traced_listing{"devices_at_the_top", R"({"all": )" + with_devices(disk) + "}", no_devices},
        traced_listing{"an_object", "[" + with_devices(disk) + "]", no_devices},
        traced_listing{"devices", with_devices(""), {}},
        traced_listing{"an_array", R"({"blockdevices": null})", {}},
        traced_listing{"a_text_in_an_array", R"({"blockdevices": "/dev/sda2"})", {}}));

INSTANTIATE_TEST_SUITE_P(
    the_name, listed_disk_without,
    testing::Values(traced_listing{"at_the_top",
                                   with_devices(R"({"name": "/dev/sda", "serial": "S1",
                                       "model": "M1", "children": [)" +
                                                disk + "]}"),
                                   {trace_line::listed_name("/dev/sda", "sda2")}},
                    traced_listing{"exactly",
                                   with_devices(R"({"name": "/dev/sda22"}, {"name": "/dev/SDA2"},
                                       {"name": "xsda2"}, {"name": "%n%s"})"),
                                   {trace_line::listed_name("/dev/sda22", "sda2"),
                                    trace_line::listed_name("/dev/SDA2", "sda2"),
                                    trace_line::listed_name("xsda2", "sda2"),
                                    trace_line::listed_name("%n%s", "sda2")}},
                    traced_listing{"as_a_text",
                                   with_devices(R"({}, {"name": null}, {"name": 5}, {"name": true},
                                       {"name": ["sda2"]}, {"name": {"name": "sda2"}}, 5, "sda2",
                                       null, ["sda2"], [])"),
                                   nameless_devices},
                    nameless("in_an_empty_text", ""), nameless("in_a_slash", "/"),
                    nameless("behind_the_last_slash", "/dev/sda2/")));

INSTANTIATE_TEST_SUITE_P(
    a_text, listed_disk_without,
    testing::Values(
        traced_listing{"for_a_null_serial", with_disk("null", R"("M1")"), seen + no_string},
        traced_listing{"for_a_number_as_serial", with_disk("5", R"("M1")"), seen + no_string},
        traced_listing{"for_a_missing_serial",
                       with_devices(R"({"name": "/dev/sda2", "model": "M1"}, )" + disk),
                       seen + no_string},
        traced_listing{"for_a_null_model", with_disk(R"("S1")", "null"), serial_seen + no_string},
        traced_listing{"for_a_truth_as_model", with_disk(R"("S1")", "true"),
                       serial_seen + no_string},
        traced_listing{"for_a_missing_model",
                       with_devices(R"({"name": "/dev/sda2", "serial": "S1"})"),
                       serial_seen + no_string}));

// The parser makes no text without characters, and fails to print for want of memory alone.

TEST_F(listed_disk, is_none_where_the_parser_cannot_print_the_listing)
{
    interpose::cJSON_Print = [](const cJSON *) -> char * { return nullptr; };
    EXPECT_EQ(identity_in(with_devices(disk)), no_text);
    expect_listing_trace({"Failed to print JSON"});
}

namespace {

class listed_disk_with_a_null : public listed_disk,
                                public testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(listed_disk_with_a_null, in_the_place_of_a_text_has_no_identity)
{
    interpose::cJSON_GetObjectItem = [](const cJSON *object, const char *key) {
        static cJSON null_text = {};
        null_text.type = cJSON_String;
        return std::strcmp(key, GetParam()) == 0 ? &null_text
                                                 : interpose::cJSON_GetObjectItem.real(object, key);
    };
    EXPECT_EQ(identity_in(with_devices(disk)), no_text);
    EXPECT_EQ(*(machine.trace().end() - 3), trace_line::null_text(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(of, listed_disk_with_a_null, testing::Values("serial", "model"));

TEST_F(listed_disk, is_none_where_dmsetup_names_no_device)
{
    machine.remove(dmsetup);
    EXPECT_EQ(identity_in(R"json({"blockdevices": [{"name": "/dev/(null)"}, {"name": "(null)"},
                                                   {"name": ""}]})json"),
              no_text);
    expect_trace(missing_node_trace("(null)") +
                 texts{trace_line::listed_name("/dev/(null)", "(null)"),
                       trace_line::listed_name("(null)", "(null)"),
                       trace_line::listed_name("", "(null)"), trace_line::nameless} +
                 refused_request_trace());
}

namespace {

struct listed_identity : named_case {
    std::string listing;
    std::string identity;
};

class listed_disk_in : public listed_disk, public testing::WithParamInterface<listed_identity> {};

} // namespace

TEST_P(listed_disk_in, has_the_identity_of_its_first_match)
{
    EXPECT_EQ(identity_in(GetParam().listing), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(
    a_listing, listed_disk_in,
    testing::Values(
        listed_identity{"with_other_disks_before",
                        with_devices(R"({"name": "/dev/sda", "serial": "S0", "model": "M0"},
                            {"name": 5}, )" +
                                     disk),
                        "M1_S1"},
        listed_identity{"with_another_match_behind",
                        with_devices(disk + R"(, {"name": "/dev/sda2", "serial": "S2",
                            "model": "M2"})"),
                        "M1_S1"},
        listed_identity{
            "with_another_directory",
            with_devices(R"({"name": "/dev/mapper/sda2", "serial": "S", "model": "M"})"), "M_S"},
        listed_identity{"without_directories",
                        with_devices(R"({"name": "sda2", "serial": "S", "model": "M"})"), "M_S"},
        listed_identity{"with_keys_in_another_case",
                        R"({"BLOCKDEVICES": [{"Name": "/dev/sda2", "SERIAL": "S", "moDel": "M"}]})",
                        "M_S"},
        listed_identity{"with_an_object_of_devices", R"({"blockdevices": {"a": )" + disk + "}}",
                        "M1_S1"},
        listed_identity{"with_more_behind", with_devices(disk) + "\ngarbage }{", "M1_S1"},
        listed_identity{"of_16383_bytes",
                        std::string(16383 - with_devices(disk).size(), ' ') + with_devices(disk),
                        "M1_S1"},
        listed_identity{"of_16384_bytes",
                        std::string(16384 - with_devices(disk).size(), ' ') + with_devices(disk),
                        no_text},
        listed_identity{"of_a_megabyte", with_devices(disk) + std::string(1024 * 1024, ' '),
                        "M1_S1"}));

namespace {

std::string json(const std::string &text)
{
    return '"' + text + '"';
}
std::string many(std::size_t count, char sign)
{
    return std::string(count, sign);
}
listed_identity of_texts(const char *test, const std::string &serial, const std::string &model,
                         const std::string &identity)
{
    return {test, with_disk(json(serial), json(model)), identity};
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    of, listed_disk_in,
    testing::Values(
        of_texts("single_blanks", "S4 EV", "Samsung SSD 970", "Samsung-SSD-970_S4-EV"),
        of_texts("runs_of_blanks", "S  1", "A \\t\\n B", "A----B_S--1"),
        of_texts("outer_blanks", "  S ", " M\\n", "-M-_--S-"), of_texts("empty_texts", "", "", "_"),
        of_texts("an_empty_serial", "", "M", "M_"), of_texts("an_empty_model", "S", "", "_S"),
        of_texts("control_characters", "S\\u0001\\u001f\\u007f", "\\b\\f\\r\\u000b", "----_S---"),
        of_texts("bytes_above_ascii", "\xc3\xbc", "M\x80\xff", "M--_--"),
        of_texts("punctuation", "%n%s%%", "!#$&'()*+,-./:;<=>?@[]^_`{|}~",
                 "!#$&'()*+,-./:;<=>?@[]^_`{|}~_%n%s%%"),
        of_texts("1023_bytes", many(511, 'S'), many(511, 'M'),
                 many(511, 'M') + "_" + many(511, 'S')),
        of_texts("1024_bytes", many(512, 'S'), many(511, 'M'),
                 many(511, 'M') + "_" + many(511, 'S')),
        of_texts("a_model_of_1022_bytes", "ST", many(1022, 'M'), many(1022, 'M') + "_"),
        of_texts("a_model_of_1024_bytes", "ST", many(1024, 'M'), many(1023, 'M')),
        of_texts("a_serial_of_5000_bytes", many(5000, 'S'), "", "_" + many(1022, 'S')),
        of_texts("two_texts_of_5000_bytes", many(5000, 'S'), many(5000, ' '), many(1023, '-'))));

TEST_F(listed_disk, keeps_the_characters_that_are_graphic_in_the_locale_of_the_caller)
{
    const built_locale locale(machine, "letters", graphic_c4_and_e9);
    EXPECT_EQ(identity_in(with_disk("\"\xe9\x9f\"", "\"\xc4\x85\"")), "\xc4-_\xe9-");
}

namespace {

// The identity stands in the place of a node's path, by which it is probed.
class probed_text : public mapping_machine {
protected:
    void furnish() override
    {
        mapping_machine::furnish();
        depends_on("sda2");
        kernel.identify("/dev/dm-0", "ATA", "1");
    }

    std::string identity_of(const std::string &serial, const std::string &model)
    {
        machine.tool(lsblk, with_disk(json(serial), json(model)));
        return mapped_identity();
    }
};

} // namespace

TEST_F(probed_text, is_the_answer_for_a_whole_disk_alone)
{
    EXPECT_EQ(identity_of("S1", "M1"), "ATA_1");
    kernel.set_whole_disk("M1_S1", false);
    EXPECT_EQ(identity_of("S1", "M1"), "ATA_1");
    kernel.set_whole_disk("M1_S1");
    EXPECT_EQ(identity_of("S1", "M1"), "M1_S1");
}

TEST_F(probed_text, is_looked_up_in_sysfs_where_its_last_part_begins_with_nvme)
{
    show_nvme_disk("nvme0n1", "Fast Disk\n", "S1\n");
    EXPECT_EQ(identity_of("1", "nvme0n1"), "Fast-Disk_S1");
    EXPECT_EQ(identity_of("1", "NVMe/nvme0n1"), "Fast-Disk_S1");
    EXPECT_EQ(identity_of("1", "nvme1n1"), no_text);
    EXPECT_EQ(identity_of("nvme0n1", "NVMe"), "ATA_1");
}

// The type of a device.

namespace {

struct printed_type : named_case {
    std::string printed;
    bool may_be_logical_volume;
};

class device_type : public on_machine {};
class device_of_type : public device_type, public testing::WithParamInterface<printed_type> {};

} // namespace

TEST_P(device_of_type, may_be_a_logical_volume_or_not)
{
    machine.tool(lsblk, GetParam().printed);
    EXPECT_EQ(is_logical_volume("/dev/dm-0") != 0, GetParam().may_be_logical_volume);
}

INSTANTIATE_TEST_SUITE_P(
    type, device_of_type,
    testing::Values(
        printed_type{"lvm", "lvm\n", true}, printed_type{"lvm_without_newline", "lvm", true},
        printed_type{"lvm_and_more", "lvmcache\n", true},
        printed_type{"lvm_and_a_zero_byte", "lvm\0\xff\n"s, true},
        printed_type{"lvm_before_other_lines", "lvm\npart\n", true},
        printed_type{"lvm_before_a_megabyte", "lvm" + std::string(1000000, 'x') + "\n", true},
        printed_type{"nothing", "", true}, printed_type{"disk", "disk\n", true},
        printed_type{"crypt", "crypt\n", true}, printed_type{"dm", "dm\n", true},
        printed_type{"loop", "loop\n", true}, printed_type{"capitals", "PART\n", true},
        printed_type{"an_empty_line_before_part", "\npart\n", true},
        printed_type{"a_blank_before_part", " part\n", true},
        printed_type{"a_zero_byte_before_part", "\0part\n"s, true},
        printed_type{"the_first_letter_alone", "l", true},
        printed_type{"two_letters_and_a_zero_byte", "lv\0z\n"s, true},
        printed_type{"a_lesser_first_byte", "kzz\n", true},
        printed_type{"a_lesser_second_byte", "luz\n", true},
        printed_type{"a_lesser_third_byte", "lvl\n", true}, printed_type{"part", "part\n", false},
        printed_type{"md", "md\n", false}, printed_type{"raid1", "raid1\n", false},
        printed_type{"rom", "rom\n", false}, printed_type{"part_before_lvm", "part\nlvm\n", false},
        printed_type{"a_greater_first_letter_alone", "m", false},
        printed_type{"a_greater_first_byte", "mvm\n", false},
        printed_type{"a_greater_second_byte", "lwa\n", false},
        printed_type{"a_greater_third_byte", "lvn\n", false},
        printed_type{"a_high_first_byte", "\x80vm\n", false},
        printed_type{"a_high_third_byte", "lv\xff\n", false},
        printed_type{"a_long_line", "part" + std::string(5000, 'x') + "\nlvm\n", false}));

TEST_F(device_type, of_a_logical_volume_is_answered_by_1)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
    machine.tool(lsblk, "");
    EXPECT_EQ(is_logical_volume("/dev/dm-0"), 1);
    expect_trace({});
}

TEST_F(device_type, is_queried_by_the_name_as_it_is_passed)
{
    machine.block_device("/dev/dm-0");
    machine.link("/dev/mapper/vg0-root", "../dm-0");
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume("/dev/mapper/vg0-root"), 1);
    EXPECT_EQ(is_logical_volume(""), 1);
    const auto runs = machine.runs(lsblk);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].arguments, (texts{"/bin/lsblk", "-n", "-o", "TYPE", "/dev/mapper/vg0-root"}));
    EXPECT_EQ(runs[1].arguments, (texts{"/bin/lsblk", "-n", "-o", "TYPE"}));
}

TEST_F(device_type, is_not_queried_without_a_name)
{
    machine.tool(lsblk, "lvm\n");
    EXPECT_EQ(is_logical_volume(nullptr), 0);
    EXPECT_TRUE(machine.runs(lsblk).empty());
}

// The listing for the caller.

namespace {

class lsblk_output : public on_machine {
protected:
    static std::string listing() { return owned_text(get_lsblk_output()).value(); }
};

struct printed_listing : named_case {
    std::string text;
};

class whole_lsblk_output : public lsblk_output,
                           public testing::WithParamInterface<printed_listing> {};
class too_long_lsblk_output : public lsblk_output,
                              public testing::WithParamInterface<printed_listing> {};

} // namespace

TEST_P(whole_lsblk_output, is_returned)
{
    machine.tool(lsblk, GetParam().text);
    EXPECT_EQ(listing(), GetParam().text);
    expect_trace({});
}

INSTANTIATE_TEST_SUITE_P(
    of, whole_lsblk_output,
    testing::Values(printed_listing{"several_lines", "{\n  \"blockdevices\": []\n}\n"},
                    printed_listing{"nothing", ""},
                    printed_listing{"any_bytes", std::string(2000, 'a') + "\n\t%s%n \xff\nb"},
                    printed_listing{"4095_bytes",
                                    std::string(4000, 'x') + "\n" + std::string(93, 'y') + "\n"},
                    printed_listing{"4095_bytes_on_one_line", std::string(4095, 'x')}));

TEST_P(too_long_lsblk_output, ends_the_process)
{
    machine.tool(lsblk, GetParam().text);
    const auto end = run_program({"true"}, [] {
        listing();
        return true;
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error, "liborvane: fatal: the listing of lsblk is longer than 4095 characters\n");
}

INSTANTIATE_TEST_SUITE_P(
    of, too_long_lsblk_output,
    testing::Values(printed_listing{"4096_bytes", std::string(4096, 'x')},
                    printed_listing{"4095_bytes_and_a_newline", std::string(4095, 'x') + "\n"},
                    printed_listing{"4096_bytes_on_two_lines",
                                    std::string(2048, 'x') + "\n" + std::string(2047, 'y')},
                    printed_listing{"a_megabyte", std::string(1000000, '\n')}));

TEST_F(lsblk_output, comes_from_the_first_lsblk_in_the_search_path)
{
    machine.tool(lsblk, "not this one");
    machine.tool("/opt/first/lsblk", "this one");
    machine.watch_shell();
    ::setenv("PATH", "/opt/first:/usr/bin:/bin", 1);
    EXPECT_EQ(listing(), "this one");
    EXPECT_EQ(machine.shell_commands(), texts{"lsblk -J"});
    EXPECT_EQ(machine.runs("/opt/first/lsblk").at(0).arguments, (texts{"/opt/first/lsblk", "-J"}));
}

TEST_F(lsblk_output, is_empty_without_the_tool)
{
    machine.remove(lsblk);
    standard_error_of([] { EXPECT_EQ(listing(), ""); });
}

TEST_F(lsblk_output, stands_in_a_block_of_4096_bytes)
{
    machine.tool(lsblk, "{}");
    char *const block = get_lsblk_output();
    std::memset(block, 'x', 4095);
    block[4095] = '\0';
    EXPECT_EQ(owned_text(block).value(), std::string(4095, 'x'));
}

TEST_F(lsblk_output, is_none_where_no_shell_can_be_started)
{
    machine.remove("/bin/sh");
    const std::string error = standard_error_of([] { EXPECT_EQ(listing(), no_text); });
    // The reason is the C library's choice.
    EXPECT_TRUE(error.starts_with("Failed to run lsblk: ")) << error;
}

// The disk that holds the root file system.

namespace {

std::string root_disk(const char *json)
{
    return owned_text(find_root_disk(json)).value();
}

struct root_disk_listing : named_case {
    const char *json;
    const char *disk;
    const char *error = "";
};

class root_disk_in : public testing::TestWithParam<root_disk_listing> {};

constexpr char no_array[] = "Invalid JSON structure: blockdevices is not an array\n";

} // namespace

TEST_P(root_disk_in, is_the_one_with_a_child_at_the_root)
{
    std::string disk;
    EXPECT_EQ(standard_error_of([&disk] { disk = root_disk(GetParam().json); }), GetParam().error);
    EXPECT_EQ(disk, GetParam().disk);
}

INSTANTIATE_TEST_SUITE_P(
    a_listing, root_disk_in,
    testing::Values(root_disk_listing{"with_a_partition", R"({"blockdevices": [
            {"name": "sda", "mountpoint": null, "children": [
                {"name": "sda1", "mountpoint": "/boot"}, {"name": "sda2", "mountpoint": "/"}]}]})",
                                      "sda"},
                    root_disk_listing{"with_a_second_disk", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "/home"}]},
            {"name": "nvme0n1", "children": [{"mountpoint": null}, {"mountpoint": "/"}]}]})",
                                      "nvme0n1"},
                    root_disk_listing{"with_two_roots", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "/"}]},
            {"name": "sdb", "children": [{"mountpoint": "/"}]}]})",
                                      "sda"},
                    root_disk_listing{"with_other_mount_points", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "//"}, {"mountpoint": "/ "},
                {"mountpoint": " /"}, {"mountpoint": ""}, {"mountpoint": "/boot"}]}]})",
                                      no_text},
                    root_disk_listing{"with_a_logical_volume", R"({"blockdevices": [
            {"name": "sda", "children": [{"name": "sda3", "mountpoint": null, "children": [
                {"name": "vg0-root", "mountpoint": "/"}]}]}]})",
                                      no_text},
                    root_disk_listing{"with_a_disk_without_partitions",
                                      R"({"blockdevices": [{"name": "vda", "mountpoint": "/"}]})",
                                      no_text},
                    root_disk_listing{"with_mount_points_that_are_no_texts", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoints": ["/"]}, {"mountpoint": ["/"]},
                {"mountpoint": {}}, {"mountpoint": 1}, {"mountpoint": true}]}]})",
                                      no_text},
                    root_disk_listing{"with_keys_in_another_case", R"({"BlockDevices": [
            {"Name": "sda", "CHILDREN": [{"MountPoint": "/"}]}]})",
                                      "sda"},
                    root_disk_listing{"with_names_that_are_no_texts", R"({"blockdevices": [
            {"name": 7, "children": [{"mountpoint": "/"}, {"mountpoint": "/"}]},
            {"name": null, "children": [{"mountpoint": "/"}]}, {"children": [{"mountpoint": "/"}]},
            {"name": "sdb", "children": [{"mountpoint": "/"}]}]})",
                                      "sdb"},
                    root_disk_listing{"with_an_empty_name", R"({"blockdevices": [
            {"name": "", "children": [{"mountpoint": "/"}]}]})",
                                      ""},
                    root_disk_listing{"with_children_that_are_no_array", R"({"blockdevices": [
            {"name": "sda", "children": {"a": {"mountpoint": "/"}}},
            {"name": "sdb", "children": null}, {"name": "sdc", "children": "/"}]})",
                                      no_text},
                    root_disk_listing{"with_children_that_are_no_objects", R"({"blockdevices": [
            {"name": "sda", "children": [null, "/", 1, ["/"], [{"mountpoint": "/"}]]}]})",
                                      no_text},
                    root_disk_listing{"with_devices_that_are_no_objects",
                                      R"({"blockdevices": [null, "sda", 1, []]})", no_text},
                    root_disk_listing{"without_devices", R"({"blockdevices": []})", no_text},
                    root_disk_listing{"with_escapes", R"({"blockdevices": [
            {"name": "a\u0062\n", "children": [{"mountpoint": "\/"}]}]})",
                                      "ab\n"},
                    root_disk_listing{"with_more_behind", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "/"}]}]} and more)",
                                      "sda"}));

INSTANTIATE_TEST_SUITE_P(
    no_listing, root_disk_in,
    testing::Values(
        root_disk_listing{"no_text", nullptr, no_text},
        root_disk_listing{"empty_object", "{}", no_text, no_array},
        root_disk_listing{"object_of_devices", R"({"blockdevices": {"name": "sda"}})", no_text,
                          no_array},
        root_disk_listing{"null_devices", R"({"blockdevices": null})", no_text, no_array},
        root_disk_listing{"array_at_the_top", "[]", no_text, no_array},
        root_disk_listing{"text_at_the_top", R"("blockdevices")", no_text, no_array},
        root_disk_listing{"empty_text", "", no_text, "JSON parse error: \n"},
        root_disk_listing{"no_json", "not json", no_text, "JSON parse error: not json\n"},
        root_disk_listing{"broken_inside", R"({"blockdevices": [ %s }, "rest": 1})", no_text,
                          "JSON parse error: %s }, \"rest\": 1}\n"},
        root_disk_listing{"truncated", R"({"blockdevices": [)", no_text, "JSON parse error: \n"}));

namespace {

struct parser_position : named_case {
    const char *(*position)();
};

constexpr char spoilt_text[] = "not json\0gone";

class root_disk_with_a_position : public testing::TestWithParam<parser_position> {};

} // namespace

// The parser keeps one position for all threads: another's may lead into a text that is gone.
TEST_P(root_disk_with_a_position, outside_its_text_is_none_silently)
{
    interpose::cJSON_GetErrorPtr = GetParam().position;
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk(spoilt_text), no_text); }), "");
}

INSTANTIATE_TEST_SUITE_P(
    as, root_disk_with_a_position,
    testing::Values(parser_position{"null", []() -> const char * { return nullptr; }},
                    parser_position{
                        "another_text",
                        []() -> const char * { return reinterpret_cast<const char *>(8); }},
                    parser_position{"a_text_behind", []() -> const char * {
                                        return &spoilt_text[sizeof "not json"];
                                    }}));
