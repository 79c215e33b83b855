// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

#define SHA256_OF_ABC "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
#define SHA256_IN_CAPITALS "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"
#define SHA1_OF_ABC "a9993e364706816aba3e25717850c26c9cd0d89d"
#define MD5_OF_ABC "900150983cd24fb0d6963f7d28e17f72"

constexpr char sha256_of_nothing[] =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr uid_t ordinary_user = 65534;

outcome differs(const std::string &file, const std::string &algorithm)
{
    return failed(file + ": the " + algorithm + " digest differs");
}

class digest_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        abc("a");
    }

    void abc(const std::string &name) { machine.file("/srv/" + name, "abc"); }

    [[nodiscard]] outcome sha256(const std::string &file, const std::string &digest = SHA256_OF_ABC,
                                 uid_t user = 0) const
    {
        return orvane({"digest", "sha256", file, digest}, user);
    }

    // The result of a list, which is read where the files are.
    [[nodiscard]] outcome checked(const std::string &list, const std::string &options = "")
    {
        machine.file("/srv/list", list);
        return shell("exec orvane digest --check list " + options);
    }
};

std::string count(const std::string &checked, const std::string &different,
                  const std::string &unreadable)
{
    return "orvane: files checked: " + checked + ", different: " + different +
           ", unreadable: " + unreadable;
}

} // namespace

TEST_F(digest_command, compares_the_digest_of_a_file)
{
    const struct {
        const char *algorithm;
        const char *digest;
        const char *in_capitals;
        const char *other_last_digit;
    } digests[] = {
        {"sha256", SHA256_OF_ABC, SHA256_IN_CAPITALS,
         "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ac"},
        {"sha1", SHA1_OF_ABC, "A9993E364706816ABA3E25717850C26C9CD0D89D",
         "a9993e364706816aba3e25717850c26c9cd0d89c"},
        {"md5", MD5_OF_ABC, "900150983CD24FB0D6963F7D28E17F72", "900150983cd24fb0d6963f7d28e17f73"},
    };
    for (const auto &[algorithm, digest, in_capitals, other_last_digit] : digests) {
        EXPECT_EQ(orvane({"digest", algorithm, "/srv/a", digest}), printed("/srv/a: OK\n"));
        EXPECT_EQ(orvane({"digest", algorithm, "/srv/a", in_capitals}), printed("/srv/a: OK\n"));
        EXPECT_EQ(orvane({"digest", algorithm, "/srv/a", other_last_digit}),
                  differs("/srv/a", algorithm));
    }
    machine.file("/srv/empty", "");
    EXPECT_EQ(sha256("/srv/empty", sha256_of_nothing), printed("/srv/empty: OK\n"));
}

TEST_F(digest_command, cannot_tell_of_a_file_that_it_cannot_read)
{
    const std::string long_name = "/srv/" + std::string(256, 'n');
    EXPECT_EQ(sha256("/srv/missing"), undetermined("/srv/missing: No such file or directory"));
    EXPECT_EQ(sha256("/srv"), undetermined("/srv: Is a directory"));
    EXPECT_EQ(sha256(long_name), undetermined(long_name + ": File name too long"));
    machine.file("/srv/secret", "abc", 0600);
    EXPECT_EQ(sha256("/srv/secret", SHA256_OF_ABC, ordinary_user),
              undetermined("/srv/secret: Permission denied"));
    EXPECT_EQ(sha256("/proc/self/mem"), undetermined("/proc/self/mem: Input/output error"));
}

TEST_F(digest_command, takes_any_name)
{
    for (const std::string name : {" a  b ", "[a,b]", "digest", "a\nb\x1b[31m\xff"}) {
        abc(name);
        EXPECT_EQ(shell("exec orvane digest sha256 '" + name + "' " SHA256_OF_ABC),
                  printed(name + ": OK\n"));
    }
    abc("-x");
    EXPECT_EQ(shell("exec orvane digest sha256 -- -x " SHA256_OF_ABC), printed("-x: OK\n"));
    machine.link("/srv/link", "a");
    EXPECT_EQ(sha256("/srv/link"), printed("/srv/link: OK\n"));
}

