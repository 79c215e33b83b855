// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Files that the built-in key signed, verified by gpg.
#include "gpg_machine.h"

#include <malloc.h>

namespace {

class verified_file : public gpg_machine {
protected:
    static handed_over verified(const std::string &path) { return asked(gpg_verify, path.c_str()); }

    // Hands over this content and no byte more or less.
    void expect_handed_over(const std::string &content)
    {
        EXPECT_EQ(verified(signed_file(content)),
                  (handed_over{0, content, static_cast<unsigned int>(content.size())}));
    }
    void expect_not_handed_over(const std::string &content)
    {
        EXPECT_EQ(verified(signed_file(content)),
                  (handed_over{0, "(null)", handed_over::no_length}));
    }

    // The user trusts the key like one of his own.
    void trust(const std::string &key)
    {
        machine.file("/srv/trust", key + ":6:\n");
        user.gpg({"--import-ownertrust", "/srv/trust"});
    }
};

struct form : named_case {
    texts options;
};

class signed_form : public verified_file, public testing::WithParamInterface<form> {};

const form forms[] = {
    {"binary", {"--sign"}},
    {"armoured", {"--armor", "--sign"}},
    {"not_compressed", {"--compress-algo", "none", "--sign"}},
    {"compressed_by_zip", {"--compress-algo", "zip", "--sign"}},
    {"compressed_by_zlib", {"--compress-algo", "zlib", "--sign"}},
    {"compressed_by_bzip2", {"--compress-algo", "bzip2", "--sign"}},
    {"clear_signed", {"--clearsign"}},
    {"in_text_mode", {"--textmode", "--sign"}},
};

} // namespace

TEST_P(signed_form, is_good_without_trust_in_the_key_and_its_content_handed_over)
{
    EXPECT_EQ(verified(signed_file("hello\n", GetParam().options)), (handed_over{0, "hello\n", 6}));
}

INSTANTIATE_TEST_SUITE_P(of, signed_form, testing::ValuesIn(forms));

TEST_F(verified_file, teaches_the_key_store_the_key)
{
    const std::string path = signed_file();
    EXPECT_FALSE(user.has(fingerprint()));
    EXPECT_EQ(gpg_verify(path.c_str(), nullptr, nullptr), 0);
    EXPECT_TRUE(user.has(fingerprint()));
}

TEST_F(verified_file, may_be_verified_again)
{
    const std::string path = signed_file();
    EXPECT_EQ(verified(path), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(verified(path), (handed_over{0, "hello\n", 6}));
}

TEST_F(verified_file, is_good_when_its_key_is_trusted)
{
    introduce(fingerprint());
    trust(fingerprint());
    EXPECT_EQ(verified(signed_file()), (handed_over{0, "hello\n", 6}));
}

TEST_F(verified_file, is_good_when_the_built_in_key_signed_it_twice)
{
    // Announcement, content, signature: the first and the last stand there once more.
    const std::string once =
        machine.content(signed_file("hello\n", {"--compress-algo", "none", "--sign"}));
    const std::size_t content_ends = 15U + 2U + static_cast<unsigned char>(once.at(16));
    const std::string not_the_last = once.substr(0, 14) + std::string(1, '\0');
    machine.file("/srv/twice", not_the_last + once + once.substr(content_ends));
    EXPECT_EQ(verified("/srv/twice"), (handed_over{0, "hello\n", 6}));
}

TEST_F(verified_file, is_good_past_its_expiry_when_its_key_is_trusted)
{
    introduce(fingerprint());
    trust(fingerprint());
    const std::string path = signed_file("hello\n", {"--default-sig-expire", "1d", "--sign"});
    user.set_clock("20990101T000000");
    EXPECT_EQ(verified(path), (handed_over{0, "hello\n", 6}));
}

// The content.

TEST_F(verified_file, may_have_no_content)
{
    const std::string path = signed_file("");
    char *content = nullptr;
    unsigned int length = 4711;
    EXPECT_EQ(gpg_verify(path.c_str(), &content, &length), 0);
    EXPECT_NE(content, nullptr);
    EXPECT_EQ(length, 0U);
    std::free(content);
}

TEST_F(verified_file, hands_over_one_byte)
{
    expect_handed_over("x");
}

TEST_F(verified_file, hands_over_4095_bytes)
{
    expect_handed_over(std::string(4094, 'x') + "y");
}

TEST_F(verified_file, hands_over_4096_bytes)
{
    expect_handed_over(std::string(4095, 'x') + "y");
}

TEST_F(verified_file, does_not_hand_over_4097_bytes)
{
    expect_not_handed_over(std::string(4097, 'x'));
}

TEST_F(verified_file, does_not_hand_over_a_mebibyte)
{
    expect_not_handed_over(std::string(1048576, 'x'));
}

TEST_F(verified_file, hands_over_every_byte)
{
    std::string every_byte;
    for (int byte = 0; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    expect_handed_over(every_byte + "\r\n\n\r" + every_byte);
}

TEST_F(verified_file, is_handed_over_without_room_for_a_terminator)
{
    // 24 bytes fill the smallest block of the C library; one more takes the next size.
    const std::string path = signed_file(std::string(24, 'x'));
    char *content = nullptr;
    unsigned int length = 0;
    EXPECT_EQ(gpg_verify(path.c_str(), &content, &length), 0);
    EXPECT_EQ(::malloc_usable_size(content), 24U);
    std::free(content);
}

// What is not asked for.

TEST_F(verified_file, is_good_when_neither_content_nor_length_is_asked_for)
{
    EXPECT_EQ(gpg_verify(signed_file().c_str(), nullptr, nullptr), 0);
}

TEST_F(verified_file, tells_no_length_when_no_content_is_asked_for)
{
    unsigned int length = 4711;
    EXPECT_EQ(gpg_verify(signed_file().c_str(), nullptr, &length), 0);
    EXPECT_EQ(length, 4711U);
}

TEST_F(verified_file, hands_over_content_when_no_length_is_asked_for)
{
    char *content = nullptr;
    EXPECT_EQ(gpg_verify(signed_file().c_str(), &content, nullptr), 0);
    ASSERT_NE(content, nullptr);
    EXPECT_EQ(std::string(content, 6), "hello\n");
    std::free(content);
}

TEST_F(verified_file, hands_over_no_long_content_when_no_length_is_asked_for)
{
    const std::string path = signed_file(std::string(4097, 'x'));
    char untouched = 'u';
    char *content = &untouched;
    EXPECT_EQ(gpg_verify(path.c_str(), &content, nullptr), 0);
    EXPECT_EQ(content, nullptr);
}
