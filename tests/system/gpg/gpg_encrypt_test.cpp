// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Texts that gpg encrypts to the built-in key.
#include "gpg_machine.h"

namespace {

class encrypted_text : public gpg_machine {
protected:
    static handed_over encrypted(const std::string &text)
    {
        return asked(gpg_encrypt, text.c_str());
    }

    // Only whoever has the private half can read the message, and reads this text.
    void expect_kept(const std::string &text)
    {
        const handed_over message = encrypted(text);
        EXPECT_EQ(message.code, 0);
        EXPECT_EQ(decrypted(message.text), text);
    }

    // Tells the library this time.
    static void set_clock(std::time_t now)
    {
        interpose::time = [now](std::time_t *) { return now; };
    }

    // A key store that is there and stays as it is.
    void close_key_store()
    {
        machine.file_system("/srv/keys", "mode=700");
        machine.read_only("/srv/keys");
        ::setenv("GNUPGHOME", "/srv/keys", 1);
    }
};

} // namespace

TEST_F(encrypted_text, is_an_armoured_message)
{
    const std::string message = encrypted("hello\n").text;
    EXPECT_TRUE(message.starts_with("-----BEGIN PGP MESSAGE-----\n")) << message;
    EXPECT_TRUE(message.ends_with("\n-----END PGP MESSAGE-----\n")) << message;
}

TEST_F(encrypted_text, is_terminated_and_its_length_is_that_of_the_text)
{
    char *message = nullptr;
    unsigned int length = 0;
    EXPECT_EQ(gpg_encrypt("hello\n", &message, &length), 0);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message[length], '\0');
    EXPECT_EQ(std::string(message).size(), length);
    std::free(message);
}

TEST_F(encrypted_text, is_for_whoever_has_the_private_half_of_the_built_in_key)
{
    expect_kept("hello\n");
}

TEST_F(encrypted_text, may_be_empty)
{
    expect_kept("");
}

TEST_F(encrypted_text, may_be_one_character)
{
    expect_kept("x");
}

TEST_F(encrypted_text, may_be_a_mebibyte)
{
    expect_kept(std::string(1048575, 'x') + "y");
}

TEST_F(encrypted_text, may_have_every_byte_but_a_zero)
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    expect_kept(bytes + "\r\n\n\r" + bytes);
}

TEST_F(encrypted_text, ends_at_its_terminator)
{
    EXPECT_EQ(decrypted(asked(gpg_encrypt, "one\0two").text), "one");
}

TEST_F(encrypted_text, has_no_other_recipient)
{
    machine.file("/srv/message", encrypted("hello\n").text);
    const std::string packets = signers().gpg({"--list-packets", "/srv/message"});
    const std::size_t recipient = packets.find(":pubkey enc packet:");
    ASSERT_NE(recipient, std::string::npos);
    EXPECT_EQ(packets.find(":pubkey enc packet:", recipient + 1), std::string::npos);
    EXPECT_NE(packets.find("keyid " + fingerprint().substr(24)), std::string::npos);
}

TEST_F(encrypted_text, teaches_the_key_store_the_key)
{
    EXPECT_FALSE(user.has(fingerprint()));
    EXPECT_EQ(gpg_encrypt("hello\n", nullptr, nullptr), 0);
    EXPECT_TRUE(user.has(fingerprint()));
}

TEST_F(encrypted_text, may_be_encrypted_again)
{
    expect_kept("one");
    expect_kept("two");
}

TEST_F(encrypted_text, is_encrypted_in_silence)
{
    EXPECT_EQ(standard_error_of([] { gpg_encrypt("hello\n", nullptr, nullptr); }), "");
    EXPECT_EQ(machine.trace(), texts{});
}

// What is not asked for.

TEST_F(encrypted_text, tells_no_length_when_no_message_is_asked_for)
{
    unsigned int length = 4711;
    EXPECT_EQ(gpg_encrypt("hello\n", nullptr, &length), 0);
    EXPECT_EQ(length, 4711U);
}

TEST_F(encrypted_text, is_handed_over_when_no_length_is_asked_for)
{
    char *message = nullptr;
    EXPECT_EQ(gpg_encrypt("hello\n", &message, nullptr), 0);
    EXPECT_EQ(decrypted(owned_text(message).value()), "hello\n");
}

// What cannot be encrypted.

TEST_F(encrypted_text, is_none_at_all)
{
    EXPECT_EQ(asked(gpg_encrypt, nullptr), nothing_stored(44));
}

TEST_F(encrypted_text, is_not_encrypted_to_a_key_that_expired)
{
    signers().gpg({"--quick-set-expire", fingerprint(), "1d"});
    introduce(fingerprint());
    user.set_clock("20990101T000000");
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(45));
}

TEST_F(encrypted_text, is_not_encrypted_in_silence)
{
    close_key_store();
    EXPECT_EQ(standard_error_of([] { gpg_encrypt("hello\n", nullptr, nullptr); }), "");
    EXPECT_EQ(machine.trace(), texts{});
}

// A key that did not get into the key store, and the clock.

TEST_F(encrypted_text, lacks_its_key)
{
    close_key_store();
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(14));
}

TEST_F(encrypted_text, lacks_its_key_by_a_clock_that_stands_before_its_creation)
{
    close_key_store();
    set_clock(creation_time() - 1);
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(15));
}

TEST_F(encrypted_text, lacks_its_key_at_the_second_of_its_creation)
{
    close_key_store();
    set_clock(creation_time());
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(14));
}

TEST_F(encrypted_text, lacks_its_key_by_a_clock_at_the_beginning_of_time)
{
    close_key_store();
    set_clock(0);
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(15));
}

TEST_F(encrypted_text, lacks_its_key_by_a_clock_before_the_beginning_of_time)
{
    close_key_store();
    set_clock(-1); // the last of all seconds, as an unsigned number
    EXPECT_EQ(encrypted("hello\n"), nothing_stored(14));
}

TEST_F(encrypted_text, is_encrypted_by_any_clock_where_the_key_is_known)
{
    set_clock(0);
    expect_kept("hello\n");
}
