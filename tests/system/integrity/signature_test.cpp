// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Signatures that are valid, and those that are not the text's.
#include "rsa_machine.h"

#include <algorithm>
#include <filesystem>

namespace {

class rsa_signature : public rsa_machine {
protected:
    static bool is_valid(const std::string &text, const std::string &signature)
    {
        return check_of(text.c_str(), signature.c_str()).valid;
    }
};

} // namespace

TEST_F(rsa_signature, is_valid_for_the_text_that_was_signed)
{
    EXPECT_EQ(
        check_of("Trust this text.", signature_2048),
        (verdict{true, "Cleaned Base64 (344 chars): " + std::string(signature_2048) + "\n", ""}));
}

TEST_F(rsa_signature, is_valid_as_often_as_it_is_checked)
{
    for (int time = 0; time < 3; ++time)
        EXPECT_TRUE(is_valid(sample_text, signature_2048));
}

TEST_F(rsa_signature, is_valid_for_every_user)
{
    const other_user caller;
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
}

TEST_F(rsa_signature, leaves_no_trace)
{
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
    EXPECT_FALSE(is_valid("another text", signature_2048));
    EXPECT_FALSE(is_valid(sample_text, ""));
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(rsa_signature, is_handed_on_as_digest_signature_and_key)
{
    RSA *loaded = nullptr;
    interpose::load_public_key = [&loaded](const char *path) {
        return loaded = interpose::load_public_key.real(path);
    };
    bytes digest;
    bytes signature;
    RSA *asked = nullptr;
    interpose::RSA_verify = [&](int, const unsigned char *hash, unsigned int hash_size,
                                const unsigned char *sign, unsigned int sign_size, RSA *key) {
        digest.assign(hash, hash + hash_size);
        signature.assign(sign, sign + sign_size);
        asked = key;
        return 1;
    };
    RSA *released = nullptr;
    interpose::RSA_free = [&released](RSA *key) {
        released = key;
        interpose::RSA_free.real(key);
    };
    EXPECT_TRUE(is_valid("abc", "TWFueQ=="));
    EXPECT_EQ(digest, (bytes{0xba, 0x78, 0x16, 0xbf, 0x8f, 0x01, 0xcf, 0xea, 0x41, 0x41, 0x40,
                             0xde, 0x5d, 0xae, 0x22, 0x23, 0xb0, 0x03, 0x61, 0xa3, 0x96, 0x17,
                             0x7a, 0x9c, 0xb4, 0x10, 0xff, 0x61, 0xf2, 0x00, 0x15, 0xad}));
    EXPECT_EQ(signature, (bytes{'M', 'a', 'n', 'y'}));
    EXPECT_NE(loaded, nullptr);
    EXPECT_EQ(asked, loaded);
    EXPECT_EQ(released, loaded);
}

// Sizes of keys.

namespace {

struct key_size : named_case {
    const char *key;
    const char *signature;
    const char *printed;
};

class rsa_signature_by : public rsa_machine, public testing::WithParamInterface<key_size> {};

} // namespace

TEST_P(rsa_signature_by, is_valid)
{
    machine.file(public_key_file, GetParam().key);
    EXPECT_EQ(check_of(sample_text, GetParam().signature),
              (verdict{true, GetParam().printed + std::string(GetParam().signature) + "\n", ""}));
}

TEST_P(rsa_signature_by, is_not_valid_for_another_text)
{
    machine.file(public_key_file, GetParam().key);
    EXPECT_EQ(check_of("Trust this text!", GetParam().signature),
              (verdict{false, GetParam().printed + std::string(GetParam().signature) + "\n", ""}));
}

INSTANTIATE_TEST_SUITE_P(
    a_key, rsa_signature_by,
    testing::Values(
        key_size{"of_1024_bits", public_key_1024, signature_1024, "Cleaned Base64 (172 chars): "},
        key_size{"of_2048_bits", public_key_2048, signature_2048, "Cleaned Base64 (344 chars): "},
        key_size{"of_3072_bits", public_key_3072, signature_3072, "Cleaned Base64 (512 chars): "},
        key_size{"of_4096_bits", public_key_4096, signature_4096, "Cleaned Base64 (684 chars): "}));

// Layouts of the signature.

namespace {

std::string broken_into(std::size_t width, const std::string &line_end)
{
    std::string lines;
    for (std::string rest = signature_2048; !rest.empty(); rest.erase(0, width))
        lines += rest.substr(0, width) + line_end;
    return lines;
}

struct layout : named_case {
    std::size_t width;
    std::string line_end;
    std::string before;
};

class rsa_signature_broken : public rsa_machine, public testing::WithParamInterface<layout> {};

} // namespace

TEST_P(rsa_signature_broken, is_as_valid_as_on_one_line)
{
    const std::string lines =
        GetParam().before + broken_into(GetParam().width, GetParam().line_end);
    EXPECT_EQ(
        check_of(sample_text, lines.c_str()),
        (verdict{true, "Cleaned Base64 (344 chars): " + std::string(signature_2048) + "\n", ""}));
}

INSTANTIATE_TEST_SUITE_P(into, rsa_signature_broken,
                         testing::Values(layout{"64_characters", 64, "\n", ""},
                                         layout{"64_characters_and_crlf", 64, "\r\n", ""},
                                         layout{"76_characters", 76, "\n", ""},
                                         layout{"76_characters_and_crlf", 76, "\r\n", ""},
                                         layout{"lines_that_end_in_cr", 76, "\r", ""},
                                         layout{"lines_with_margins", 60, "  \n  ", "  "},
                                         layout{"words", 4, " ", " "},
                                         layout{"single_characters", 1, "\r \n", "\n\n\r\r  "}));

TEST_F(rsa_signature, is_not_valid_with_a_tab_inside)
{
    EXPECT_FALSE(is_valid(sample_text, broken_into(64, "\t")));
    EXPECT_FALSE(is_valid(sample_text, broken_into(64, "\n\t")));
}

// Signed texts.

TEST_F(rsa_signature, is_valid_for_an_empty_text)
{
    EXPECT_TRUE(is_valid("", signature_of("")));
}

TEST_F(rsa_signature, is_valid_for_a_text_of_every_byte)
{
    std::string text;
    for (int byte = 1; byte < 256; ++byte)
        text += static_cast<char>(byte);
    EXPECT_TRUE(is_valid(text, signature_of(text)));
}

TEST_F(rsa_signature, is_valid_for_a_text_of_a_megabyte)
{
    const std::string text(1 << 20, 'x');
    EXPECT_TRUE(is_valid(text, signature_of(text)));
    EXPECT_FALSE(is_valid(text + "x", signature_of(text)));
}

TEST_F(rsa_signature, is_of_the_text_up_to_its_first_zero_byte)
{
    const std::string text("Trust this text.\0 And what else there is.", 41);
    EXPECT_TRUE(is_valid(text, signature_2048));
    EXPECT_FALSE(is_valid(text, signature_of(text)));
}

namespace {

struct other_text : named_case {
    const char *text;
};

class rsa_signature_of_another_text : public rsa_machine,
                                      public testing::WithParamInterface<other_text> {};

} // namespace

TEST_P(rsa_signature_of_another_text, is_not_valid)
{
    EXPECT_EQ(
        check_of(GetParam().text, signature_2048),
        (verdict{false, "Cleaned Base64 (344 chars): " + std::string(signature_2048) + "\n", ""}));
}

INSTANTIATE_TEST_SUITE_P(that, rsa_signature_of_another_text,
                         testing::Values(other_text{"is_empty", ""},
                                         other_text{"has_another_letter", "Trust that text."},
                                         other_text{"has_another_case", "trust this text."},
                                         other_text{"is_longer", "Trust this text.."},
                                         other_text{"is_shorter", "Trust this text"},
                                         other_text{"ends_its_line", "Trust this text.\n"},
                                         other_text{"has_another_blank", "Trust  this text."}));

// Altered signatures.

namespace {

struct alteration : named_case {
    void (*alter)(bytes &signature);
};

class altered_rsa_signature : public rsa_machine, public testing::WithParamInterface<alteration> {};

} // namespace

TEST_P(altered_rsa_signature, is_not_valid_and_no_error)
{
    bytes signature = sample_signature();
    GetParam().alter(signature);
    const verdict found = check_of(sample_text, base64_of(signature).c_str());
    EXPECT_FALSE(found.valid);
    EXPECT_EQ(found.error, "");
}

INSTANTIATE_TEST_SUITE_P(
    with, altered_rsa_signature,
    testing::Values(
        alteration{"another_first_bit", [](bytes &signature) { signature.front() ^= 0x80U; }},
        alteration{"another_last_bit", [](bytes &signature) { signature.back() ^= 0x01U; }},
        alteration{"one_byte_more", [](bytes &signature) { signature.push_back(0); }},
        alteration{"one_byte_more_in_front",
                   [](bytes &signature) { signature.insert(signature.begin(), 0); }},
        alteration{"one_byte_less", [](bytes &signature) { signature.pop_back(); }},
        alteration{"the_first_byte_missing",
                   [](bytes &signature) { signature.erase(signature.begin()); }},
        alteration{"one_byte_alone", [](bytes &signature) { signature.resize(1); }},
        alteration{"all_of_it_twice",
                   [](bytes &signature) {
                       const bytes once = signature;
                       signature.insert(signature.end(), once.begin(), once.end());
                   }},
        alteration{"zeros_for_bytes",
                   [](bytes &signature) { std::fill(signature.begin(), signature.end(), 0); }},
        alteration{"one_for_a_number", [](bytes &signature) {
                       std::fill(signature.begin(), signature.end(), 0);
                       signature.back() = 1;
                   }}));

TEST_F(rsa_signature, is_not_valid_when_it_names_another_digest)
{
    const bytes digest = digest_of(sample_text);
    EXPECT_TRUE(is_valid(sample_text, base64_of(signature_of_digest(NID_sha256, digest))));
    EXPECT_FALSE(is_valid(sample_text, base64_of(signature_of_digest(NID_sha3_256, digest))));
}
