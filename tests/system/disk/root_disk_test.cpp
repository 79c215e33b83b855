// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root disk by name: the listing, and the disk picked out of it.
#include "fixture.h"
#include "interpose.h"

#include "orvane.h"

#include <csignal>
#include <cstring>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct ended_process {
    int status;
    std::string error;
};

// Runs the action in a child process, which it may end.
ended_process in_child(const std::function<void()> &action)
{
    ended_process ended = {};
    ended.error = standard_error_of([&] {
        const pid_t child = ::fork();
        if (child == 0) {
            action();
            ::_exit(0);
        }
        ::waitpid(child, &ended.status, 0);
    });
    return ended;
}

class lsblk_listing : public on_machine {
protected:
    static std::string listing() { return owned_text(get_lsblk_output()).value(); }

    // The process ends with one line on standard error. It is a child of the test's.
    static void expect_end()
    {
        const ended_process ended = in_child([] { listing(); });
        EXPECT_TRUE(WIFSIGNALED(ended.status) && WTERMSIG(ended.status) == SIGABRT) << ended.status;
        EXPECT_EQ(ended.error,
                  "liborvane: fatal: the listing of lsblk is longer than 4095 characters\n");
    }

    void prints(std::string_view text) { machine.tool("/usr/bin/lsblk", text); }
};

} // namespace

TEST_F(lsblk_listing, is_all_that_the_command_prints)
{
    prints("{\n  \"blockdevices\": []\n}\n");
    EXPECT_EQ(listing(), "{\n  \"blockdevices\": []\n}\n");
}

TEST_F(lsblk_listing, is_printed_by_the_command_with_one_option)
{
    texts commands;
    interpose::popen = [&](const char *command, const char *mode) {
        commands.push_back(std::string(command) + " " + mode);
        return interpose::popen.real(command, mode);
    };
    prints("{}");
    listing();
    EXPECT_EQ(commands, (texts{"lsblk -J r"}));
    EXPECT_EQ(machine.runs("/usr/bin/lsblk").at(0).arguments, (texts{"/usr/bin/lsblk", "-J"}));
}

TEST_F(lsblk_listing, comes_from_the_command_that_the_search_path_finds_first)
{
    prints("not this one");
    machine.tool("/opt/first/lsblk", "this one");
    ::setenv("PATH", "/opt/first:/usr/bin:/bin", 1);
    EXPECT_EQ(listing(), "this one");
}

TEST_F(lsblk_listing, is_empty_where_the_command_prints_nothing)
{
    prints("");
    EXPECT_EQ(listing(), "");
}

TEST_F(lsblk_listing, is_empty_where_there_is_no_such_command)
{
    machine.remove("/usr/bin/lsblk");
    standard_error_of([] { EXPECT_EQ(listing(), ""); });
}

TEST_F(lsblk_listing, does_not_depend_on_the_exit_status)
{
    machine.script("/usr/bin/lsblk", "echo said; exit 3");
    EXPECT_EQ(listing(), "said\n");
}

TEST_F(lsblk_listing, keeps_lines_of_any_length_and_characters)
{
    const std::string text = std::string(2000, 'a') + "\n\t%s%n \xff\n" + std::string(1500, 'b');
    prints(text);
    EXPECT_EQ(listing(), text);
}

TEST_F(lsblk_listing, leaves_the_complaints_of_the_command_alone)
{
    machine.script("/usr/bin/lsblk", "echo said; echo complained >&2");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(listing(), "said\n"); }), "complained\n");
}

TEST_F(lsblk_listing, is_none_and_says_why_where_no_command_can_be_started)
{
    interpose::popen = [](const char *, const char *) -> std::FILE * {
        errno = EAGAIN;
        return nullptr;
    };
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(listing(), "(no text)"); }),
              "Failed to run lsblk: Resource temporarily unavailable\n");
}

TEST_F(lsblk_listing, is_read_with_room_for_4095_bytes_and_closed)
{
    texts calls;
    interpose::fgets = [&](char *room, int size, std::FILE *stream) {
        calls.push_back("fgets " + std::to_string(size));
        return interpose::fgets.real(room, size, stream);
    };
    interpose::pclose = [&](std::FILE *stream) {
        calls.emplace_back("pclose");
        return interpose::pclose.real(stream);
    };
    prints("one\ntwo\n");
    listing();
    EXPECT_EQ(calls, (texts{"fgets 4096", "fgets 4096", "fgets 4096", "pclose"}));
}

