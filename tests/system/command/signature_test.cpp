// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include "rsa_samples.h"

#include <string>

namespace {

const outcome valid = printed("/srv/text: valid\n");

outcome refused(const std::string &reason)
{
    return failed("/srv/signature: no valid signature: " + reason);
}

constexpr char malformed[] = "\"-----BEGIN RSA PUBLIC KEY-----\" and a key in PEM are needed";

outcome no_key(const std::string &file, const std::string &reason)
{
    return undetermined(file + ": no RSA public key: " + reason);
}

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
    [[nodiscard]] outcome checked_with_key(const std::string &key) const
    {
        return orvane({"signature", "/srv/text", "/srv/signature", "--key", key});
    }
    [[nodiscard]] outcome checked_text(const std::string &text)
    {
        machine.file("/srv/text", text);
        return checked();
    }
    [[nodiscard]] outcome checked_signature(const std::string &signature)
    {
        machine.file("/srv/signature", signature);
        return checked();
    }
};

// The text in lines of so many characters, each with this end.
std::string wrapped(std::string text, std::size_t columns, const std::string &end)
{
    for (std::size_t at = columns; at < text.size(); at += columns + end.size())
        text.insert(at, end);
    return text + end;
}

} // namespace

TEST_F(signature_command, confirms_a_signature_in_any_layout)
{
    EXPECT_EQ(checked(), valid);
    EXPECT_EQ(checked_signature(wrapped(signature_2048, 64, "\n")), valid);
    EXPECT_EQ(checked_signature(wrapped(signature_2048, 76, " \r\n")), valid);
}

TEST_F(signature_command, confirms_what_openssl_signs)
{
    machine.file("/srv/private.pem", private_key_for_tests_only);
    for (const std::string &text :
         {std::string(sample_text), std::string(), every_byte(300000, 1)}) {
        machine.file("/srv/text", text);
        ASSERT_EQ(shell("openssl dgst -sha256 -sign private.pem -out binary text"
                        " && openssl base64 -in binary -out signature")
                      .status,
                  0);
        EXPECT_EQ(checked(), valid);
    }
}

TEST_F(signature_command, reads_each_file_once)
{
    EXPECT_EQ(
        shell("mkfifo pipe; cat signature >pipe & exec orvane signature /dev/fd/0 pipe <text"),
        printed("/dev/fd/0: valid\n"));
}

TEST_F(signature_command, refuses_what_does_not_match)
{
    const outcome no_match = refused("it does not match the text");
    EXPECT_EQ(checked_text("Trust this test."), no_match);
    EXPECT_EQ(checked_text(std::string(sample_text) + "\n"), no_match);
    machine.file("/srv/text", sample_text);
    EXPECT_EQ(checked_signature(signature_3072), no_match);
    EXPECT_EQ(checked_signature(std::string(signature_2048).substr(0, 172)), no_match);
    for (const char *const text : {"?", ""})
        EXPECT_EQ(checked_signature(text), refused("it is not base64"));
}

TEST_F(signature_command, cannot_tell_without_a_public_key)
{
    machine.file("/etc/orvane/public.pem", "-----BEGIN PUBLIC KEY-----\n");
    EXPECT_EQ(checked(), no_key("/etc/orvane/public.pem", malformed));
    machine.remove("/etc/orvane/public.pem");
    EXPECT_EQ(checked(), no_key("/etc/orvane/public.pem", "No such file or directory"));
    EXPECT_EQ(checked_signature("?"), refused("it is not base64"));
}

TEST_F(signature_command, checks_under_a_given_key)
{
    machine.file("/srv/key.pem", public_key_3072);
    EXPECT_EQ(checked_with_key("/srv/key.pem"), refused("it does not match the text"));
    machine.file("/srv/signature", signature_3072);
    EXPECT_EQ(checked_with_key("/srv/key.pem"), valid);
    EXPECT_EQ(checked(), refused("it does not match the text"));
    machine.remove("/etc/orvane/public.pem");
    EXPECT_EQ(checked_with_key("/srv/key.pem"), valid);
    EXPECT_EQ(shell("cd /; exec orvane signature --key=srv/key.pem srv/text srv/signature"),
              printed("srv/text: valid\n"));
}

TEST_F(signature_command, cannot_tell_without_the_given_key)
{
    EXPECT_EQ(checked_with_key("/srv/missing"),
              no_key("/srv/missing", "No such file or directory"));
    EXPECT_EQ(checked_with_key("/srv"), no_key("/srv", "Is a directory"));
    machine.file("/srv/key.pem", "");
    EXPECT_EQ(checked_with_key("/srv/key.pem"), no_key("/srv/key.pem", malformed));
    machine.file("/srv/key.pem", public_key_2048, 0600);
    EXPECT_EQ(orvane({"signature", "--key", "/srv/key.pem", "/srv/text", "/srv/signature"},
                     other_user::nobody),
              no_key("/srv/key.pem", "Permission denied"));
}

TEST_F(signature_command, reports_a_file_that_is_no_text)
{
    EXPECT_EQ(checked_signature(std::string(signature_2048) + std::string(1, '\0')),
              undetermined("/srv/signature: a zero byte is not of a text"));
    EXPECT_EQ(orvane({"signature", "/dev/zero", "/srv/signature"}),
              undetermined("/dev/zero: a zero byte is not of a text"));
    machine.remove("/srv/signature");
    EXPECT_EQ(checked(), undetermined("/srv/signature: No such file or directory"));
    EXPECT_EQ(checked_text(std::string(sample_text) + std::string(1, '\0') + "and this"),
              undetermined("/srv/text: a zero byte is not of a text"));
    machine.remove("/srv/text");
    EXPECT_EQ(checked(), undetermined("/srv/text: No such file or directory"));
    machine.directory("/srv/text");
    EXPECT_EQ(checked(), undetermined("/srv/text: Is a directory"));
}
