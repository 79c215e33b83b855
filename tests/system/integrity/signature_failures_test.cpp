// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Checks of signatures that fail before the signature is looked at, and what a check leaves behind.
#include "rsa_machine.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

constexpr char digest_refused[] = "Failed to compute SHA256 hash of message\n";
constexpr char key_refused[] = "Failed to load public key\n";
constexpr char signature_refused[] = "Failed to decode base64 si11gnature\n";
constexpr char parameters_refused[] = "Invalid parameters: message or signature is NULL\n";

const texts every_call = {"OPENSSL_init_crypto 12 null",
                          "OPENSSL_init_crypto 2 null",
                          "base64_decode_clean",
                          "compute_sha256",
                          "load_public_key /etc/orvane/public.pem",
                          "RSA_verify 672 32",
                          "RSA_free"};

// Writes down the calls that the steps of a check are.
class recorded_steps {
public:
    recorded_steps()
    {
        interpose::OPENSSL_init_crypto = [this](uint64_t options,
                                                const OPENSSL_INIT_SETTINGS *settings) {
            made_.push_back("OPENSSL_init_crypto " + std::to_string(options) +
                            (settings == nullptr ? " null" : " settings"));
            return interpose::OPENSSL_init_crypto.real(options, settings);
        };
        interpose::base64_decode_clean = [this](const char *text, int *size) {
            made_.emplace_back("base64_decode_clean");
            return interpose::base64_decode_clean.real(text, size);
        };
        interpose::compute_sha256 = [this](const char *text, unsigned char *digest) {
            made_.emplace_back("compute_sha256");
            return interpose::compute_sha256.real(text, digest);
        };
        interpose::load_public_key = [this](const char *path) {
            made_.push_back("load_public_key " + std::string(path));
            return interpose::load_public_key.real(path);
        };
        interpose::RSA_verify = [this](int type, const unsigned char *digest,
                                       unsigned int digest_size, const unsigned char *signature,
                                       unsigned int signature_size, RSA *key) {
            made_.push_back("RSA_verify " + std::to_string(type) + " " +
                            std::to_string(digest_size));
            return interpose::RSA_verify.real(type, digest, digest_size, signature, signature_size,
                                              key);
        };
        interpose::RSA_free = [this](RSA *key) {
            made_.emplace_back("RSA_free");
            interpose::RSA_free.real(key);
        };
    }

    [[nodiscard]] const texts &made() const { return made_; }

private:
    texts made_;
};

struct situation : named_case {
    const char *text;
    const char *signature;
    void (*arrange)(constructed_machine &machine);
    bool valid;
    std::string error;
    std::ptrdiff_t calls; // how many of them are made
};

void nothing_else(constructed_machine &) {}

void without_a_digest(constructed_machine &)
{
    interpose::SHA256_Init = [](SHA256_CTX *) { return 0; };
}

void without_a_key_file(constructed_machine &machine)
{
    machine.remove(public_key_file);
}

void without_a_directory_for_the_key(constructed_machine &machine)
{
    machine.remove("/etc/orvane");
}

void with_a_directory_for_a_key(constructed_machine &machine)
{
    machine.directory(public_key_file);
}

void with_an_empty_key_file(constructed_machine &machine)
{
    machine.file(public_key_file, "");
}

void with_another_text_in_the_key_file(constructed_machine &machine)
{
    machine.file(public_key_file, "no key\n");
}

void with_the_private_key(constructed_machine &machine)
{
    machine.file(public_key_file, private_key_for_tests_only);
}

void with_another_key(constructed_machine &machine)
{
    machine.file(public_key_file, public_key_1024);
}

void without_leave_to_open_the_key_file(constructed_machine &)
{
    interpose::fopen = [](const char *, const char *) -> std::FILE * {
        errno = EACCES;
        return nullptr;
    };
}

constexpr char not_opened[] = "Error opening public key file: /etc/orvane/public.pem\n"
                              "Failed to load public key\n";
