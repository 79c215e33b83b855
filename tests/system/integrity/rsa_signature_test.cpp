// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Checking RSA signatures, and the digest of a text.
#include "interpose.h"
#include "rsa_machine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// What a check of signature_2048 prints on standard output.
const std::string printed_2048 =
    "Cleaned Base64 (344 chars): " + std::string(signature_2048) + "\n";

class rsa_signature : public rsa_machine {
protected:
    static bool is_valid(const std::string &text, const std::string &signature)
    {
        return check_of(text.c_str(), signature.c_str()).valid;
    }
};

} // namespace

// Valid signatures.

namespace {

struct key_size : named_case {
    const char *key;
    const char *signature;
    const char *printed;
};

class rsa_signature_by_a_key : public rsa_signature,
                               public testing::WithParamInterface<key_size> {};

} // namespace

TEST_P(rsa_signature_by_a_key, is_valid_for_its_text_alone)
{
    machine.file(public_key_file, GetParam().key);
    const std::string output = GetParam().printed + std::string(GetParam().signature) + "\n";
    EXPECT_EQ(check_of(sample_text, GetParam().signature), (verdict{true, output, ""}));
    EXPECT_EQ(check_of("Trust this text!", GetParam().signature), (verdict{false, output, ""}));
}

INSTANTIATE_TEST_SUITE_P(
    rsa, rsa_signature_by_a_key,
    testing::Values(
        key_size{"of_1024_bits", public_key_1024, signature_1024, "Cleaned Base64 (172 chars): "},
        key_size{"of_2048_bits", public_key_2048, signature_2048, "Cleaned Base64 (344 chars): "},
        key_size{"of_3072_bits", public_key_3072, signature_3072, "Cleaned Base64 (512 chars): "},
        key_size{"of_4096_bits", public_key_4096, signature_4096, "Cleaned Base64 (684 chars): "}));

TEST_F(rsa_signature, is_checked_with_the_key_of_the_moment)
{
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
    machine.file(public_key_file, public_key_3072);
    EXPECT_FALSE(is_valid(sample_text, signature_2048));
    EXPECT_TRUE(is_valid(sample_text, signature_3072));
    machine.remove(public_key_file);
    EXPECT_FALSE(is_valid(sample_text, signature_3072));
    machine.file("/etc/orvane/keys/second.pem", public_key_2048);
    machine.link(public_key_file, "keys/second.pem");
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
}

TEST_F(rsa_signature, is_checked_for_every_user)
{
    const other_user caller;
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
}

TEST_F(rsa_signature, is_checked_without_a_trace)
{
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
    EXPECT_FALSE(is_valid("another text", signature_2048));
    EXPECT_FALSE(is_valid(sample_text, ""));
    expect_trace({});
}

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

class broken_rsa_signature : public rsa_signature, public testing::WithParamInterface<layout> {};

} // namespace

TEST_P(broken_rsa_signature, is_as_valid_as_on_one_line)
{
    const std::string lines =
        GetParam().before + broken_into(GetParam().width, GetParam().line_end);
    EXPECT_EQ(check_of(sample_text, lines.c_str()), (verdict{true, printed_2048, ""}));
}