TEST_F(lsblk_listing, may_have_4095_characters)
{
    const std::string text = std::string(4000, 'x') + "\n" + std::string(93, 'y') + "\n";
    ASSERT_EQ(text.size(), 4095U);
    prints(text);
    EXPECT_EQ(listing(), text);
}

TEST_F(lsblk_listing, may_have_4095_characters_on_one_line)
{
    prints(std::string(4095, 'x'));
    EXPECT_EQ(listing(), std::string(4095, 'x'));
}

TEST_F(lsblk_listing, ends_the_process_with_4096_characters)
{
    prints(std::string(4096, 'x'));
    expect_end();
}

TEST_F(lsblk_listing, ends_the_process_with_a_newline_too_many)
{
    prints(std::string(4095, 'x') + "\n");
    expect_end();
}

TEST_F(lsblk_listing, ends_the_process_with_4096_characters_on_two_lines)
{
    prints(std::string(2048, 'x') + "\n" + std::string(2047, 'y'));
    expect_end();
}

TEST_F(lsblk_listing, ends_the_process_with_a_megabyte)
{
    prints(std::string(1000000, '\n'));
    expect_end();
}

TEST_F(lsblk_listing, is_written_into_a_block_of_4096_bytes)
{
    prints("{}");
    char *const block = get_lsblk_output();
    ::memset(block, 'x', 4096);
    EXPECT_EQ(block[4095], 'x');
    std::free(block);
}

TEST_F(lsblk_listing, goes_unnoticed_in_the_trace)
{
    prints("{}");
    listing();
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_F(lsblk_listing, is_read_where_children_are_ignored)
{
    std::signal(SIGCHLD, SIG_IGN);
    prints("{}");
    EXPECT_EQ(listing(), "{}");
    std::signal(SIGCHLD, SIG_DFL);
}

TEST_F(lsblk_listing, is_read_with_any_standard_descriptors_closed)
{
    prints("{}");
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        std::string read;
        EXPECT_EQ(left_open(closed, [&] { read = listing(); }), std::vector<int>{});
        EXPECT_EQ(read, "{}");
    }
}

namespace {

std::string root_disk(const char *json)
{
    return owned_text(find_root_disk(json)).value();
}

struct listed : named_case {
    const char *json;
    const char *disk;
};

class root_disk_of : public testing::TestWithParam<listed> {};

} // namespace

TEST_P(root_disk_of, is_picked_by_its_childs_mount_point)
{
    std::string disk;
    const std::string error = standard_error_of([&disk] { disk = root_disk(GetParam().json); });
    EXPECT_EQ(disk, GetParam().disk);
    EXPECT_EQ(error, "");
}

INSTANTIATE_TEST_SUITE_P(
    listing, root_disk_of,
    testing::Values(
        listed{"partition", R"({"blockdevices": [{"name": "sda", "mountpoint": null, "children": [
            {"name": "sda1", "mountpoint": "/boot"}, {"name": "sda2", "mountpoint": "/"}]}]})",
               "sda"},
        listed{"second_device", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "/home"}]},
            {"name": "nvme0n1", "children": [{"mountpoint": null}, {"mountpoint": "/"}]}]})",
               "nvme0n1"},
        listed{"first_of_two", R"({"blockdevices": [
            {"name": "sda", "children": [{"mountpoint": "/"}]},
            {"name": "sdb", "children": [{"mountpoint": "/"}]}]})",
               "sda"},
        listed{"other_mount_points", R"({"blockdevices": [{"name": "sda", "children": [
            {"mountpoint": "//"}, {"mountpoint": "/ "}, {"mountpoint": " /"}, {"mountpoint": ""},
            {"mountpoint": "/boot"}]}]})",
               "(no text)"},
        listed{"logical_volume", R"({"blockdevices": [{"name": "sda", "children": [
            {"name": "sda3", "mountpoint": null, "children": [
                {"name": "vg0-root", "mountpoint": "/"}]}]}]})",
               "(no text)"},
        listed{"disk_without_partitions",
               R"({"blockdevices": [{"name": "vda", "mountpoint": "/"}]})", "(no text)"},
        listed{"array_of_mount_points", R"({"blockdevices": [{"name": "sda", "children": [
            {"name": "sda1", "mountpoints": ["/"]}, {"mountpoint": ["/"]}, {"mountpoint": {}},
            {"mountpoint": 1}, {"mountpoint": true}]}]})",
               "(no text)"},
        listed{"keys_in_other_case", R"({"BlockDevices": [{"Name": "sda", "CHILDREN": [
            {"MountPoint": "/"}]}]})",
               "sda"},
        listed{"name_that_is_no_string", R"({"blockdevices": [
            {"name": 7, "children": [{"mountpoint": "/"}, {"mountpoint": "/"}]},
            {"name": null, "children": [{"mountpoint": "/"}]},
            {"children": [{"mountpoint": "/"}]},
            {"name": "sdb", "children": [{"mountpoint": "/"}]}]})",
               "sdb"},
        listed{"empty_name", R"({"blockdevices": [
            {"name": "", "children": [{"mountpoint": "/"}]}]})",
               ""},
        listed{"children_that_are_no_array", R"({"blockdevices": [
            {"name": "sda", "children": {"a": {"mountpoint": "/"}}},
            {"name": "sdb", "children": null}, {"name": "sdc", "children": "/"}]})",
               "(no text)"},
        listed{"children_that_are_no_objects", R"({"blockdevices": [
            {"name": "sda", "children": [null, "/", 1, ["/"], [{"mountpoint": "/"}]]}]})",
               "(no text)"},
        listed{"devices_that_are_no_objects", R"({"blockdevices": [null, "sda", 1, []]})",
               "(no text)"},
        listed{"no_devices", R"({"blockdevices": []})", "(no text)"},
        listed{"escapes", R"({"blockdevices": [{"name": "a\u0062\n", "children": [
            {"mountpoint": "\/"}]}]})",
               "ab\n"},
        listed{"text_after_the_listing", R"({"blockdevices": [{"name": "sda", "children": [
            {"mountpoint": "/"}]}]} and more)",
               "sda"}),
    [](const auto &listing) { return listing.param.name; });