constexpr char not_read[] = "Error reading public key from file: /etc/orvane/public.pem\n"
                            "Failed to load public key\n";

const situation situations[] = {
    {"all_is_well", sample_text, signature_2048, nothing_else, true, "", 7},
    {"there_is_no_text", nullptr, signature_2048, nothing_else, false, parameters_refused, 2},
    {"there_is_no_signature", sample_text, nullptr, nothing_else, false, parameters_refused, 2},
    {"there_is_neither", nullptr, nullptr, nothing_else, false, parameters_refused, 2},
    {"the_signature_is_empty", sample_text, "", nothing_else, false, signature_refused, 3},
    {"the_signature_is_blank", sample_text, " \r\n", nothing_else, false, signature_refused, 3},
    {"the_signature_is_no_base64", sample_text, "!!!!", nothing_else, false, signature_refused, 3},
    {"the_signature_has_three_characters", sample_text, "TWF", nothing_else, false,
     signature_refused, 3},
    {"the_signature_fails_first", sample_text, "", without_a_digest, false, signature_refused, 3},
    {"there_is_no_digest", sample_text, signature_2048, without_a_digest, false, digest_refused, 4},
    {"there_is_no_key_file", sample_text, signature_2048, without_a_key_file, false, not_opened, 5},
    {"there_is_no_directory", sample_text, signature_2048, without_a_directory_for_the_key, false,
     not_opened, 5},
    {"the_key_file_is_closed_to_us", sample_text, signature_2048,
     without_leave_to_open_the_key_file, false, not_opened, 5},
    {"the_key_file_is_a_directory", sample_text, signature_2048, with_a_directory_for_a_key, false,
     not_read, 5},
    {"the_key_file_is_empty", sample_text, signature_2048, with_an_empty_key_file, false, not_read,
     5},
    {"the_key_file_has_another_text", sample_text, signature_2048,
     with_another_text_in_the_key_file, false, not_read, 5},
    {"the_key_file_has_the_private_key", sample_text, signature_2048, with_the_private_key, false,
     not_read, 5},
    {"the_key_is_another", sample_text, signature_2048, with_another_key, false, "", 7},
    {"the_text_is_another", "another text", signature_2048, nothing_else, false, "", 7},
    {"the_signature_is_short", sample_text, "TWFu", nothing_else, false, "", 7},
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

TEST_P(check_where, says_why_it_fails_and_nothing_else)
{
    const verdict found = checked();
    EXPECT_EQ(found.valid, GetParam().valid);
    EXPECT_EQ(found.error, GetParam().error);
}

TEST_P(check_where, goes_as_far_as_it_can)
{
    const recorded_steps calls;
    EXPECT_EQ(checked().valid, GetParam().valid);
    EXPECT_EQ(calls.made(), texts(every_call.begin(), every_call.begin() + GetParam().calls));
}

TEST_P(check_where, leaves_the_crypto_errors_as_they_were)
{
    EXPECT_EQ(crypto_errors_after(checked, {}), std::vector<int>{});
    EXPECT_EQ(crypto_errors_after(checked, {101, 102}), (std::vector{101, 102}));
}

TEST_P(check_where, leaves_the_mark_that_the_caller_set_among_them)
{
    const auto marked = [] {
        ERR_set_mark();
        ERR_raise(ERR_LIB_USER, 102);
        checked();
        EXPECT_EQ(ERR_pop_to_mark(), 1);
    };
    EXPECT_EQ(crypto_errors_after(marked, {101}), std::vector{101});
}

TEST_P(check_where, comes_to_the_same_without_standard_descriptors_and_leaves_them_closed)
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

INSTANTIATE_TEST_SUITE_P(it, check_where, testing::ValuesIn(situations));

// A program's own routines in the place of the library's.

namespace {

class check_with_routines_of_the_program : public rsa_machine {
protected:
    static verdict checked() { return check_of(sample_text, signature_2048); }

    // A decoder that gives a buffer of one byte, or none, and says that it has this size.
    static void decode_to(bool buffer, int size)
    {
        interpose::base64_decode_clean = [buffer, size](const char *, int *count) {
            *count = size;
            return static_cast<unsigned char *>(buffer ? std::calloc(1, 1) : nullptr);
        };
        interpose::compute_sha256 = [](const char *, unsigned char *) {
            ADD_FAILURE() << "the check goes on";
            return false;
        };
    }

    static void verify_to(int result)
    {
        interpose::RSA_verify = [result](int, const unsigned char *, unsigned int,
                                         const unsigned char *, unsigned int,
                                         RSA *) { return result; };
    }
};

} // namespace

TEST_F(check_with_routines_of_the_program, fails_where_the_decoder_has_no_buffer)
{
    decode_to(false, 256);
    EXPECT_EQ(checked(), (verdict{false, "", signature_refused}));
}

TEST_F(check_with_routines_of_the_program, fails_where_the_decoder_has_a_buffer_without_bytes)
{
    decode_to(true, 0);
    EXPECT_EQ(checked(), (verdict{false, "", signature_refused}));
}

TEST_F(check_with_routines_of_the_program, fails_where_the_decoder_has_a_buffer_and_an_error)
{
    decode_to(true, -1);
    EXPECT_EQ(checked(), (verdict{false, "", signature_refused}));
}

TEST_F(check_with_routines_of_the_program, takes_the_signature_that_the_decoder_gives)
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

TEST_F(check_with_routines_of_the_program, fails_where_the_digest_does)
{
    interpose::compute_sha256 = [](const char *, unsigned char *) { return false; };
    interpose::load_public_key = [](const char *) -> RSA * {
        ADD_FAILURE() << "the check goes on";
        return nullptr;
    };
    const verdict found = checked();
    EXPECT_FALSE(found.valid);
    EXPECT_EQ(found.error, digest_refused);
}

TEST_F(check_with_routines_of_the_program, takes_the_digest_that_it_is_given)
{
    interpose::compute_sha256 = [](const char *, unsigned char *digest) {
        return interpose::compute_sha256.real(sample_text, digest);
    };
    EXPECT_TRUE(check_of("another text", signature_2048).valid);
}

TEST_F(check_with_routines_of_the_program, fails_with_one_line_where_they_load_no_key)
{
    interpose::load_public_key = [](const char *) -> RSA * { return nullptr; };
    const verdict found = checked();
    EXPECT_FALSE(found.valid);
    EXPECT_EQ(found.error, key_refused);
}

TEST_F(check_with_routines_of_the_program, takes_the_key_that_it_is_given)
{
    machine.remove(public_key_file);
    interpose::load_public_key = [](const char *) { return private_key().release(); };
    EXPECT_TRUE(checked().valid);
}

TEST_F(check_with_routines_of_the_program, succeeds_with_a_verification_of_one_alone)
{
    for (const int result : {-1, 0, 2, 256}) {
        verify_to(result);
        EXPECT_FALSE(checked().valid) << result;
    }
    verify_to(1);
    EXPECT_TRUE(checked().valid);
}

TEST_F(check_with_routines_of_the_program, releases_the_key_whatever_comes_of_the_verification)
{
    int released = 0;
    interpose::RSA_free = [&released](RSA *key) {
        ++released;
        interpose::RSA_free.real(key);
    };
    for (const int result : {-1, 0, 1}) {
        verify_to(result);
        checked();
    }
    EXPECT_EQ(released, 3);
}

// What is printed, and when.

TEST_F(check_with_routines_of_the_program, prints_the_signature_before_it_complains)
{
    interpose::load_public_key = [](const char *) -> RSA * {
        std::fflush(stdout);
        return nullptr;
    };
    const std::string both =
        printed_by([] { EXPECT_FALSE(verify_signature(sample_text, "TWFu")); });
    EXPECT_EQ(both, "Cleaned Base64 (4 chars): TWFu\nFailed to load public key\n");
}
