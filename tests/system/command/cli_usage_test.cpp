// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

class usage : public command_machine {};

struct misuse : named_case {
    texts words;
    const char *complaint = "";
};

class misused_word : public usage, public testing::WithParamInterface<misuse> {};

#define SEE_HELP(complaint) "orvane: " complaint " (see orvane --help)\n"
#define DIGEST_WANTS SEE_HELP("ALGORITHM, FILE and HEX, or --check SUMS, is required")
#define MD5_OF_ABC "900150983cd24fb0d6963f7d28e17f72"

const misuse misuses[] = {
    {{"digest_alone"}, {"digest"}, DIGEST_WANTS},
    {{"digest_without_file"}, {"digest", "md5"}, DIGEST_WANTS},
    {{"digest_without_digits"}, {"digest", "md5", "f"}, DIGEST_WANTS},
    {{"digest_of_no_digits"}, {"digest", "md5", "f", ""}, DIGEST_WANTS},
    {{"digest_with_a_word_more"},
     {"digest", "md5", "f", MD5_OF_ABC, "x"},
     SEE_HELP("The following argument was not expected: x")},
    {{"unknown_algorithm"},
     {"digest", "sha512", "f", MD5_OF_ABC},
     SEE_HELP("ALGORITHM: sha256, sha1 or md5, not 'sha512'")},
    {{"algorithm_in_capitals"},
     {"digest", "MD5", "f", MD5_OF_ABC},
     SEE_HELP("ALGORITHM: sha256, sha1 or md5, not 'MD5'")},
    {{"digits_of_another_algorithm"},
     {"digest", "sha1", "f", MD5_OF_ABC},
     SEE_HELP("HEX: sha1 has 40 hexadecimal digits")},
    {{"a_digit_too_few"},
     {"digest", "md5", "f", "00150983cd24fb0d6963f7d28e17f72"},
     SEE_HELP("HEX: md5 has 32 hexadecimal digits")},
    {{"a_digit_too_many"},
     {"digest", "md5", "f", MD5_OF_ABC "0"},
     SEE_HELP("HEX: md5 has 32 hexadecimal digits")},
    {{"a_letter_that_is_no_digit"},
     {"digest", "md5", "f", "g00150983cd24fb0d6963f7d28e17f72"},
     SEE_HELP("HEX: md5 has 32 hexadecimal digits")},
    {{"digits_of_another_length"},
     {"digest", "sha256", "f", MD5_OF_ABC},
     SEE_HELP("HEX: sha256 has 64 hexadecimal digits")},
    {{"list_without_name"}, {"digest", "--check"}, SEE_HELP("--check: 1 required TEXT missing")},
    {{"two_lists"},
     {"digest", "--check", "a", "--check", "b"},
     SEE_HELP("--check: At Most 1 required but received 2")},
    {{"list_and_file"},
     {"digest", "--check", "sums", "md5", "f", MD5_OF_ABC},
     SEE_HELP("--check excludes ALGORITHM")},
    {{"signature_alone"}, {"signature"}, SEE_HELP("TEXTFILE is required")},
    {{"signature_without_signature"}, {"signature", "text"}, SEE_HELP("SIGNATUREFILE is required")},
    {{"signature_with_a_word_more"},
     {"signature", "text", "signature", "x"},
     SEE_HELP("The following argument was not expected: x")},
    {{"gpg_alone"}, {"gpg"}, SEE_HELP("A subcommand is required")},
    {{"gpg_with_an_unknown_word"}, {"gpg", "sign"}, SEE_HELP("A subcommand is required")},
    {{"verify_without_file"}, {"gpg", "verify"}, SEE_HELP("FILE is required")},
    {{"verify_two_files"},
     {"gpg", "verify", "a", "b"},
     SEE_HELP("The following argument was not expected: b")},
    {{"verify_without_output"},
     {"gpg", "verify", "f", "--output"},
     SEE_HELP("--output: 1 required TEXT missing")},
    {{"encrypt_a_file"},
     {"gpg", "encrypt", "f"},
     SEE_HELP("The following argument was not expected: f")},
    {{"base64_alone"}, {"base64"}, SEE_HELP("A subcommand is required")},
    {{"base64_with_an_unknown_word"}, {"base64", "recode"}, SEE_HELP("A subcommand is required")},
    {{"base64_of_a_file"},
     {"base64", "encode", "f"},
     SEE_HELP("The following argument was not expected: f")},
};

struct helpful_word : named_case {
    texts words;
    texts tells;
};

class help_of_word : public usage, public testing::WithParamInterface<helpful_word> {};

const helpful_word helpful_words[] = {
    {{"orvane"}, {}, {"show", "root-disk", "digest", "signature", "gpg", "base64"}},
    {{"digest"},
     {"digest"},
     {"Usage: orvane digest", "ALGORITHM", "sha256, sha1 or md5", "FILE", "HEX", "--check"}},
    {{"signature"},
     {"signature"},
     {"Usage: orvane signature", "TEXTFILE", "SIGNATUREFILE", "/etc/orvane/public.pem"}},
    {{"gpg"}, {"gpg"}, {"Usage: orvane gpg", "verify", "encrypt"}},
    {{"gpg_verify"}, {"gpg", "verify"}, {"Usage: orvane gpg verify", "FILE", "--output"}},
    {{"gpg_encrypt"}, {"gpg", "encrypt"}, {"Usage: orvane gpg encrypt", "--output"}},
    {{"base64"}, {"base64"}, {"Usage: orvane base64", "encode", "decode", "to-url", "from-url"}},
};

} // namespace

TEST_P(misused_word, is_one_line_and_status_2)
{
    EXPECT_EQ(orvane(GetParam().words), (outcome{2, "", GetParam().complaint}));
}

INSTANTIATE_TEST_SUITE_P(usage, misused_word, testing::ValuesIn(misuses));

TEST_P(help_of_word, tells_what_it_takes)
{
    texts words = GetParam().words;
    words.emplace_back("--help");
    const outcome help = orvane(words);
    for (const std::string &told : GetParam().tells)
        EXPECT_NE(help.output.find(told), std::string::npos) << told << " in " << help.output;
    EXPECT_EQ(help.error, "");
    EXPECT_EQ(help.status, 0);
}

INSTANTIATE_TEST_SUITE_P(usage, help_of_word, testing::ValuesIn(helpful_words));
