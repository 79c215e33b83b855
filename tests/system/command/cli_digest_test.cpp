// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

constexpr uid_t ordinary_user = 65534;

constexpr char sha256_of_abc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr char sha256_of_nothing[] =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class digest_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.file("/srv/abc", "abc");
        machine.link("/dev/stdin", "/proc/self/fd/0");
    }

    // What comes of "abc" out of a named pipe.
    [[nodiscard]] outcome piped(const std::string &digest) const
    {
        return shell("mkfifo /srv/pipe; printf abc >/srv/pipe & "
                     "exec orvane digest sha256 /srv/pipe " +
                     digest);
    }
};

struct known_digest : named_case {
    const char *of_abc = "";
    const char *of_abc_in_capitals = "";
    const char *nearly = ""; // another last digit
    const char *complaint = "";
};

class each_digest : public digest_command, public testing::WithParamInterface<known_digest> {
protected:
    [[nodiscard]] outcome checked(const char *digest) const
    {
        return orvane({"digest", GetParam().name, "/srv/abc", digest});
    }
};

const known_digest digests[] = {
    {{"sha256"},
     sha256_of_abc,
     "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD",
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ac",
     "orvane: /srv/abc: the sha256 digest differs, or the file cannot "
     "be read to its end\n"},
    {{"sha1"},
     "a9993e364706816aba3e25717850c26c9cd0d89d",
     "A9993E364706816ABA3E25717850C26C9CD0D89D",
     "a9993e364706816aba3e25717850c26c9cd0d89c",
     "orvane: /srv/abc: the sha1 digest differs, or the file cannot "
     "be read to its end\n"},
    {{"md5"},
     "900150983cd24fb0d6963f7d28e17f72",
     "900150983CD24FB0D6963F7D28E17F72",
     "900150983cd24fb0d6963f7d28e17f73",
     "orvane: /srv/abc: the md5 digest differs, or the file cannot "
     "be read to its end\n"},
};

} // namespace

TEST_P(each_digest, is_confirmed)
{
    EXPECT_EQ(checked(GetParam().of_abc), printed("/srv/abc: OK\n"));
}

TEST_P(each_digest, is_confirmed_in_capitals)
{
    EXPECT_EQ(checked(GetParam().of_abc_in_capitals), printed("/srv/abc: OK\n"));
}

TEST_P(each_digest, differs_when_its_last_digit_does)
{
    EXPECT_EQ(checked(GetParam().nearly), complained(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(digest_command, each_digest, testing::ValuesIn(digests));

TEST_F(digest_command, confirms_an_empty_file)
{
    machine.file("/srv/empty", "");
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/empty", sha256_of_nothing}),
              printed("/srv/empty: OK\n"));
}

TEST_F(digest_command, says_that_a_file_is_missing)
{
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/missing", sha256_of_abc}),
              complained("orvane: /srv/missing: No such file or directory\n"));
}

TEST_F(digest_command, says_that_a_file_is_a_directory)
{
    EXPECT_EQ(orvane({"digest", "sha256", "/srv", sha256_of_abc}),
              complained("orvane: /srv: Is a directory\n"));
}

TEST_F(digest_command, says_that_a_file_may_not_be_read)
{
    machine.file("/srv/secret", "abc", 0600);
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/secret", sha256_of_abc}, ordinary_user),
              complained("orvane: /srv/secret: Permission denied\n"));
}

TEST_F(digest_command, says_that_a_name_is_too_long)
{
    const std::string name = "/srv/" + std::string(256, 'n');
    EXPECT_EQ(orvane({"digest", "sha256", name, sha256_of_abc}),
              complained("orvane: " + name + ": File name too long\n"));
}

TEST_F(digest_command, is_not_confirmed_where_reading_fails)
{
    const outcome failed = orvane({"digest", "sha256", "/proc/self/mem", sha256_of_nothing});
    EXPECT_EQ(failed.output, "");
    EXPECT_TRUE(failed.error.starts_with("orvane: /proc/self/mem: ")) << failed.error;
    EXPECT_TRUE(is_one_line(failed.error)) << failed.error;
    EXPECT_EQ(failed.status, 1);
}

TEST_F(digest_command, follows_a_link)
{
    machine.link("/srv/link", "abc");
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/link", sha256_of_abc}), printed("/srv/link: OK\n"));
}

TEST_F(digest_command, takes_a_name_with_blanks)
{
    machine.file("/srv/ a  b ", "abc");
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/ a  b ", sha256_of_abc}),
              printed("/srv/ a  b : OK\n"));
}

TEST_F(digest_command, takes_a_name_in_brackets)
{
    machine.file("/srv/[a,b]", "abc");
    EXPECT_EQ(shell("cd /srv; exec orvane digest sha256 '[a,b]' " + std::string(sha256_of_abc)),
              printed("[a,b]: OK\n"));
}

TEST_F(digest_command, takes_a_word_of_its_own_for_a_name)
{
    machine.file("/srv/digest", "abc");
    EXPECT_EQ(shell("cd /srv; exec orvane digest sha256 digest " + std::string(sha256_of_abc)),
              printed("digest: OK\n"));
}

TEST_F(digest_command, takes_a_name_with_a_leading_dash_behind_two)
{
    machine.file("/srv/-x", "abc");
    EXPECT_EQ(shell("cd /srv; exec orvane digest sha256 -- -x " + std::string(sha256_of_abc)),
              printed("-x: OK\n"));
}

TEST_F(digest_command, gives_a_script_every_byte_of_a_name)
{
    machine.file("/srv/a\nb\x1b[31m\xff", "abc");
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/a\nb\x1b[31m\xff", sha256_of_abc}),
              printed("/srv/a\nb\x1b[31m\xff: OK\n"));
}

TEST_F(digest_command, complains_of_any_name_in_one_plain_line)
{
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/a\nb\x1b[31m\xff", sha256_of_abc}),
              complained("orvane: /srv/a b [31m?: No such file or directory\n"));
}

TEST_F(digest_command, reads_a_named_pipe_once)
{
    EXPECT_EQ(piped(sha256_of_abc), printed("/srv/pipe: OK\n"));
}

TEST_F(digest_command, reads_a_named_pipe_once_though_the_digest_differs)
{
    EXPECT_EQ(piped(sha256_of_nothing),
              complained("orvane: /srv/pipe: the sha256 digest differs, or the file cannot "
                         "be read to its end\n"));
}

TEST_F(digest_command, reads_standard_input_by_its_device)
{
    const std::string words = "orvane digest sha256 /dev/stdin " + std::string(sha256_of_abc);
    EXPECT_EQ(shell("exec " + words + " </srv/abc"), printed("/dev/stdin: OK\n"));
    EXPECT_EQ(shell("printf abc | " + words), printed("/dev/stdin: OK\n"));
}

TEST_F(digest_command, fails_where_its_answer_cannot_be_written)
{
    const std::string words = "digest sha256 /srv/abc " + std::string(sha256_of_abc);
    EXPECT_EQ(orvane_by_shell(words + " >/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
    EXPECT_EQ(orvane_by_shell(words + " >&-"), complained("orvane: standard output is closed\n"));
}

TEST_F(digest_command, works_with_standard_input_and_error_closed)
{
    EXPECT_EQ(orvane_by_shell("digest sha256 /srv/abc " + std::string(sha256_of_abc) + " <&- 2>&-"),
              printed("/srv/abc: OK\n"));
}
