// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

class usage : public command_machine {};

#define MD5_OF_ABC "900150983cd24fb0d6963f7d28e17f72"

} // namespace

TEST_F(usage, is_refused_in_one_line_with_status_2)
{
    const std::string digest = "ALGORITHM, or --check SUMS, is required";
    const std::string subcommand = "A subcommand is required";
    const auto unexpected = [](const std::string &word) {
        return "The following argument was not expected: " + word;
    };
    const struct {
        texts words;
        std::string message;
    } misuses[] = {
        {{"bogus"}, unexpected("bogus")},
        {{"--bogus"}, unexpected("--bogus")},
        {{""}, unexpected("")},
        {{"-"}, unexpected("-")},
        {{"--jso"}, unexpected("--jso")},
        {{"one", "two", "--three"}, "The following arguments were not expected: --three two one"},
        {{"show", "bogus"}, "NAME: unknown fact 'bogus'"},
        {{"show", ""}, "NAME: unknown fact ''"},
        {{"show", "two\nlines\x1b[31m"}, "NAME: unknown fact 'two lines [31m'"},
        {{"show", "vendor", "model"}, unexpected("model")},
        {{"show", "--bogus"}, unexpected("--bogus")},
        {{"show", "--json", "vendor"}, "NAME excludes --json"},
        {{"show", "--json=maybe"}, "Could not convert: --json = maybe"},
        {{"show", "show"}, "NAME: unknown fact 'show'"},
        {{"show", "root-disk"}, "NAME: unknown fact 'root-disk'"},
        {{"root-disk", "bogus"}, unexpected("bogus")},
        {{"digest"}, digest},
        {{"digest", ""}, digest},
        {{"digest", "md5", ""}, "FILE: a file needs a name"},
        {{"digest", "md5", "", MD5_OF_ABC}, "FILE: a file needs a name"},
        {{"digest", "sha512", "f", MD5_OF_ABC}, "ALGORITHM: sha256, sha1 or md5, not 'sha512'"},
        {{"digest", "MD5", "f", MD5_OF_ABC}, "ALGORITHM: sha256, sha1 or md5, not 'MD5'"},
        {{"digest", "--check"}, "--check: 1 required TEXT missing"},
        {{"digest", "--check", "a", "--check", "b"}, "--check: At Most 1 required but received 2"},
        {{"digest", "--check", ""}, "--check: a file needs a name"},
        {{"digest", "--check", "a", "md5", "f", MD5_OF_ABC}, "--check excludes ALGORITHM"},
        {{"digest", "--check", "a", "b"}, "--check excludes ALGORITHM"},
        {{"digest", "--quiet", "md5", "f"}, "--quiet requires --check"},
        {{"digest", "--status", "md5", "f", MD5_OF_ABC}, "--status requires --check"},
        {{"digest", "--ignore-missing", "md5"}, "--ignore-missing requires --check"},
        {{"digest", "--strict"}, "--strict requires --check"},
        {{"signature"}, "TEXTFILE is required"},
        {{"signature", "text"}, "SIGNATUREFILE is required"},
        {{"signature", "text", "signature", "x"}, unexpected("x")},
        {{"signature", "text", "signature", "--key"}, "--key: 1 required TEXT missing"},
        {{"signature", "text", "signature", "--key", ""}, "--key: a file needs a name"},
        {{"signature", "text", "signature", "--key", "a", "--key", "b"},
         "--key: At Most 1 required but received 2"},
        {{"gpg"}, subcommand},
        {{"gpg", "sign"}, subcommand},
        {{"gpg", "verify"}, "FILE is required"},
        {{"gpg", "verify", "a", "b"}, unexpected("b")},
        {{"gpg", "verify", "f", "--output"}, "--output: 1 required TEXT missing"},
        {{"gpg", "verify", "f", "--output", ""}, "--output: a file needs a name"},
        {{"gpg", "encrypt", "--output", ""}, "--output: a file needs a name"},
        {{"gpg", "encrypt", "f"}, unexpected("f")},
        {{"base64"}, subcommand},
        {{"base64", "recode"}, subcommand},
        {{"base64", "encode", "f"}, unexpected("f")},
        {{"base64", "encode", "show"}, unexpected("show")},
    };
    for (const auto &[words, message] : misuses)
        EXPECT_EQ(orvane(words), (outcome{2, "", "orvane: " + message + " (see orvane --help)\n"}))
            << testing::PrintToString(words);
}

TEST_F(usage, is_examined_in_one_order)
{
    const struct {
        texts words;
        std::string message;
    } misuses[] = {
        {{"show", "bogus", "--json"}, "NAME: unknown fact 'bogus'"},
        {{"show", "bogus", "vendor"}, "NAME: unknown fact 'bogus'"},
        {{"show", "vendor", "--json", "model"}, "NAME excludes --json"},
        {{"gpg", "verify", "--output", ""}, "--output: a file needs a name"},
        {{"gpg", "verify", "--bogus"}, "FILE is required"},
        {{"gpg", "verify", "--output", "a", "--output", ""}, "--output: a file needs a name"},
        {{"digest", "--check", "a", "--check", "b", "md5"},
         "--check: At Most 1 required but received 2"},
        {{"base64", "--bogus"}, "A subcommand is required"},
        {{"bogus", "signature"}, "TEXTFILE is required"},
    };
    for (const auto &[words, message] : misuses)
        EXPECT_EQ(orvane(words), (outcome{2, "", "orvane: " + message + " (see orvane --help)\n"}))
            << testing::PrintToString(words);
}

TEST_F(usage, knows_the_end_of_options_and_flags_with_a_value)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "Acme\n");
    EXPECT_EQ(orvane({"--"}), orvane({}));
    EXPECT_EQ(orvane({"--", "show", "vendor"}), printed("Acme\n"));
    EXPECT_EQ(orvane({"show", "--", "vendor"}), printed("Acme\n"));
    EXPECT_EQ(orvane({"show", "--json=true"}), orvane({"show", "--json"}));
    EXPECT_EQ(orvane({"show", "--json=false"}), orvane({}));
}

TEST_F(usage, messages_hold_no_control_characters_of_the_users_encoding)
{
    const auto message_in = [this](const std::string &locale) {
        return machine
            .run({"/usr/bin/env", "LC_ALL=" + locale, "/opt/orvane/bin/orvane", "digest", "--check",
                  "M\xc3\xbc\xc2\x9b"
                  "31m\x1b\xff"})
            .error;
    };
    EXPECT_EQ(message_in("C.UTF-8"), "orvane: M\xc3\xbc 31m ?: No such file or directory\n");
    EXPECT_EQ(message_in("C"), "orvane: M????31m ?: No such file or directory\n");
}
