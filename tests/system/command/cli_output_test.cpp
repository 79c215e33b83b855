// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"
#include "gpg_machine.h"

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// What becomes of the place that --output names.
class command_output : public with_command<gpg_machine> {
protected:
    // The content of the signed file is "hello\n".
    [[nodiscard]] outcome written_to(const std::string &path)
    {
        return orvane({"gpg", "verify", signed_file(), "--output", path});
    }

    static void is_failure(const outcome &failed)
    {
        EXPECT_EQ(failed.output, "");
        EXPECT_TRUE(failed.error.starts_with("orvane: ")) << failed;
        EXPECT_TRUE(is_one_line(failed.error)) << failed;
        EXPECT_EQ(failed.status, 1);
    }
};

texts names_in(const std::string &directory)
{
    texts names;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename());
    return names;
}

} // namespace

TEST_F(command_output, takes_the_place_of_what_a_file_held)
{
    machine.file("/srv/output", "something longer than that");
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    EXPECT_EQ(machine.content("/srv/output"), "hello\n");
}

TEST_F(command_output, leaves_a_file_its_mode)
{
    for (const mode_t mode : {0600U, 0666U}) {
        machine.file("/srv/output", "before", mode);
        EXPECT_EQ(written_to("/srv/output"), printed(""));
        EXPECT_EQ(permissions("/srv/output"), mode);
    }
}

// What another wrote must not run with the rights of the file's owner.
TEST_F(command_output, does_not_pass_set_user_id_on)
{
    machine.file("/srv/output", "before");
    ASSERT_EQ(::chmod("/srv/output", 06755), 0);
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    struct stat now = {};
    ASSERT_EQ(::stat("/srv/output", &now), 0);
    EXPECT_EQ(now.st_mode & 07777U, 0755U);
}

TEST_F(command_output, leaves_a_file_its_owner)
{
    machine.file("/srv/output", "before");
    ASSERT_EQ(::chown("/srv/output", other_user::nobody, 1), 0);
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    struct stat status = {};
    ASSERT_EQ(::stat("/srv/output", &status), 0);
    EXPECT_EQ(status.st_uid, other_user::nobody);
    EXPECT_EQ(status.st_gid, 1U);
}

TEST_F(command_output, goes_behind_what_standard_output_holds_where_it_names_that)
{
    machine.file("/srv/log", "before\n");
    EXPECT_EQ(shell("orvane gpg verify " + signed_file() + " --output /srv/log >>/srv/log"),
              printed(""));
    EXPECT_EQ(machine.content("/srv/log"), "before\nhello\n");
}

TEST_F(command_output, has_a_new_file_readable_as_the_umask_says)
{
    EXPECT_EQ(written_to("/srv/new"), printed(""));
    EXPECT_EQ(permissions("/srv/new"), 0644U);
}

TEST_F(command_output, needs_a_name)
{
    EXPECT_EQ(written_to(""), (outcome{2, "",
                                       "orvane: --output: a file needs a name "
                                       "(see orvane --help)\n"}));
}

TEST_F(command_output, may_be_the_input)
{
    const std::string file = signed_file();
    EXPECT_EQ(orvane({"gpg", "verify", file, "--output", file}), printed(""));
    EXPECT_EQ(machine.content(file), "hello\n");
}

TEST_F(command_output, leaves_no_other_file_behind)
{
    machine.directory("/srv/out");
    EXPECT_EQ(written_to("/srv/out/put"), printed(""));
    EXPECT_EQ(names_in("/srv/out"), (texts{"put"}));
}

TEST_F(command_output, goes_where_a_link_points)
{
    machine.file("/srv/elsewhere/file", "before");
    machine.link("/srv/output", "elsewhere/file");
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    EXPECT_EQ(fs::read_symlink("/srv/output"), "elsewhere/file");
    EXPECT_EQ(machine.content("/srv/elsewhere/file"), "hello\n");
}

