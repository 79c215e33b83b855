// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"
#include "key_store.h"
#include "orvane.h"

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>

// The result code and what is stored.
struct gpg_result {
    static constexpr unsigned int length_before = 4711;

    int code = 0;
    std::string text;
    unsigned int length = length_before;

    friend bool operator==(const gpg_result &, const gpg_result &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const gpg_result &one)
    {
        return stream << one.code << ", " << one.length << " bytes: " << one.text.substr(0, 200);
    }
};

inline gpg_result stored(const std::string &text)
{
    return {ORVANE_OK, text, static_cast<unsigned int>(text.size())};
}

// ORVANE_OK with a null pointer.
inline gpg_result null_stored(unsigned int length = gpg_result::length_before)
{
    return {ORVANE_OK, "(null)", length};
}

inline gpg_result nothing_stored(int code)
{
    return {code, "(untouched)", gpg_result::length_before};
}

using gpg_routine = int (*)(const char *, char **, unsigned int *);

// Calls with both destinations.
inline gpg_result result_of(gpg_routine routine, const char *argument)
{
    char untouched = 'u';
    char *text = &untouched;
    gpg_result result;
    result.code = routine(argument, &text, &result.length);
    if (text == &untouched) {
        result.text = "(untouched)";
        return result;
    }
    result.text = text == nullptr ? "(null)" : std::string(text, result.length);
    std::free(text);
    return result;
}

inline gpg_result verify(const std::string &path)
{
    return result_of(gpg_verify, path.c_str());
}

inline gpg_result encrypt(const std::string &text)
{
    return result_of(gpg_encrypt, text.c_str());
}

// A machine whose user has a key store without the built-in key, beside a key store with the
// private half of it. Its members serve tables of cases.
class gpg_machine : public on_machine {
public:
    // The built-in key's, as gpg reads it from the key itself.
    [[nodiscard]] std::string fingerprint() const { return column("fpr", 9); }
    [[nodiscard]] std::time_t creation_time() const { return std::stol(column("sec", 5)); }

    const key_store &signers()
    {
        if (!has_signer_) {
            signers_.gpg({"--import", PRIVATE_SIGNING_KEY});
            has_signer_ = true;
        }
        return signers_;
    }

    // Adds the key "other" to the signers' key store.
    void make_other_key()
    {
        signers().gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
    }

    // A file with this content that the built-in key signs.
    std::string signed_file(std::string_view content = "hello\n", const texts &options = {"--sign"})
    {
        return written_by_gpg(content, texts{"-u", fingerprint()} + options);
    }

    // A file that gpg writes with these options.
    std::string written_by_gpg(std::string_view content, const texts &options)
    {
        machine.file("/srv/content", content);
        signers().gpg(options + texts{"--output", "/srv/made", "/srv/content"});
        return "/srv/made";
    }

    // The text of a message to the built-in key.
    std::string decrypted(const std::string &message)
    {
        machine.file("/srv/message", message);
        return signers().gpg({"--decrypt", "/srv/message"});
    }

    // Imports a public key of the signers' into the user's key store.
    void import_for_user(const std::string &key)
    {
        const std::string file = machine.scratch("public_key");
        signers().gpg({"--output", file, "--export", key});
        user.gpg({"--import", file});
    }

    // The user works with a key store to which nothing can be written.
    void use_read_only_key_store()
    {
        machine.file_system("/srv/keys", "mode=700");
        for (const char *const name : {"/pubring.kbx", "/trustdb.gpg"}) {
            if (std::filesystem::exists(user.path() + name))
                std::filesystem::copy(user.path() + name, "/srv/keys");
        }
        machine.read_only("/srv/keys");
        ::setenv("GNUPGHOME", "/srv/keys", 1);
    }

    using on_machine::machine;
    key_store user;

protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(PRIVATE_SIGNING_KEY))
            GTEST_SKIP() << "the private half of the built-in key is not there";
        on_machine::SetUp();
    }

    void furnish() override { ::setenv("GNUPGHOME", user.path().c_str(), 1); }

private:
    // A column of the first line of its kind, as gpg lists the key file.
    [[nodiscard]] std::string column(const std::string &kind, int number) const
    {
        const std::string listed =
            signers_.gpg({"--no-autostart", "--with-colons", "--show-keys", PRIVATE_SIGNING_KEY});
        std::size_t start = ("\n" + listed).find("\n" + kind + ":");
        for (int passed = 0; passed < number; ++passed)
            start = listed.find(':', start) + 1;
        return listed.substr(start, listed.find(':', start) - start);
    }

    key_store signers_;
    bool has_signer_ = false;
};
