// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What GPGME is asked, in which order, and what is released.
#include "faked_gpgme.h"
#include "gpg_machine.h"

namespace {

class gpg_calls : public gpg_machine {
protected:
    void furnish() override
    {
        gpg_machine::furnish();
        key_ = fingerprint();
        gpgme.find(key_.c_str());
    }

    [[nodiscard]] texts asked_for_key() const { return {"gpgme_get_key context " + key_ + " 0"}; }

    static handed_over verified() { return asked(gpg_verify, "/srv/signed"); }
    static handed_over encrypted() { return asked(gpg_encrypt, "text"); }

    faked_gpgme gpgme;

private:
    std::string key_;
};

const texts start = {"gpgme_check_version (null)", "setlocale LC_ALL \"\"",
                     "setlocale LC_CTYPE (null)",
                     "gpgme_set_locale (null) LC_CTYPE \"tlh_QO.UTF-8\"", "gpgme_new"};
const texts import = {"gpgme_data_new_from_mem key data 1", "gpgme_op_import context key data",
                      "gpgme_data_release key data"};
const texts hand_over = {"gpgme_data_seek END output 0", "gpgme_data_seek SET output 0",
                         "gpgme_data_read output 6", "gpgme_data_read output 0"};
const texts release_input = {"gpgme_data_release input", "gpgme_release context"};
const texts release_all =
    texts{"gpgme_data_release input", "gpgme_data_release output", "gpgme_release context"};

const texts take_file = {"gpgme_data_new_from_file /srv/signed 1"};
const texts take_text = {"gpgme_data_new_from_mem input 1"};
const texts make_output = {"gpgme_data_new"};
const texts verify = {"gpgme_op_verify context input (null) output"};
const texts find_signatures = {"gpgme_op_verify_result context"};
const texts tell_time = {"time (null)"};
const texts armour = {"gpgme_set_armor context 1"};
const texts encrypt = {"gpgme_op_encrypt context key (null) 1 input output"};
const texts find_refused = {"gpgme_op_encrypt_result context"};

const texts verification = start + take_file + make_output + import + verify + find_signatures;
const texts preparation = tell_time + start + armour + take_text + make_output + import;

} // namespace

// Verifying.

