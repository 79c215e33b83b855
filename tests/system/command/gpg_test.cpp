// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"
#include "gpg_machine.h"

#include <filesystem>
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
    [[nodiscard]] std::string fingerprint_of(const std::string &key)
    {
        const std::string listed = signers().gpg({"--with-colons", "--list-keys", key});
        const std::string before = "\nfpr:::::::::";
        return listed.substr(listed.find(before) + before.size(), 40);
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
    EXPECT_EQ(
        verified_to_output(signed_file(every_byte(4097))),
        undetermined("/srv/made: valid, but content of more than 4096 bytes is not handed over"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
    EXPECT_EQ(orvane({"gpg", "verify", "--output=-", signed_file()}), printed("hello\n"));
}

TEST_F(gpg_command, reports_why_a_file_is_not_valid)
{
    machine.file("/srv/plain", "hello\n");
    EXPECT_EQ(verified("/srv/plain"),
              failed("/srv/plain: it is not OpenPGP or is damaged, or gpg fails"));
    machine.file("/srv/empty", "");
    EXPECT_EQ(verified("/srv/empty"),
              failed("/srv/empty: it is not OpenPGP or is damaged, or gpg fails"));
    EXPECT_EQ(verified(written_by_gpg("hello\n", {"--store"})),
              failed("/srv/made: gpg finds no signature"));

    std::string text = machine.content(signed_file("hello\n", {"--clear-sign"}));
    text.replace(text.find("hello"), 5, "hallo");
    machine.file("/srv/altered", text);
    EXPECT_EQ(verified_to_output("/srv/altered"), failed("/srv/altered: the file was altered"));
    EXPECT_EQ(machine.content("/srv/output"), "before");

    const std::string whole = machine.content(signed_file());
    machine.file("/srv/half", whole.substr(0, whole.size() / 2));
    EXPECT_TRUE(is_failure(verified("/srv/half")));
}

TEST_F(gpg_command, cannot_tell_of_a_file_that_it_cannot_read)
{
    EXPECT_EQ(verified("/srv/b \n\x1b[31m"),
              undetermined("/srv/b   [31m: No such file or directory"));
    EXPECT_EQ(verified("/srv"), undetermined("/srv: Is a directory"));
    EXPECT_EQ(shell("mkfifo pipe; exec orvane gpg verify pipe"),
              undetermined("pipe: the file cannot be read"));
}

TEST_F(gpg_command, asks_for_the_content_of_a_detached_signature)
{
    const outcome detached =
        undetermined("/srv/made: a detached signature: give a file that carries its content");
    EXPECT_EQ(verified(signed_file("hello\n", {"--detach-sign"})), detached);
    EXPECT_EQ(verified(signed_file("hello\n", {"--armor", "--detach-sign"})), detached);
    make_other_key();
    EXPECT_EQ(verified(written_by_gpg("hello\n", {"-u", "other", "--detach-sign"})), detached);
    EXPECT_EQ(verified(signed_file("hello\n", {"-u", "other", "--detach-sign"})), detached);
    machine.file("/srv/made", "Signature of hello:\n" +
                                  machine.content(signed_file("hello\n", {"-ab"})) + "End\n");
    EXPECT_EQ(verified("/srv/made"), detached);
}

// Packets with a detached signature among them, and lengths that no file has.
TEST_F(gpg_command, takes_no_damaged_file_for_a_detached_signature)
{
    const std::string signature = machine.content(signed_file("hello\n", {"--detach-sign"}));
    const std::string whole = machine.content(signed_file("hello\n", {"-z0", "--sign"}));
    for (const std::string &bytes :
         {signature.substr(0, signature.size() - 1), signature + "x", signature + whole,
          std::string("\x88"), std::string("\x89\x01"), std::string("\x8b") + "x",
          std::string("\x8a\xff\xff\xff\xff"), std::string("\xc2"), std::string("\xc2\xc0"),
          std::string("\xc2\xe1xx"), std::string("\xc2\xff\xff\xff\xff\xff")}) {
        machine.file("/srv/damaged", bytes);
        const outcome result = verified("/srv/damaged");
        EXPECT_NE(result.status, 0) << result;
        EXPECT_EQ(result.error.find("detached"), std::string::npos) << result;
    }
}

TEST_F(gpg_command, names_the_key_of_another_signer_and_its_own)
{
    make_other_key();
    const outcome other = failed("/srv/made: signed by " + fingerprint_of("other") +
                                 ", not by the built-in key " + fingerprint());
    const texts forms[] = {
        {"--sign"},
        {"--armor", "--sign"},
        {"--clear-sign"},
        {"-z0", "--sign"},
        {"--compress-algo", "zlib", "--sign"},
        {"--compress-algo", "bzip2", "--sign"},
    };
    for (const bool is_known : {false, true}) {
        for (const texts &form : forms)
            EXPECT_EQ(verified(written_by_gpg("hello\n", texts{"-u", "other"} + form)), other)
                << testing::PrintToString(form);
        if (!is_known)
            import_for_user("other");
    }
    EXPECT_EQ(verified(signed_file("hello\n", {"-u", "other", "--sign"})), other);
}

TEST_F(gpg_command, changes_nothing_to_name_another_signer)
{
    make_other_key();
    const std::string by_other =
        machine.content(written_by_gpg("hello\n", {"-u", "other", "--sign"}));
    for (const std::string name : {"-", "-x", "--help", "a \n\x1b[31m", "$(touch done)", "x.sig"}) {
        machine.file("/srv/" + name, by_other);
        const outcome result = shell("exec orvane gpg verify -- '" + name + "'");
        EXPECT_EQ(result.status, 1) << result;
        EXPECT_NE(result.error.find(fingerprint_of("other")), std::string::npos) << result;
    }
    EXPECT_FALSE(std::filesystem::exists("/srv/done"));
    EXPECT_FALSE(user.has("other"));
    EXPECT_TRUE(user.has(fingerprint()));
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
              undetermined("standard input: a zero byte is not of a text"));
    EXPECT_EQ(shell("orvane gpg encrypt --output output </srv"),
              undetermined("standard input: Is a directory"));
    EXPECT_EQ(shell("printf text | GNUPGHOME=/missing orvane gpg encrypt --output output"),
              undetermined("standard input: the key store /missing: No such file or directory"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

TEST_F(gpg_command, cannot_tell_without_a_key_store)
{
    const std::string file = signed_file();
    EXPECT_EQ(shell("GNUPGHOME=/missing exec orvane gpg verify " + file),
              undetermined("/srv/made: the key store /missing: No such file or directory"));
    EXPECT_EQ(shell("unset GNUPGHOME; HOME=/missing exec orvane gpg verify " + file),
              undetermined("/srv/made: the key store /missing/.gnupg: No such file or directory"));
    use_read_only_key_store();
    EXPECT_EQ(verified(file),
              undetermined("/srv/made: the key store /srv/keys: Read-only file system"));
}

// GPGME looks for gpg once in a process.
TEST_F(gpg_command, reports_that_gpg_is_not_installed)
{
    const std::string file = signed_file();
    EXPECT_EQ(shell("PATH=/opt/orvane/bin orvane gpg verify " + file),
              undetermined("/srv/made: gpg is not installed"));
    EXPECT_EQ(shell("echo text | PATH=/opt/orvane/bin orvane gpg encrypt"),
              undetermined("standard input: gpg is not installed"));
}

TEST_F(gpg_results, have_messages)
{
    const struct {
        int status;
        const char *number;
        const char *message;
    } results[] = {
        {1, "1", "it is not OpenPGP or is damaged, or gpg fails"},
        {3, "14", "the key store does not have the key, or cannot be used"},
        {3, "15", "the clock is earlier than the key"},
        {3, "16", "GPGME cannot be set up"},
        {3, "44", "GPGME does not take the text"},
        {3, "45", "gpg cannot encrypt it, or the key expired or was revoked"},
        {1, "50", "the file was altered"},
        {1, "51", "the signature is bad"},
        {1, "52", "the signature is not valid or expired, or its key expired or was revoked"},
        {1, "53", "gpg finds no signature"},
        {1, "59", "the length is not a multiple of 4"},
        {1, "60", "a character is not of base64"},
        {1, "61", "a \"=\" is out of place"},
        {1, "62", "there is nothing to encode"},
        {1, "63", "there is nothing to decode"},
        {1, "64", "a character is neither of base64 nor \"%\""},
        {1, "65", "there is nothing to convert"},
        {1, "66", "a \"%\" is not followed by 2B, 2F or 3D"},
        {1, "67", "there is nothing to convert"},
        {3, "100", "GPGME has no memory for the result"},
        {3, "4711", "the library gives a result that is not known"},
    };
    machine.file("/srv/output", "before");
    for (const auto &[status, number, message] : results) {
        const std::string result = std::string("GNUPGHOME=/srv RESULT=") + number;
        const auto reported = [status, message](const std::string &name) {
            return outcome{status, "", "orvane: " + name + ": " + message + "\n"};
        };
        EXPECT_EQ(preloaded("given_result", result, "gpg verify signed --output output"),
                  reported("signed"));
        for (const char *const words : {"gpg encrypt --output output", "base64 decode"})
            EXPECT_EQ(preloaded("given_result", result, words), reported("standard input"))
                << words;
    }
    EXPECT_EQ(preloaded("given_result", "RESULT=49", "gpg verify list"),
              undetermined("list: No such file or directory"));
    EXPECT_EQ(preloaded("given_result", "RESULT=0", "gpg encrypt --output output"),
              undetermined("standard input: the message was not handed over"));
    EXPECT_EQ(machine.content("/srv/output"), "before");
}

// As where gpg reports no signer any more.
TEST_F(gpg_results, name_the_built_in_key_where_the_signer_is_not_known)
{
    const outcome result = preloaded("given_result", "RESULT=46", "gpg verify signed");
    EXPECT_EQ(result.status, 1) << result;
    EXPECT_TRUE(
        result.error.starts_with("orvane: signed: signed by another key than the built-in key "))
        << result;
}
