// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"
#include "call_lists.h"
#include "key_store.h"
#include "orvane.h"
#include "rsa_samples.h"
#include "scratch_file.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <openssl/rsa.h>
#include <unistd.h>

namespace {

// ---- Digests ----

constexpr char abc_file[] = "/srv/calls/abc";
constexpr char sha256_of_abc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr char sha1_of_abc[] = "a9993e364706816aba3e25717850c26c9cd0d89d";
constexpr char md5_of_abc[] = "900150983cd24fb0d6963f7d28e17f72";

void abc(constructed_machine &machine)
{
    machine.file(abc_file, "abc");
}

// More than one read takes.
void twenty_kibibytes(constructed_machine &machine)
{
    machine.file("/srv/calls/long", std::string(20480, 'x'));
}

std::string digest_of_text()
{
    constexpr std::string_view digits = "0123456789abcdef";
    unsigned char digest[32] = {};
    if (!compute_sha256("abc", digest))
        return "false";
    std::string hex;
    for (const unsigned char byte : digest)
        hex += {digits[byte >> 4U], digits[byte & 0xFU]};
    return hex;
}

std::vector<library_call> digest_calls()
{
    return {
        {
            .function = "file_check_sha256",
            .way = "right",
            .furnish = abc,
            .run = [] { return told(file_check_sha256(abc_file, sha256_of_abc)); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "file_check_sha256",
            .way = "right_in_two_reads",
            .furnish = twenty_kibibytes,
            .run =
                [] {
                    return told(file_check_sha256(
                        "/srv/calls/long",
                        "9f7c43699b2162d78b1bd59765ff87b1f8d50836451d244478cfa4a6dc5d73f9"));
                },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "file_check_sha256",
            .way = "wrong",
            .furnish = abc,
            .run = [] { return told(file_check_sha256(abc_file, sha1_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "file_check_sha256",
            .way = "absent",
            .furnish = nullptr,
            .run = [] { return told(file_check_sha256(abc_file, sha256_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "file_check_sha1",
            .way = "right",
            .furnish = abc,
            .run = [] { return told(file_check_sha1(abc_file, sha1_of_abc)); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "file_check_sha1",
            .way = "wrong",
            .furnish = abc,
            .run = [] { return told(file_check_sha1(abc_file, sha256_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "file_check_sha1",
            .way = "absent",
            .furnish = nullptr,
            .run = [] { return told(file_check_sha1(abc_file, sha1_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "file_check_md5",
            .way = "right",
            .furnish = abc,
            .run = [] { return told(file_check_md5(abc_file, md5_of_abc)); },
            .answer = "1",
            .failures = {"0"},
        },
        {
            .function = "file_check_md5",
            .way = "wrong",
            .furnish = abc,
            .run = [] { return told(file_check_md5(abc_file, sha256_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "file_check_md5",
            .way = "absent",
            .furnish = nullptr,
            .run = [] { return told(file_check_md5(abc_file, md5_of_abc)); },
            .answer = "0",
            .failures = {},
        },
        {
            .function = "compute_sha256",
            .way = "text",
            .furnish = nullptr,
            .run = digest_of_text,
            .answer = sha256_of_abc,
            .failures = {"false"},
        },
    };
}

// ---- RSA signatures ----

constexpr char public_key_file[] = "/etc/orvane/public.pem";

void public_key(constructed_machine &machine)
{
    machine.file(public_key_file, public_key_2048);
}

void broken_public_key(constructed_machine &machine)
{
    machine.file(public_key_file, "-----BEGIN RSA PUBLIC KEY-----\nAAAA\n");
}

std::string loaded_key()
{
    const std::unique_ptr<RSA, decltype(&RSA_free)> key(load_public_key(public_key_file),
                                                        &RSA_free);
    return key ? told(RSA_bits(key.get())) + " bits" : "NULL";
}

std::string decoded_clean(const char *text)
{
    int size = 0;
    const std::unique_ptr<unsigned char, decltype(&std::free)> bytes(
        base64_decode_clean(text, &size), &std::free);
    if (!bytes)
        return "NULL";
    return {reinterpret_cast<const char *>(bytes.get()), static_cast<std::size_t>(size)};
}

std::string verdict_on(const char *text, const char *signature)
{
    return verify_signature(text, signature) ? "true" : "false";
}

std::vector<library_call> signature_calls()
{
    return {
        {
            .function = "verify_signature",
            .way = "good",
            .furnish = public_key,
            .run = [] { return verdict_on(sample_text, signature_2048); },
            .answer = "true",
            .failures = {"false"},
        },
        {
            .function = "verify_signature",
            .way = "bad",
            .furnish = public_key,
            .run = [] { return verdict_on("Trust this texT.", signature_2048); },
            .answer = "false",
            .failures = {},
        },
        {
            .function = "verify_signature",
            .way = "no_base64",
            .furnish = public_key,
            .run = [] { return verdict_on(sample_text, "?"); },
            .answer = "false",
            .failures = {},
        },
        {
            .function = "verify_signature",
            .way = "no_key",
            .furnish = nullptr,
            .run = [] { return verdict_on(sample_text, signature_2048); },
            .answer = "false",
            .failures = {},
        },
        {
            .function = "verify_signature",
            .way = "nothing",
            .furnish = nullptr,
            .run = [] { return verdict_on(nullptr, signature_2048); },
            .answer = "false",
            .failures = {},
        },
        {
            .function = "base64_decode_clean",
            .way = "lines",
            .furnish = nullptr,
            .run = [] { return decoded_clean("bWFj\r\naGluZSE=\n"); },
            .answer = "machine!",
            .failures = {"NULL"},
        },
        {
            .function = "base64_decode_clean",
            .way = "no_base64",
            .furnish = nullptr,
            .run = [] { return decoded_clean("?"); },
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "load_public_key",
            .way = "key",
            .furnish = public_key,
            .run = loaded_key,
            .answer = "2048 bits",
            .failures = {"NULL"},
        },
        {
            .function = "load_public_key",
            .way = "broken",
            .furnish = broken_public_key,
            .run = loaded_key,
            .answer = "NULL",
            .failures = {},
        },
        {
            .function = "load_public_key",
            .way = "absent",
            .furnish = nullptr,
            .run = loaded_key,
            .answer = "NULL",
            .failures = {},
        },
    };
}

// ---- GPG ----

constexpr char signed_path[] = "/srv/calls/signed";

// Children of the process that made the store leave it alone. They go on knowing it, or it would be
// taken for a leak of theirs.
struct end_by_maker {
    pid_t maker = ::getpid();

    void operator()(const key_store *store) const noexcept
    {
        [[maybe_unused]] static const key_store *left_alone;
        if (::getpid() == maker)
            delete store;
        else
            left_alone = store;
    }
};

// The user's store lasts until the next one is made, or the process ends.
const key_store &new_key_store()
{
    static std::unique_ptr<const key_store, end_by_maker> store;
    store = {new key_store, end_by_maker()};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a machine is furnished before there are threads.
    ::setenv("GNUPGHOME", store->path().c_str(), 1);
    return *store;
}

void user_with_key_store(constructed_machine &machine)
{
    make_scratch_directory(machine);
    new_key_store();
}

// Signs what stands in the file as the options say.
void sign(const key_store &signers, const texts &options)
{
    signers.gpg(options + texts{"--output", signed_path, "/srv/calls/content"});
}

// A file that whoever has the private half of the built-in key made as the options say.
void built_in_key_signs(constructed_machine &machine, const std::string &content,
                        const texts &options)
{
    user_with_key_store(machine);
    machine.file("/srv/calls/content", content);
    const key_store signers;
    signers.gpg({"--import", PRIVATE_SIGNING_KEY});
    sign(signers, options);
}

void signed_file(constructed_machine &machine)
{
    built_in_key_signs(machine, "hello\n", {"--sign"});
}

void signed_long_file(constructed_machine &machine)
{
    built_in_key_signs(machine, std::string(4097, 'x'), {"--sign"});
}

void altered_file(constructed_machine &machine)
{
    built_in_key_signs(machine, "hello\n", {"--clearsign"});
    std::string altered = constructed_machine::content(signed_path);
    altered.replace(altered.find("hello"), 5, "hullo");
    machine.file(signed_path, altered);
}

// Signed by a key that the user knows and that is not the built-in one.
void file_of_another_signer(constructed_machine &machine)
{
    const key_store signers;
    signers.gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
    machine.file("/srv/calls/content", "hello\n");
    sign(signers, {"--sign"});
    signers.gpg({"--output", "/srv/calls/public_key", "--export", "other"});
    new_key_store().gpg({"--import", "/srv/calls/public_key"});
}

void file_without_signature(constructed_machine &machine)
{
    user_with_key_store(machine);
    machine.file("/srv/calls/content", "hello\n");
    sign(key_store(), {"--store"});
}

void file_of_another_kind(constructed_machine &machine)
{
    user_with_key_store(machine);
    machine.file(signed_path, "no signature\n");
}

// What a call handed over: its result, the text and the length, each of which it may have left
// untouched.
class handed_over {
public:
    explicit handed_over(const std::function<int(char **, unsigned int *)> &call)
        : result_(call(&text_, &length_)), content_(content())
    {
        if (text_ != &untouched_)
            std::free(text_);
    }
    handed_over(const handed_over &) = delete;
    handed_over &operator=(const handed_over &) = delete;
    ~handed_over() = default;

    [[nodiscard]] std::string result() const { return std::to_string(result_); }
    [[nodiscard]] const std::string &text() const { return content_; }
    [[nodiscard]] std::string length() const
    {
        return length_ == no_length ? "untouched" : std::to_string(length_);
    }

private:
    static constexpr unsigned int no_length = 4711;

    [[nodiscard]] std::string content() const
    {
        if (text_ == &untouched_)
            return "untouched";
        return text_ == nullptr ? "NULL" : std::string(text_, length_);
    }

    char untouched_ = 'u';
    char *text_ = &untouched_;
    unsigned int length_ = no_length;
    int result_;
    std::string content_;
};

std::string verified()
{
    const handed_over one([](char **content, unsigned int *length) {
        return gpg_verify(signed_path, content, length);
    });
    return one.result() + ", " + one.length() + " bytes: " + one.text();
}

// The message itself is another each time.
std::string encrypted()
{
    const handed_over one([](char **message, unsigned int *length) {
        return gpg_encrypt("hello\n", message, length);
    });
    if (one.text().starts_with("-----BEGIN PGP MESSAGE-----\n") &&
        one.text().ends_with("\n-----END PGP MESSAGE-----\n"))
        return one.result() + ", a message";
    const bool has_size = one.length() != "0" && one.length() != "untouched";
    return one.result() + ", " + (has_size ? "some" : one.length()) + " bytes: " + one.text();
}

std::string nothing_stored(int code)
{
    return told(code) + ", untouched bytes: untouched";
}

std::string not_handed_over(const std::string &length)
{
    return told(ORVANE_OK) + ", " + length + " bytes: NULL";
}

// What stands between a file and its judgement.
std::vector<std::string> file_is_not_judged()
{
    return {nothing_stored(ORVANE_GPG_NO_CONTEXT),   nothing_stored(ORVANE_GPG_FILE_UNREADABLE),
            nothing_stored(ORVANE_GPG_NO_OUTPUT),    nothing_stored(ORVANE_GPG_VERIFY_FAILED),
            nothing_stored(ORVANE_GPG_NO_SIGNATURE), nothing_stored(ORVANE_GPG_KEY_MISSING)};
}

library_call verify_call(const std::string &way, void (*furnish)(constructed_machine &),
                         const std::string &answer,
                         const std::vector<std::string> &failures = file_is_not_judged())
{
    return {
        .function = "gpg_verify",
        .way = way,
        .furnish = furnish,
        .run = verified,
        .answer = answer,
        .failures = failures,
        .thread_safe = false,
    };
}

// Where nobody has the private half of the built-in key, no file is signed with it.
std::vector<library_call> built_in_signature_calls()
{
    if (!std::filesystem::exists(PRIVATE_SIGNING_KEY))
        return {};
    std::vector<std::string> content_is_lost = file_is_not_judged();
    for (const char *const length : {"6", "0", "untouched"})
        content_is_lost.push_back(not_handed_over(length));
    return {
        verify_call("good", signed_file, "0, 6 bytes: hello\n", content_is_lost),
        verify_call("long", signed_long_file, not_handed_over("untouched")),
        verify_call("altered", altered_file, nothing_stored(ORVANE_GPG_SIGNATURE_RED)),
    };
}

std::vector<library_call> gpg_calls()
{
    return {
        verify_call("other_signer", file_of_another_signer,
                    nothing_stored(ORVANE_GPG_OTHER_SIGNER)),
        verify_call("no_signature", file_without_signature,
                    nothing_stored(ORVANE_GPG_NO_SIGNATURE)),
        verify_call("no_openpgp", file_of_another_kind, nothing_stored(ORVANE_GPG_VERIFY_FAILED)),
        verify_call("no_file", user_with_key_store, nothing_stored(ORVANE_GPG_FILE_UNREADABLE),
                    {nothing_stored(ORVANE_GPG_NO_CONTEXT)}),
        {
            .function = "gpg_encrypt",
            .way = "text",
            .furnish = user_with_key_store,
            .run = encrypted,
            .answer = "0, a message",
            .failures = {nothing_stored(ORVANE_GPG_NO_CONTEXT),
                         nothing_stored(ORVANE_GPG_TEXT_NOT_TAKEN),
                         nothing_stored(ORVANE_GPG_NO_OUTPUT),
                         nothing_stored(ORVANE_GPG_KEY_MISSING),
                         nothing_stored(ORVANE_GPG_ENCRYPT_FAILED), not_handed_over("some"),
                         not_handed_over("0"), not_handed_over("untouched")},
            .thread_safe = false,
        },
    };
}

// ---- Base64 ----

// What a conversion stored, and how much of it, as its own length says.
template <class Conversion> std::string converted(std::string_view from, Conversion conversion)
{
    constexpr unsigned int no_length = 4711;
    constexpr auto no_bytes = static_cast<unsigned int>(-1);
    std::string to(4 * from.size() + 4, '.');
    unsigned int length = no_length;
    const std::string result = told(conversion(to.data(), &length));
    if (length == no_length)
        return result + ", untouched";
    return result + ", " + (length == no_bytes ? "none" : to.substr(0, length));
}

std::string encoded(std::string_view data)
{
    return converted(data, [data](char *text, unsigned int *length) {
        return base64_encode(data.data(), static_cast<int>(data.size()), text, length);
    });
}

std::string decoded(std::string_view text)
{
    return converted(text, [text](char *data, unsigned int *size) {
        return base64_decode(text.data(), static_cast<int>(text.size()), data, size);
    });
}

std::string to_url(std::string_view text)
{
    return converted(text, [text](char *url, unsigned int *length) {
        return transform_to_url(text.data(), static_cast<unsigned int>(text.size()), url, length);
    });
}

std::string from_url(std::string_view url)
{
    return converted(url, [url](char *text, unsigned int *length) {
        return transform_from_url(url.data(), static_cast<unsigned int>(url.size()), text, length);
    });
}

std::vector<library_call> base64_calls()
{
    return {
        {
            .function = "base64_encode",
            .way = "padded",
            .furnish = nullptr,
            .run = [] { return encoded("machine!"); },
            .answer = "0, bWFjaGluZSE=",
            .failures = {"62, untouched", "0, bWFjaGlu", "0, "},
        },
        {
            .function = "base64_encode",
            .way = "nothing",
            .furnish = nullptr,
            .run = [] { return encoded(""); },
            .answer = "62, untouched",
            .failures = {},
        },
        {
            .function = "base64_decode",
            .way = "padded",
            .furnish = nullptr,
            .run = [] { return decoded("bWFjaGluZSE="); },
            .answer = "0, machine!",
            .failures = {"0, none", "0, "},
        },
        {
            .function = "base64_decode",
            .way = "character",
            .furnish = nullptr,
            .run = [] { return decoded("bWF?"); },
            .answer = "60, untouched",
            .failures = {},
        },
        {
            .function = "transform_to_url",
            .way = "escapes",
            .furnish = nullptr,
            .run = [] { return to_url("a+/="); },
            .answer = "0, a%2B%2F%3D",
            .failures = {},
        },
        {
            .function = "transform_to_url",
            .way = "character",
            .furnish = nullptr,
            .run = [] { return to_url("a?"); },
            .answer = "64, ",
            .failures = {},
        },
        {
            .function = "transform_from_url",
            .way = "escapes",
            .furnish = nullptr,
            .run = [] { return from_url("a%2B%2F%3D"); },
            .answer = "0, a+/=",
            .failures = {},
        },
        {
            .function = "transform_from_url",
            .way = "escape",
            .furnish = nullptr,
            .run = [] { return from_url("a%2b"); },
            .answer = "66, ",
            .failures = {},
        },
    };
}

} // namespace

std::vector<library_call> integrity_calls()
{
    return joined({digest_calls(), signature_calls(), gpg_calls(), built_in_signature_calls(),
                   base64_calls()});
}