namespace {

struct complained : named_case {
    const char *json;
    const char *error;
};

class unusable_listing : public testing::TestWithParam<complained> {};

} // namespace

TEST_P(unusable_listing, gives_no_disk_and_says_why)
{
    std::string disk;
    const std::string error = standard_error_of([&disk] { disk = root_disk(GetParam().json); });
    EXPECT_EQ(disk, "(no text)");
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    listing, unusable_listing,
    testing::Values(complained{"empty_object", "{}",
                               "Invalid JSON structure: blockdevices is not an array\n"},
                    complained{"object_of_devices", R"({"blockdevices": {"name": "sda"}})",
                               "Invalid JSON structure: blockdevices is not an array\n"},
                    complained{"null_devices", R"({"blockdevices": null})",
                               "Invalid JSON structure: blockdevices is not an array\n"},
                    complained{"array_at_the_top", "[]",
                               "Invalid JSON structure: blockdevices is not an array\n"},
                    complained{"text_at_the_top", R"("blockdevices")",
                               "Invalid JSON structure: blockdevices is not an array\n"},
                    complained{"empty_text", "", "JSON parse error: \n"},
                    complained{"no_json", "not json", "JSON parse error: not json\n"},
                    complained{"broken_further_on", R"({"blockdevices": [ %s }, "rest": 1})",
                               "JSON parse error: %s }, \"rest\": 1}\n"},
                    complained{"cut_off", R"({"blockdevices": [)", "JSON parse error: \n"}),
    [](const auto &listing) { return listing.param.name; });

TEST(root_disk, of_no_text_is_none_in_silence)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk(nullptr), "(no text)"); }), "");
}

TEST(root_disk, is_none_in_silence_where_the_parser_knows_no_position)
{
    interpose::cJSON_GetErrorPtr = []() -> const char * { return nullptr; };
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk("not json"), "(no text)"); }), "");
}

// Another thread's parser may have failed meanwhile, over a text that is gone.
TEST(root_disk, does_not_look_at_a_position_in_another_text)
{
    interpose::cJSON_GetErrorPtr = []() -> const char * {
        return reinterpret_cast<const char *>(8);
    };
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk("not json"), "(no text)"); }), "");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk(nullptr), "(no text)"); }), "");
}

TEST(root_disk, does_not_look_at_a_position_behind_its_text)
{
    static constexpr char text[] = "not json\0gone";
    interpose::cJSON_GetErrorPtr = [] { return &text[sizeof "not json"]; };
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(root_disk(text), "(no text)"); }), "");
}

TEST(root_disk, is_none_where_there_is_no_memory_for_its_name)
{
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(root_disk(R"({"blockdevices": [{"name": "a", "children": [{"mountpoint": "/"}]}]})"),
              "(no text)");
}
