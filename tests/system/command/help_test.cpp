// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the command prints about itself. The examples of the help are run.
#include "command_machine.h"
#include "terminal.h"

#include "gpg_machine.h"
#include "rsa_samples.h"

#include "orvane.h"

#include <sstream>
#include <string>

namespace {

class help : public command_machine {
protected:
    [[nodiscard]] std::string page(texts words) const
    {
        words.emplace_back("--help");
        return orvane(words).output;
    }
};

class help_on_terminal : public help {
protected:
    // A page on a terminal of so many columns.
    [[nodiscard]] std::string page_in(unsigned short columns, const std::string &words) const
    {
        screen.set_width(columns);
        EXPECT_EQ(shell("exec orvane " + words + " --help >" + screen.path()), printed(""));
        return screen.text();
    }

    const terminal screen;
};

// Machines on which every example succeeds.
class help_examples : public with_command<gpg_machine> {
protected:
    void furnish() override
    {
        with_command<gpg_machine>::furnish();
        machine.file("/proc/mounts", "/dev/nvme0n1p2 / ext4 rw 0 0\n");
        machine.block_device("/dev/nvme0n1p2");
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk 1\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S123\n");
        machine.file("/proc/net/bonding/bond0", "Slave Interface: eno1\n"
                                                "Permanent HW addr: f4:8e:38:00:00:01\n");
        machine.tool("/usr/bin/lsblk", R"({"blockdevices": [{"name": "sda", "children": [)"
                                       R"({"name": "sda1", "mountpoint": "/"}]}]})");
        machine.file("/srv/public.pem", public_key_2048);
        machine.file("/srv/licence.gpg", machine.content(signed_file("abc")));
    }

    void write_files(const std::string &example)
    {
        const bool is_signature = example.find("signature") != std::string::npos;
        machine.file("/srv/licence.txt", is_signature ? sample_text : "abc");
        machine.file("/srv/licence.sig", signature_2048);
        machine.file("/srv/text.b64", "YWI/\n");
        machine.file("/srv/text.url", "YWI%2F\n");
        machine.file("/srv/report.json", "{}\n");
        for (const std::string binary : {"/srv/program", "/srv/plugin.so"})
            machine.file(binary, machine.content("/bin/true"));
        EXPECT_EQ(shell("sha256sum licence.gpg >SHA256SUMS").status, 0);
        if (example.find("compare") != std::string::npos) {
            EXPECT_EQ(shell("orvane save report.json").status, 0);
        }
    }

