// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the process and the machine are like in which gpg is run.
#include "gpg_machine.h"

#include <clocale>
#include <iostream>
#include <vector>

namespace {

class gpg_process : public gpg_machine {
protected:
    // Nobody signs without gpg, so the file is made before anything else.
    void furnish() override
    {
        gpg_machine::furnish();
        path = signed_file();
    }

    [[nodiscard]] handed_over verified() const { return asked(gpg_verify, path.c_str()); }
    static int encrypted_code() { return asked(gpg_encrypt, "text").code; }

    static void use_key_store(const std::string &store) { ::setenv("GNUPGHOME", store.c_str(), 1); }

    void expect_to_work() const
    {
        EXPECT_EQ(verified(), (handed_over{0, "hello\n", 6}));
        EXPECT_EQ(encrypted_code(), 0);
    }
    void expect_no_key() const
    {
        EXPECT_EQ(verified(), nothing_stored(14));
        EXPECT_EQ(encrypted_code(), 14);
    }

    std::string path;
};

class environment_locale : public gpg_process {
protected:
    void furnish() override
    {
        gpg_process::furnish();
        ::setenv("LC_ALL", "C.UTF-8", 1);
        std::setlocale(LC_ALL, "C");
    }
    void TearDown() override
    {
        std::setlocale(LC_ALL, "C");
        gpg_process::TearDown();
    }
};

} // namespace

// The locale.

TEST_F(environment_locale, is_the_locale_of_a_process_that_verified)
{
    EXPECT_EQ(verified().code, 0);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
}

TEST_F(environment_locale, is_the_locale_of_a_process_that_could_not_verify)
{
    EXPECT_EQ(gpg_verify("/srv/missing", nullptr, nullptr), 49);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
}

TEST_F(environment_locale, is_the_locale_of_a_process_that_encrypted)
{
    EXPECT_EQ(encrypted_code(), 0);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
}

TEST_F(environment_locale, changes_nothing_where_there_is_no_such_locale)
{
    ::setenv("LC_ALL", "tlh_QO.UTF-8", 1);
    std::setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(verified().code, 0);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
}

// The key store.

TEST_F(gpg_process, has_no_key_where_the_store_is_read_only)
{
    machine.file_system("/srv/keys", "mode=700");
    machine.read_only("/srv/keys");
    use_key_store("/srv/keys");
    expect_no_key();
}

TEST_F(gpg_process, has_the_key_where_the_store_became_read_only)
{
    machine.file_system("/srv/keys", "mode=700");
    introduce(fingerprint());
    std::filesystem::copy(user.path() + "/pubring.kbx", "/srv/keys");
    std::filesystem::copy(user.path() + "/trustdb.gpg", "/srv/keys");
    machine.read_only("/srv/keys");
    use_key_store("/srv/keys");
    expect_to_work();
}

TEST_F(gpg_process, has_no_key_where_the_store_is_missing)
{
    use_key_store("/srv/missing");
    expect_no_key();
}

TEST_F(gpg_process, has_no_key_where_a_file_stands_for_the_store)
{
    machine.file("/srv/keys", "hello\n");
    use_key_store("/srv/keys");
    expect_no_key();
}

TEST_F(gpg_process, keeps_the_other_keys_of_the_store)
{
    user.gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
    expect_to_work();
    EXPECT_TRUE(user.has("other"));
    EXPECT_TRUE(user.has(fingerprint()));
}

// Without gpg. GPGME looks for it once in a process, hence a process of its own.

namespace {

class gpg_missing : public on_machine {
protected:
    void furnish() override
    {
        // What gpg would find no signature in.
        machine.file("/srv/unsigned", std::string_view("\xcb\x0c"
                                                       "b\0\0\0\0\0hello\n",
                                                       14));
    }

    // Never comes back.
    void exit_with_codes()
    {
        ::setenv("PATH", "/srv", 1);
        ::setenv("GNUPGHOME", "/srv", 1);
        const handed_over verified = asked(gpg_verify, "/srv/unsigned");
        const handed_over encrypted = asked(gpg_encrypt, "text");
        std::cerr << "verified: " << verified << ", encrypted: " << encrypted << "\n";
        machine.stop();
        ::_exit(0);
    }
};

} // namespace

TEST_F(gpg_missing, makes_verifying_fail_and_leaves_no_key_to_encrypt_to)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_with_codes(), testing::ExitedWithCode(0),
                "verified: 1, 4711 bytes: .untouched., encrypted: 14, 4711 bytes: .untouched.");
}

// The caller's process.

TEST_F(gpg_process, may_ignore_the_end_of_its_children)
{
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR);
    expect_to_work();
    ASSERT_NE(::signal(SIGCHLD, SIG_DFL), SIG_ERR);
}

namespace {

class gpg_without_standard_descriptors : public gpg_process,
                                         public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(gpg_without_standard_descriptors, works_and_leaves_them_closed)
{
    handed_over file;
    handed_over message;
    EXPECT_EQ(left_open(GetParam(),
                        [&] {
                            file = verified();
                            message = asked(gpg_encrypt, "text");
                        }),
              std::vector<int>{});
    EXPECT_EQ(file, (handed_over{0, "hello\n", 6}));
    EXPECT_EQ(decrypted(message.text), "text");
}

INSTANTIATE_TEST_SUITE_P(every_combination, gpg_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
