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
    return failed(file + ": the " + algorithm +
                  " digest differs, or the file cannot be read to its end");
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
    [[nodiscard]] outcome checked(const std::string &list)
    {
        machine.file("/srv/list", list);
        return shell("exec orvane digest --check list");
    }
};

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

TEST_F(digest_command, reports_why_a_file_cannot_be_read)
{
    const std::string long_name = "/srv/" + std::string(256, 'n');
    EXPECT_EQ(sha256("/srv/missing"), failed("/srv/missing: No such file or directory"));
    EXPECT_EQ(sha256("/srv"), failed("/srv: Is a directory"));
    EXPECT_EQ(sha256(long_name), failed(long_name + ": File name too long"));
    machine.file("/srv/secret", "abc", 0600);
    EXPECT_EQ(sha256("/srv/secret", SHA256_OF_ABC, ordinary_user),
              failed("/srv/secret: Permission denied"));
    EXPECT_TRUE(is_failure(sha256("/proc/self/mem", sha256_of_nothing)));
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

// Lists.

TEST_F(digest_command, reads_the_lines_of_a_list)
{
    for (const char *const name : {"b", "c", "*a", " a", "a  b ", "a\\nb", "a\nb\rc\\d\\ne"})
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
        {MD5_OF_ABC "  a\\nb\n", "a\\nb: OK\n"},
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
          "\xff\x1b[31m", "-x", "--check"})
        abc(name);
    const std::string list = machine.scratch("list");
    for (const std::string tool : {"sha256sum", "sha1sum", "md5sum"}) {
        const outcome checked =
            shell(tool + " -- * >" + list + "; exec orvane digest --check " + list);
        EXPECT_EQ(checked.status, 0) << tool << ": " << checked;
        EXPECT_EQ(checked.error, "");
    }
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
                       "orvane: files checked: 6, different: 2, unreadable: 2\n"}));
    EXPECT_EQ(
        checked(MD5_OF_ABC "  other\n"),
        (outcome{1, "other: FAILED\n", "orvane: files checked: 1, different: 1, unreadable: 0\n"}));
    const std::string name(100000, 'n');
    EXPECT_EQ(checked(MD5_OF_ABC "  " + name + "\n"),
              (outcome{1, name + ": FAILED: File name too long\n",
                       "orvane: files checked: 1, different: 0, unreadable: 1\n"}));
}

TEST_F(digest_command, refuses_a_list_with_a_malformed_line_before_it_checks_a_file)
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
             "SHA256 (a) = " SHA256_OF_ABC,
             "\\",
             "\\\\" SHA256_OF_ABC "  a",
             "\\" SHA256_OF_ABC "  a\\tb",
             "\\" SHA256_OF_ABC "  a\\",
         })
        EXPECT_EQ(checked(SHA256_OF_ABC "  a\n" + line + "\n" SHA256_OF_ABC "  a\n"),
                  failed("list: line 2 is not one of sha256sum, sha1sum or md5sum without --tag"))
            << line;
}

TEST_F(digest_command, reads_an_endless_list_to_its_first_malformed_line)
{
    const auto checked = [this](const std::string &endless) {
        return shell("(ulimit -t 5; " + endless + ") | orvane digest --check /dev/stdin");
    };
    EXPECT_EQ(
        checked("yes"),
        failed("/dev/stdin: line 1 is not one of sha256sum, sha1sum or md5sum without --tag"));
    EXPECT_EQ(checked("echo; yes | tr -d '\\n'"),
              failed("/dev/stdin: line 2: it is longer than 1048576 bytes"));
}

TEST_F(digest_command, reports_a_list_that_cannot_be_used)
{
    EXPECT_EQ(checked(""), failed("list: it lists no file"));
    EXPECT_EQ(checked("# none\n"), failed("list: it lists no file"));
    // The name before the zero byte is a file.
    EXPECT_EQ(checked(std::string(SHA256_OF_ABC "  a\0b\n", 70)),
              failed("list: a zero byte is not of a text"));
    EXPECT_EQ(orvane({"digest", "--check", "/srv/missing"}),
              failed("/srv/missing: No such file or directory"));
    EXPECT_EQ(orvane({"digest", "--check", "/srv"}), failed("/srv: Is a directory"));
}

TEST_F(digest_command, reads_a_list_from_a_pipe)
{
    EXPECT_EQ(shell("md5sum a | orvane digest --check /dev/fd/0"), printed("a: OK\n"));
}
