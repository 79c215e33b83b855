// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The digest of a text.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <algorithm>
#include <array>
#include <string>

#include <openssl/sha.h>

namespace {

class text_digest : public on_machine {
protected:
    // The digest in hexadecimal; "(none)" when there is none.
    static std::string digest_of(const char *text)
    {
        std::array<unsigned char, 32> digest = {};
        if (!compute_sha256(text, digest.data()))
            return "(none)";
        std::string hex;
        for (const unsigned char byte : digest) {
            hex += "0123456789abcdef"[byte / 16];
            hex += "0123456789abcdef"[byte % 16];
        }
        return hex;
    }

    // What the digest is made of, call by call.
    texts calls;

    void record_calls(int init, int update, int final)
    {
        interpose::SHA256_Init = [this, init](SHA256_CTX *context) {
            calls.emplace_back("SHA256_Init");
            interpose::SHA256_Init.real(context);
            return init;
        };
        interpose::SHA256_Update = [this, update](SHA256_CTX *context, const void *data,
                                                  size_t size) {
            calls.push_back("SHA256_Update " + std::string(static_cast<const char *>(data), size));
            interpose::SHA256_Update.real(context, data, size);
            return update;
        };
        interpose::SHA256_Final = [this, final](unsigned char *digest, SHA256_CTX *context) {
            calls.emplace_back("SHA256_Final");
            interpose::SHA256_Final.real(digest, context);
            return final;
        };
    }
};

struct text_and_digest : named_case {
    std::string text;
    const char *digest;
};

const text_and_digest examples[] = {
    {"no_byte", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"three_bytes", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"two_blocks", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {"112_bytes",
     "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmno"
     "pqrsmnopqrstnopqrstu",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
    {"bytes_above_0x7f", "\x80\xc4\xff",
     "8e2897919a39b570d6a83f0cdd2a9e139b839e034081a2a178678b9b9c9ce309"},
    {"a_line_end", "abc\r\n", "552bab6864c7a7b69a502ed1854b9245c0e1a30f008aaa0b281da62585fdb025"},
    {"bytes_behind_a_zero", std::string("abc\0def", 7),
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"a_zero_byte_first", std::string("\0abc", 4),
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
};

class text_digest_of : public text_digest, public testing::WithParamInterface<text_and_digest> {};

} // namespace

TEST_P(text_digest_of, is_sha_256_of_the_bytes_up_to_the_terminator)
{
    EXPECT_EQ(digest_of(GetParam().text.c_str()), GetParam().digest);
}

INSTANTIATE_TEST_SUITE_P(a_text_with, text_digest_of, testing::ValuesIn(examples));

TEST_F(text_digest, is_that_of_a_million_bytes)
{
    EXPECT_EQ(digest_of(std::string(1000000, 'a').c_str()),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST_F(text_digest, has_32_bytes_and_no_more)
{
    std::array<unsigned char, 34> room;
    room.fill('#');
    EXPECT_TRUE(compute_sha256("abc", room.data() + 1));
    EXPECT_EQ(room.front(), '#');
    EXPECT_EQ(room[1], 0xba);
    EXPECT_EQ(room[32], 0xad);
    EXPECT_EQ(room.back(), '#');
}

TEST_F(text_digest, leaves_the_text_as_it_is)
{
    std::string text = "abc";
    std::array<unsigned char, 32> digest;
    EXPECT_TRUE(compute_sha256(text.data(), digest.data()));
    EXPECT_EQ(text, "abc");
}

TEST_F(text_digest, is_none_without_a_text)
{
    record_calls(1, 1, 1);
    EXPECT_EQ(digest_of(nullptr), "(none)");
    EXPECT_FALSE(compute_sha256(nullptr, nullptr));
    EXPECT_EQ(calls, texts{});
}

TEST_F(text_digest, is_none_without_room)
{
    record_calls(1, 1, 1);
    EXPECT_FALSE(compute_sha256("abc", nullptr));
    EXPECT_EQ(calls, texts{});
}

TEST_F(text_digest, is_computed_by_these_calls)
{
    record_calls(1, 1, 1);
    EXPECT_EQ(digest_of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(calls, (texts{"SHA256_Init", "SHA256_Update abc", "SHA256_Final"}));
}

TEST_F(text_digest, is_none_when_it_cannot_be_started)
{
    record_calls(0, 1, 1);
    EXPECT_EQ(digest_of("abc"), "(none)");
    EXPECT_EQ(calls, texts{"SHA256_Init"});
}

TEST_F(text_digest, is_none_when_it_does_not_take_the_text)
{
    record_calls(1, 0, 1);
    EXPECT_EQ(digest_of("abc"), "(none)");
    EXPECT_EQ(calls, (texts{"SHA256_Init", "SHA256_Update abc"}));
}

TEST_F(text_digest, is_none_when_it_cannot_be_ended)
{
    record_calls(1, 1, 0);
    EXPECT_EQ(digest_of("abc"), "(none)");
    EXPECT_EQ(calls, (texts{"SHA256_Init", "SHA256_Update abc", "SHA256_Final"}));
}

TEST_F(text_digest, is_silent)
{
    EXPECT_EQ(standard_error_of([] {
                  digest_of("abc");
                  digest_of(nullptr);
              }),
              "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(text_digest, is_the_same_without_standard_descriptors_and_leaves_them_closed)
{
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        std::string digest;
        EXPECT_EQ(left_open(closed, [&digest] { digest = digest_of("abc"); }), std::vector<int>{});
        EXPECT_EQ(digest, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    }
}