TEST_F(command_output, goes_where_a_chain_of_links_points)
{
    machine.file("/srv/elsewhere/file", "before");
    machine.link("/srv/middle", "elsewhere/file");
    machine.link("/srv/output", "/srv/middle");
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    EXPECT_EQ(fs::read_symlink("/srv/output"), "/srv/middle");
    EXPECT_EQ(fs::read_symlink("/srv/middle"), "elsewhere/file");
    EXPECT_EQ(machine.content("/srv/elsewhere/file"), "hello\n");
}

TEST_F(command_output, goes_where_a_link_to_no_file_points)
{
    machine.link("/srv/output", "target");
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    EXPECT_TRUE(fs::is_symlink("/srv/output"));
    EXPECT_EQ(machine.content("/srv/target"), "hello\n");
}

TEST_F(command_output, leaves_a_link_that_points_to_itself)
{
    machine.link("/srv/output", "output");
    is_failure(written_to("/srv/output"));
    EXPECT_EQ(fs::read_symlink("/srv/output"), "output");
}

TEST_F(command_output, leaves_a_device_one)
{
    EXPECT_EQ(written_to("/dev/null"), printed(""));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(command_output, goes_to_the_device_where_a_link_points)
{
    machine.link("/srv/output", "/dev/null");
    EXPECT_EQ(written_to("/srv/output"), printed(""));
    EXPECT_TRUE(fs::is_symlink("/srv/output"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(command_output, goes_into_a_named_pipe)
{
    EXPECT_EQ(shell("mkfifo /srv/pipe; orvane gpg verify " + signed_file() +
                    " --output /srv/pipe & cat /srv/pipe; wait"),
              printed("hello\n"));
    EXPECT_TRUE(fs::is_fifo("/srv/pipe"));
}

TEST_F(command_output, fails_on_a_full_device)
{
    EXPECT_EQ(written_to("/dev/full"), complained("orvane: /dev/full: No space left on device\n"));
}

TEST_F(command_output, fails_on_a_directory)
{
    machine.directory("/srv/directory");
    EXPECT_EQ(written_to("/srv/directory"), complained("orvane: /srv/directory: Is a directory\n"));
    EXPECT_TRUE(names_in("/srv/directory").empty());
}

TEST_F(command_output, fails_in_a_missing_directory)
{
    EXPECT_EQ(written_to("/srv/missing/output"),
              complained("orvane: /srv/missing/output: No such file or directory\n"));
    EXPECT_FALSE(fs::exists("/srv/missing"));
}

TEST_F(command_output, fails_below_a_file)
{
    machine.file("/srv/file", "before");
    is_failure(written_to("/srv/file/output"));
    EXPECT_EQ(machine.content("/srv/file"), "before");
}

TEST_F(command_output, keeps_what_a_file_held_where_the_file_system_is_full)
{
    machine.file_system("/srv/full", "size=8k");
    machine.file("/srv/full/output", "before");
    machine.file("/srv/full/rest", std::string(4096, 'x'));
    is_failure(written_to("/srv/full/output"));
    EXPECT_EQ(machine.content("/srv/full/output"), "before");
    EXPECT_EQ(names_in("/srv/full").size(), 2U);
}

TEST_F(command_output, keeps_what_a_file_held_where_the_file_system_is_read_only)
{
    machine.file_system("/srv/fixed", "");
    machine.file("/srv/fixed/output", "before");
    machine.read_only("/srv/fixed");
    is_failure(written_to("/srv/fixed/output"));
    EXPECT_EQ(machine.content("/srv/fixed/output"), "before");
}

TEST_F(command_output, keeps_what_a_file_held_where_the_signature_is_not_valid)
{
    machine.file("/srv/output", "before");
    std::string text = machine.content(signed_file("hello\n", {"--clear-sign"}));
    text.replace(text.find("hello"), 5, "hallo");
    machine.file("/srv/altered", text);
    is_failure(orvane({"gpg", "verify", "/srv/altered", "--output", "/srv/output"}));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}
