// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Wrong use of the command, and what is accepted.
#include "command_machine.h"

#include <string>

namespace {

class usage : public command_machine {};

#define MD5_OF_ABC "900150983cd24fb0d6963f7d28e17f72"

struct misuse {
    texts words;
    std::string message;
    std::string page; // that describes the right use
};

outcome refused(const misuse &one)
{
    return {2, "", "orvane: " + one.message + " (see orvane " + one.page + ")\n"};
}

} // namespace

TEST_F(usage, names_the_word_that_is_not_known)
{
    const misuse misuses[] = {
        {{"bogus"}, "unknown subcommand 'bogus'", "--help"},
        {{""}, "unknown subcommand ''", "--help"},
        {{"-"}, "unknown subcommand '-'", "--help"},
        {{"one", "two"}, "unknown subcommand 'one'", "--help"},
        {{"bogus", "signature"}, "unknown subcommand 'bogus'", "--help"},
        {{"gpg", "sign"}, "unknown subcommand 'sign'", "gpg --help"},
        {{"base64", "sing"}, "unknown subcommand 'sing'", "base64 --help"},
        {{"--bogus"}, "unknown option '--bogus'", "--help"},
        {{"-x"}, "unknown option '-x'", "--help"},
        {{"show", "--bogus=value"}, "unknown option '--bogus'", "show --help"},
        {{"gpg", "verify", "f", "--bogus"}, "unknown option '--bogus'", "gpg verify --help"},
        {{"show", "bogus"}, "unknown fact 'bogus'", "help facts"},
        {{"show", ""}, "unknown fact ''", "help facts"},
        {{"show", "show"}, "unknown fact 'show'", "help facts"},
        {{"show", "vendor", "bogus"}, "unknown fact 'bogus'", "help facts"},
        {{"show", "--require", "disk", "bogus"}, "unknown fact 'bogus'", "help facts"},
        {{"show", "--require=disk,bogus"}, "unknown fact 'bogus'", "help facts"},
        {{"show", "--require", "disk,"}, "unknown fact ''", "help facts"},
        {{"explain", "bogus"}, "unknown fact 'bogus'", "help facts"},
        {{"show", "--format", "bogus"}, "unknown format 'bogus'", "show --help"},
        {{"help", "bogus"}, "unknown topic 'bogus'", "help --help"},
        {{"root-disk", "f"}, "unexpected argument 'f'", "root-disk --help"},
        {{"doctor", "disk"}, "unexpected argument 'disk'", "doctor --help"},
        {{"save", "a", "b"}, "unexpected argument 'b'", "save --help"},
        {{"compare", "a", "b"}, "unexpected argument 'b'", "compare --help"},
        {{"signature", "a", "b", "x"}, "unexpected argument 'x'", "signature --help"},
        {{"gpg", "verify", "a", "b"}, "unexpected argument 'b'", "gpg verify --help"},
        {{"gpg", "encrypt", "f"}, "unexpected argument 'f'", "gpg encrypt --help"},
        {{"base64", "encode", "show"}, "unexpected argument 'show'", "base64 encode --help"},
    };
    for (const misuse &one : misuses)
        EXPECT_EQ(orvane(one.words), refused(one)) << testing::PrintToString(one.words);
}

TEST_F(usage, suggests_what_was_probably_meant)
{
    const misuse misuses[] = {
        {{"shwo"}, "unknown subcommand 'shwo': did you mean 'show'?", "--help"},
        {{"compar"}, "unknown subcommand 'compar': did you mean 'compare'?", "--help"},
        {{"bsae46"}, "unknown subcommand 'bsae46': did you mean 'base64'?", "--help"},
        {{"base64", "xecode"},
         "unknown subcommand 'xecode': did you mean 'decode'?",
         "base64 --help"},
        {{"gpg", "verfiy"}, "unknown subcommand 'verfiy': did you mean 'verify'?", "gpg --help"},
        {{"show", "dsk"}, "unknown fact 'dsk': did you mean 'disk'?", "help facts"},
        {{"explain", "serail"}, "unknown fact 'serail': did you mean 'serial'?", "help facts"},
        {{"show", "--require", "mac,system_uid"},
         "unknown fact 'system_uid': did you mean 'system_uuid'?",
         "help facts"},
        {{"show", "--jsn"}, "unknown option '--jsn': did you mean '--json'?", "show --help"},
        {{"show", "--fromat=json"},
         "unknown option '--fromat': did you mean '--format'?",
         "show --help"},
        {{"show", "--format=jsn"}, "unknown format 'jsn': did you mean 'json'?", "show --help"},
        {{"help", "shwo"}, "unknown topic 'shwo': did you mean 'show'?", "help --help"},
        {{"help", "gpg", "verfy"},
         "unknown topic 'gpg verfy': did you mean 'gpg verify'?",
         "help --help"},
    };
    for (const misuse &one : misuses)
        EXPECT_EQ(orvane(one.words), refused(one)) << testing::PrintToString(one.words);
}

