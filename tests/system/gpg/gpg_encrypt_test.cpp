// SPDX-License-Identifier: LGPL-2.1-or-later
#include "gpg_machine.h"

#include <cstring>

namespace {

class gpg_encryption : public gpg_machine {};

// What gpg_encrypt returns where GPGME reports that it refuses these recipients.
gpg_result result_of_refusing(const std::vector<const char *> &fingerprints)
{
    std::vector<_gpgme_invalid_key> refused(fingerprints.size());
    for (std::size_t at = 0; at < refused.size(); ++at) {
        refused[at].fpr = const_cast<char *>(fingerprints[at]);
        refused[at].next = at + 1 < refused.size() ? &refused[at + 1] : nullptr;
    }
    _gpgme_op_encrypt_result result = {};
    result.invalid_recipients = refused.data();
    interpose::gpgme_op_encrypt_result = [&result](gpgme_ctx_t) { return &result; };
    return encrypt("hello\n");
}

} // namespace

TEST_F(gpg_encryption, makes_an_armoured_message_to_the_built_in_key)
{
    std::string every_byte;
    for (int byte = 1; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    for (const std::string &text :
         {std::string("hello\n"), std::string(), std::string("x"),
          every_byte + "\r\n\n\r" + every_byte, std::string(1048575, 'x') + "y"}) {
        const gpg_result message = encrypt(text);
        EXPECT_EQ(message.code, ORVANE_OK);
        EXPECT_TRUE(message.text.starts_with("-----BEGIN PGP MESSAGE-----\n")) << message;
        EXPECT_TRUE(message.text.ends_with("\n-----END PGP MESSAGE-----\n")) << message;
        EXPECT_EQ(decrypted(message.text), text);
    }
}

TEST_F(gpg_encryption, has_no_other_recipient)
{
    machine.file("/srv/message", encrypt("hello\n").text);
    const std::string packets = signers().gpg({"--list-packets", "/srv/message"});
    const std::size_t recipient = packets.find(":pubkey enc packet:");
    ASSERT_NE(recipient, std::string::npos);
    EXPECT_EQ(packets.find(":pubkey enc packet:", recipient + 1), std::string::npos);
    EXPECT_NE(packets.find("keyid " + fingerprint().substr(24)), std::string::npos);
}

TEST_F(gpg_encryption, imports_the_built_in_key)
{
    EXPECT_FALSE(user.has(fingerprint()));
    EXPECT_EQ(encrypt("hello\n").code, ORVANE_OK);
    EXPECT_TRUE(user.has(fingerprint()));
}

TEST_F(gpg_encryption, terminates_the_message_and_stores_only_what_is_wanted)
{
    char *message = nullptr;
    unsigned int length = 0;
    EXPECT_EQ(gpg_encrypt("hello\n", &message, &length), ORVANE_OK);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(std::strlen(message), length);
    std::free(message);

    EXPECT_EQ(gpg_encrypt("hello\n", nullptr, nullptr), ORVANE_OK);
    length = gpg_result::length_before;
    EXPECT_EQ(gpg_encrypt("hello\n", nullptr, &length), ORVANE_OK);
    EXPECT_EQ(length, gpg_result::length_before);
    EXPECT_EQ(gpg_encrypt("hello\n", &message, nullptr), ORVANE_OK);
    EXPECT_EQ(decrypted(owned_text(message).value()), "hello\n");
}

TEST_F(gpg_encryption, refuses_a_null_text)
{
    EXPECT_EQ(result_of(gpg_encrypt, nullptr), nothing_stored(ORVANE_GPG_TEXT_NOT_TAKEN));
}

TEST_F(gpg_encryption, fails_for_an_expired_key)
{
    signers().gpg({"--quick-set-expire", fingerprint(), "1d"});
    import_for_user(fingerprint());
    user.set_clock("20370101T000000");
    EXPECT_EQ(encrypt("hello\n"), nothing_stored(ORVANE_GPG_ENCRYPT_FAILED));
}

TEST_F(gpg_encryption, fails_where_the_first_refused_recipient_is_the_key)
{
    const std::string key = fingerprint();
    const std::string id = key.substr(24);
    const char *const other = "0123456789ABCDEF0123456789ABCDEF01234567";
    for (const auto &refused : std::vector<std::vector<const char *>>{
             {key.c_str()},
             {key.c_str(), other},
         })
        EXPECT_EQ(result_of_refusing(refused), nothing_stored(ORVANE_GPG_KEY_MISSING));
    for (const auto &refused : std::vector<std::vector<const char *>>{
             {}, {other}, {other, key.c_str()}, {id.c_str()}, {nullptr}})
        EXPECT_EQ(decrypted(result_of_refusing(refused).text), "hello\n");
}

TEST_F(gpg_encryption, fails_where_gpgme_yields_no_key)
{
    interpose::gpgme_get_key = [](gpgme_ctx_t, const char *, gpgme_key_t *key, int) {
        *key = nullptr;
        return gpgme_error_t{0};
    };
    EXPECT_EQ(encrypt("hello\n"), nothing_stored(ORVANE_GPG_KEY_MISSING));
}

TEST_F(gpg_encryption, reports_a_clock_before_the_creation_of_a_missing_key)
{
    use_read_only_key_store();
    const struct {
        std::time_t now;
        int code;
    } clocks[] = {
        {creation_time() - 1, ORVANE_GPG_CLOCK_TOO_EARLY},
        {creation_time(), ORVANE_GPG_KEY_MISSING},
        {creation_time() + 1, ORVANE_GPG_KEY_MISSING},
        {0, ORVANE_GPG_CLOCK_TOO_EARLY},
        {-1, ORVANE_GPG_KEY_MISSING}, // the greatest time, without a sign
    };
    for (const auto &clock : clocks) {
        interpose::time = [&clock](std::time_t *) { return clock.now; };
        EXPECT_EQ(encrypt("hello\n"), nothing_stored(clock.code)) << clock.now;
    }
}

TEST_F(gpg_encryption, works_by_any_clock_where_the_key_is_known)
{
    interpose::time = [](std::time_t *) { return std::time_t{0}; };
    EXPECT_EQ(decrypted(encrypt("hello\n").text), "hello\n");
}
