// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include "orvane.h"

#include <string>

namespace {

class help : public command_machine {};

const struct {
    texts words;
    texts phrases; // in this order
} helps[] = {
    {{},
     {"Usage: orvane [OPTIONS] [SUBCOMMAND]\n", "\n  -h,--help ", "\n  --version ", "\n  show ",
      "\n  root-disk ", "\n  digest ", "\n  signature ", "\n  gpg ", "\n  base64 "}},
    {{"root-disk"}, {"Usage: orvane root-disk [OPTIONS]\n", "\n  -h,--help "}},
    {{"digest"},
     {"Usage: orvane digest [OPTIONS] ALGORITHM [FILE...]\n", "\n  ALGORITHM ",
      "sha256, sha1 or md5\n", "\n  FILE ", "\n  HEX ", "\n  --check ", "\n  --quiet ",
      "\n  --status ", "\n  --ignore-missing ", "\n  --strict "}},
    {{"signature"},
     {"/etc/orvane/public.pem", "Usage: orvane signature [OPTIONS] TEXTFILE SIGNATUREFILE\n",
      "\n  TEXTFILE ", "\n  SIGNATUREFILE ", "\n  --key "}},
    {{"gpg"}, {"Usage: orvane gpg [OPTIONS] SUBCOMMAND\n", "\n  verify ", "\n  encrypt "}},
    {{"gpg", "verify"},
     {"Usage: orvane gpg verify [OPTIONS] FILE\n", "\n  FILE ", "\n  --output "}},
    {{"gpg", "encrypt"}, {"Usage: orvane gpg encrypt [OPTIONS]\n", "\n  --output "}},
    {{"base64"},
     {"Usage: orvane base64 [OPTIONS] SUBCOMMAND\n", "\n  encode ", "\n  decode ", "\n  to-url ",
      "\n  from-url "}},
    {{"base64", "encode"}, {"Usage: orvane base64 encode [OPTIONS]\n"}},
    {{"base64", "decode"}, {"Usage: orvane base64 decode [OPTIONS]\n"}},
    {{"base64", "to-url"}, {"Usage: orvane base64 to-url [OPTIONS]\n"}},
    {{"base64", "from-url"}, {"Usage: orvane base64 from-url [OPTIONS]\n"}},
};

// As text, so that its layout is seen.
const std::string help_of_show = R"(Show what is known (the default)
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

)";

} // namespace

TEST_F(help, describes_each_subcommand)
{
    for (auto [words, phrases] : helps) {
        words.emplace_back("--help");
        const outcome long_flag = orvane(words);
        std::size_t at = 0;
        for (const std::string &phrase : phrases) {
            at = long_flag.output.find(phrase, at);
            EXPECT_NE(at, std::string::npos) << phrase << " in " << long_flag;
        }
        EXPECT_EQ(long_flag, printed(long_flag.output));
        words.back() = "-h";
        EXPECT_EQ(orvane(words), long_flag);
    }
    EXPECT_EQ(orvane({"show", "--help"}), printed(help_of_show));
}

TEST_F(help, is_that_of_the_last_subcommand)
{
    EXPECT_EQ(orvane({"--help", "show"}), printed(help_of_show));
    EXPECT_EQ(orvane({"gpg", "--help", "verify"}), orvane({"gpg", "verify", "--help"}));
    EXPECT_EQ(orvane({"gpg", "verify", "--help", "f"}), orvane({"gpg", "verify", "--help"}));
    EXPECT_EQ(orvane({"--help", "bogus"}), orvane({"--help"}));
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
