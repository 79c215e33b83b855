// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

#define SHA256_OF_ABC "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
#define SHA1_OF_ABC "a9993e364706816aba3e25717850c26c9cd0d89d"
#define MD5_OF_ABC "900150983cd24fb0d6963f7d28e17f72"

// Files with the content "abc", and lists of them.
class sums_command : public command_machine {
protected:
    void abc(const std::string &path) { machine.file(path, "abc"); }

    // What comes of a list, read where the files are.
    [[nodiscard]] outcome checked(const std::string &list)
    {
        machine.file("/srv/sums", list);
        return shell("cd /srv; exec orvane digest --check sums");
    }
};

struct malformed_line : named_case {
    const char *line = "";
};

class malformed_sum : public sums_command, public testing::WithParamInterface<malformed_line> {};

const malformed_line malformed_lines[] = {
    {{"a_digest_alone"}, SHA256_OF_ABC},
    {{"a_digest_and_a_blank"}, SHA256_OF_ABC " "},
    {{"no_name"}, SHA256_OF_ABC "  "},
    {{"no_name_of_a_binary_file"}, SHA256_OF_ABC " *"},
    {{"one_blank"}, SHA256_OF_ABC " a"},
    {{"a_tab"}, SHA256_OF_ABC "\t a"},
    {{"a_tab_behind_a_blank"}, SHA256_OF_ABC " \ta"},
    {{"two_stars"}, SHA256_OF_ABC "**a"},
    {{"no_digit"}, "  a"},
    {{"a_digit_too_few"}, "a7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  a"},
    {{"a_digit_too_many"}, SHA256_OF_ABC "0  a"},
    {{"a_letter_that_is_no_digit"},
     "ga7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  a"},
    {{"a_sum_of_sha512"}, SHA256_OF_ABC SHA256_OF_ABC "  a"},
    {{"a_tagged_sum"}, "SHA256 (a) = " SHA256_OF_ABC},
    {{"a_backslash_alone"}, "\\"},
    {{"two_leading_backslashes"}, "\\\\" SHA256_OF_ABC "  a"},
    {{"an_unknown_escape"}, "\\" SHA256_OF_ABC "  a\\tb"},
    {{"an_escape_without_end"}, "\\" SHA256_OF_ABC "  a\\"},
};

} // namespace

TEST_F(sums_command, confirms_what_sha256sum_writes)
{
    abc("/srv/a");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a\n"), printed("a: OK\n"));
}

TEST_F(sums_command, confirms_what_sha1sum_writes)
{
    abc("/srv/a");
    EXPECT_EQ(checked(SHA1_OF_ABC "  a\n"), printed("a: OK\n"));
}

TEST_F(sums_command, confirms_what_md5sum_writes)
{
    abc("/srv/a");
    EXPECT_EQ(checked(MD5_OF_ABC "  a\n"), printed("a: OK\n"));
}

TEST_F(sums_command, tells_the_algorithm_of_each_line_by_its_digits)
{
    abc("/srv/a");
    abc("/srv/b");
    abc("/srv/c");
    EXPECT_EQ(checked(MD5_OF_ABC "  c\n" SHA256_OF_ABC "  a\n" SHA1_OF_ABC "  b\n"),
              printed("c: OK\na: OK\nb: OK\n"));
}

TEST_F(sums_command, takes_the_mark_of_a_binary_file)
{
    abc("/srv/a");
    EXPECT_EQ(checked(SHA256_OF_ABC " *a\n"), printed("a: OK\n"));
}

TEST_F(sums_command, leaves_a_name_its_own_leading_star_and_blank)
{
    abc("/srv/*a");
    abc("/srv/ a");
    EXPECT_EQ(checked(SHA256_OF_ABC "  *a\n" SHA256_OF_ABC " **a\n" SHA256_OF_ABC
                                    "   a\n" SHA256_OF_ABC " * a\n"),
              printed("*a: OK\n*a: OK\n a: OK\n a: OK\n"));
}

TEST_F(sums_command, leaves_a_name_its_blanks)
{
    abc("/srv/a  b ");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a  b \n"), printed("a  b : OK\n"));
}

TEST_F(sums_command, undoes_the_escapes_of_a_line_with_a_leading_backslash)
{
    abc("/srv/a\nb\rc\\d\\ne");
    EXPECT_EQ(checked("\\" SHA256_OF_ABC "  a\\nb\\rc\\\\d\\\\ne\n"),
              printed("\\a\\nb\\rc\\\\d\\\\ne: OK\n"));
}

TEST_F(sums_command, takes_lines_that_end_as_elsewhere)
{
    abc("/srv/a");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a\r\n" SHA256_OF_ABC "  a\r\n"), printed("a: OK\na: OK\n"));
}

TEST_F(sums_command, passes_over_empty_lines_and_comments)
{
    abc("/srv/a");
    EXPECT_EQ(checked("# made by hand\n\n" SHA256_OF_ABC "  a\n\r\n\n"), printed("a: OK\n"));
}

TEST_F(sums_command, leaves_a_backslash_in_a_line_without_a_leading_one)
{
    abc("/srv/a\\nb");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a\\nb\n"), printed("a\\nb: OK\n"));
}

TEST_F(sums_command, takes_capitals)
{
    abc("/srv/a");
    EXPECT_EQ(checked("BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD  a\n"),
              printed("a: OK\n"));
}

