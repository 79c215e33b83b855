// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What gpg's findings make of a file and of a recipient.
#include "faked_gpgme.h"
#include "gpg_machine.h"

#include <algorithm>
#include <cctype>

namespace {

class gpg_judgement : public gpg_machine {
protected:
    void furnish() override
    {
        gpg_machine::furnish();
        key = fingerprint();
    }

    static std::string lower(std::string text)
    {
        for (char &letter : text)
            letter = static_cast<char>(std::tolower(letter));
        return text;
    }

    // Of a file whose only signature, a good one, is by this key.
    int code_of_key(const char *signed_by)
    {
        gpgme.find(signed_by);
        return gpg_verify("/srv/signed", nullptr, nullptr);
    }
    int code_of_key(const std::string &signed_by) { return code_of_key(signed_by.c_str()); }

    std::string key;
    const char *const another = "0123456789ABCDEF0123456789ABCDEF01234567";
    faked_gpgme gpgme;
};

// Bits of the summary, as GPGME numbers them.
enum : unsigned int {
    valid = 0x1,
    green = 0x2,
    red = 0x4,
    key_revoked = 0x10,
    key_expired = 0x20,
    signature_expired = 0x40,
    key_missing = 0x80,
    list_missing = 0x100,
    list_too_old = 0x200,
    bad_policy = 0x400,
    system_error = 0x800,
    conflict = 0x1000,
};

// Statuses, by their numbers in gpg, which stand in the low 16 bits, below the number of who says
// so.
enum : unsigned int {
    bad_signature = 8,
    no_public_key = 9,
    key_has_expired = 153,
    by_gpgme = 7U << 24U,
};

struct finding : named_case {
    unsigned int summary;
    unsigned int status;
    int code;
};

const finding findings[] = {
    {"no_error", 0, 0, 0},
    {"no_error_and_who_says_so", 0, by_gpgme, 0},
    {"no_error_below_a_foreign_bit", 0, 0x10000, 0},
    {"valid_in_spite_of_a_bad_signature", valid, bad_signature, 0},
    {"green_in_spite_of_a_bad_signature", green, bad_signature, 0},
    {"valid_and_green", valid | green, 0, 0},
    {"valid_and_all_that_is_bad", valid | red | key_missing, bad_signature, 0},
    {"green_and_all_that_is_bad", green | red | key_missing, bad_signature, 0},
    {"no_error_and_all_that_is_bad", red | key_missing, 0, 0},
    {"key_missing", key_missing, no_public_key, 14},
    {"key_missing_and_red", key_missing | red, no_public_key, 14},
    {"key_missing_and_a_bad_signature", key_missing, bad_signature, 14},
    {"red", red, no_public_key, 50},
    {"red_and_a_bad_signature", red, bad_signature, 50},
    {"red_and_other_bits", red | key_revoked | system_error, bad_signature, 50},
    {"bad_signature", 0, bad_signature, 51},
    {"bad_signature_and_who_says_so", 0, by_gpgme | bad_signature, 51},
    {"bad_signature_below_a_foreign_bit", 0, 0x10000 | bad_signature, 51},
    {"bad_signature_and_other_bits", key_revoked | conflict, bad_signature, 51},
    {"another_error", 0, no_public_key, 52},
    {"an_error_that_ends_like_a_bad_signature", 0, 0x100 | bad_signature, 52},
    {"an_error_of_the_system", 0, 0x8000 | bad_signature, 52},
    {"an_error_in_the_eighth_bit", 0, 0x100, 52},
    {"the_last_error", 0, 0xffff, 52},
    {"key_revoked", key_revoked, 94, 52},
    {"key_expired", key_expired, key_has_expired, 52},
    {"signature_expired", signature_expired, 154, 52},
    {"list_missing", list_missing, 1, 52},
    {"list_too_old", list_too_old, 1, 52},
    {"bad_policy", bad_policy, 1, 52},
    {"system_error", system_error, 1, 52},
    {"conflict", conflict, 1, 52},
    {"an_unnamed_bit", 0x8, 1, 52},
};

class gpg_finding : public gpg_judgement, public testing::WithParamInterface<finding> {};

} // namespace

TEST_P(gpg_finding, makes_a_code_of_the_first_signature)
{
    gpgme.find(key.c_str(), GetParam().summary, GetParam().status);
    EXPECT_EQ(asked(gpg_verify, "/srv/signed"), GetParam().code == 0
                                                    ? (handed_over{0, "hello\n", 6})
                                                    : nothing_stored(GetParam().code));
}

INSTANTIATE_TEST_SUITE_P(of, gpg_finding, testing::ValuesIn(findings));

TEST_F(gpg_judgement, asks_of_a_second_signature_only_whose_it_is)
{
    gpgme.find(key.c_str());
    gpgme.find(key.c_str(), red, bad_signature);
    EXPECT_EQ(gpg_verify("/srv/signed", nullptr, nullptr), 0);
}

TEST_F(gpg_judgement, does_not_make_up_for_a_bad_first_signature)
{
    gpgme.find(key.c_str(), red, bad_signature);
    gpgme.find(key.c_str(), valid | green);
    EXPECT_EQ(gpg_verify("/srv/signed", nullptr, nullptr), 50);
}

