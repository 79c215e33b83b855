// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

struct said_result : named_case {
    const char *number = "";
    const char *words = "";
};

class result_without_text : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.file("/srv/output", "before");
    }

    [[nodiscard]] outcome orvane_with(const std::string &given, const std::string &words) const
    {
        return preloaded("say_result", "RESULT=" + given, words);
    }
};

class library_result : public result_without_text,
                       public testing::WithParamInterface<said_result> {};

const said_result said_results[] = {
    {{"verify_failed"}, "1", "gpg cannot verify it"},
    {{"key_missing"}, "14", "the key is not in the key store"},
    {{"clock_too_early"}, "15", "the clock is earlier than the key"},
    {{"no_context"}, "16", "GPGME cannot be set up"},
    {{"text_not_taken"}, "44", "GPGME does not take the text"},
    {{"encrypt_failed"}, "45", "gpg cannot encrypt it"},
    {{"other_signer"}, "46", "a signature is by another key"},
    {{"file_unreadable"}, "49", "the file cannot be read"},
    {{"signature_red"}, "50", "the file was altered"},
    {{"signature_bad"}, "51", "the signature is bad"},
    {{"signature_invalid"},
     "52",
     "the signature is not valid or expired, or its key expired or was revoked"},
    {{"no_signature"}, "53", "there is no signature"},
    {{"base64_length"}, "59", "the length is not a multiple of 4"},
    {{"base64_character"}, "60", "a character is not of base64"},
    {{"base64_padding"}, "61", "a \"=\" is out of place"},
    {{"nothing_to_encode"}, "62", "there is nothing to encode"},
    {{"nothing_to_decode"}, "63", "there is nothing to decode"},
    {{"url_character"}, "64", "a character is neither of base64 nor \"%\""},
    {{"from_url_nothing"}, "65", "there is nothing to convert"},
    {{"url_escape"}, "66", "a \"%\" is not followed by 2B, 2F or 3D"},
    {{"to_url_nothing"}, "67", "there is nothing to convert"},
    {{"no_output"}, "100", "GPGME has no room for the result"},
    {{"a_result_of_later_times"}, "4711", "the library gives a result that is not known"},
};

} // namespace

TEST_P(library_result, is_said_in_words_of_a_signed_file)
{
    EXPECT_EQ(orvane_with(GetParam().number, "gpg verify /srv/signed --output /srv/output"),
              complained(std::string("orvane: /srv/signed: ") + GetParam().words + "\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_P(library_result, is_said_in_words_of_a_text_to_encrypt)
{
    EXPECT_EQ(orvane_with(GetParam().number, "gpg encrypt --output /srv/output"),
              complained(std::string("orvane: standard input: ") + GetParam().words + "\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_P(library_result, is_said_in_words_of_base64)
{
    EXPECT_EQ(orvane_with(GetParam().number, "base64 decode"),
              complained(std::string("orvane: standard input: ") + GetParam().words + "\n"));
}

INSTANTIATE_TEST_SUITE_P(command, library_result, testing::ValuesIn(said_results));

TEST_F(result_without_text, is_not_written)
{
    EXPECT_EQ(orvane_with("0", "gpg encrypt --output /srv/output"),
              complained("orvane: standard input: the message was not handed over\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}