// Short words resemble each other by chance, and three differences are too many.
TEST_F(usage, suggests_nothing_that_is_far)
{
    for (const std::string word : {"ab", "x", "hlxy", "sh", "shoooow"})
        EXPECT_EQ(orvane({word}), refused({{}, "unknown subcommand '" + word + "'", "--help"}));
    EXPECT_EQ(orvane({"show", "systemid"}), refused({{}, "unknown fact 'systemid'", "help facts"}));
    const std::string enormous(100000, 'x');
    EXPECT_EQ(orvane({enormous}), refused({{}, "unknown subcommand '" + enormous + "'", "--help"}));
}

TEST_F(usage, suggests_the_subcommand_that_takes_the_word)
{
    const misuse misuses[] = {
        {{"--json"}, "unknown option '--json': did you mean 'orvane show --json'?", "--help"},
        {{"--json", "explain"},
         "unknown option '--json': did you mean 'orvane explain --json'?",
         "--help"},
        {{"gpg", "--output", "x", "verify", "f"},
         "unknown option '--output': did you mean 'orvane gpg verify --output'?",
         "gpg --help"},
        {{"show", "--version"},
         "unknown option '--version': did you mean 'orvane --version'?",
         "show --help"},
        {{"disk"}, "unknown subcommand 'disk': did you mean 'orvane show disk'?", "--help"},
    };
    for (const misuse &one : misuses)
        EXPECT_EQ(orvane(one.words), refused(one)) << testing::PrintToString(one.words);
}

TEST_F(usage, names_an_option_as_it_was_written)
{
    EXPECT_EQ(orvane({"show", "-json"}),
              refused({{}, "unknown option '-json': did you mean '--json'?", "show --help"}));
    EXPECT_EQ(orvane({"show", "-jxyz"}), refused({{}, "unknown option '-jxyz'", "show --help"}));
}

TEST_F(usage, names_what_is_missing_or_too_much)
{
    const misuse misuses[] = {
        {{"gpg"}, "a subcommand is missing", "gpg --help"},
        {{"base64"}, "a subcommand is missing", "base64 --help"},
        {{"save"}, "FILE is missing", "save --help"},
        {{"compare", "--json"}, "FILE is missing", "compare --help"},
        {{"save", ""}, "FILE: a file needs a name", "save --help"},
        {{"signature"}, "TEXTFILE is missing", "signature --help"},
        {{"check-names"}, "BINARY is missing", "check-names --help"},
        {{"check-names", "a", ""}, "BINARY: a file needs a name", "check-names --help"},
        {{"signature", "text"}, "SIGNATUREFILE is missing", "signature --help"},
        {{"signature", "text", "signature", "--key"},
         "option '--key' needs a value",
         "signature --help"},
        {{"signature", "text", "signature", "--key", ""},
         "--key: a file needs a name",
         "signature --help"},
        {{"gpg", "verify"}, "FILE is missing", "gpg verify --help"},
        {{"gpg", "encrypt", "--output", ""}, "--output: a file needs a name", "gpg encrypt --help"},
        {{"gpg", "verify", "f", "--output"},
         "option '--output' needs a value",
         "gpg verify --help"},
        {{"show", "--format="}, "option '--format' needs a value", "show --help"},
        {{"show", "disk", "--require"}, "option '--require' needs a value", "show --help"},
        {{"digest", "--check"}, "option '--check' needs a value", "digest --help"},
        {{"show", "--json=maybe"}, "option '--json' takes no value", "show --help"},
        {{"doctor", "--trace=1"}, "option '--trace' takes no value", "doctor --help"},
        {{"digest", "--check", "a", "--check", "b"},
         "option '--check' is given more than once",
         "digest --help"},
        {{"show", "--format=json", "--format=json"},
         "option '--format' is given more than once",
         "show --help"},
        {{"show", "--json", "--format=table"},
         "option '--json' cannot be used with option '--format'",
         "show --help"},
        {{"digest", "--check", "a", "md5", "f", MD5_OF_ABC},
         "option '--check' cannot be used with ALGORITHM",
         "digest --help"},
        {{"explain", "--schema", "disk"},
         "option '--schema' cannot be used with FACT",
         "explain --help"},
        {{"explain", "--schema", "-j"},
         "option '--schema' cannot be used with option '--json'",
         "explain --help"},
    };
    for (const misuse &one : misuses)
        EXPECT_EQ(orvane(one.words), refused(one)) << testing::PrintToString(one.words);
}