TEST_F(digest_command, reads_a_pipe_once)
{
    const auto piped = [this](const std::string &digest) {
        return shell("rm -f pipe; mkfifo pipe; printf abc >pipe & exec orvane digest sha256 pipe " +
                     digest);
    };
    EXPECT_EQ(piped(SHA256_OF_ABC), printed("pipe: OK\n"));
    EXPECT_EQ(piped(sha256_of_nothing), differs("pipe", "sha256"));
    EXPECT_EQ(shell("exec orvane digest sha256 /dev/stdin " SHA256_OF_ABC " <a"),
              printed("/dev/stdin: OK\n"));
    EXPECT_EQ(shell("printf abc | orvane digest sha256 /dev/stdin " SHA256_OF_ABC),
              printed("/dev/stdin: OK\n"));
}

TEST_F(digest_command, compares_standard_input)
{
    EXPECT_EQ(shell("exec orvane digest sha256 - " SHA256_OF_ABC " <a"), printed("-: OK\n"));
    EXPECT_EQ(shell("printf abd | orvane digest sha256 - " SHA256_OF_ABC),
              differs("standard input", "sha256"));
    EXPECT_EQ(shell("exec orvane digest sha256 - " SHA256_OF_ABC " </srv"),
              undetermined("standard input: Is a directory"));
}

// Digests that are printed.

TEST_F(digest_command, prints_what_the_tools_print_of_every_name)
{
    machine.file("/srv/empty", "");
    machine.file("/srv/long", every_byte(300000));
    for (const char *const name :
         {"two words", " *lead", "*lead", "line\nbreak", "carriage\rreturn", "back\\slash", "\\n",
          "\xff\x1b[31m", "-x", "--check", "[a,b]", "[]", "{}", "md5", "digest"})
        abc(name);
    for (const std::string algorithm : {"sha256", "sha1", "md5"}) {
        EXPECT_EQ(shell("orvane digest " + algorithm + " -- *"), shell(algorithm + "sum -- *"));
        EXPECT_EQ(shell("orvane digest " + algorithm + " a"), shell(algorithm + "sum a"));
    }
}

TEST_F(digest_command, prints_the_digest_of_standard_input)
{
    EXPECT_EQ(shell("orvane digest md5 <a"), printed(MD5_OF_ABC "  -\n"));
    EXPECT_EQ(shell("cat a | orvane digest md5 a -"),
              printed(MD5_OF_ABC "  a\n" MD5_OF_ABC "  -\n"));
}

TEST_F(digest_command, takes_two_words_for_files_unless_the_second_is_a_digest)
{
    const std::string digits = MD5_OF_ABC;
    abc(digits);
    EXPECT_EQ(shell("orvane digest md5 a " + digits), printed("a: OK\n"));
    EXPECT_EQ(shell("orvane digest md5 a ./" + digits),
              printed(digits + "  a\n" + digits + "  ./" + digits + "\n"));
    EXPECT_EQ(shell("orvane digest md5 " + digits), printed(digits + "  " + digits + "\n"));
    EXPECT_EQ(shell("orvane digest md5 a a " + digits),
              printed(digits + "  a\n" + digits + "  a\n" + digits + "  " + digits + "\n"));
    EXPECT_EQ(shell("orvane digest sha1 a " + digits),
              printed(SHA1_OF_ABC "  a\n" SHA1_OF_ABC "  " + digits + "\n"));
}

TEST_F(digest_command, prints_the_other_digests_where_a_file_cannot_be_read)
{
    EXPECT_EQ(shell("exec orvane digest md5 a missing . a /proc/self/mem a 2>&1"),
              (outcome{3,
                       MD5_OF_ABC "  a\norvane: missing: No such file or directory\n"
                                  "orvane: .: Is a directory\n" MD5_OF_ABC "  a\n"
                                  "orvane: /proc/self/mem: Input/output error\n" MD5_OF_ABC "  a\n",
                       ""}));
}

// Lists.

