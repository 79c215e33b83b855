// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"
#include "gpg_machine.h"

#include <string>

namespace {

class gpg_command : public with_command<gpg_machine> {
protected:
    [[nodiscard]] outcome verified(const std::string &file) const
    {
        return orvane({"gpg", "verify", file});
    }
    [[nodiscard]] outcome verified_to_output(const std::string &file)
    {
        machine.file("/srv/output", "before");
        return orvane({"gpg", "verify", file, "--output", "/srv/output"});
    }
    [[nodiscard]] outcome encrypted(const std::string &text)
    {
        machine.file("/srv/text", text);
        return shell("exec orvane gpg encrypt <text");
    }
};

// Results of the library that are not those of a real input.
class gpg_results : public command_machine {};

} // namespace

TEST_F(gpg_command, verifies_a_signed_file)
{
    const auto valid = [](const std::string &file, const std::string &size) {
        return printed(file + ": valid; only the signed content of " + size + "\n");
    };
    EXPECT_EQ(verified(signed_file()), valid("/srv/made", "6 bytes is vouched for"));
    EXPECT_EQ(verified(signed_file("x")), valid("/srv/made", "1 byte is vouched for"));
    EXPECT_EQ(verified(signed_file(every_byte(4097))),
              valid("/srv/made", "more than 4096 bytes is vouched for, and it is not handed over"));

    machine.file("/srv/a \n\x1b[31m", machine.content(signed_file()));
    EXPECT_EQ(verified("/srv/a \n\x1b[31m"), valid("/srv/a \n\x1b[31m", "6 bytes is vouched for"));
}

// What stands around a signed part of a clear-signed file passes the verification.
TEST_F(gpg_command, vouches_for_the_signed_content_alone)
{
    const std::string part = machine.content(signed_file("hello\n", {"--clear-sign"}));
    machine.file("/srv/framed", "forged\n" + part + "forged\n");
    EXPECT_EQ(verified("/srv/framed"),
              printed("/srv/framed: valid; only the signed content of 6 bytes is vouched for\n"));
    EXPECT_EQ(verified_to_output("/srv/framed"), printed(""));
    EXPECT_EQ(machine.content("/srv/output"), "hello\n");
    EXPECT_EQ(orvane({"gpg", "verify", "/srv/framed", "--output=-"}), printed("hello\n"));
}