    void expect_success(const std::string &example)
    {
        write_files(example);
        const outcome result = shell("exec " + example);
        // It may find something on this machine.
        const bool is_doctor = example.starts_with("orvane doctor");
        EXPECT_TRUE(result.status == 0 || (is_doctor && result.status == 1))
            << example << ": " << result;
        EXPECT_EQ(result.error, "") << example;
    }
};

class help_version : public with_command<gpg_machine> {};

const std::string subcommands[] = {"",
                                   "show",
                                   "explain",
                                   "doctor",
                                   "save",
                                   "compare",
                                   "root-disk",
                                   "digest",
                                   "signature",
                                   "gpg",
                                   "gpg verify",
                                   "gpg encrypt",
                                   "base64",
                                   "base64 encode",
                                   "base64 decode",
                                   "base64 to-url",
                                   "base64 from-url",
                                   "check-names",
                                   "help"};

texts words_of(const std::string &text)
{
    std::istringstream stream(text);
    texts words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

texts lines_of(const std::string &text)
{
    std::istringstream stream(text);
    texts lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// The command lines of a page, without their indentation.
texts examples_in(const std::string &page)
{
    texts examples;
    for (const std::string &line : lines_of(page.substr(page.find("\nExamples:\n")))) {
        if (line == "  orvane" || line.starts_with("  orvane "))
            examples.push_back(line.substr(2));
    }
    return examples;
}

// The long options of a page, without their values.
texts options_in(const std::string &page)
{
    texts options;
    for (const std::string &line : lines_of(page)) {
        const std::size_t start = line.find("--");
        if (line.starts_with("  -") && start <= 6)
            options.push_back(line.substr(start, line.find_first_of(" =", start) - start));
    }
    return options;
}

} // namespace

TEST_F(help, is_the_same_however_it_is_asked_for)
{
    for (const std::string &subcommand : subcommands) {
        texts words = words_of(subcommand);
        const std::string text = page(words);
        EXPECT_TRUE(
            text.starts_with(subcommand.empty() ? "Usage: orvane " : "Usage: orvane " + subcommand))
            << text;
        EXPECT_EQ(orvane(words + texts{"--help"}), printed(text));
        EXPECT_EQ(orvane(words + texts{"-h"}), printed(text));
        EXPECT_EQ(orvane(texts{"help"} + words), printed(text));
    }
}

TEST_F(help, lists_the_subcommands)
{
    EXPECT_NE(page({}).find(R"(
Subcommands:
  show           show what is known about this machine
  explain        explain why facts have the answers they have, or none
  doctor         find what is missing for facts that this machine could have
  save           save the facts in a file, to compare with later
  compare        compare the facts with those that were saved
  root-disk      print the disk with the root file system
  digest         print or check the digests of files
  signature      check an RSA signature of a text
  gpg            verify or encrypt with the built-in GPG key
  base64         convert standard input to or from base64
  check-names    find names of a program that take the place of the library's
  help           describe a subcommand, or the facts

Options:
  -V, --version  print the version, the signing key and the features
  -h, --help     print this help
)"),
              std::string::npos)
        << page({});
    EXPECT_NE(page({"gpg"}).find("\nSubcommands:\n  verify      verify"), std::string::npos);
    EXPECT_NE(page({"base64"}).find("\n  from-url    convert"), std::string::npos);
}

TEST_F(help, is_laid_out_in_two_columns)
{
    EXPECT_EQ(page({"show"}),
              R"(Usage: orvane show [NAME...] [--format=table|json|shell] [-j|--json]
         [--require FACT...] [--redact] [--trace]

Show what is known about this machine. Of one named fact the value alone is
printed.

Arguments:
  NAME               fact to show; without one, all

Options:
  --format=FORMAT    table, json, or shell: assignments to variables
  -j, --json         the same as --format=json
  --require FACT...  fail where one of these has no answer; words up to the next
                     option, or separated by commas
  --redact           print hashes in the place of what identifies the machine
  --trace            write the library's trace lines to its log, too
  -h, --help         print this help

Facts:
  root_device        block device of the root file system
  disk               disk of the root file system: model and serial number
  mac                greatest permanent MAC address of the wired interfaces
  system_uuid        SMBIOS system UUID
  vendor             vendor of the machine
  model              model: the SKU number
  serial             product serial number (service tag)
  oem_info           serial number and flash boot device, where there is one
  manufacturer       class of the manufacturer
  lenovo             1 on a Lenovo machine, 0 on any other
  huawei_9x0         1 with a Kirin 990, 9006C or 9A0 processor, 0 with any
                     other
  os_version         variant of the operating system: 2 education, 0 any other

Examples:
  orvane show disk
      Print the model and the serial number of the disk.
  orvane show --json >report.json
      Write all facts as one JSON object.
  orvane show --require disk,mac
      Show all facts, and fail unless these two are known.

Exit status:
  0  shown
  1  a named fact has no answer, or a required one is not known
  2  wrong use
  3  no result: a named fact needs root, or a tool that is missing

More: orvane help facts, docs/troubleshooting.md
)");
}

// A command line that is broken can be copied all the same.
TEST_F(help_on_terminal, fits_a_narrow_terminal)
{
    const std::string narrow = R"(Usage: orvane gpg verify FILE
         [--output FILE]

Verify a file that carries its content
and signatures.

Arguments:
  FILE           signed file

Options:
  --output FILE  where to write its
                 content (- is standard
                 output)
  -h, --help     print this help

Examples:
  orvane gpg verify licence.gpg \
      --output licence.txt
      Write the content if the signature
      is valid.

Exit status:
  0  valid
  1  not valid
  2  wrong use
  3  no result: no gpg, no key store, an
     unreadable file, a detached
     signature

More: docs/keys.md
)";
    EXPECT_EQ(page_in(40, "gpg verify"), narrow);
    EXPECT_EQ(page_in(10, "gpg verify"), narrow);
}

TEST_F(help_on_terminal, has_two_blanks_between_the_columns)
{
    EXPECT_NE(page_in(40, "show").find("\n  --format=FORMAT\n                  table, json,"),
              std::string::npos);
    EXPECT_NE(page_in(42, "show").find("\n  --format=FORMAT\n                  table, json,"),
              std::string::npos);
    EXPECT_NE(page_in(43, "show").find("\n  --format=FORMAT  table, json,"), std::string::npos);
}

TEST_F(help_on_terminal, has_no_line_that_is_too_long)
{
    constexpr unsigned short widths[] = {40, 49, 50, 57, 80, 132};
    for (const std::string &subcommand : subcommands) {
        for (const unsigned short columns : widths) {
            for (const std::string &line : lines_of(page_in(columns, subcommand))) {
                EXPECT_LE(line.size(), columns) << subcommand << ": " << line;
                EXPECT_FALSE(line.ends_with(' ')) << subcommand << ": " << line;
            }
        }
    }
}

TEST_F(help_on_terminal, is_as_elsewhere_where_it_has_80_columns)
{
    EXPECT_EQ(page_in(80, "show"), page({"show"}));
    EXPECT_EQ(page_in(0, "show"), page({"show"})); // its size is not known
}

TEST_F(help, describes_no_option_that_there_is_not)
{
    for (const std::string &subcommand : subcommands) {
        const texts options = options_in(page(words_of(subcommand)));
        EXPECT_FALSE(options.empty());
        for (const std::string &option : options)
            EXPECT_EQ(orvane(words_of(subcommand) + texts{option}).error.find("unknown"),
                      std::string::npos)
                << subcommand << " " << option;
    }
}

TEST_F(help_examples, succeed)
{
    for (const std::string &subcommand : subcommands) {
        const texts examples = examples_in(shell("orvane " + subcommand + " --help").output);
        EXPECT_FALSE(examples.empty()) << subcommand;
        for (const std::string &example : examples)
            expect_success(example);
    }
}

TEST_F(help, is_that_of_the_last_subcommand)
{
    EXPECT_EQ(orvane({"--help", "show"}), printed(page({"show"})));
    EXPECT_EQ(orvane({"gpg", "--help", "verify"}), printed(page({"gpg", "verify"})));
    EXPECT_EQ(orvane({"gpg", "verify", "--help", "f"}), printed(page({"gpg", "verify"})));
    EXPECT_EQ(orvane({"--help", "bogus"}), printed(page({})));
}

TEST_F(help, comes_before_words_that_are_missing_or_left_over)
{
    EXPECT_EQ(orvane({"signature", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "--bogus", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "--json", "--format=table", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "bogus", "--help"}).status, 2);
    EXPECT_EQ(orvane({"gpg", "encrypt", "--output", "", "--help"}).status, 2);
}

TEST_F(help, of_the_facts_has_a_page)
{
    EXPECT_EQ(orvane({"help", "facts"}).status, 0);
}

TEST_F(help, needs_a_standard_output)
{
    EXPECT_EQ(shell("exec orvane help >&-"),
              (outcome{3, "", "orvane: standard output is closed\n"}));
    EXPECT_EQ(shell("exec orvane help >/dev/full"),
              (outcome{3, "", "orvane: standard output: No space left on device\n"}));
}

TEST_F(help_version, names_the_signing_key_and_the_features)
{
    const outcome version = orvane({"--version"});
    const texts lines = lines_of(version.output);
    ASSERT_EQ(lines.size(), 3U) << version;
    EXPECT_EQ(lines[0], "orvane " ORVANE_VERSION);
    const std::string key = "signing key " + fingerprint();
    EXPECT_TRUE(lines[1] == key + " (made by a build for itself)" ||
                lines[1] == key + " (given to the build)")
        << lines[1];
    EXPECT_TRUE(lines[2].starts_with("features: scene from ")) << lines[2];
    EXPECT_EQ(version, printed(version.output));
}

TEST_F(help_version, comes_first)
{
    const outcome version = orvane({"--version"});
    EXPECT_EQ(orvane({"-V"}), version);
    EXPECT_EQ(orvane({"--help", "--version"}), version);
    EXPECT_EQ(orvane({"--version", "show", "bogus"}), version);
}
