// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Where the output of the command goes: standard output, and the file that --output names.
#include "command_machine.h"
#include "gpg_machine.h"

#include "rsa_samples.h"

#include <climits>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class standard_streams : public with_command<gpg_machine> {
protected:
    void furnish() override
    {
        with_command<gpg_machine>::furnish();
        machine.file("/srv/abc", "abc");
        machine.file("/srv/large", every_byte(1000000));
        std::string list;
        for (int number = 0; number < 2000; ++number)
            list += "900150983cd24fb0d6963f7d28e17f72  abc\n";
        machine.file("/srv/list", list);
        machine.file("/etc/orvane/public.pem", public_key_2048);
        machine.file("/srv/text", sample_text);
        machine.file("/srv/signature", signature_2048);
        machine.file("/sys/class/dmi/id/sys_vendor", "Acme\n");
    }
};

class output_file : public with_command<gpg_machine> {
protected:
    void furnish() override
    {
        with_command<gpg_machine>::furnish();
        machine.file("/srv/signed", machine.content(signed_file()));
    }

    // The content of the signed file is "hello\n".
    [[nodiscard]] outcome written_to(const std::string &path) const
    {
        return orvane({"gpg", "verify", "/srv/signed", "--output", path});
    }
    void expect_written(const std::string &path, const std::string &target) const
    {
        EXPECT_EQ(written_to(path), printed("")) << path;
        EXPECT_EQ(machine.content(target), "hello\n") << path;
    }
};

// A process of the user who owns a directory. Again and again it has a file of its own there, and
// replaces whatever takes the place of that with a link to another file.
class attacker {
public:
    attacker(const char *directory, const char *name, const char *target) : process_(::fork())
    {
        if (process_ != 0)
            return;
        if (::chdir(directory) == 0 && ::setgroups(0, nullptr) == 0 &&
            ::setgid(other_user::nobody) == 0 && ::setuid(other_user::nobody) == 0 &&
            ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0)
            attack(name, target);
        ::_exit(1);
    }
    attacker(const attacker &) = delete;
    attacker &operator=(const attacker &) = delete;
    ~attacker()
    {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

private:
    [[noreturn]] static void attack(const char *name, const char *target)
    {
        for (;;) {
            const int file = ::open("mine", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            struct stat mine = {};
            ::fstat(file, &mine);
            ::fchmod(file, 0666);
            ::close(file);
            static_cast<void>(::symlink(target, "link"));
            ::rename("mine", name);
            struct stat now = mine;
            while (now.st_ino == mine.st_ino && ::lstat(name, &now) == 0)
                continue;
            ::rename("link", name);
        }
    }

    pid_t process_;
};

struct stat status_of(const char *path)
{
    struct stat status = {};
    EXPECT_EQ(::stat(path, &status), 0) << path;
    return status;
}

texts names_in(const std::string &directory)
{
    texts names;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename());
    return names;
}

} // namespace

TEST_F(standard_streams, are_checked_by_every_subcommand)
{
    const std::string gpg_verify = "gpg verify " + signed_file();
    const std::string digest = "digest md5 abc 900150983cd24fb0d6963f7d28e17f72";
    for (const std::string &words :
         {std::string("show"), std::string("show --json"), std::string("show vendor"),
          std::string("--help"), digest, std::string("digest --check list"),
          std::string("digest md5 abc"), std::string("signature text signature"), gpg_verify,
          gpg_verify + " --output -", std::string("base64 encode <abc"),
          std::string("base64 encode <large")}) {
        EXPECT_EQ(shell("orvane " + words + " >/dev/full"),
                  undetermined("standard output: No space left on device"))
            << words;
        EXPECT_EQ(shell("orvane " + words + " >&-"), undetermined("standard output is closed"))
            << words;
    }
    const struct {
        std::string words;
        const char *output;
    } closed[] = {
        {"show vendor", "Acme\n"},
        {digest, "abc: OK\n"},
        {"signature text signature", "text: valid\n"},
        {gpg_verify, "/srv/made: valid; only the signed content of 6 bytes is vouched for\n"},
    };
    for (const auto &[words, output] : closed)
        EXPECT_EQ(shell("orvane " + words + " <&- 2>&-"), printed(output)) << words;
    EXPECT_EQ(shell("orvane base64 encode <&-"),
              failed("standard input: there is nothing to encode"));
}

TEST_F(standard_streams, are_checked_before_a_line_that_follows_on_standard_error)
{
    EXPECT_EQ(shell("orvane digest md5 abc missing abc >/dev/full"),
              undetermined("standard output: No space left on device"));
}

TEST_F(standard_streams, end_the_command_with_their_reader)
{
    EXPECT_EQ(shell("{ orvane base64 encode <large; echo $? >status; } | head -c 4"),
              printed("AAEC"));
    EXPECT_EQ(machine.content("/srv/status"), "141\n"); // SIGPIPE
}

TEST_F(output_file, holds_the_output_alone)
{
    expect_written("/srv/new", "/srv/new");
    EXPECT_EQ(permissions("/srv/new"), 0644U); // the umask is 022
    machine.file("/srv/output", "something longer than that");
    expect_written("/srv/output", "/srv/output");
    const std::string longest = "/srv/" + std::string(NAME_MAX, 'n');
    expect_written(longest, longest);
    expect_written("/srv/signed", "/srv/signed"); // the input
}