TEST_F(gpg_command, writes_the_content_of_a_signed_file)
{
    for (const std::string &content : {std::string(), std::string("hello\n"), every_byte(4096)}) {
        EXPECT_EQ(verified_to_output(signed_file(content)), printed(""));
        EXPECT_EQ(machine.content("/srv/output"), content);
    }
    EXPECT_EQ(verified_to_output(signed_file(every_byte(4097))),
              failed("/srv/made: valid, but content of more than 4096 bytes is not handed over"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
    EXPECT_EQ(orvane({"gpg", "verify", "--output=-", signed_file()}), printed("hello\n"));
}

TEST_F(gpg_command, reports_why_a_file_is_not_valid)
{
    machine.file("/srv/plain", "hello\n");
    EXPECT_EQ(verified("/srv/plain"), failed("/srv/plain: gpg cannot verify it"));
    EXPECT_EQ(verified("/srv/b \n\x1b[31m"), failed("/srv/b   [31m: the file cannot be read"));

    std::string text = machine.content(signed_file("hello\n", {"--clear-sign"}));
    text.replace(text.find("hello"), 5, "hallo");
    machine.file("/srv/altered", text);
    EXPECT_EQ(verified_to_output("/srv/altered"),
              failed("/srv/altered: the file was altered, or is a detached signature"));
    EXPECT_EQ(machine.content("/srv/output"), "before");

    const std::string whole = machine.content(signed_file());
    machine.file("/srv/half", whole.substr(0, whole.size() / 2));
    EXPECT_TRUE(is_failure(verified("/srv/half")));

    make_other_key();
    const std::string by_other = written_by_gpg("hello\n", {"-u", "other", "--sign"});
    EXPECT_EQ(verified(by_other),
              failed("/srv/made: the key store does not have the key, or cannot be used"));
    import_for_user("other");
    EXPECT_EQ(verified(by_other), failed("/srv/made: a signature is by another key"));
}

TEST_F(gpg_command, encrypts_standard_input_to_the_built_in_key)
{
    for (const std::string &text :
         {std::string("a secret\n"), std::string(), every_byte(100000, 1)}) {
        const outcome message = encrypted(text);
        EXPECT_TRUE(message.output.starts_with("-----BEGIN PGP MESSAGE-----\n")) << message;
        EXPECT_TRUE(message.output.ends_with("-----END PGP MESSAGE-----\n")) << message;
        EXPECT_EQ(message.error, "");
        EXPECT_EQ(message.status, 0);
        EXPECT_EQ(decrypted(message.output), text);
    }
    EXPECT_EQ(decrypted(shell("printf 'a secret' | orvane gpg encrypt --output -").output),
              "a secret");
    EXPECT_EQ(shell("printf 'a secret' | orvane gpg encrypt --output output"), printed(""));
    EXPECT_EQ(decrypted(machine.content("/srv/output")), "a secret");
}

TEST_F(gpg_command, writes_no_message_of_what_it_cannot_encrypt)
{
    machine.file("/srv/output", "before");
    EXPECT_EQ(shell("printf 'a\\0b' | orvane gpg encrypt --output output"),
              failed("standard input: a zero byte is not of a text"));
    EXPECT_EQ(shell("orvane gpg encrypt --output output </srv"),
              failed("standard input: Is a directory"));
    EXPECT_EQ(shell("printf text | GNUPGHOME=/missing orvane gpg encrypt --output output"),
              failed("standard input: the key store does not have the key, or cannot be used"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

// GPGME looks for gpg once in a process.
TEST_F(gpg_command, fails_without_gpg)
{
    const std::string file = signed_file();
    EXPECT_EQ(shell("PATH=/opt/orvane/bin orvane gpg verify " + file),
              failed("/srv/made: gpg cannot verify it"));
    EXPECT_EQ(shell("echo text | PATH=/opt/orvane/bin orvane gpg encrypt"),
              failed("standard input: the key store does not have the key, or cannot be used"));
}

TEST_F(gpg_results, have_messages)
{
    const struct {
        const char *number;
        const char *message;
    } results[] = {
        {"1", "gpg cannot verify it"},
        {"14", "the key store does not have the key, or cannot be used"},
        {"15", "the clock is earlier than the key"},
        {"16", "GPGME cannot be set up"},
        {"44", "GPGME does not take the text"},
        {"45", "gpg cannot encrypt it, or the key expired or was revoked"},
        {"46", "a signature is by another key"},
        {"49", "the file cannot be read"},
        {"50", "the file was altered, or is a detached signature"},
        {"51", "the signature is bad"},
        {"52", "the signature is not valid or expired, or its key expired or was revoked"},
        {"53", "gpg finds no signature, or cannot use the key store"},
        {"59", "the length is not a multiple of 4"},
        {"60", "a character is not of base64"},
        {"61", "a \"=\" is out of place"},
        {"62", "there is nothing to encode"},
        {"63", "there is nothing to decode"},
        {"64", "a character is neither of base64 nor \"%\""},
        {"65", "there is nothing to convert"},
        {"66", "a \"%\" is not followed by 2B, 2F or 3D"},
        {"67", "there is nothing to convert"},
        {"100", "GPGME has no memory for the result"},
        {"4711", "the library gives a result that is not known"},
    };
    machine.file("/srv/output", "before");
    for (const auto &[number, message] : results) {
        const std::string result = std::string("RESULT=") + number;
        EXPECT_EQ(preloaded("given_result", result, "gpg verify signed --output output"),
                  failed(std::string("signed: ") + message));
        for (const char *const words : {"gpg encrypt --output output", "base64 decode"})
            EXPECT_EQ(preloaded("given_result", result, words),
                      failed(std::string("standard input: ") + message))
                << words;
    }
    EXPECT_EQ(preloaded("given_result", "RESULT=0", "gpg encrypt --output output"),
              failed("standard input: the message was not handed over"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}