TEST_F(digest_command, reads_the_lines_of_a_list)
{
    for (const char *const name :
         {"b", "c", "*a", " a", "a  b ", "a\\nb", "a\nb\rc\\d\\ne", "a) = b"})
        abc(name);
    const struct {
        const char *list;
        const char *output;
    } lists[] = {
        {SHA256_OF_ABC "  a\n", "a: OK\n"},
        {SHA256_IN_CAPITALS "  a\n", "a: OK\n"},
        {MD5_OF_ABC "  c\n" SHA256_OF_ABC "  a\n" SHA1_OF_ABC "  b\n", "c: OK\na: OK\nb: OK\n"},
        {SHA256_OF_ABC " *a\n", "a: OK\n"},
        {MD5_OF_ABC "  *a\n" MD5_OF_ABC " **a\n" MD5_OF_ABC "   a\n" MD5_OF_ABC " * a\n",
         "*a: OK\n*a: OK\n a: OK\n a: OK\n"},
        {MD5_OF_ABC "  a  b \n", "a  b : OK\n"},
        {"\\" MD5_OF_ABC "  a\\nb\\rc\\\\d\\\\ne\n", "\\a\\nb\\rc\\\\d\\\\ne: OK\n"},
        {MD5_OF_ABC "  a\\nb\n", "\\a\\\\nb: OK\n"},
        {" \t" MD5_OF_ABC "  a\n", "a: OK\n"},
        {"MD5 (a) = " MD5_OF_ABC "\nSHA1 (b) = " SHA1_OF_ABC "\nSHA256 (a) = " SHA256_OF_ABC "\n",
         "a: OK\nb: OK\na: OK\n"},
        {"MD5 (a) = b) = " MD5_OF_ABC "\n", "a) = b: OK\n"},
        {"MD5( a)= " MD5_OF_ABC "\n", " a: OK\n"},
        {"\\MD5 (a\\nb\\rc\\\\d\\\\ne) = " MD5_OF_ABC "\n", "\\a\\nb\\rc\\\\d\\\\ne: OK\n"},
        {MD5_OF_ABC "  a\r\n" MD5_OF_ABC "  a\r\n", "a: OK\na: OK\n"},
        {"# made by hand\n\n" MD5_OF_ABC "  a\n\r\n\n", "a: OK\n"},
        {MD5_OF_ABC "  a\n" MD5_OF_ABC "  a", "a: OK\na: OK\n"},
    };
    for (const auto &[list, output] : lists)
        EXPECT_EQ(checked(list), printed(output)) << list;
}

TEST_F(digest_command, agrees_with_the_tools_on_every_name)
{
    for (const char *const name :
         {"two words", " *lead", "*lead", "line\nbreak", "carriage\rreturn", "back\\slash", "\\n",
          "\xff\x1b[31m", "-x", "--check", "(a) = b", ")"})
        abc(name);
    const std::string list = machine.scratch("list");
    for (const std::string tool :
         {"sha256sum", "sha1sum", "md5sum", "sha256sum --tag", "sha1sum --tag", "md5sum --tag"}) {
        const outcome checked =
            shell(tool + " -- * >" + list + "; exec orvane digest --check " + list);
        EXPECT_EQ(checked.status, 0) << tool << ": " << checked;
        EXPECT_EQ(checked.error, "");
    }
}

TEST_F(digest_command, writes_lists_that_the_tools_read)
{
    for (const char *const name : {"two words", "line\nbreak", "carriage\rreturn", "back\\slash"})
        abc(name);
    EXPECT_EQ(shell("orvane digest sha256 * | sha256sum --check --quiet --strict"), printed(""));
}

TEST_F(digest_command, reports_every_file_of_a_list)
{
    machine.file("/srv/other", "abd");
    machine.directory("/srv/directory");
    EXPECT_EQ(checked(SHA256_OF_ABC "  a\n" SHA1_OF_ABC "  other\n" MD5_OF_ABC
                                    "  missing\n" MD5_OF_ABC "  directory\n" SHA256_OF_ABC
                                    "  a\n00000000000000000000000000000000  a\n"),
              (outcome{1,
                       "a: OK\nother: FAILED\nmissing: FAILED: No such file or directory\n"
                       "directory: FAILED: Is a directory\na: OK\na: FAILED\n",
                       count("6", "2", "2") + "\n"}));
}

TEST_F(digest_command, cannot_tell_of_a_list_with_unreadable_files_and_no_different_one)
{
    EXPECT_EQ(checked(MD5_OF_ABC "  a\n" MD5_OF_ABC "  missing\n"),
              (outcome{3, "a: OK\nmissing: FAILED: No such file or directory\n",
                       count("2", "0", "1") + "\n"}));
    const std::string name(100000, 'n');
    EXPECT_EQ(checked(MD5_OF_ABC "  " + name + "\n"),
              (outcome{3, name + ": FAILED: File name too long\n", count("1", "0", "1") + "\n"}));
    EXPECT_EQ(
        checked(MD5_OF_ABC "  /proc/self/mem\n"),
        (outcome{3, "/proc/self/mem: FAILED: Input/output error\n", count("1", "0", "1") + "\n"}));
}

