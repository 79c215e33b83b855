// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"
#include "gpg_machine.h"

#include <string>

namespace {

class gpg_command : public with_command<gpg_machine> {
protected:
    // Another key of the signers'.
    void make_stranger()
    {
        signers().gpg({"--passphrase", "", "--quick-generate-key", "stranger", "rsa2048"});
    }

    [[nodiscard]] outcome verified(const std::string &file) const
    {
        return orvane({"gpg", "verify", file});
    }

    [[nodiscard]] outcome encrypted(const std::string &text)
    {
        machine.file("/srv/text", text);
        // Without the leak sanitizer, to which the key that nobody releases is a leak.
        return shell("exec orvane gpg encrypt </srv/text");
    }
};

} // namespace

TEST_F(gpg_command, says_that_a_signed_file_is_valid)
{
    EXPECT_EQ(verified(signed_file()), printed("/srv/made: valid\n"));
}

TEST_F(gpg_command, says_that_a_clear_signed_file_is_valid)
{
    EXPECT_EQ(verified(signed_file("hello\n", {"--clear-sign"})), printed("/srv/made: valid\n"));
}

TEST_F(gpg_command, writes_the_content_to_standard_output)
{
    EXPECT_EQ(orvane({"gpg", "verify", signed_file(), "--output", "-"}), printed("hello\n"));
}

TEST_F(gpg_command, writes_the_content_to_a_file)
{
    EXPECT_EQ(orvane({"gpg", "verify", signed_file(), "--output", "/srv/output"}), printed(""));
    EXPECT_EQ(machine.content("/srv/output"), "hello\n");
    EXPECT_EQ(permissions("/srv/output"), 0644U); // the umask's
}

TEST_F(gpg_command, takes_the_option_before_the_file)
{
    EXPECT_EQ(orvane({"gpg", "verify", "--output=/srv/output", signed_file()}), printed(""));
    EXPECT_EQ(machine.content("/srv/output"), "hello\n");
}

TEST_F(gpg_command, writes_empty_content)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(orvane({"gpg", "verify", signed_file(""), "--output", "/srv/output"}), printed(""));
    EXPECT_EQ(machine.content("/srv/output"), "");
}

TEST_F(gpg_command, writes_4096_bytes_of_any_content)
{
    const std::string content = every_byte(4096);
    EXPECT_EQ(orvane({"gpg", "verify", signed_file(content), "--output", "/srv/output"}),
              printed(""));
    EXPECT_EQ(machine.content("/srv/output"), content);
}

TEST_F(gpg_command, says_that_longer_content_is_valid)
{
    EXPECT_EQ(verified(signed_file(every_byte(4097))), printed("/srv/made: valid\n"));
}

TEST_F(gpg_command, does_not_write_longer_content)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(orvane({"gpg", "verify", signed_file(every_byte(4097)), "--output", "/srv/output"}),
              complained("orvane: /srv/made: valid, but content of more than 4096 bytes is not "
                         "handed over\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_F(gpg_command, says_that_a_file_is_missing)
{
    EXPECT_EQ(verified("/srv/missing"),
              complained("orvane: /srv/missing: the file cannot be read\n"));
}

TEST_F(gpg_command, says_that_a_file_holds_no_signature)
{
    machine.file("/srv/plain", "hello\n");
    EXPECT_EQ(verified("/srv/plain"), complained("orvane: /srv/plain: gpg cannot verify it\n"));
}

TEST_F(gpg_command, says_that_a_file_ends_in_the_middle)
{
    const std::string whole = machine.content(signed_file());
    machine.file("/srv/half", whole.substr(0, whole.size() / 2));
    const outcome refused = verified("/srv/half");
    EXPECT_EQ(refused.output, "");
    EXPECT_TRUE(refused.error.starts_with("orvane: /srv/half: ")) << refused;
    EXPECT_TRUE(is_one_line(refused.error)) << refused;
    EXPECT_EQ(refused.status, 1);
}

TEST_F(gpg_command, says_that_a_file_was_altered)
{
    std::string text = machine.content(signed_file("hello\n", {"--clear-sign"}));
    text.replace(text.find("hello"), 5, "hallo");
    machine.file("/srv/altered", text);
    EXPECT_EQ(verified("/srv/altered"), complained("orvane: /srv/altered: the file was altered\n"));
}

TEST_F(gpg_command, says_that_somebody_else_signed)
{
    make_stranger();
    introduce("stranger");
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "stranger", "--sign"})),
              complained("orvane: /srv/made: a signature is by another key\n"));
}