TEST_F(sums_command, takes_a_last_line_without_a_newline)
{
    abc("/srv/a");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a\n" SHA256_OF_ABC "  a"), printed("a: OK\na: OK\n"));
}

TEST_F(sums_command, agrees_with_the_tools_on_every_name_that_they_write)
{
    for (const char *const name : {"/srv/plain", "/srv/two words", "/srv/ *lead", "/srv/*lead",
                                   "/srv/line\nbreak", "/srv/carriage\rreturn", "/srv/back\\slash",
                                   "/srv/\\n", "/srv/\xff\x1b[31m", "/srv/-x", "/srv/--check"})
        abc(name);
    const std::string list = machine.scratch("sums");
    for (const std::string tool : {"sha256sum", "sha1sum", "md5sum"}) {
        const outcome checked =
            shell("cd /srv; " + tool + " -- * >" + list + "; exec orvane digest --check " + list);
        EXPECT_EQ(checked.status, 0) << tool << ": " << checked;
        EXPECT_EQ(checked.error, "");
    }
}

TEST_F(sums_command, says_what_became_of_each_file)
{
    abc("/srv/a");
    abc("/srv/b");
    machine.file("/srv/other", "abd");
    machine.directory("/srv/directory");
    const outcome found =
        checked(SHA256_OF_ABC "  a\n" SHA256_OF_ABC "  other\n" SHA256_OF_ABC
                              "  missing\n" SHA256_OF_ABC "  directory\n" SHA256_OF_ABC "  b\n");
    EXPECT_EQ(found.output, "a: OK\n"
                            "other: FAILED\n"
                            "missing: FAILED: No such file or directory\n"
                            "directory: FAILED: Is a directory\n"
                            "b: OK\n");
    EXPECT_EQ(found.error, "orvane: files checked: 5, different: 1, unreadable: 2\n");
    EXPECT_EQ(found.status, 1);
}

TEST_F(sums_command, fails_for_one_file_that_differs)
{
    machine.file("/srv/other", "abd");
    const outcome found = checked(MD5_OF_ABC "  other\n");
    EXPECT_EQ(found.output, "other: FAILED\n");
    EXPECT_EQ(found.error, "orvane: files checked: 1, different: 1, unreadable: 0\n");
    EXPECT_EQ(found.status, 1);
}

TEST_F(sums_command, fails_for_one_file_that_cannot_be_read)
{
    const std::string name(100000, 'n');
    const outcome found = checked(MD5_OF_ABC "  " + name + "\n");
    EXPECT_EQ(found.output, name + ": FAILED: File name too long\n");
    EXPECT_EQ(found.error, "orvane: files checked: 1, different: 0, unreadable: 1\n");
    EXPECT_EQ(found.status, 1);
}

TEST_F(sums_command, says_of_each_line_what_it_finds)
{
    abc("/srv/a");
    const outcome found =
        checked(SHA256_OF_ABC "  a\n" SHA1_OF_ABC
                              "  a\n00000000000000000000000000000000  a\n" SHA256_OF_ABC "  a\n");
    EXPECT_EQ(found.output, "a: OK\na: OK\na: FAILED\na: OK\n");
    EXPECT_EQ(found.status, 1);
}

TEST_P(malformed_sum, refuses_the_whole_list_before_any_file_is_looked_at)
{
    abc("/srv/a");
    EXPECT_EQ(
        checked(std::string(SHA256_OF_ABC "  a\n") + GetParam().line + "\n" SHA256_OF_ABC "  a\n"),
        complained(
            "orvane: sums: line 2 is not one of sha256sum, sha1sum or md5sum without --tag\n"));
}

INSTANTIATE_TEST_SUITE_P(sums_command, malformed_sum, testing::ValuesIn(malformed_lines));

TEST_F(sums_command, does_not_take_a_file_for_one_whose_name_goes_on_behind_a_zero_byte)
{
    abc("/srv/a");
    EXPECT_EQ(checked(std::string(SHA256_OF_ABC "  a\0b\n", 70)),
              complained("orvane: sums: a zero byte is not of a text\n"));
}

TEST_F(sums_command, refuses_an_empty_list)
{
    EXPECT_EQ(checked(""), complained("orvane: sums: it lists no file\n"));
}

TEST_F(sums_command, says_that_the_list_is_missing)
{
    EXPECT_EQ(orvane({"digest", "--check", "/srv/missing"}),
              complained("orvane: /srv/missing: No such file or directory\n"));
}

TEST_F(sums_command, says_that_the_list_is_a_directory)
{
    EXPECT_EQ(orvane({"digest", "--check", "/srv"}), complained("orvane: /srv: Is a directory\n"));
}

TEST_F(sums_command, reads_the_list_from_a_pipe)
{
    abc("/srv/a");
    EXPECT_EQ(shell("cd /srv; md5sum a | orvane digest --check /dev/fd/0"), printed("a: OK\n"));
}

TEST_F(sums_command, fails_where_its_answers_cannot_be_written)
{
    abc("/srv/a");
    std::string list;
    for (int number = 0; number < 2000; ++number)
        list += MD5_OF_ABC "  a\n";
    machine.file("/srv/sums", list);
    EXPECT_EQ(shell("cd /srv; exec orvane digest --check sums >/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
}