TEST_F(digest_command, warns_of_a_malformed_line_and_goes_on)
{
    for (const std::string line : {
             SHA256_OF_ABC,
             SHA256_OF_ABC " ",
             SHA256_OF_ABC "  ",
             SHA256_OF_ABC " *",
             SHA256_OF_ABC " a",
             SHA256_OF_ABC "\t a",
             SHA256_OF_ABC " \ta",
             SHA256_OF_ABC "**a",
             "  a",
             "a7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  a", // 63 digits
             SHA256_OF_ABC "0  a",
             "ga7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  a",
             SHA256_OF_ABC SHA256_OF_ABC "  a", // as sha512sum writes it
             "SHA256 (a) = ",
             "SHA256 () = " SHA256_OF_ABC,
             "SHA256 (a) " SHA256_OF_ABC,
             "SHA256 a = " SHA256_OF_ABC,
             "SHA256 )a( = " SHA256_OF_ABC,
             "MD5 (a) = " SHA256_OF_ABC,
             "SHA512 (a) = " SHA256_OF_ABC,
             "SHA256 (a) = " SHA256_OF_ABC " ",
             "(",
             "\\",
             "\\\\" SHA256_OF_ABC "  a",
             "\\" SHA256_OF_ABC "  a\\tb",
             "\\" SHA256_OF_ABC "  a\\",
         }) {
        const outcome result = {0, "a: OK\na: OK\n",
                                "orvane: list: line 2 is not a digest and a file\n" +
                                    count("2", "0", "0") + ", malformed lines: 1\n"};
        EXPECT_EQ(checked(SHA256_OF_ABC "  a\n" + line + "\n" SHA256_OF_ABC "  a\n"), result)
            << line;
    }
}

// The name before the zero byte is a file.
TEST_F(digest_command, takes_no_line_with_a_zero_byte)
{
    EXPECT_EQ(checked(std::string(SHA256_OF_ABC "  a\0b\n", 70) + MD5_OF_ABC "  a\n"),
              (outcome{0, "a: OK\n",
                       "orvane: list: line 1 is not a digest and a file\n" + count("1", "0", "0") +
                           ", malformed lines: 1\n"}));
}

TEST_F(digest_command, is_strict_about_malformed_lines_on_demand)
{
    EXPECT_EQ(checked(MD5_OF_ABC "  a\n", "--strict"), printed("a: OK\n"));
    EXPECT_EQ(checked(MD5_OF_ABC "  a\nwrong\nwrong\n" MD5_OF_ABC "  missing\n", "--strict"),
              (outcome{1, "a: OK\nmissing: FAILED: No such file or directory\n",
                       "orvane: list: line 2 is not a digest and a file\n"
                       "orvane: list: line 3 is not a digest and a file\n" +
                           count("2", "0", "1") + ", malformed lines: 2\n"}));
}

TEST_F(digest_command, prints_no_file_that_has_its_digest_with_quiet)
{
    machine.file("/srv/other", "abd");
    EXPECT_EQ(checked(MD5_OF_ABC "  a\n", "--quiet"), printed(""));
    EXPECT_EQ(
        checked(MD5_OF_ABC "  a\n" MD5_OF_ABC "  other\n" MD5_OF_ABC "  missing\n", "--quiet"),
        (outcome{1, "other: FAILED\nmissing: FAILED: No such file or directory\n",
                 count("3", "1", "1") + "\n"}));
}

TEST_F(digest_command, prints_nothing_of_the_files_with_status)
{
    machine.file("/srv/other", "abd");
    const struct {
        std::string list;
        std::string options;
        int status;
    } lists[] = {
        {MD5_OF_ABC "  a\n", "--status", 0},
        {MD5_OF_ABC "  a\nwrong\n", "--status", 0},
        {MD5_OF_ABC "  a\nwrong\n", "--status --strict", 1},
        {MD5_OF_ABC "  other\n" MD5_OF_ABC "  missing\n", "--status", 1},
        {MD5_OF_ABC "  a\n" MD5_OF_ABC "  missing\n", "--status", 3},
        {MD5_OF_ABC "  missing\n", "--status --ignore-missing", 3},
    };
    for (const auto &[list, options, status] : lists)
        EXPECT_EQ(checked(list, options), (outcome{status, "", ""})) << list << options;
}

