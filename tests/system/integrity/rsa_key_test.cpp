// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Loading RSA public keys.
#include "rsa_machine.h"

#include <string>

namespace {

constexpr char key_file[] = "/etc/keys/one.pem";

constexpr char not_opened[] = "Error opening public key file: /etc/keys/one.pem\n";
constexpr char not_read[] = "Error reading public key from file: /etc/keys/one.pem\n";

// The size of a key in bits, 0 for none, and what was printed on standard error.
struct loading {
    int bits;
    std::string error;

    bool operator==(const loading &) const = default;
    friend std::ostream &operator<<(std::ostream &stream, const loading &one)
    {
        return stream << one.bits << " bits, standard error: " << one.error;
    }
};

class public_key : public on_machine {
protected:
    static loading load(const char *path = key_file)
    {
        loading found = {};
        found.error = standard_error_of([&found, path] {
            const owned_rsa key(load_public_key(path));
            found.bits = key ? RSA_bits(key.get()) : 0;
        });
        return found;
    }

    loading load_from(const std::string &content)
    {
        machine.file(key_file, content);
        return load();
    }
};

} // namespace

TEST_F(public_key, has_its_modulus_and_exponent_and_no_private_half)
{
    machine.file(key_file, public_key_1024);
    const owned_rsa key(load_public_key(key_file));
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(BN_get_word(RSA_get0_e(key.get())), 65537U);
    EXPECT_EQ(BN_num_bits(RSA_get0_n(key.get())), 1024);
    EXPECT_EQ(RSA_get0_d(key.get()), nullptr);
}

TEST_F(public_key, verifies)
{
    machine.file(key_file, public_key_2048);
    const owned_rsa key(load_public_key(key_file));
    const bytes digest = digest_of(sample_text);
    const bytes signature = sample_signature();
    EXPECT_EQ(RSA_verify(NID_sha256, digest.data(), 32, signature.data(), 256, key.get()), 1);
}

TEST_F(public_key, is_a_new_one_on_every_call)
{
    machine.file(key_file, public_key_2048);
    const owned_rsa one(load_public_key(key_file));
    const owned_rsa other(load_public_key(key_file));
    EXPECT_NE(one, other);
    EXPECT_EQ(load_from(public_key_3072), (loading{3072, ""}));
}

TEST_F(public_key, is_loaded_without_output_or_trace)
{
    EXPECT_EQ(standard_output_of([this] {
                  EXPECT_EQ(load_from(public_key_2048), (loading{2048, ""}));
                  EXPECT_EQ(load_from(""), (loading{0, not_read}));
              }),
              "");
    expect_trace({});
}

// Paths.

TEST_F(public_key, may_have_any_path)
{
    const std::string path = "/etc/keys/ a%s%n\xc4\xff\n" + std::string(200, 'x');
    EXPECT_EQ(load(path.c_str()), (loading{0, "Error opening public key file: " + path + "\n"}));
    machine.file(path, "no key\n");
    EXPECT_EQ(load(path.c_str()),
              (loading{0, "Error reading public key from file: " + path + "\n"}));
    machine.file(path, public_key_2048);
    EXPECT_EQ(load(path.c_str()), (loading{2048, ""}));
    machine.link(key_file, path);
    EXPECT_EQ(load(), (loading{2048, ""}));
}

TEST_F(public_key, is_reported_missing_with_its_whole_path)
{
    const std::string path = "/etc/" + std::string(5000, 'x');
    EXPECT_EQ(load(path.c_str()), (loading{0, "Error opening public key file: " + path + "\n"}));
    EXPECT_EQ(load(""), (loading{0, "Error opening public key file: \n"}));
    EXPECT_EQ(load(nullptr), (loading{0, "Error opening public key file: (null)\n"}));
}

TEST_F(public_key, needs_the_right_to_read_the_file)
{
    machine.file(key_file, public_key_2048, 0600);
    const other_user caller;
    EXPECT_EQ(load(), (loading{0, not_opened}));
}

TEST_F(public_key, is_not_read_from_a_directory)
{
    machine.directory(key_file);
    EXPECT_EQ(load(), (loading{0, not_read}));
}

// Contents.

