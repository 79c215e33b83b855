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

// What a call gave back.
struct handed_over {
    static constexpr unsigned int no_length = 4711; // as it was before the call

    int code = 0;
    std::string text;
    unsigned int length = no_length;

    friend bool operator==(const handed_over &, const handed_over &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const handed_over &one)
    {
        return stream << one.code << ", " << one.length << " bytes: " << one.text.substr(0, 200);
    }
};

inline handed_over nothing_stored(int code)
{
    return {code, "(untouched)", handed_over::no_length};
}

// Asks with both destinations.
template <class Routine> handed_over asked(Routine routine, const char *argument)
{
    char untouched = 'u';
    char *text = &untouched;
    handed_over result;
    result.code = routine(argument, &text, &result.length);
    if (text == &untouched)
        result.text = "(untouched)";
    else if (text == nullptr)
        result.text = "(null)";
    else
        result.text.assign(text, result.length);
    if (text != &untouched)
        std::free(text);
    return result;
}

// A machine whose user has a key store that has not seen the built-in key, and somebody else one
// with the private half of it.
class gpg_machine : public on_machine {
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(PRIVATE_SIGNING_KEY))
            GTEST_SKIP() << "nobody here has the private half of the built-in key";
        on_machine::SetUp();
    }

    void furnish() override { ::setenv("GNUPGHOME", user.path().c_str(), 1); }

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

    // A file with this content that the built-in key signed as the options say.
    std::string signed_file(std::string_view content = "hello\n", const texts &options = {"--sign"})
    {
        return made_file(content, texts{"-u", fingerprint()} + options);
    }

    // A file with this content that gpg wrote as the options say.
    std::string made_file(std::string_view content, const texts &options)
    {
        machine.file("/srv/content", content);
        signers().gpg(options + texts{"--output", "/srv/made", "/srv/content"});
        return "/srv/made";
    }

    // What whoever has the private half of the built-in key reads.
    std::string decrypted(const std::string &message)
    {
        machine.file("/srv/message", message);
        return signers().gpg({"--decrypt", "/srv/message"});
    }

    // Puts a public key of the signers' into the user's key store.
    void introduce(const std::string &key)
    {
        const std::string file = machine.scratch("public_key");
        signers().gpg({"--output", file, "--export", key});
        user.gpg({"--import", file});
    }

    key_store user;

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