TEST_F(gpg_judgement, asks_whether_a_signature_is_bad_before_whose_it_is)
{
    gpgme.find(another, red, bad_signature);
    EXPECT_EQ(gpg_verify("/srv/signed", nullptr, nullptr), 50);
}

// Whose a signature is.

TEST_F(gpg_judgement, knows_the_fingerprint)
{
    EXPECT_EQ(code_of_key(key), 0);
}

TEST_F(gpg_judgement, knows_the_long_key_id)
{
    EXPECT_EQ(code_of_key(key.substr(24)), 0);
}

TEST_F(gpg_judgement, does_not_know_the_fingerprint_in_lower_case)
{
    EXPECT_EQ(code_of_key(lower(key)), 46);
}

TEST_F(gpg_judgement, does_not_know_the_long_key_id_in_lower_case)
{
    if (lower(key.substr(24)) == key.substr(24))
        GTEST_SKIP() << "this key's ID has no letters";
    EXPECT_EQ(code_of_key(lower(key.substr(24))), 46);
}

TEST_F(gpg_judgement, does_not_know_the_short_key_id)
{
    EXPECT_EQ(code_of_key(key.substr(32)), 46);
}

TEST_F(gpg_judgement, does_not_know_the_beginning_of_the_fingerprint)
{
    EXPECT_EQ(code_of_key(key.substr(0, 39)), 46);
}

TEST_F(gpg_judgement, does_not_know_the_end_of_the_fingerprint)
{
    EXPECT_EQ(code_of_key(key.substr(1)), 46);
}

TEST_F(gpg_judgement, does_not_know_a_fingerprint_that_goes_on)
{
    EXPECT_EQ(code_of_key(key + "0"), 46);
}

TEST_F(gpg_judgement, does_not_know_a_long_key_id_that_goes_on)
{
    EXPECT_EQ(code_of_key(key.substr(24) + "0"), 46);
}

TEST_F(gpg_judgement, does_not_know_an_empty_fingerprint)
{
    EXPECT_EQ(code_of_key(""), 46);
}

TEST_F(gpg_judgement, does_not_know_who_has_no_fingerprint)
{
    EXPECT_EQ(code_of_key(nullptr), 46);
}

TEST_F(gpg_judgement, knows_every_signer_of_several)
{
    gpgme.find(key.c_str());
    const std::string id = key.substr(24);
    gpgme.find(id.c_str());
    EXPECT_EQ(code_of_key(key), 0);
}

TEST_F(gpg_judgement, does_not_know_the_first_signer_of_two)
{
    gpgme.find(another);
    EXPECT_EQ(code_of_key(key), 46);
}

TEST_F(gpg_judgement, does_not_know_the_second_signer_of_three)
{
    gpgme.find(key.c_str());
    gpgme.find(another);
    EXPECT_EQ(code_of_key(key), 46);
}

TEST_F(gpg_judgement, does_not_know_the_last_signer_of_three)
{
    gpgme.find(key.c_str());
    gpgme.find(key.c_str());
    EXPECT_EQ(code_of_key(another), 46);
}

// Which recipients were refused.

TEST_F(gpg_judgement, has_no_message_where_the_key_is_refused)
{
    gpgme.refuse(key.c_str());
    EXPECT_EQ(asked(gpg_encrypt, "text"), nothing_stored(14));
}

TEST_F(gpg_judgement, has_no_message_where_the_key_is_the_first_of_two_refused)
{
    gpgme.refuse(key.c_str());
    gpgme.refuse(another);
    EXPECT_EQ(asked(gpg_encrypt, "text"), nothing_stored(14));
}

TEST_F(gpg_judgement, has_a_message_where_another_key_is_refused)
{
    gpgme.refuse(another);
    EXPECT_EQ(asked(gpg_encrypt, "text"), (handed_over{0, "hello\n", 6}));
}

TEST_F(gpg_judgement, has_a_message_where_the_key_is_the_second_refused)
{
    gpgme.refuse(another);
    gpgme.refuse(key.c_str());
    EXPECT_EQ(asked(gpg_encrypt, "text"), (handed_over{0, "hello\n", 6}));
}

TEST_F(gpg_judgement, has_a_message_where_the_long_key_id_is_refused)
{
    const std::string id = key.substr(24);
    gpgme.refuse(id.c_str());
    EXPECT_EQ(asked(gpg_encrypt, "text"), (handed_over{0, "hello\n", 6}));
}

TEST_F(gpg_judgement, has_a_message_where_the_key_is_refused_in_lower_case)
{
    const std::string fingerprint = lower(key);
    gpgme.refuse(fingerprint.c_str());
    EXPECT_EQ(asked(gpg_encrypt, "text"), (handed_over{0, "hello\n", 6}));
}

TEST_F(gpg_judgement, has_a_message_where_who_is_refused_has_no_fingerprint)
{
    gpgme.refuse(nullptr);
    EXPECT_EQ(asked(gpg_encrypt, "text"), (handed_over{0, "hello\n", 6}));
}