TEST_F(gpg_calls, verify_a_file_and_hand_over_its_content)
{
    EXPECT_EQ(verified(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(), verification + hand_over + release_all);
}

TEST_F(gpg_calls, verify_a_file_and_leave_its_content)
{
    unsigned int length = 4711;
    EXPECT_EQ(gpg_verify("/srv/signed", nullptr, &length), 0);
    EXPECT_EQ(gpgme.calls(), verification + release_all);
}

TEST_F(gpg_calls, verify_nothing_without_a_context)
{
    gpgme.failing = {"gpgme_new"};
    EXPECT_EQ(verified(), nothing_stored(16));
    EXPECT_EQ(gpgme.calls(), start);
}

TEST_F(gpg_calls, verify_nothing_without_the_file)
{
    gpgme.failing = {"gpgme_data_new_from_file"};
    EXPECT_EQ(verified(), nothing_stored(49));
    EXPECT_EQ(gpgme.calls(), start + take_file + texts{"gpgme_release context"});
}

TEST_F(gpg_calls, verify_nothing_without_room_for_content)
{
    gpgme.failing = {"gpgme_data_new"};
    EXPECT_EQ(verified(), nothing_stored(100));
    EXPECT_EQ(gpgme.calls(), start + take_file + make_output + release_input);
}

TEST_F(gpg_calls, verify_a_file_where_the_key_cannot_be_wrapped)
{
    gpgme.failing = {"gpgme_data_new_from_mem key data"};
    EXPECT_EQ(verified(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(), start + take_file + make_output +
                                 texts{"gpgme_data_new_from_mem key data 1"} + verify +
                                 find_signatures + hand_over + release_all);
}

TEST_F(gpg_calls, verify_a_file_where_the_key_cannot_be_imported)
{
    gpgme.failing = {"gpgme_op_import"};
    EXPECT_EQ(verified(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(), verification + hand_over + release_all);
}

TEST_F(gpg_calls, verify_a_file_where_the_locale_cannot_be_set)
{
    gpgme.failing = {"gpgme_set_locale"};
    EXPECT_EQ(verified(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(), verification + hand_over + release_all);
}

TEST_F(gpg_calls, look_for_no_signatures_where_verifying_fails)
{
    gpgme.failing = {"gpgme_op_verify"};
    EXPECT_EQ(verified(), nothing_stored(1));
    EXPECT_EQ(gpgme.calls(), start + take_file + make_output + import + verify + release_all);
}

TEST_F(gpg_calls, leave_the_content_of_a_file_without_signatures)
{
    gpgme.signatures.clear();
    EXPECT_EQ(verified(), nothing_stored(53));
    EXPECT_EQ(gpgme.calls(), verification + release_all);
}

TEST_F(gpg_calls, leave_the_content_where_there_is_no_result)
{
    gpgme.failing = {"gpgme_op_verify_result"};
    EXPECT_EQ(verified(), nothing_stored(53));
    EXPECT_EQ(gpgme.calls(), verification + release_all);
}

TEST_F(gpg_calls, leave_the_content_of_a_bad_signature)
{
    gpgme.signatures.front().status = GPG_ERR_BAD_SIGNATURE;
    EXPECT_EQ(verified(), nothing_stored(51));
    EXPECT_EQ(gpgme.calls(), verification + release_all);
}

TEST_F(gpg_calls, leave_the_content_that_another_signed)
{
    gpgme.find("0123456789ABCDEF0123456789ABCDEF01234567");
    EXPECT_EQ(verified(), nothing_stored(46));
    EXPECT_EQ(gpgme.calls(), verification + release_all);
}

TEST_F(gpg_calls, make_nothing_of_no_path_but_a_context)
{
    EXPECT_EQ(asked(gpg_verify, nullptr), nothing_stored(49));
    EXPECT_EQ(gpgme.calls(), start + texts{"gpgme_release context"});
}

// Encrypting.

TEST_F(gpg_calls, encrypt_a_text_and_hand_over_the_message)
{
    EXPECT_EQ(encrypted(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(),
              preparation + asked_for_key() + encrypt + find_refused + hand_over + release_all);
}

TEST_F(gpg_calls, encrypt_a_text_and_leave_the_message)
{
    unsigned int length = 4711;
    EXPECT_EQ(gpg_encrypt("text", nullptr, &length), 0);
    EXPECT_EQ(gpgme.calls(), preparation + asked_for_key() + encrypt + find_refused + release_all);
}

TEST_F(gpg_calls, encrypt_nothing_without_a_context)
{
    gpgme.failing = {"gpgme_new"};
    EXPECT_EQ(encrypted(), nothing_stored(16));
    EXPECT_EQ(gpgme.calls(), tell_time + start);
}

TEST_F(gpg_calls, encrypt_nothing_without_the_text)
{
    gpgme.failing = {"gpgme_data_new_from_mem input"};
    EXPECT_EQ(encrypted(), nothing_stored(44));
    EXPECT_EQ(gpgme.calls(),
              tell_time + start + armour + take_text + texts{"gpgme_release context"});
}

TEST_F(gpg_calls, encrypt_nothing_without_room_for_the_message)
{
    gpgme.failing = {"gpgme_data_new"};
    EXPECT_EQ(encrypted(), nothing_stored(100));
    EXPECT_EQ(gpgme.calls(), tell_time + start + armour + take_text + make_output + release_input);
}

TEST_F(gpg_calls, encrypt_a_text_where_the_key_cannot_be_wrapped)
{
    gpgme.failing = {"gpgme_data_new_from_mem key data"};
    EXPECT_EQ(encrypted(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(), tell_time + start + armour + take_text + make_output +
                                 texts{"gpgme_data_new_from_mem key data 1"} + asked_for_key() +
                                 encrypt + find_refused + hand_over + release_all);
}

TEST_F(gpg_calls, encrypt_a_text_where_the_key_cannot_be_imported)
{
    gpgme.failing = {"gpgme_op_import"};
    EXPECT_EQ(encrypted(), (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(gpgme.calls(),
              preparation + asked_for_key() + encrypt + find_refused + hand_over + release_all);
}

TEST_F(gpg_calls, encrypt_nothing_without_the_key)
{
    gpgme.failing = {"gpgme_get_key"};
    EXPECT_EQ(encrypted(), nothing_stored(14));
    EXPECT_EQ(gpgme.calls(), preparation + asked_for_key() + release_all);
}

TEST_F(gpg_calls, encrypt_nothing_where_the_key_is_found_but_not_given)
{
    interpose::gpgme_get_key = [](gpgme_ctx_t, const char *, gpgme_key_t *key, int) {
        *key = nullptr;
        return gpgme_error_t{0};
    };
    EXPECT_EQ(encrypted(), nothing_stored(14));
    EXPECT_EQ(gpgme.calls(), preparation + release_all);
}

TEST_F(gpg_calls, encrypt_nothing_where_the_key_is_given_but_not_found)
{
    interpose::gpgme_get_key = [](gpgme_ctx_t, const char *, gpgme_key_t *key, int) {
        static _gpgme_key given = {};
        *key = &given;
        return gpgme_error_t{GPG_ERR_EOF};
    };
    EXPECT_EQ(encrypted(), nothing_stored(14));
    EXPECT_EQ(gpgme.calls(), preparation + release_all);
}

TEST_F(gpg_calls, look_for_no_refused_recipient_where_encrypting_fails)
{
    gpgme.failing = {"gpgme_op_encrypt"};
    EXPECT_EQ(encrypted(), nothing_stored(45));
    EXPECT_EQ(gpgme.calls(), preparation + asked_for_key() + encrypt + release_all);
}

TEST_F(gpg_calls, make_nothing_of_no_text_but_a_context)
{
    EXPECT_EQ(asked(gpg_encrypt, nullptr), nothing_stored(44));
    EXPECT_EQ(gpgme.calls(), tell_time + start + armour + texts{"gpgme_release context"});
}

// What is wrapped.

TEST_F(gpg_calls, wrap_the_built_in_key_as_it_is)
{
    const auto keys = std::filesystem::path(PRIVATE_SIGNING_KEY).parent_path();
    EXPECT_EQ(gpg_verify("/srv/signed", nullptr, nullptr), 0);
    EXPECT_EQ(gpgme.wrapped.at("key data"), machine.content(keys / "public.gpg"));
}

TEST_F(gpg_calls, wrap_the_text_without_its_terminator)
{
    EXPECT_EQ(encrypted().code, 0);
    EXPECT_EQ(gpgme.wrapped.at("input"), "text");
}

TEST_F(gpg_calls, wrap_an_empty_text)
{
    EXPECT_EQ(asked(gpg_encrypt, "").code, 0);
    EXPECT_EQ(gpgme.wrapped.at("input"), "");
}