INSTANTIATE_TEST_SUITE_P(into, broken_rsa_signature,
                         testing::Values(layout{"64_characters", 64, "\n", ""},
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

TEST_F(rsa_signature, is_valid_for_a_text_of_any_bytes_and_size)
{
    std::string every_byte;
    for (int byte = 1; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    for (const std::string &text : {std::string(), every_byte, std::string(1 << 20, 'x')}) {
        EXPECT_TRUE(is_valid(text, signature_of(text)));
        EXPECT_FALSE(is_valid(text + "x", signature_of(text)));
    }
}

TEST_F(rsa_signature, is_of_the_text_up_to_its_first_zero_byte)
{
    const std::string text("Trust this text.\0 And what else there is.", 41);
    EXPECT_TRUE(is_valid(text, signature_2048));
    EXPECT_FALSE(is_valid(text, signature_of(text)));
}

TEST_F(rsa_signature, is_not_valid_for_a_similar_text)
{
    for (const char *const text : {"", "Trust that text.", "trust this text.", "Trust this text..",
                                   "Trust this text", "Trust this text.\n", "Trust  this text."})
        EXPECT_EQ(check_of(text, signature_2048), (verdict{false, printed_2048, ""})) << text;
}

// Signatures that are not the text's.

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

namespace {

struct signing : named_case {
    std::vector<std::string> options; // of the openssl tool
    bool valid;
};

class signature_of_the_openssl_tool : public rsa_signature,
                                      public testing::WithParamInterface<signing> {
protected:
    std::string printed_by_tool(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "openssl");
        const auto ran = machine.run(words);
        EXPECT_EQ(ran.status, 0) << ran.error;
        return ran.output;
    }
};

} // namespace

TEST_P(signature_of_the_openssl_tool, is_valid_by_pkcs_1_with_sha_256_alone)
{
    machine.file("/srv/rsa/private.pem", private_key_for_tests_only);
    machine.file("/srv/rsa/text", sample_text);
    std::vector<std::string> words = {"dgst", "-sign", "/srv/rsa/private.pem", "-out",
                                      "/srv/rsa/signature"};
    words.insert(words.end(), GetParam().options.begin(), GetParam().options.end());
    words.emplace_back("/srv/rsa/text");
    printed_by_tool(words);
    const std::string signature = printed_by_tool({"base64", "-in", "/srv/rsa/signature"});
    EXPECT_EQ(is_valid(sample_text, signature), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(
    with, signature_of_the_openssl_tool,
    testing::Values(signing{"sha_256", {"-sha256"}, true}, signing{"sha_1", {"-sha1"}, false},
                    signing{"sha_512", {"-sha512"}, false},
                    signing{"pss", {"-sha256", "-sigopt", "rsa_padding_mode:pss"}, false}));

TEST_F(rsa_signature, is_not_valid_where_it_names_another_digest)
{
    EXPECT_FALSE(is_valid(sample_text,
                          base64_of(signature_of_digest(NID_sha3_256, digest_of(sample_text)))));
}

// libcrypto's own error is no valid signature, and no signature here is known to produce it.
TEST_F(rsa_signature, is_not_valid_where_libcrypto_fails)
{
    interpose::RSA_verify = [](int, const unsigned char *, unsigned int, const unsigned char *,
                               unsigned int, RSA *) { return -1; };
    EXPECT_EQ(check_of(sample_text, signature_2048), (verdict{false, printed_2048, ""}));
}

// What is reported, and what every check leaves to the caller.

namespace {

constexpr char parameters_refused[] = "Invalid parameters: message or signature is NULL\n";
constexpr char signature_refused[] = "Failed to decode base64 si11gnature\n";
constexpr char digest_refused[] = "Failed to compute SHA256 hash of message\n";
constexpr char key_refused[] = "Failed to load public key\n";
constexpr char not_opened[] = "Error opening public key file: /etc/orvane/public.pem\n"
                              "Failed to load public key\n";
constexpr char not_read[] = "Error reading public key from file: /etc/orvane/public.pem\n"
                            "Failed to load public key\n";

void nothing_else(constructed_machine &) {}

void without_a_key_file(constructed_machine &machine)
{
    machine.remove(public_key_file);
}

void without_a_digest(constructed_machine &machine)
{
    interpose::compute_sha256 = [](const char *, unsigned char *) { return false; };
    without_a_key_file(machine); // which is reported later
}

struct situation : named_case {
    const char *text;
    const char *signature;
    void (*arrange)(constructed_machine &machine);
    bool valid;
    std::string error;
};

const situation situations[] = {
    {"all_is_well", sample_text, signature_2048, nothing_else, true, ""},
    {"there_is_no_text", nullptr, signature_2048, nothing_else, false, parameters_refused},
    {"there_is_no_signature", sample_text, nullptr, nothing_else, false, parameters_refused},
    {"there_is_neither", nullptr, nullptr, nothing_else, false, parameters_refused},
    {"the_signature_is_empty", sample_text, "", nothing_else, false, signature_refused},
    {"the_signature_is_blank", sample_text, " \r\n", nothing_else, false, signature_refused},
    {"the_signature_is_no_base64", sample_text, "!!!!", nothing_else, false, signature_refused},
    {"the_signature_has_three_characters", sample_text, "TWF", nothing_else, false,
     signature_refused},
    {"the_signature_fails_first", sample_text, "", without_a_digest, false, signature_refused},
    {"there_is_no_digest", sample_text, signature_2048, without_a_digest, false, digest_refused},
    {"there_is_no_key_file", sample_text, signature_2048, without_a_key_file, false, not_opened},
    {"the_key_file_is_a_directory", sample_text, signature_2048,
     [](constructed_machine &machine) { machine.directory(public_key_file); }, false, not_read},
    {"the_key_file_is_empty", sample_text, signature_2048,
     [](constructed_machine &machine) { machine.file(public_key_file, ""); }, false, not_read},
    {"the_key_file_has_the_private_key", sample_text, signature_2048,
     [](constructed_machine &machine) {
         machine.file(public_key_file, private_key_for_tests_only);
     },
     false, not_read},
    {"the_key_is_another", sample_text, signature_2048,
     [](constructed_machine &machine) { machine.file(public_key_file, public_key_1024); }, false,
     ""},
    {"the_signature_is_short", sample_text, "TWFu", nothing_else, false, ""},
};

class check_where : public rsa_machine, public testing::WithParamInterface<situation> {
protected:
    void furnish() override
    {
        rsa_machine::furnish();
        GetParam().arrange(machine);
    }

    static verdict checked() { return check_of(GetParam().text, GetParam().signature); }
};

} // namespace

TEST_P(check_where, reports_why_it_fails_and_nothing_else)
{
    const verdict found = checked();
    EXPECT_EQ(found.valid, GetParam().valid);
    EXPECT_EQ(found.error, GetParam().error);
}

TEST_P(check_where, leaves_the_crypto_errors_and_marks_as_they_were)
{
    EXPECT_EQ(crypto_errors_after(checked, {}), std::vector<int>{});
    EXPECT_EQ(crypto_errors_after(checked, {101, 102}), (std::vector{101, 102}));
    const auto marked = [] {
        ERR_set_mark();
        ERR_raise(ERR_LIB_USER, 102);
        checked();
        EXPECT_EQ(ERR_pop_to_mark(), 1);
    };
    EXPECT_EQ(crypto_errors_after(marked, {101}), std::vector{101});
}

TEST_P(check_where, leaves_closed_standard_descriptors_closed)
{
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        bool valid = !GetParam().valid;
        // What could not be printed is printed afterwards.
        standard_output_of([&closed, &valid] {
            const auto check = [&valid] {
                valid = verify_signature(GetParam().text, GetParam().signature);
            };
            EXPECT_EQ(left_open(closed, check), std::vector<int>{});
        });
        EXPECT_EQ(valid, GetParam().valid);
    }
}

INSTANTIATE_TEST_SUITE_P(rsa, check_where, testing::ValuesIn(situations));

TEST_F(rsa_signature, is_printed_before_what_is_wrong)
{
    machine.remove(public_key_file);
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    EXPECT_EQ(printed_by([] { EXPECT_FALSE(verify_signature(sample_text, "TWFu")); }),
              "Cleaned Base64 (4 chars): TWFu\n" + std::string(not_opened));
}

// A program's own functions in the place of the library's.

TEST_F(rsa_signature, is_what_the_programs_decoder_returns)
{
    interpose::base64_decode_clean = [](const char *, int *size) {
        const bytes signature = sample_signature();
        auto *const copy = static_cast<unsigned char *>(std::malloc(signature.size()));
        std::copy(signature.begin(), signature.end(), copy);
        *size = static_cast<int>(signature.size());
        return copy;
    };
    EXPECT_EQ(check_of(sample_text, "no base64"), (verdict{true, "", ""}));
}

TEST_F(rsa_signature, is_refused_where_the_programs_decoder_returns_no_bytes)
{
    for (const auto &[has_block, size] : {std::pair(false, 256), {true, 0}, {true, -1}}) {
        interpose::base64_decode_clean = [has_block = has_block, size = size](const char *,
                                                                              int *count) {
            *count = size;
            return static_cast<unsigned char *>(has_block ? std::calloc(1, 1) : nullptr);
        };
        EXPECT_EQ(check_of(sample_text, signature_2048), (verdict{false, "", signature_refused}));
    }
}

TEST_F(rsa_signature, is_of_the_digest_that_the_program_computes)
{
    interpose::compute_sha256 = [](const char *, unsigned char *digest) {
        return interpose::compute_sha256.real(sample_text, digest);
    };
    EXPECT_TRUE(is_valid("another text", signature_2048));
}

TEST_F(rsa_signature, is_checked_with_the_key_that_the_program_loads)
{
    machine.remove(public_key_file);
    interpose::load_public_key = [](const char *) { return private_key().release(); };
    EXPECT_TRUE(is_valid(sample_text, signature_2048));
    interpose::load_public_key = [](const char *) -> RSA * { return nullptr; };
    EXPECT_EQ(check_of(sample_text, signature_2048), (verdict{false, printed_2048, key_refused}));
}

// The digest of a text.

namespace {

// In hexadecimal; "(none)" when there is none.
std::string sha256_of(const char *text)
{
    std::array<unsigned char, 34> buffer;
    buffer.fill('#');
    if (!compute_sha256(text, buffer.data() + 1))
        return "(none)";
    EXPECT_TRUE(buffer.front() == '#' && buffer.back() == '#');
    std::string hex;
    for (auto byte = buffer.begin() + 1; byte != buffer.end() - 1; ++byte) {
        hex += "0123456789abcdef"[*byte / 16];
        hex += "0123456789abcdef"[*byte % 16];
    }
    return hex;
}

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
    {"a_million_bytes", std::string(1000000, 'a'),
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    {"a_zero_byte_first", std::string("\0abc", 4),
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
};

class text_digest : public testing::TestWithParam<text_and_digest> {};

} // namespace

TEST_P(text_digest, is_sha_256_of_the_bytes_up_to_the_terminator)
{
    EXPECT_EQ(sha256_of(GetParam().text.c_str()), GetParam().digest);
}

INSTANTIATE_TEST_SUITE_P(of, text_digest, testing::ValuesIn(examples));

using silent_text_digest = on_machine;

TEST_F(silent_text_digest, needs_a_text_and_a_destination)
{
    EXPECT_EQ(printed_by([] {
                  EXPECT_EQ(sha256_of("abc").substr(0, 8), "ba7816bf");
                  EXPECT_EQ(sha256_of(nullptr), "(none)");
                  EXPECT_FALSE(compute_sha256("abc", nullptr));
                  EXPECT_FALSE(compute_sha256(nullptr, nullptr));
              }),
              "");
    expect_trace({});
}

// No text makes libcrypto fail.
TEST(failing_text_digest, is_none_whichever_step_fails)
{
    interpose::SHA256_Init = [](SHA256_CTX *) { return 0; };
    EXPECT_EQ(sha256_of("abc"), "(none)");
    interpose::SHA256_Init.reset();
    interpose::SHA256_Update = [](SHA256_CTX *, const void *, size_t) { return 0; };
    EXPECT_EQ(sha256_of("abc"), "(none)");
    interpose::SHA256_Update.reset();
    interpose::SHA256_Final = [](unsigned char *, SHA256_CTX *) { return 0; };
    EXPECT_EQ(sha256_of("abc"), "(none)");
}