TEST_F(output_file, leaves_no_other_file)
{
    machine.directory("/srv/directory");
    expect_written("/srv/directory/output", "/srv/directory/output");
    EXPECT_EQ(names_in("/srv/directory"), (texts{"output"}));
    EXPECT_EQ(
        shell("ulimit -f 1; LD_PRELOAD=/opt/preloads/given_result.so CONTENT=$(printf %01000d 0) "
              "ASAN_OPTIONS=verify_asan_link_order=0 "
              "exec orvane gpg verify signed --output directory/output"),
        undetermined("directory/output: File too large"));
    EXPECT_EQ(machine.content("/srv/directory/output"), "hello\n");
    EXPECT_EQ(names_in("/srv/directory"), (texts{"output"}));
}

TEST_F(output_file, keeps_its_mode_and_owner)
{
    for (const mode_t mode : {0600U, 0666U}) {
        machine.file("/srv/output", "before", mode);
        expect_written("/srv/output", "/srv/output");
        EXPECT_EQ(permissions("/srv/output"), mode);
    }
    ASSERT_EQ(::chown("/srv/output", other_user::nobody, 1), 0);
    expect_written("/srv/output", "/srv/output");
    EXPECT_EQ(status_of("/srv/output").st_uid, other_user::nobody);
    EXPECT_EQ(status_of("/srv/output").st_gid, 1U);
}

TEST_F(output_file, passes_its_owner_and_mode_to_no_other_file)
{
    machine.file("/srv/secret", "secret", 0600);
    machine.directory("/srv/directory");
    ASSERT_EQ(::chown("/srv/directory", other_user::nobody, other_user::nobody), 0);
    const attacker attacking("/srv/directory", "output", "/srv/secret");
    for (int tries = 40; tries > 0; --tries) {
        static_cast<void>(preloaded("given_result", "CONTENT=hello",
                                    "gpg verify signed --output directory/output"));
        ASSERT_EQ(status_of("/srv/secret").st_uid, 0U) << tries;
        ASSERT_EQ(permissions("/srv/secret"), 0600U) << tries;
    }
}

// New content must not run with the rights of the owner.
TEST_F(output_file, loses_set_user_id)
{
    machine.file("/srv/output", "before");
    ASSERT_EQ(::chmod("/srv/output", 06755), 0);
    expect_written("/srv/output", "/srv/output");
    EXPECT_EQ(status_of("/srv/output").st_mode & 07777U, 0755U);
}

TEST_F(output_file, is_appended_to_where_it_is_standard_output)
{
    machine.file("/srv/log", "before\n");
    EXPECT_EQ(shell("orvane gpg verify signed --output log >>log"), printed(""));
    EXPECT_EQ(machine.content("/srv/log"), "before\nhello\n");
}

TEST_F(output_file, is_the_target_of_links)
{
    machine.file("/srv/elsewhere/file", "before");
    machine.link("/srv/one", "elsewhere/file");
    machine.link("/srv/two", "/srv/one");
    machine.link("/srv/dangling", "target");
    expect_written("/srv/two", "/srv/elsewhere/file");
    EXPECT_EQ(fs::read_symlink("/srv/two"), "/srv/one");
    EXPECT_EQ(fs::read_symlink("/srv/one"), "elsewhere/file");
    expect_written("/srv/dangling", "/srv/target");
    EXPECT_EQ(fs::read_symlink("/srv/dangling"), "target");
}

TEST_F(output_file, may_be_a_device_or_a_pipe)
{
    machine.link("/srv/null", "/dev/null");
    for (const char *const path : {"/dev/null", "/srv/null"})
        EXPECT_EQ(written_to(path), printed(""));
    EXPECT_TRUE(fs::is_symlink("/srv/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(shell("mkfifo pipe; orvane gpg verify signed --output pipe & cat pipe; wait"),
              printed("hello\n"));
    EXPECT_TRUE(fs::is_fifo("/srv/pipe"));
}

TEST_F(output_file, is_as_before_where_it_cannot_be_written)
{
    machine.file("/srv/file", "before");
    machine.directory("/srv/directory");
    machine.link("/srv/circle", "circle");
    EXPECT_EQ(written_to("/dev/full"), undetermined("/dev/full: No space left on device"));
    EXPECT_EQ(written_to("/srv/directory"), undetermined("/srv/directory: Is a directory"));
    EXPECT_EQ(written_to("/srv/missing/output"),
              undetermined("/srv/missing/output: No such file or directory"));
    EXPECT_TRUE(is_failure(written_to("/srv/file/output"), 3));
    EXPECT_TRUE(is_failure(written_to("/srv/circle"), 3));
    EXPECT_EQ(machine.content("/srv/file"), "before");
    EXPECT_EQ(fs::read_symlink("/srv/circle"), "circle");
    EXPECT_EQ(names_in("/srv/directory"), texts{});
    EXPECT_FALSE(fs::exists("/srv/missing"));

    machine.file_system("/srv/full", "size=8k");
    machine.file("/srv/full/output", "before");
    machine.file("/srv/full/rest", std::string(4096, 'x'));
    machine.file_system("/srv/fixed", "");
    machine.file("/srv/fixed/output", "before");
    machine.read_only("/srv/fixed");
    for (const std::string directory : {"/srv/full", "/srv/fixed"}) {
        EXPECT_TRUE(is_failure(written_to(directory + "/output"), 3)) << directory;
        EXPECT_EQ(machine.content(directory + "/output"), "before");
    }
    EXPECT_EQ(names_in("/srv/full").size(), 2U);
}