TEST_F(gpg_command, says_that_the_key_is_unknown)
{
    make_stranger();
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "stranger", "--sign"})),
              complained("orvane: /srv/made: the key is not in the key store\n"));
}

TEST_F(gpg_command, takes_a_file_with_any_name)
{
    machine.file("/srv/a \n\x1b[31m", machine.content(signed_file()));
    EXPECT_EQ(verified("/srv/a \n\x1b[31m"), printed("/srv/a \n\x1b[31m: valid\n"));
    EXPECT_EQ(verified("/srv/b \n\x1b[31m"),
              complained("orvane: /srv/b   [31m: the file cannot be read\n"));
}

TEST_F(gpg_command, fails_where_the_content_cannot_be_printed)
{
    const std::string words = "gpg verify " + signed_file() + " --output - ";
    EXPECT_EQ(orvane_by_shell(words + ">/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
    EXPECT_EQ(orvane_by_shell(words + ">&-"), complained("orvane: standard output is closed\n"));
}

TEST_F(gpg_command, works_with_standard_input_and_error_closed)
{
    EXPECT_EQ(orvane_by_shell("gpg verify " + signed_file() + " <&- 2>&-"),
              printed("/srv/made: valid\n"));
}

TEST_F(gpg_command, encrypts_to_the_built_in_key)
{
    const outcome message = encrypted("a secret\n");
    EXPECT_TRUE(message.output.starts_with("-----BEGIN PGP MESSAGE-----\n")) << message;
    EXPECT_TRUE(message.output.ends_with("-----END PGP MESSAGE-----\n")) << message;
    EXPECT_EQ(message.error, "");
    EXPECT_EQ(message.status, 0);
    EXPECT_EQ(decrypted(message.output), "a secret\n");
}

TEST_F(gpg_command, encrypts_every_byte_of_its_input)
{
    const std::string text = every_byte(100000, 1);
    EXPECT_EQ(decrypted(encrypted(text).output), text);
}

TEST_F(gpg_command, encrypts_nothing)
{
    EXPECT_EQ(decrypted(encrypted("").output), "");
}

TEST_F(gpg_command, writes_the_message_to_a_file)
{
    EXPECT_EQ(shell("printf 'a secret' | orvane gpg encrypt --output /srv/output"), printed(""));
    EXPECT_EQ(decrypted(machine.content("/srv/output")), "a secret");
}

TEST_F(gpg_command, takes_a_dash_for_standard_output)
{
    EXPECT_EQ(decrypted(shell("printf 'a secret' | orvane gpg encrypt --output -").output),
              "a secret");
}

TEST_F(gpg_command, writes_no_message_with_a_zero_byte_in_its_input)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(shell("printf 'a\\0b' | orvane gpg encrypt --output /srv/output"),
              complained("orvane: standard input: a zero byte is not of a text\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_F(gpg_command, writes_no_message_where_its_input_cannot_be_read)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(orvane_by_shell("gpg encrypt --output /srv/output </srv"),
              complained("orvane: standard input: Is a directory\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_F(gpg_command, writes_no_message_without_a_key_store)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(shell("GNUPGHOME=/missing; export GNUPGHOME; "
                    "printf 'a secret' | orvane gpg encrypt --output /srv/output"),
              complained("orvane: standard input: the key is not in the key store\n"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}
