// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"
#include "call_lists.h"
#include "call_makers.h"
#include "key_store.h"
#include "orvane.h"
#include "rsa_samples.h"
#include "scratch_file.h"
#include "without_descriptors.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <openssl/rsa.h>
#include <unistd.h>

namespace {

// For as long as a call asks for it.
std::atomic<bool> &is_clock_at_its_beginning()
{
    static constinit std::atomic<bool> is_there = false;
    return is_there;
}

} // namespace

// The definition that the library's calls find first. Its C++ name differs from the system's, whose
// declaration says more than needs repeating here.
extern "C" __attribute__((visibility("default"))) std::time_t
answered_time(std::time_t *now) __asm__("time");

extern "C" std::time_t answered_time(std::time_t *now)
{
    timespec clock = {};
    if (!is_clock_at_its_beginning())
        ::clock_gettime(CLOCK_REALTIME_COARSE, &clock);
    if (now != nullptr)
        *now = clock.tv_sec;
    return clock.tv_sec;
}

namespace {

std::string told_verdict(bool is_so)
{
    return is_so ? "true" : "false";
}

// ---- Digests ----

constexpr char abc_file[] = "/srv/calls/abc";
constexpr char long_file[] = "/srv/calls/long";
constexpr char directory[] = "/srv/calls";

constexpr char sha256_of_abc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr char sha256_of_nothing[] =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr char sha256_of_long_file[] =
    "9f7c43699b2162d78b1bd59765ff87b1f8d50836451d244478cfa4a6dc5d73f9";
constexpr char sha1_of_abc[] = "a9993e364706816aba3e25717850c26c9cd0d89d";
constexpr char sha1_of_nothing[] = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
constexpr char md5_of_abc[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr char md5_of_nothing[] = "d41d8cd98f00b204e9800998ecf8427e";

// The last digit is another than the file's.
constexpr char other_sha256[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ae";
constexpr char other_sha1[] = "a9993e364706816aba3e25717850c26c9cd0d89e";
constexpr char other_md5[] = "900150983cd24fb0d6963f7d28e17f73";

void abc(constructed_machine &machine)
{
    machine.file(abc_file, "abc");
}

// More than one read takes.
void twenty_kibibytes(constructed_machine &machine)
{
    machine.file(long_file, std::string(20480, 'x'));
}

template <auto check, const char *file, const char *digest> std::string verdict()
{
    return told(check(file, digest));
}

// The ways that the algorithms have in common.
template <auto check, const char *of_abc, const char *of_nothing, const char *other>
std::vector<library_call> checks(const std::string &function)
{
    return {
        call_for(function, "right", abc, verdict<check, abc_file, of_abc>, "1", {"0"}),
        call_for(function, "wrong", abc, verdict<check, abc_file, other>, "0"),
        call_for(function, "digest_of_nothing", abc, verdict<check, abc_file, of_nothing>, "0"),
        call_for(function, "absent", nullptr, verdict<check, abc_file, of_abc>, "0"),
        call_for(function, "directory", abc, verdict<check, directory, of_nothing>, "0"),
        call_for(function, "no_path", nullptr, verdict<check, nullptr, of_nothing>, "0"),
        call_for(function, "no_digest", abc, verdict<check, abc_file, nullptr>, "0"),
    };
}

std::string digest_of(const char *text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    unsigned char digest[32] = {};
    if (!compute_sha256(text, digest))
        return "false";
    std::string hex;
    for (const unsigned char byte : digest)
        hex += {digits[byte >> 4U], digits[byte & 0xFU]};
    return hex;
}

std::vector<library_call> digest_calls()
{
    return joined({
        checks<file_check_sha256, sha256_of_abc, sha256_of_nothing, other_sha256>(
            "file_check_sha256"),
        checks<file_check_sha1, sha1_of_abc, sha1_of_nothing, other_sha1>("file_check_sha1"),
        checks<file_check_md5, md5_of_abc, md5_of_nothing, other_md5>("file_check_md5"),
        {
            call_for("file_check_sha256", "right_in_two_reads", twenty_kibibytes,
                     verdict<file_check_sha256, long_file, sha256_of_long_file>, "1", {"0"}),
            call_for("compute_sha256", "text", nullptr, [] { return digest_of("abc"); },
                     sha256_of_abc, {"false"}),
            call_for(
                "compute_sha256", "no_text", nullptr, [] { return digest_of(nullptr); }, "false"),
            call_for(
                "compute_sha256", "no_room", nullptr,
                [] { return told_verdict(compute_sha256("abc", nullptr)); }, "false"),
        },
    });
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

// As `openssl rsa -pubout` labels it.
void public_key_of_another_form(constructed_machine &machine)
{
    machine.file(public_key_file, "-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n");
}

std::string loaded_key(const char *file)
{
    const std::unique_ptr<RSA, decltype(&RSA_free)> key(load_public_key(file), &RSA_free);
    return key ? told(RSA_bits(key.get())) + " bits" : "NULL";
}

std::string loaded_key()
{
    return loaded_key(public_key_file);
}

std::string decoded_clean(const char *text)
{
    constexpr int untouched = 4711;
    int size = untouched;
    const std::unique_ptr<unsigned char, decltype(&std::free)> bytes(
        base64_decode_clean(text, &size), &std::free);
    if (bytes)
        return {reinterpret_cast<const char *>(bytes.get()), static_cast<std::size_t>(size)};
    if (size == untouched)
        return "NULL, untouched";
    return "NULL, " + (size > 0 ? told(size) + " bytes" : "nothing");
}

std::string verdict_on(const char *text, const char *signature)
{
    return told_verdict(verify_signature(text, signature));
}

std::vector<library_call> verification_calls()
{
    constexpr char function[] = "verify_signature";
    const running good = [] { return verdict_on(sample_text, signature_2048); };
    return {
        call_for(function, "good", public_key, good, "true", {"false"}),
        call_for(
            function, "bad", public_key,
            [] { return verdict_on("Trust this texT.", signature_2048); }, "false"),
        call_for(
            function, "of_another_key", public_key,
            [] { return verdict_on(sample_text, signature_1024); }, "false"),
        call_for(
            function, "no_base64", public_key, [] { return verdict_on(sample_text, "?"); },
            "false"),
        call_for(
            function, "empty", public_key, [] { return verdict_on(sample_text, ""); }, "false"),
        call_for(function, "no_key", nullptr, good, "false"),
        call_for(function, "broken_key", broken_public_key, good, "false"),
        call_for(
            function, "no_text", public_key, [] { return verdict_on(nullptr, signature_2048); },
            "false"),
        call_for(
            function, "no_signature", public_key, [] { return verdict_on(sample_text, nullptr); },
            "false"),
    };
}

std::vector<library_call> tolerant_decoding_calls()
{
    constexpr char function[] = "base64_decode_clean";
    return {
        // No memory for the text or the bytes, or for the decoder.
        call_for(function, "lines", nullptr, [] { return decoded_clean("bWFj\r\naGlu ZSE=\n"); },
                 "machine!", {"NULL, untouched", "NULL, nothing"}),
        call_for(function, "no_base64", nullptr, [] { return decoded_clean("?"); }, "NULL, nothing",
                 {"NULL, untouched"}),
        call_for(function, "layout", nullptr, [] { return decoded_clean("\r\n \n"); },
                 "NULL, nothing", {"NULL, untouched"}),
        call_for(
            function, "no_text", nullptr, [] { return decoded_clean(nullptr); }, "NULL, untouched"),
        call_for(
            function, "no_size", nullptr,
            [] { return told(reinterpret_cast<char *>(base64_decode_clean("bWFj", nullptr))); },
            "NULL"),
    };
}

std::vector<library_call> public_key_calls()
{
    constexpr char function[] = "load_public_key";
    return {
        call_for(function, "key", public_key, loaded_key, "2048 bits", {"NULL"}),
        call_for(function, "broken", broken_public_key, loaded_key, "NULL"),
        call_for(function, "another_form", public_key_of_another_form, loaded_key, "NULL"),
        call_for(function, "absent", nullptr, loaded_key, "NULL"),
        call_for(
            function, "no_path", public_key, [] { return loaded_key(nullptr); }, "NULL"),
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

// A store of the user's that has not seen any key.
const key_store &store_of_user(constructed_machine &machine)
{
    make_scratch_directory(machine);
    return new_key_store();
}

void user_with_key_store(constructed_machine &machine)
{
    store_of_user(machine);
}

// One that is there and stays as it is.
void user_with_closed_key_store(constructed_machine &machine)
{
    make_scratch_directory(machine);
    machine.file_system("/srv/keys", "mode=700");
    machine.read_only("/srv/keys");
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a machine is furnished before there are threads.
    ::setenv("GNUPGHOME", "/srv/keys", 1);
}

// What somebody else's store may have: a key that is not the built-in one, and the private half of
// that one.
void make_another_key(const key_store &signers)
{
    signers.gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
}

void take_built_in_key(const key_store &signers)
{
    signers.gpg({"--import", PRIVATE_SIGNING_KEY});
}

// As gpg reads it from the key itself.
std::string built_in_fingerprint(const key_store &signers)
{
    const std::string listed =
        signers.gpg({"--no-autostart", "--with-colons", "--show-keys", PRIVATE_SIGNING_KEY});
    constexpr std::string_view label = "\nfpr:::::::::";
    constexpr std::size_t digits = 40;
    const std::size_t found = listed.find(label);
    if (found == std::string::npos)
        throw std::runtime_error("no fingerprint in: " + listed);
    return listed.substr(found + label.size(), digits);
}

void introduce(const key_store &signers, const key_store &user, const std::string &key)
{
    constexpr char file[] = "/srv/calls/public_key";
    signers.gpg({"--output", file, "--export", key});
    user.gpg({"--import", file});
}

// Makes a file of this content as the options say.
void sign(constructed_machine &machine, const key_store &signers, const std::string &content,
          const texts &options)
{
    machine.file("/srv/calls/content", content);
    signers.gpg(options + texts{"--output", signed_path, "/srv/calls/content"});
}

void built_in_key_signs(constructed_machine &machine, const std::string &content,
                        const texts &options)
{
    const key_store signers;
    take_built_in_key(signers);
    sign(machine, signers, content, options);
}

void signed_file(constructed_machine &machine)
{
    user_with_key_store(machine);
    built_in_key_signs(machine, "hello\n", {"--sign"});
}

void signed_empty_file(constructed_machine &machine)
{
    user_with_key_store(machine);
    built_in_key_signs(machine, "", {"--sign"});
}

void signed_long_file(constructed_machine &machine)
{
    user_with_key_store(machine);
    built_in_key_signs(machine, std::string(4097, 'x'), {"--sign"});
}

void altered_file(constructed_machine &machine)
{
    user_with_key_store(machine);
    built_in_key_signs(machine, "hello\n", {"--clearsign"});
    std::string altered = constructed_machine::content(signed_path);
    altered.replace(altered.find("hello"), 5, "hullo");
    machine.file(signed_path, altered);
}

constexpr char time_long_after[] = "20990101T000000";

void expired_signature(constructed_machine &machine)
{
    const key_store &user = store_of_user(machine);
    built_in_key_signs(machine, "hello\n", {"--default-sig-expire", "1d", "--sign"});
    user.set_clock(time_long_after);
}

// The user knows both signers.
void file_of_two_signers(constructed_machine &machine)
{
    const key_store &user = store_of_user(machine);
    const key_store signers;
    take_built_in_key(signers);
    make_another_key(signers);
    introduce(signers, user, "other");
    sign(machine, signers, "hello\n",
         {"-u", built_in_fingerprint(signers), "-u", "other", "--sign"});
}

// The user knows the signer.
void file_of_another_signer(constructed_machine &machine)
{
    const key_store &user = store_of_user(machine);
    const key_store signers;
    make_another_key(signers);
    introduce(signers, user, "other");
    sign(machine, signers, "hello\n", {"--sign"});
}

void file_of_unknown_signer(constructed_machine &machine)
{
    user_with_key_store(machine);
    const key_store signers;
    make_another_key(signers);
    sign(machine, signers, "hello\n", {"--sign"});
}

void file_without_signature(constructed_machine &machine)
{
    user_with_key_store(machine);
    sign(machine, key_store(), "hello\n", {"--store"});
}

void file_of_another_kind(constructed_machine &machine)
{
    user_with_key_store(machine);
    machine.file(signed_path, "no signature\n");
}

void user_with_expired_key(constructed_machine &machine)
{
    const key_store &user = store_of_user(machine);
    const key_store signers;
    take_built_in_key(signers);
    const std::string key = built_in_fingerprint(signers);
    signers.gpg({"--quick-set-expire", key, "1d"});
    introduce(signers, user, key);
    user.set_clock(time_long_after);
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

std::string verified(const char *path)
{
    const handed_over one(
        [path](char **content, unsigned int *length) { return gpg_verify(path, content, length); });
    return one.result() + ", " + one.length() + " bytes: " + one.text();
}

std::string verified()
{
    return verified(signed_path);
}

// The message itself is another each time.
std::string encrypted(const char *text)
{
    const handed_over one([text](char **message, unsigned int *length) {
        return gpg_encrypt(text, message, length);
    });
    if (one.text().starts_with("-----BEGIN PGP MESSAGE-----\n") &&
        one.text().ends_with("\n-----END PGP MESSAGE-----\n"))
        return one.result() + ", a message";
    const bool has_size = one.length() != "0" && one.length() != "untouched";
    return one.result() + ", " + (has_size ? "some" : one.length()) + " bytes: " + one.text();
}

std::string encrypted()
{
    return encrypted("hello\n");
}

std::string encrypted_at_the_beginning_of_time()
{
    struct early_clock {
        early_clock() { is_clock_at_its_beginning() = true; }
        early_clock(const early_clock &) = delete;
        early_clock &operator=(const early_clock &) = delete;
        ~early_clock() { is_clock_at_its_beginning() = false; }
    };
    const early_clock here;
    return encrypted();
}

// The key store has not seen the built-in key, however often the call was made before.
template <auto call> std::string with_new_keyring()
{
    std::error_code ignored;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): these calls are for one thread at a time.
    const std::filesystem::path store = std::getenv("GNUPGHOME");
    std::filesystem::remove(store / "pubring.kbx", ignored);
    return call();
}

std::string nothing_stored(int code)
{
    return told(code) + ", untouched bytes: untouched";
}

std::string not_handed_over(const std::string &length)
{
    return told(ORVANE_OK) + ", " + length + " bytes: NULL";
}

using codes = std::vector<int>;

// What may be told instead of a code: those of the steps before it.
std::vector<std::string> failures_before(int code, const codes &steps)
{
    std::vector<std::string> failures;
    std::transform(steps.begin(), std::find(steps.begin(), steps.end(), code),
                   std::back_inserter(failures), nothing_stored);
    return failures;
}

// Where the text was made, but cannot be handed over.
std::vector<std::string> or_lost(std::vector<std::string> failures,
                                 const std::vector<std::string> &lengths)
{
    std::transform(lengths.begin(), lengths.end(), std::back_inserter(failures), not_handed_over);
    return failures;
}

// A signature's key is in the key store only if it could be put there.
std::vector<std::string> failures_of_verifying(int code)
{
    return failures_before(code, {ORVANE_GPG_NO_CONTEXT, ORVANE_GPG_FILE_UNREADABLE,
                                  ORVANE_GPG_NO_OUTPUT, ORVANE_GPG_VERIFY_FAILED,
                                  ORVANE_GPG_NO_SIGNATURE, ORVANE_GPG_KEY_MISSING});
}

std::vector<std::string> failures_of_encrypting(int code)
{
    return failures_before(code,
                           {ORVANE_GPG_NO_CONTEXT, ORVANE_GPG_TEXT_NOT_TAKEN, ORVANE_GPG_NO_OUTPUT,
                            ORVANE_GPG_KEY_MISSING, ORVANE_GPG_ENCRYPT_FAILED});
}

library_call gpg_call(const std::string &function, const std::string &way, furnishing furnish,
                      running run, const std::string &answer,
                      const std::vector<std::string> &failures)
{
    return not_for_threads(call_for(function, way, furnish, run, answer, failures));
}

library_call verify_call(const std::string &way, furnishing furnish, const std::string &answer,
                         const std::vector<std::string> &failures, running run = verified)
{
    return gpg_call("gpg_verify", way, furnish, run, answer, failures);
}

library_call verify_code_call(const std::string &way, furnishing furnish, int code,
                              running run = verified)
{
    return verify_call(way, furnish, nothing_stored(code), failures_of_verifying(code), run);
}

library_call encrypt_call(const std::string &way, furnishing furnish, const std::string &answer,
                          const std::vector<std::string> &failures, running run = encrypted)
{
    return gpg_call("gpg_encrypt", way, furnish, run, answer, failures);
}

library_call encrypt_code_call(const std::string &way, furnishing furnish, int code,
                               running run = encrypted)
{
    return encrypt_call(way, furnish, nothing_stored(code), failures_of_encrypting(code), run);
}

// Calls for what only the private half of the built-in key makes.
std::vector<library_call> built_in_key_calls()
{
    if (!std::filesystem::exists(PRIVATE_SIGNING_KEY)) {
        std::fputs("No call verifies what the built-in key signed: nobody here has the private "
                   "half of it.\n",
                   stderr);
        return {};
    }
    const std::vector<std::string> refused = failures_of_verifying(ORVANE_OK);
    const std::vector<std::string> lost = or_lost(refused, {"6", "0", "untouched"});
    return {
        verify_call("good", signed_file, "0, 6 bytes: hello\n", lost,
                    with_new_keyring<static_cast<running>(verified)>),
        verify_call("without_standard_descriptors", signed_file, "0, 6 bytes: hello\n", lost,
                    without_descriptors<static_cast<running>(verified), 0, 1, 2>),
        verify_call("empty", signed_empty_file,
                    "0, 0 bytes: ", or_lost(refused, {"0", "untouched"})),
        verify_call("long", signed_long_file, not_handed_over("untouched"), refused),
        verify_code_call("no_content_wanted", signed_file, ORVANE_OK,
                         [] { return nothing_stored(gpg_verify(signed_path, nullptr, nullptr)); }),
        verify_code_call("altered", altered_file, ORVANE_GPG_SIGNATURE_RED),
        verify_code_call("expired", expired_signature, ORVANE_GPG_SIGNATURE_INVALID),
        verify_code_call("two_signers", file_of_two_signers, ORVANE_GPG_OTHER_SIGNER),
        encrypt_code_call("expired_key", user_with_expired_key, ORVANE_GPG_ENCRYPT_FAILED),
    };
}

std::vector<library_call> gpg_calls()
{
    const std::vector<std::string> refused = failures_of_encrypting(ORVANE_OK);
    const std::vector<std::string> lost = or_lost(refused, {"some", "0", "untouched"});
    return {
        verify_code_call("other_signer", file_of_another_signer, ORVANE_GPG_OTHER_SIGNER),
        verify_code_call("unknown_signer", file_of_unknown_signer, ORVANE_GPG_KEY_MISSING),
        verify_code_call("no_signature", file_without_signature, ORVANE_GPG_NO_SIGNATURE),
        // Of a gpg that was ended before it said a word, GPGME tells no failure and no signature.
        verify_call("no_openpgp", file_of_another_kind, nothing_stored(ORVANE_GPG_VERIFY_FAILED),
                    failures_of_verifying(ORVANE_GPG_KEY_MISSING)),
        verify_code_call("no_file", user_with_key_store, ORVANE_GPG_FILE_UNREADABLE),
        verify_code_call("no_path", user_with_key_store, ORVANE_GPG_FILE_UNREADABLE,
                         [] { return verified(nullptr); }),
        encrypt_call("text", user_with_key_store, "0, a message", lost,
                     with_new_keyring<static_cast<running>(encrypted)>),
        encrypt_call("without_standard_descriptors", user_with_key_store, "0, a message", lost,
                     without_descriptors<static_cast<running>(encrypted), 0, 1, 2>),
        encrypt_code_call("no_message_wanted", user_with_key_store, ORVANE_OK,
                          [] { return nothing_stored(gpg_encrypt("hello\n", nullptr, nullptr)); }),
        encrypt_code_call("no_text", user_with_key_store, ORVANE_GPG_TEXT_NOT_TAKEN,
                          [] { return encrypted(nullptr); }),
        encrypt_code_call("closed_key_store", user_with_closed_key_store, ORVANE_GPG_KEY_MISSING),
        // A clock that cannot be read is not too early.
        encrypt_call("clock_too_early", user_with_closed_key_store,
                     nothing_stored(ORVANE_GPG_CLOCK_TOO_EARLY),
                     failures_of_encrypting(ORVANE_GPG_ENCRYPT_FAILED),
                     encrypted_at_the_beginning_of_time),
    };
}

// ---- Base64 ----

// What a conversion stored in as much room as it is promised, and how much of it, as its own length
// says. The room has just this size, so that a sanitizer sees what is written behind it.
template <class Conversion> std::string converted(std::size_t room, Conversion conversion)
{
    constexpr unsigned int no_length = 4711;
    constexpr auto no_bytes = static_cast<unsigned int>(-1);
    const auto to = std::make_unique<char[]>(room);
    unsigned int length = no_length;
    const std::string result = told(conversion(to.get(), &length));
    if (length == no_length)
        return result + ", untouched";
    if (length == no_bytes)
        return result + ", none";
    if (length > room)
        return result + ", " + std::to_string(length) + " in room for " + std::to_string(room);
    return result + ", " + std::string(to.get(), length);
}

std::string encoded(std::string_view data)
{
    return converted((data.size() + 2) / 3 * 4, [data](char *text, unsigned int *length) {
        return base64_encode(data.data(), static_cast<int>(data.size()), text, length);
    });
}

std::string decoded(std::string_view text)
{
    return converted(text.size(), [text](char *data, unsigned int *size) {
        return base64_decode(text.data(), static_cast<int>(text.size()), data, size);
    });
}

std::string to_url(std::string_view text)
{
    return converted(3 * text.size() + 1, [text](char *url, unsigned int *length) {
        return transform_to_url(text.data(), static_cast<unsigned int>(text.size()), url, length);
    });
}

// The first characters of a text that may go on.
std::string from_url(std::string_view url)
{
    return converted(url.size() + 1, [url](char *text, unsigned int *length) {
        return transform_from_url(url.data(), static_cast<unsigned int>(url.size()), text, length);
    });
}

// The ways to convert nothing, which are refused alike.
template <auto convert>
std::vector<library_call> refusals_of(const std::string &function, orvane_result code)
{
    constexpr std::size_t room = 13;
    const auto call_with = [&](const std::string &way, running run) {
        return bare_call(function, way, run, told(code) + ", untouched");
    };
    return {
        call_with("nothing",
                  [] {
                      return converted(room, [](char *to, unsigned int *length) {
                          return convert("bWFj", 0, to, length);
                      });
                  }),
        call_with("no_text",
                  [] {
                      return converted(room, [](char *to, unsigned int *length) {
                          return convert(nullptr, 4, to, length);
                      });
                  }),
        call_with("no_room",
                  [] {
                      return converted(0, [](char *, unsigned int *length) {
                          return convert("bWFj", 4, nullptr, length);
                      });
                  }),
        call_with("no_length",
                  [] {
                      return converted(room, [](char *to, unsigned int *) {
                          return convert("bWFj", 4, to, nullptr);
                      });
                  }),
    };
}

template <auto convert> std::string converted_to_negative_length()
{
    return converted(
        0, [](char *to, unsigned int *length) { return convert("bWFj", -1, to, length); });
}

std::vector<library_call> base64_calls()
{
    return {
        // Nothing, or a part of the text, where libcrypto cannot write the rest.
        bare_call("base64_encode", "padded", [] { return encoded("machine!"); },
                  "0, bWFjaGluZSE=", {"62, untouched", "0, bWFjaGlu", "0, "}),
        bare_call("base64_encode", "negative", converted_to_negative_length<base64_encode>, "0, "),
        bare_call("base64_decode", "padded", [] { return decoded("bWFjaGluZSE="); }, "0, machine!",
                  {"0, none"}),
        bare_call("base64_decode", "part",
                  [] { return decoded(std::string_view("bWFjaGluZSE=").substr(0, 8)); },
                  "0, machin", {"0, none"}),
        bare_call("base64_decode", "negative", converted_to_negative_length<base64_decode>, "0, ",
                  {"0, none"}),
        bare_call(
            "base64_decode", "length", [] { return decoded("bWF"); }, "59, untouched"),
        bare_call(
            "base64_decode", "character", [] { return decoded("bWF?"); }, "60, untouched"),
        bare_call(
            "base64_decode", "padding", [] { return decoded("bW=F"); }, "61, untouched"),
    };
}

std::vector<library_call> url_calls()
{
    return {
        bare_call(
            "transform_to_url", "escapes", [] { return to_url("+/="); }, "0, %2B%2F%3D"),
        bare_call(
            "transform_to_url", "percent", [] { return to_url("a%"); }, "0, a%"),
        bare_call(
            "transform_to_url", "character", [] { return to_url("a?"); }, "64, "),
        bare_call(
            "transform_from_url", "escapes", [] { return from_url("a%2B%2F%3D"); }, "0, a+/="),
        bare_call(
            "transform_from_url", "cut_escape",
            [] { return from_url(std::string_view("a%2B%2F").substr(0, 2)); }, "0, a+"),
        bare_call(
            "transform_from_url", "character", [] { return from_url("a?"); }, "64, "),
        bare_call(
            "transform_from_url", "escape", [] { return from_url("a%2b"); }, "66, "),
        bare_call(
            "transform_from_url", "short_escape", [] { return from_url("a%2"); }, "66, "),
    };
}

std::vector<library_call> conversion_calls()
{
    return joined({
        base64_calls(),
        url_calls(),
        refusals_of<base64_encode>("base64_encode", ORVANE_BASE64_NOTHING_TO_ENCODE),
        refusals_of<base64_decode>("base64_decode", ORVANE_BASE64_NOTHING_TO_DECODE),
        refusals_of<transform_to_url>("transform_to_url", ORVANE_TO_URL_NOTHING),
        refusals_of<transform_from_url>("transform_from_url", ORVANE_FROM_URL_NOTHING),
    });
}

} // namespace

std::vector<library_call> integrity_calls()
{
    return joined({digest_calls(), verification_calls(), tolerant_decoding_calls(),
                   public_key_calls(), gpg_calls(), built_in_key_calls(), conversion_calls()});
}