TEST_F(digest_command, passes_over_missing_files_on_demand)
{
    machine.file("/srv/other", "abd");
    machine.directory("/srv/directory");
    machine.link("/srv/dangling", "target");
    const std::string missing = MD5_OF_ABC "  missing\n" MD5_OF_ABC "  dangling\n";
    EXPECT_EQ(checked(missing + MD5_OF_ABC "  a\n", "--ignore-missing"), printed("a: OK\n"));
    EXPECT_EQ(checked(missing + MD5_OF_ABC "  other\n", "--ignore-missing"),
              (outcome{1, "other: FAILED\n", count("1", "1", "0") + "\n"}));
    EXPECT_EQ(checked(missing, "--ignore-missing"), undetermined("list: no file was checked"));
    EXPECT_EQ(checked(missing + MD5_OF_ABC "  directory\n", "--ignore-missing"),
              (outcome{3, "directory: FAILED: Is a directory\n",
                       count("1", "0", "1") + "\norvane: list: no file was checked\n"}));
}

TEST_F(digest_command, prints_results_and_warnings_in_order)
{
    machine.file("/srv/other", "abd");
    EXPECT_EQ(checked(MD5_OF_ABC "  a\nwrong\n" MD5_OF_ABC "  other\n", "2>&1"),
              (outcome{1,
                       "a: OK\norvane: list: line 2 is not a digest and a file\nother: FAILED\n" +
                           count("2", "1", "0") + ", malformed lines: 1\n",
                       ""}));
}

TEST_F(digest_command, refuses_a_list_with_an_endless_line_where_that_begins)
{
    EXPECT_EQ(shell("(ulimit -t 5; echo '" MD5_OF_ABC "  a'; yes | tr -d '\\n') | "
                    "orvane digest --check - 2>&1"),
              (outcome{3,
                       "a: OK\n"
                       "orvane: standard input: line 2: it is longer than 1048576 bytes\n",
                       ""}));
}

TEST_F(digest_command, reports_a_list_that_cannot_be_used)
{
    EXPECT_EQ(checked(""), undetermined("list: no line is a digest and a file"));
    EXPECT_EQ(checked("# none\n"), undetermined("list: no line is a digest and a file"));
    EXPECT_EQ(checked("none\n", "--ignore-missing"),
              (outcome{3, "",
                       "orvane: list: line 1 is not a digest and a file\n"
                       "orvane: list: no line is a digest and a file\n"}));
    EXPECT_EQ(checked("none\n", "--status"), undetermined("list: no line is a digest and a file"));
    EXPECT_EQ(orvane({"digest", "--check", "/srv/missing"}),
              undetermined("/srv/missing: No such file or directory"));
    EXPECT_EQ(orvane({"digest", "--check", "/srv"}), undetermined("/srv: Is a directory"));
}

TEST_F(digest_command, reads_a_list_from_a_pipe)
{
    EXPECT_EQ(shell("md5sum a | orvane digest --check /dev/fd/0"), printed("a: OK\n"));
    EXPECT_EQ(shell("md5sum a | orvane digest --check -"), printed("a: OK\n"));
}

TEST_F(digest_command, takes_the_options_of_a_list_in_any_order)
{
    machine.file("/srv/list", SHA256_OF_ABC "  a\njunk\n");
    const outcome strict = shell("exec orvane digest --check list --strict");
    EXPECT_EQ(strict.status, 1);
    for (const std::string words :
         {"--check --strict list", "--strict --check list", "-c --strict list", "--strict -c list"})
        EXPECT_EQ(shell("exec orvane digest " + words), strict) << words;
    EXPECT_EQ(shell("exec orvane digest --check --strict").error,
              "orvane: option '--check' needs a value (see orvane digest --help)\n");
}

TEST_F(digest_command, checks_standard_input_that_a_list_names)
{
    machine.file("/srv/list", MD5_OF_ABC "  a\n" MD5_OF_ABC "  -\n");
    EXPECT_EQ(shell("printf abc | orvane digest --check list"), printed("a: OK\n-: OK\n"));
    EXPECT_EQ(shell("printf abd | orvane digest --check list"),
              (outcome{1, "a: OK\n-: FAILED\n", count("2", "1", "0") + "\n"}));
    EXPECT_EQ(shell("orvane digest --check - <list"),
              (outcome{3, "a: OK\n-: FAILED: the list is read from standard input\n",
                       count("2", "0", "1") + "\n"}));
}