TEST_F(usage, of_a_digest_names_its_form)
{
    const std::string digest = "ALGORITHM, or --check SUMS, is required";
    const misuse misuses[] = {
        {{"digest"}, digest, ""},
        {{"digest", ""}, digest, ""},
        {{"digest", "md5", ""}, "FILE: a file needs a name", ""},
        {{"digest", "md5", "", MD5_OF_ABC}, "FILE: a file needs a name", ""},
        {{"digest", "--check", ""}, "--check: a file needs a name", ""},
        {{"digest", "sha512", "f", MD5_OF_ABC}, "ALGORITHM: sha256, sha1 or md5, not 'sha512'", ""},
        {{"digest", "MD5", "f", MD5_OF_ABC}, "ALGORITHM: sha256, sha1 or md5, not 'MD5'", ""},
        {{"digest", "--quiet", "md5", "f"}, "option '--quiet' needs option '--check'", ""},
        {{"digest", "--status", "md5", "f"}, "option '--status' needs option '--check'", ""},
        {{"digest", "--ignore-missing", "md5"},
         "option '--ignore-missing' needs option '--check'",
         ""},
        {{"digest", "--strict"}, "option '--strict' needs option '--check'", ""},
    };
    for (const auto &[words, message, page] : misuses)
        EXPECT_EQ(orvane(words), refused({words, message, "digest --help"}))
            << testing::PrintToString(words);
}

// A wrong value comes before what is left over, and that before what is missing; but an option that
// is not known may be why a value is wrong.
TEST_F(usage, is_examined_in_one_order)
{
    const misuse misuses[] = {
        {{"show", "bogus", "--json", "--format=table"}, "unknown fact 'bogus'", "help facts"},
        {{"show", "bogus", "--xyz"}, "unknown option '--xyz'", "show --help"},
        {{"show", "--fromat", "json"},
         "unknown option '--fromat': did you mean '--format'?",
         "show --help"},
        {{"gpg", "verify", "--output", ""}, "--output: a file needs a name", "gpg verify --help"},
        {{"gpg", "verify", "--bogus"}, "unknown option '--bogus'", "gpg verify --help"},
        {{"gpg", "verify", "--output", "a", "--output", ""},
         "--output: a file needs a name",
         "gpg verify --help"},
        {{"digest", "--check", "a", "--check", "b", "md5"},
         "option '--check' is given more than once",
         "digest --help"},
        {{"bogus", "--bogus"}, "unknown option '--bogus'", "--help"},
        {{"bogus", "signature", "--bogus"}, "unknown option '--bogus'", "signature --help"},
        {{"--version", "gpg", "verify", "--output"},
         "option '--output' needs a value",
         "gpg verify --help"},
    };
    for (const misuse &one : misuses)
        EXPECT_EQ(orvane(one.words), refused(one)) << testing::PrintToString(one.words);
}

TEST_F(usage, knows_the_end_of_options_and_flags_with_a_value)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "Acme\n");
    EXPECT_EQ(orvane({"--"}), orvane({}));
    EXPECT_EQ(orvane({"--", "show", "vendor"}), printed("Acme\n"));
    EXPECT_EQ(orvane({"show", "--", "vendor"}), printed("Acme\n"));
    EXPECT_EQ(orvane({"show", "--require", "vendor", "--", "vendor"}), printed("Acme\n"));
    EXPECT_EQ(orvane({"show", "--json=true"}), orvane({"show", "--json"}));
    EXPECT_EQ(orvane({"show", "--json=false"}), orvane({}));
}

TEST_F(usage, has_two_words_for_json)
{
    const outcome json = orvane({"show", "--json"});
    EXPECT_TRUE(json.output.starts_with("{\n")) << json;
    EXPECT_EQ(orvane({"show", "-j"}), json);
    EXPECT_EQ(orvane({"show", "--format=json"}), json);
    EXPECT_EQ(orvane({"show", "--format", "json"}), json);
    EXPECT_EQ(orvane({"show", "--json", "--json"}), json);
}

TEST_F(usage, messages_hold_no_control_characters_of_the_users_encoding)
{
    EXPECT_EQ(orvane({"show", "two\nlines\x1b[31m"}),
              refused({{}, "unknown fact 'two lines [31m'", "help facts"}));
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