namespace {

struct key_content : named_case {
    std::string content;
    int bits;
};

std::string without(std::string text, const std::string &part)
{
    return text.erase(text.find(part), part.size());
}

std::string with_crlf(std::string text)
{
    for (std::size_t end = 0; (end = text.find('\n', end)) != std::string::npos; end += 2)
        text.insert(end, "\r");
    return text;
}

// The public half of the same key in another form, as `openssl rsa -pubout` writes it.
constexpr char subject_public_key[] =
    "-----BEGIN PUBLIC KEY-----\n"
    "MIIBIjANBgkqhkiG9w0BAQEFAAOCAQ8AMIIBCgKCAQEA2qJXkbu24RGPZRsK/w1S\n"
    "qM6BflQtKzn9C0/hOtl859ULF8wsZKWu3wFbVlSLirVRVUUbqmIeQe8JLpJNPvIB\n"
    "Qe6YWbTNfFKeU0Pa9upDjGWOlXJlwVdIG8zMPki7LGxTYUQoiNSlUMqPy9WkeF7m\n"
    "yYhu8kTSLGlu2J6zy5sNGkpKKG75oAqLr3mJ9lpD1xa6NI8j1Rcq1z6Y1hs5CA5w\n"
    "v4JTnlJlwiw9RomZ8p5vdx1XjeVClRPAQW61nu1bTGp6vmZdXCjNfr4/5Ux0PoJQ\n"
    "zL5v68RowU84kWbJCU186y299YdPtwzZw3kjuJsRTTqgr7SqblT6Vx8HFoKMHWaq\n"
    "5QIDAQAB\n"
    "-----END PUBLIC KEY-----\n";

constexpr char empty_block[] = "-----BEGIN RSA PUBLIC KEY-----\n"
                               "-----END RSA PUBLIC KEY-----\n";

const key_content contents[] = {
    {"of_1024_bits", public_key_1024, 1024},
    {"of_2048_bits", public_key_2048, 2048},
    {"of_3072_bits", public_key_3072, 3072},
    {"of_4096_bits", public_key_4096, 4096},
    {"behind_other_text", "Our key:\n\n" + std::string(public_key_2048), 2048},
    {"before_other_text", std::string(public_key_2048) + "That was our key.\n", 2048},
    {"before_another", std::string(public_key_1024) + public_key_2048, 1024},
    {"behind_a_private_one", std::string(private_key_for_tests_only) + public_key_1024, 1024},
    {"behind_one_of_another_form", std::string(subject_public_key) + public_key_1024, 1024},
    {"on_lines_that_end_in_crlf", with_crlf(public_key_2048), 2048},
    {"nothing", "", 0},
    {"a_line_end", "\n", 0},
    {"a_zero_byte", std::string(1, '\0'), 0},
    {"other_text", "no key\n", 0},
    {"one_of_another_form", subject_public_key, 0},
    {"a_private_one", private_key_for_tests_only, 0},
    {"without_its_end", without(public_key_2048, "-----END RSA PUBLIC KEY-----\n"), 0},
    {"without_its_beginning", without(public_key_2048, "-----BEGIN RSA PUBLIC KEY-----\n"), 0},
    {"without_its_last_line",
     without(public_key_2048, "w3kjuJsRTTqgr7SqblT6Vx8HFoKMHWaq5QIDAQAB\n"), 0},
    {"with_an_empty_block", empty_block, 0},
    {"broken_and_before_a_whole_one", empty_block + std::string(public_key_2048), 0},
};

class public_key_content : public public_key, public testing::WithParamInterface<key_content> {};

} // namespace

TEST_P(public_key_content, has_a_key_or_is_reported)
{
    EXPECT_EQ(load_from(GetParam().content),
              (loading{GetParam().bits, GetParam().bits > 0 ? "" : not_read}));
}

TEST_P(public_key_content, leaves_the_crypto_errors_as_they_were)
{
    machine.file(key_file, GetParam().content);
    const auto loading = [] { load(); };
    EXPECT_EQ(crypto_errors_after(loading, {}), std::vector<int>{});
    EXPECT_EQ(crypto_errors_after(loading, {101, 102}), (std::vector{101, 102}));
}

TEST_P(public_key_content, leaves_closed_standard_descriptors_closed)
{
    machine.file(key_file, GetParam().content);
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        owned_rsa key;
        EXPECT_EQ(left_open(closed, [&key] { key.reset(load_public_key(key_file)); }),
                  std::vector<int>{});
        EXPECT_EQ(key != nullptr, GetParam().bits > 0);
    }
}

INSTANTIATE_TEST_SUITE_P(with, public_key_content, testing::ValuesIn(contents));
