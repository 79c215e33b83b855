// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The key that signatures are checked with, and keys and signatures of the openssl tool.
#include "rsa_machine.h"

namespace {

class key_of_signatures : public rsa_machine {
protected:
    static bool is_valid_by(const std::string &signature)
    {
        return check_of(sample_text, signature.c_str()).valid;
    }
};

} // namespace

TEST_F(key_of_signatures, counts_from_the_call_after_its_replacement)
{
    EXPECT_TRUE(is_valid_by(signature_2048));
    machine.file(public_key_file, public_key_3072);
    EXPECT_FALSE(is_valid_by(signature_2048));
    EXPECT_TRUE(is_valid_by(signature_3072));
    machine.file(public_key_file, public_key_2048);
    EXPECT_TRUE(is_valid_by(signature_2048));
    EXPECT_FALSE(is_valid_by(signature_3072));
}

TEST_F(key_of_signatures, is_not_remembered_when_its_file_is_gone)
{
    EXPECT_TRUE(is_valid_by(signature_2048));
    machine.remove(public_key_file);
    EXPECT_FALSE(is_valid_by(signature_2048));
    machine.file(public_key_file, public_key_2048);
    EXPECT_TRUE(is_valid_by(signature_2048));
}

TEST_F(key_of_signatures, may_stand_elsewhere_behind_a_link)
{
    machine.file("/etc/orvane/keys/second.pem", public_key_3072);
    machine.link(public_key_file, "keys/second.pem");
    EXPECT_TRUE(is_valid_by(signature_3072));
}

TEST_F(key_of_signatures, is_the_first_of_the_file)
{
    machine.file(public_key_file, public_key_3072 + std::string(public_key_2048));
    EXPECT_TRUE(is_valid_by(signature_3072));
    EXPECT_FALSE(is_valid_by(signature_2048));
}

TEST_F(key_of_signatures, must_be_the_signers)
{
    machine.file(public_key_file, public_key_1024);
    EXPECT_EQ(
        check_of(sample_text, signature_2048),
        (verdict{false, "Cleaned Base64 (344 chars): " + std::string(signature_2048) + "\n", ""}));
}

// The openssl tool.

namespace {

class openssl_tool : public on_machine {
protected:
    void furnish() override
    {
        machine.file("/etc/orvane/text", sample_text);
        run({"genrsa", "-out", private_key_file, "2048"});
    }

    // What the tool prints.
    std::string run(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "openssl");
        const auto ran = machine.run(words);
        EXPECT_EQ(ran.status, 0) << ran.error;
        return ran.output;
    }

    void publish_key() const
    {
        run({"rsa", "-in", private_key_file, "-RSAPublicKey_out", "-out", public_key_file});
    }

    // The signature that the tool makes of the sample text, in base64 as the tool writes it.
    std::string sign(const std::vector<std::string> &options) const
    {
        std::vector<std::string> words = {"dgst", "-sign", private_key_file, "-out",
                                          "/etc/orvane/signature"};
        words.insert(words.end(), options.begin(), options.end());
        words.emplace_back("/etc/orvane/text");
        run(words);
        return run({"base64", "-in", "/etc/orvane/signature"});
    }

    static verdict checked(const std::string &signature)
    {
        return check_of(sample_text, signature.c_str());
    }

private:
    static constexpr char private_key_file[] = "/etc/orvane/private.pem";
};

} // namespace

TEST_F(openssl_tool, makes_keys_and_signatures_that_are_taken)
{
    publish_key();
    const verdict found = checked(sign({"-sha256"}));
    EXPECT_TRUE(found.valid);
    EXPECT_EQ(found.error, "");
}

TEST_F(openssl_tool, makes_signatures_that_are_not_taken_for_another_text)
{
    publish_key();
    EXPECT_FALSE(check_of("Trust that text.", sign({"-sha256"}).c_str()).valid);
}

TEST_F(openssl_tool, makes_signatures_of_other_digests_which_are_not_taken)
{
    publish_key();
    EXPECT_FALSE(checked(sign({"-sha1"})).valid);
    EXPECT_FALSE(checked(sign({"-sha512"})).valid);
}

TEST_F(openssl_tool, makes_signatures_with_another_padding_which_are_not_taken)
{
    publish_key();
    EXPECT_FALSE(checked(sign({"-sha256", "-sigopt", "rsa_padding_mode:pss"})).valid);
}

TEST_F(openssl_tool, makes_public_keys_of_a_form_that_is_not_taken)
{
    const std::string signature = sign({"-sha256"});
    run({"rsa", "-in", "/etc/orvane/private.pem", "-pubout", "-out", public_key_file});
    const verdict found = checked(signature);
    EXPECT_FALSE(found.valid);
    EXPECT_EQ(found.error, "Error reading public key from file: /etc/orvane/public.pem\n"
                           "Failed to load public key\n");
}
