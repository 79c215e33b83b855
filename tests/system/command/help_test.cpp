// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include "orvane.h"

#include <string>

namespace {

class help : public command_machine {};

const struct {
    texts words;
    std::string text;
} helps[] = {
    {{}, R"(Tells the identity of the machine it runs on, and checks and encodes data files.
Usage: orvane [OPTIONS] [SUBCOMMAND]

Options:
  -h,--help                   Print this help message and exit
  --version                   Display program version information and exit

Subcommands:
  show                        Show what is known (the default)
  root-disk                   Print the name of the disk with the root file system on one of its partitions, as lsblk -J lists it
  digest                      Check the digests of files
  signature                   Check an RSA signature under the key in /etc/orvane/public.pem
  gpg                         Verify or encrypt with the built-in GPG key
  base64                      Convert standard input to or from base64

)"},
    {{"show"}, R"(Show what is known (the default)
Usage: orvane show [OPTIONS] [NAME]

Positionals:
  NAME TEXT Excludes: --json  One fact, to print its value alone

Options:
  -h,--help                   Print this help message and exit
  --json Excludes: NAME       Print one JSON object

Facts:
  root_device                 block device of the root file system
  disk                        disk of the root file system: model and serial number
  mac                         greatest permanent MAC address of the wired interfaces
  system_uuid                 SMBIOS system UUID
  vendor                      vendor of the machine
  model                       model: the SKU number
  serial                      product serial number (service tag)
  oem_info                    serial number and flash boot device, where there is one
  manufacturer                class of the manufacturer
  lenovo                      1 on a Lenovo machine, 0 on any other
  huawei_9x0                  1 with a Kirin 990, 9006C or 9A0 processor, 0 with any other
  os_version                  variant of the operating system: 2 education, 0 any other

)"},
    {{"root-disk"},
     R"(Print the name of the disk with the root file system on one of its partitions, as lsblk -J lists it
Usage: orvane root-disk [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {{"digest"}, R"(Check the digests of files
Usage: orvane digest [OPTIONS] [ALGORITHM] [FILE] [HEX]

Positionals:
  ALGORITHM TEXT Excludes: --check
                              sha256, sha1 or md5
  FILE TEXT                   The file
  HEX TEXT                    Its digest in hexadecimal digits

Options:
  -h,--help                   Print this help message and exit
  --check TEXT Excludes: ALGORITHM
                              A list of digests and files, as sha256sum writes it

)"},
    {{"signature"}, R"(Check an RSA signature under the key in /etc/orvane/public.pem
Usage: orvane signature [OPTIONS] TEXTFILE SIGNATUREFILE

Positionals:
  TEXTFILE TEXT REQUIRED      The text that was signed
  SIGNATUREFILE TEXT REQUIRED Its signature, in base64

Options:
  -h,--help                   Print this help message and exit

)"},
    {{"gpg"}, R"(Verify or encrypt with the built-in GPG key
Usage: orvane gpg [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help message and exit

Subcommands:
  verify                      Verify a file that carries its content and signatures
  encrypt                     Encrypt the text on standard input

)"},
    {{"gpg", "verify"}, R"(Verify a file that carries its content and signatures
Usage: orvane gpg verify [OPTIONS] FILE

Positionals:
  FILE TEXT REQUIRED          The signed file

Options:
  -h,--help                   Print this help message and exit
  --output TEXT               Where to write its content (- is standard output)

)"},
    {{"gpg", "encrypt"}, R"(Encrypt the text on standard input
Usage: orvane gpg encrypt [OPTIONS]

Options:
  -h,--help                   Print this help message and exit
  --output TEXT               Where to write the message (standard output)

)"},
    {{"base64"}, R"(Convert standard input to or from base64
Usage: orvane base64 [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help message and exit

Subcommands:
  encode                      Bytes to base64 on one line
  decode                      Base64 on one line to bytes
  to-url                      Base64 to the form for the query of a URL
  from-url                    The form for the query of a URL to base64

)"},
    {{"base64", "encode"}, R"(Bytes to base64 on one line
Usage: orvane base64 encode [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {{"base64", "decode"}, R"(Base64 on one line to bytes
Usage: orvane base64 decode [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {{"base64", "to-url"}, R"(Base64 to the form for the query of a URL
Usage: orvane base64 to-url [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {{"base64", "from-url"}, R"(The form for the query of a URL to base64
Usage: orvane base64 from-url [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
};

} // namespace

TEST_F(help, is_printed_for_each_subcommand)
{
    for (auto [words, text] : helps) {
        for (const char *const flag : {"--help", "-h"}) {
            words.emplace_back(flag);
            EXPECT_EQ(orvane(words), printed(text)) << testing::PrintToString(words);
            words.pop_back();
        }
    }
}

TEST_F(help, is_that_of_the_last_subcommand)
{
    const auto of = [](const texts &words) {
        for (const auto &[named, text] : helps) {
            if (named == words)
                return printed(text);
        }
        return outcome{};
    };
    EXPECT_EQ(orvane({"--help", "show"}), of({"show"}));
    EXPECT_EQ(orvane({"gpg", "--help", "verify"}), of({"gpg", "verify"}));
    EXPECT_EQ(orvane({"gpg", "verify", "--help", "f"}), of({"gpg", "verify"}));
    EXPECT_EQ(orvane({"--help", "bogus"}), of({}));
}

TEST_F(help, comes_before_words_that_are_missing_or_left_over)
{
    EXPECT_EQ(orvane({"signature", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "vendor", "model", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "--json", "vendor", "--help"}).status, 0);
    EXPECT_EQ(orvane({"show", "bogus", "--help"}).status, 2);
    EXPECT_EQ(orvane({"gpg", "encrypt", "--output", "", "--help"}).status, 2);
}

TEST_F(help, comes_after_the_version)
{
    const outcome version = printed("orvane " ORVANE_VERSION "\n");
    EXPECT_EQ(orvane({"--version"}), version);
    EXPECT_EQ(orvane({"--help", "--version"}), version);
    EXPECT_EQ(orvane({"--version", "show", "bogus"}), version);
}
