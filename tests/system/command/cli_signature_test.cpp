// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include "rsa_samples.h"

#include <string>

namespace {

constexpr char no_match[] =
    "orvane: /srv/signature: no valid signature: it does not match the text\n";

// A machine with a public key, and a text that its holder signed.
class signature_command : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.file("/etc/orvane/public.pem", public_key_2048);
        machine.file("/srv/text", sample_text);
        machine.file("/srv/signature", signature_2048);
    }

    [[nodiscard]] outcome checked() const
    {
        return orvane({"signature", "/srv/text", "/srv/signature"});
    }

    // Has the tool that the documentation names sign the text.
    void sign_text()
    {
        machine.file("/srv/private.pem", private_key_for_tests_only);
        ASSERT_EQ(shell("cd /srv; openssl dgst -sha256 -sign private.pem -out binary text"
                        " && openssl base64 -in binary -out signature")
                      .status,
                  0);
    }
};

// The characters of the text in lines of a few, each with this end.
std::string wrapped(std::string text, std::size_t columns, const std::string &end)
{
    for (std::size_t at = columns; at < text.size(); at += columns + end.size())
        text.insert(at, end);
    return text + end;
}

} // namespace

TEST_F(signature_command, confirms_what_the_holder_of_the_key_signed)
{
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, takes_a_signature_in_lines)
{
    machine.file("/srv/signature", wrapped(signature_2048, 64, "\n"));
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, takes_a_signature_with_carriage_returns_and_blanks)
{
    machine.file("/srv/signature", wrapped(signature_2048, 76, " \r\n"));
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, confirms_what_openssl_signs)
{
    sign_text();
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, confirms_a_long_text_of_any_bytes_but_zero)
{
    machine.file("/srv/text", every_byte(300000, 1));
    sign_text();
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, confirms_an_empty_text)
{
    machine.file("/srv/text", "");
    sign_text();
    EXPECT_EQ(checked(), printed("/srv/text: valid\n"));
}

TEST_F(signature_command, reads_each_file_once)
{
    EXPECT_EQ(shell("mkfifo /srv/pipe; cat /srv/signature >/srv/pipe & "
                    "exec orvane signature /dev/fd/0 /srv/pipe </srv/text"),
              printed("/dev/fd/0: valid\n"));
}

TEST_F(signature_command, refuses_an_altered_text)
{
    machine.file("/srv/text", "Trust this test.");
    EXPECT_EQ(checked(), complained(no_match));
}

TEST_F(signature_command, counts_the_line_break_at_the_end_of_the_text)
{
    machine.file("/srv/text", std::string(sample_text) + "\n");
    EXPECT_EQ(checked(), complained(no_match));
}

TEST_F(signature_command, refuses_a_signature_by_another_key)
{
    machine.file("/srv/signature", signature_3072);
    EXPECT_EQ(checked(), complained(no_match));
}

TEST_F(signature_command, refuses_half_a_signature)
{
    machine.file("/srv/signature", std::string(signature_2048).substr(0, 172));
    EXPECT_EQ(checked(), complained(no_match));
}

TEST_F(signature_command, says_that_a_signature_is_not_base64)
{
    machine.file("/srv/signature", "?");
    EXPECT_EQ(checked(), complained("orvane: /srv/signature: no valid signature: "
                                    "it is not base64\n"));
}

TEST_F(signature_command, says_that_a_signature_is_empty)
{
    machine.file("/srv/signature", "");
    EXPECT_EQ(checked(), complained("orvane: /srv/signature: no valid signature: "
                                    "it is not base64\n"));
}

TEST_F(signature_command, says_that_the_key_is_missing)
{
    machine.remove("/etc/orvane/public.pem");
    EXPECT_EQ(checked(), complained("orvane: /srv/signature: no valid signature: "
                                    "Error opening public key file: /etc/orvane/public.pem\n"));
}

TEST_F(signature_command, says_that_the_key_is_none)
{
    machine.file("/etc/orvane/public.pem", "-----BEGIN PUBLIC KEY-----\n");
    EXPECT_EQ(checked(),
              complained("orvane: /srv/signature: no valid signature: "
                         "Error reading public key from file: /etc/orvane/public.pem\n"));
}

TEST_F(signature_command, refuses_a_zero_byte_in_the_text)
{
    machine.file("/srv/text", std::string(sample_text) + std::string(1, '\0') + "and this");
    EXPECT_EQ(checked(), complained("orvane: /srv/text: a zero byte is not of a text\n"));
}

TEST_F(signature_command, refuses_a_zero_byte_in_the_signature)
{
    machine.file("/srv/signature", std::string(signature_2048) + std::string(1, '\0'));
    EXPECT_EQ(checked(), complained("orvane: /srv/signature: a zero byte is not of a text\n"));
}

TEST_F(signature_command, says_that_the_text_is_missing)
{
    machine.remove("/srv/text");
    EXPECT_EQ(checked(), complained("orvane: /srv/text: No such file or directory\n"));
}

TEST_F(signature_command, says_that_the_signature_is_missing)
{
    machine.remove("/srv/signature");
    EXPECT_EQ(checked(), complained("orvane: /srv/signature: No such file or directory\n"));
}

TEST_F(signature_command, says_that_the_text_is_a_directory)
{
    machine.directory("/srv/text");
    EXPECT_EQ(checked(), complained("orvane: /srv/text: Is a directory\n"));
}

TEST_F(signature_command, complains_of_any_name_in_one_plain_line)
{
    EXPECT_EQ(orvane({"signature", "/srv/a\nb\x1b[31m", "/srv/signature"}),
              complained("orvane: /srv/a b [31m: No such file or directory\n"));
}

TEST_F(signature_command, fails_where_its_answer_cannot_be_written)
{
    EXPECT_EQ(orvane_by_shell("signature /srv/text /srv/signature >/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
    EXPECT_EQ(orvane_by_shell("signature /srv/text /srv/signature >&-"),
              complained("orvane: standard output is closed\n"));
}

TEST_F(signature_command, works_with_standard_input_and_error_closed)
{
    EXPECT_EQ(orvane_by_shell("signature /srv/text /srv/signature <&- 2>&-"),
              printed("/srv/text: valid\n"));
}
