// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Files that gpg does not find signed by the built-in key alone.
#include "gpg_machine.h"

namespace {

class refused_file : public gpg_machine {
protected:
    static handed_over verified(const std::string &path) { return asked(gpg_verify, path.c_str()); }

    // A file with these bytes, which need not be what gpg writes.
    std::string file(std::string_view content)
    {
        machine.file("/srv/file", content);
        return "/srv/file";
    }

    // Gives the signers a key that is not the built-in one.
    void make_another_key()
    {
        signers().gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
    }

    std::string uncompressed()
    {
        return machine.content(signed_file("hello\n", {"--compress-algo", "none", "--sign"}));
    }
};

} // namespace

// Another signer.

TEST_F(refused_file, lacks_the_key_of_an_unknown_signer)
{
    make_another_key();
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "other", "--sign"})), nothing_stored(14));
}

TEST_F(refused_file, is_signed_by_another_whose_key_is_known)
{
    make_another_key();
    introduce("other");
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "other", "--sign"})), nothing_stored(46));
}

TEST_F(refused_file, is_clear_signed_by_another_whose_key_is_known)
{
    make_another_key();
    introduce("other");
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "other", "--clearsign"})), nothing_stored(46));
}

TEST_F(refused_file, is_signed_first_by_the_built_in_key_and_then_by_another)
{
    make_another_key();
    introduce("other");
    EXPECT_EQ(verified(signed_file("hello\n", {"-u", "other", "--sign"})), nothing_stored(46));
}

TEST_F(refused_file, is_signed_first_by_another_and_then_by_the_built_in_key)
{
    make_another_key();
    introduce("other");
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "other", "-u", fingerprint(), "--sign"})),
              nothing_stored(46));
}

TEST_F(refused_file, is_signed_first_by_the_built_in_key_and_then_by_an_unknown_signer)
{
    make_another_key();
    EXPECT_EQ(verified(signed_file("hello\n", {"-u", "other", "--sign"})), nothing_stored(46));
}

TEST_F(refused_file, is_signed_first_by_an_unknown_signer_and_then_by_the_built_in_key)
{
    make_another_key();
    EXPECT_EQ(verified(made_file("hello\n", {"-u", "other", "-u", fingerprint(), "--sign"})),
              nothing_stored(14));
}

// Tampered with.

TEST_F(refused_file, has_other_content_than_was_signed)
{
    std::string content = uncompressed();
    content[content.find("hello")] = 'j';
    EXPECT_EQ(verified(file(content)), nothing_stored(50));
}

TEST_F(refused_file, has_other_clear_text_than_was_signed)
{
    std::string content = machine.content(signed_file("hello\n", {"--clearsign"}));
    content[content.find("hello")] = 'j';
    EXPECT_EQ(verified(file(content)), nothing_stored(50));
}

TEST_F(refused_file, has_another_signature_than_was_made)
{
    std::string content = uncompressed();
    content.back() = static_cast<char>(content.back() ^ 1);
    EXPECT_EQ(verified(file(content)), nothing_stored(50));
}

TEST_F(refused_file, carries_a_signature_without_the_content)
{
    EXPECT_EQ(verified(signed_file("hello\n", {"--detach-sign"})), nothing_stored(50));
}

TEST_F(refused_file, breaks_off_in_the_signature)
{
    const std::string content = uncompressed();
    EXPECT_EQ(verified(file(content.substr(0, content.size() - 1))), nothing_stored(1));
}

// Expired.

TEST_F(refused_file, has_an_expired_signature)
{
    const std::string path = signed_file("hello\n", {"--default-sig-expire", "1d", "--sign"});
    user.set_clock("20990101T000000");
    EXPECT_EQ(verified(path), nothing_stored(52));
}

TEST_F(refused_file, is_signed_by_the_built_in_key_after_it_expired)
{
    const std::string path = signed_file();
    signers().gpg({"--quick-set-expire", fingerprint(), "1d"});
    introduce(fingerprint());
    user.set_clock("20990101T000000");
    EXPECT_EQ(verified(path), nothing_stored(52));
}

// Not signed.

TEST_F(refused_file, is_signed_by_nobody)
{
    EXPECT_EQ(verified(made_file("hello\n", {"--store"})), nothing_stored(53));
}

TEST_F(refused_file, is_encrypted)
{
    EXPECT_EQ(verified(made_file("hello\n",
                                 {"--trust-model", "always", "-r", fingerprint(), "--encrypt"})),
              nothing_stored(53));
}

TEST_F(refused_file, is_encrypted_around_a_signature)
{
    EXPECT_EQ(verified(signed_file("hello\n", {"--trust-model", "always", "-r", fingerprint(),
                                               "--sign", "--encrypt"})),
              nothing_stored(53));
}

TEST_F(refused_file, is_a_text)
{
    EXPECT_EQ(verified(file("hello\n")), nothing_stored(1));
}

TEST_F(refused_file, has_no_bytes)
{
    EXPECT_EQ(verified(file("")), nothing_stored(1));
}

// Not readable.

TEST_F(refused_file, is_missing)
{
    EXPECT_EQ(verified("/srv/missing"), nothing_stored(49));
}

TEST_F(refused_file, is_a_directory)
{
    machine.directory("/srv/directory");
    EXPECT_EQ(verified("/srv/directory"), nothing_stored(49));
}

TEST_F(refused_file, has_no_path)
{
    EXPECT_EQ(asked(gpg_verify, nullptr), nothing_stored(49));
}

TEST_F(refused_file, is_for_another_user)
{
    const std::string path = signed_file();
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    const other_user caller;
    EXPECT_EQ(verified(path), nothing_stored(49));
}

// Nothing is said about a refusal, and nobody need have asked for content.

TEST_F(refused_file, may_be_refused_to_those_who_want_no_content)
{
    make_another_key();
    introduce("other");
    const std::string path = made_file("hello\n", {"-u", "other", "--sign"});
    EXPECT_EQ(gpg_verify(path.c_str(), nullptr, nullptr), 46);
}

TEST_F(refused_file, is_refused_in_silence)
{
    const std::string path = file("hello\n");
    EXPECT_EQ(standard_error_of([&path] { gpg_verify(path.c_str(), nullptr, nullptr); }), "");
    EXPECT_EQ(machine.trace(), texts{});
}
