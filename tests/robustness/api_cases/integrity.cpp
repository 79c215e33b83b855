// SPDX-License-Identifier: LGPL-2.1-or-later
#include "api_case.h"
#include "key_store.h"
#include "orvane.h"
#include "rsa_samples.h"
#include "scratch_file.h"

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

#include <gtest/gtest.h>
#include <openssl/rsa.h>

#include <unistd.h>

namespace {

using running = std::string (*)();

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

std::string reported_verdict(bool is_so)
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
    return reported(check(file, digest));
}

// The cases that the algorithms have in common.
template <auto check, const char *of_abc, const char *of_nothing, const char *other>
api_case_list check_cases(const std::string &f)
{
    const texts zero = {"0"};
    return {
        {f, "right", abc, verdict<check, abc_file, of_abc>, "1", zero},
        {f, "wrong", abc, verdict<check, abc_file, other>, "0"},
        {f, "digest_of_nothing", abc, verdict<check, abc_file, of_nothing>, "0"},
        {f, "directory", abc, verdict<check, directory, of_nothing>, "0"},
        {f, "no_path", nullptr, verdict<check, nullptr, of_nothing>, "0"},
        {f, "no_digest", abc, verdict<check, abc_file, nullptr>, "0"},
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

api_case_list digest_cases()
{
    constexpr char compute[] = "compute_sha256";
    const texts zero = {"0"};
    const texts no_digest = {"false"};
    return with_traits(
        succeeds_without_memory,
        joined({
            check_cases<file_check_sha256, sha256_of_abc, sha256_of_nothing, other_sha256>(
                "file_check_sha256"),
            check_cases<file_check_sha1, sha1_of_abc, sha1_of_nothing, other_sha1>(
                "file_check_sha1"),
            check_cases<file_check_md5, md5_of_abc, md5_of_nothing, other_md5>("file_check_md5"),
            {
                {"file_check_sha256", "two_reads", twenty_kibibytes,
                 verdict<file_check_sha256, long_file, sha256_of_long_file>, "1", zero},
                {compute, "text", nullptr, [] { return digest_of("abc"); }, sha256_of_abc,
                 no_digest},
                {compute, "no_text", nullptr, [] { return digest_of(nullptr); }, "false"},
                {compute, "no_buffer", nullptr,
                 [] { return reported_verdict(compute_sha256("abc", nullptr)); }, "false"},
            },
        }));
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

std::string loaded_key(const char *file)
{
    const std::unique_ptr<RSA, decltype(&RSA_free)> key(load_public_key(file), &RSA_free);
    return key ? reported(RSA_bits(key.get())) + " bits" : "NULL";
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
    return "NULL, " + (size > 0 ? reported(size) + " bytes" : "nothing");
}

template <const char *text, const char *signature> std::string verdict_on()
{
    return reported_verdict(verify_signature(text, signature));
}

constexpr char other_text[] = "Trust this texT.";
constexpr char question_mark[] = "?";
constexpr char empty_text[] = "";

api_case_list signature_cases()
{
    constexpr char verify[] = "verify_signature";
    constexpr char load[] = "load_public_key";
    constexpr char decode[] = "base64_decode_clean";
    constexpr auto good = verdict_on<sample_text, signature_2048>;
    const texts not_verified = {"false"};
    const texts untouched = {"NULL, untouched"};
    // No memory for the text or the bytes, or for the decoder.
    const texts not_decoded = {"NULL, untouched", "NULL, nothing"};
    return joined({
        with_traits(
            keeps_crypto_errors,
            {
                {verify, "good", public_key, good, "true", not_verified},
                {verify, "bad", public_key, verdict_on<other_text, signature_2048>, "false"},
                {verify, "other_key", public_key, verdict_on<sample_text, signature_1024>, "false"},
                {verify, "no_base64", public_key, verdict_on<sample_text, question_mark>, "false"},
                {verify, "empty", public_key, verdict_on<sample_text, empty_text>, "false"},
                {verify, "no_key", nullptr, good, "false"},
                {verify, "broken_key", broken_public_key, good, "false"},
                {verify, "no_text", public_key, verdict_on<nullptr, signature_2048>, "false"},
                {verify, "no_signature", public_key, verdict_on<sample_text, nullptr>, "false"},
                {load, "key", public_key, [] { return loaded_key(public_key_file); }, "2048 bits",
                 or_null},
                {load, "broken", broken_public_key, [] { return loaded_key(public_key_file); },
                 "NULL"},
                {load, "absent", nullptr, [] { return loaded_key(public_key_file); }, "NULL"},
                {load, "null", public_key, [] { return loaded_key(nullptr); }, "NULL"},
            }),
        {
            {decode, "lines", nullptr, [] { return decoded_clean("bWFj\r\naGlu ZSE=\n"); },
             "machine!", not_decoded},
            {decode, "no_base64", nullptr, [] { return decoded_clean("?"); }, "NULL, nothing",
             untouched},
            {decode, "layout", nullptr, [] { return decoded_clean("\r\n \n"); }, "NULL, nothing",
             untouched},
            {decode, "no_text", nullptr, [] { return decoded_clean(nullptr); }, "NULL, untouched"},
            {decode, "no_size", nullptr,
             [] {
                 return reported(reinterpret_cast<char *>(base64_decode_clean("bWFj", nullptr)));
             },
             "NULL"},
        },
    });
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

// The user's store lasts until the next one is made, or the tests of the process end.
std::unique_ptr<const key_store, end_by_maker> users_store;

// The process of a case ends without destructors.
class end_of_tests : public testing::Environment {
    void TearDown() override { users_store.reset(); }
};
[[maybe_unused]] testing::Environment *const at_end_of_tests =
    testing::AddGlobalTestEnvironment(new end_of_tests);

const key_store &new_key_store()
{
    users_store = {new key_store, end_by_maker()};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a machine is furnished before there are threads.
    ::setenv("GNUPGHOME", users_store->path().c_str(), 1);
    return *users_store;
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
    built_in_key_signs(machine, std::string(4097, 'x'), {"--compress-algo", "none", "--sign"});
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

void file_to_be_read_twice(constructed_machine &machine)
{
    file_without_signature(machine);
    make_gpg_verify(machine);
}

void long_file_to_be_read_twice(constructed_machine &machine)
{
    user_with_key_store(machine);
    sign(machine, key_store(), std::string(100000, 'x'), {"--compress-algo", "none", "--store"});
    make_gpg_verify(machine);
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
    return reported(code) + ", untouched bytes: untouched";
}

std::string not_handed_over(const std::string &length)
{
    return reported(ORVANE_OK) + ", " + length + " bytes: NULL";
}

using codes = std::vector<int>;

// What may be reported instead of a code: those of the steps before it.
texts failures_before(int code, const codes &steps)
{
    texts failures;
    std::transform(steps.begin(), std::find(steps.begin(), steps.end(), code),
                   std::back_inserter(failures), nothing_stored);
    return failures;
}

// Where the text was made, but cannot be handed over.
texts or_lost(texts failures, const texts &lengths)
{
    std::transform(lengths.begin(), lengths.end(), std::back_inserter(failures), not_handed_over);
    return failures;
}

// A signature's key is in the key store only if it could be put there.
texts failures_of_verifying(int code)
{
    return failures_before(code, {ORVANE_GPG_NO_CONTEXT, ORVANE_GPG_FILE_UNREADABLE,
                                  ORVANE_GPG_NO_OUTPUT, ORVANE_GPG_VERIFY_FAILED,
                                  ORVANE_GPG_NO_SIGNATURE, ORVANE_GPG_KEY_MISSING});
}

texts failures_of_encrypting(int code)
{
    return failures_before(code,
                           {ORVANE_GPG_NO_CONTEXT, ORVANE_GPG_TEXT_NOT_TAKEN, ORVANE_GPG_NO_OUTPUT,
                            ORVANE_GPG_KEY_MISSING, ORVANE_GPG_ENCRYPT_FAILED});
}

api_case verify_case(const std::string &name, void (*furnish)(constructed_machine &), int code,
                     running run = verified)
{
    return {"gpg_verify", name, furnish, run, nothing_stored(code), failures_of_verifying(code)};
}

api_case encrypt_case(const std::string &name, void (*furnish)(constructed_machine &), int code,
                      running run = encrypted)
{
    return {"gpg_encrypt", name, furnish, run, nothing_stored(code), failures_of_encrypting(code)};
}

constexpr unsigned whatever_gpg_uses = tools | path | root | file_growth;

bool has_private_key()
{
    return std::filesystem::exists(PRIVATE_SIGNING_KEY);
}

// What needs the private half of the built-in key.
api_case_list built_in_key_cases()
{
    if (!has_private_key()) {
        std::fputs("No case verifies what the built-in key signed: the private half of it is not "
                   "there.\n",
                   stderr);
        return {};
    }
    constexpr char f[] = "gpg_verify";
    constexpr running verify = verified;
    const texts refused = failures_of_verifying(ORVANE_OK);
    const texts lost = or_lost(refused, {"6", "0", "untouched"});
    const texts lost_nothing = or_lost(refused, {"0", "untouched"});
    return {
        {f, "good", signed_file, with_new_keyring<verify>, "0, 6 bytes: hello\n", lost, 0,
         whatever_gpg_uses},
        {f, "without_standard_descriptors", signed_file, without_descriptors<verify, 0, 1, 2>,
         "0, 6 bytes: hello\n", lost},
        {f, "empty", signed_empty_file, verified, "0, 0 bytes: ", lost_nothing},
        {f, "long", signed_long_file, verified, not_handed_over("untouched"), refused},
        verify_case("no_content_wanted", signed_file, ORVANE_OK,
                    [] { return nothing_stored(gpg_verify(signed_path, nullptr, nullptr)); }),
        verify_case("altered", altered_file, ORVANE_GPG_SIGNATURE_RED),
        verify_case("expired", expired_signature, ORVANE_GPG_SIGNATURE_INVALID),
        verify_case("two_signers", file_of_two_signers, ORVANE_GPG_OTHER_SIGNER),
    };
}

api_case_list gpg_cases()
{
    constexpr char f[] = "gpg_encrypt";
    constexpr running encrypt = encrypted;
    const texts lost = or_lost(failures_of_encrypting(ORVANE_OK), {"some", "0", "untouched"});
    return with_traits(
        single_thread | changes_locale,
        joined({
            built_in_key_cases(),
            {
                verify_case("unknown_signer", file_of_unknown_signer, ORVANE_GPG_KEY_MISSING),
                verify_case("no_signature", file_without_signature, ORVANE_GPG_NO_SIGNATURE),
                verify_case("read_twice", file_to_be_read_twice, ORVANE_GPG_NO_SIGNATURE),
                verify_case("long_read_twice", long_file_to_be_read_twice, ORVANE_GPG_NO_SIGNATURE),
                // Where gpg is ended before it reports anything, GPGME reports neither failure nor
                // signature.
                {"gpg_verify", "no_openpgp", file_of_another_kind, verified,
                 nothing_stored(ORVANE_GPG_VERIFY_FAILED),
                 failures_of_verifying(ORVANE_GPG_KEY_MISSING)},
                verify_case("no_file", user_with_key_store, ORVANE_GPG_FILE_UNREADABLE),
                {f, "text", user_with_key_store, with_new_keyring<encrypt>, "0, a message", lost, 0,
                 whatever_gpg_uses},
                {f, "long", user_with_key_store,
                 [] { return encrypted(std::string(5000, 'x').c_str()); }, "0, a message", lost},
                {f, "without_standard_descriptors", user_with_key_store,
                 without_descriptors<encrypt, 0, 1, 2>, "0, a message", lost},
                encrypt_case(
                    "no_message_wanted", user_with_key_store, ORVANE_OK,
                    [] { return nothing_stored(gpg_encrypt("hello\n", nullptr, nullptr)); }),
                encrypt_case("no_text", user_with_key_store, ORVANE_GPG_TEXT_NOT_TAKEN,
                             [] { return encrypted(nullptr); }),
                encrypt_case("closed_key_store", user_with_closed_key_store,
                             ORVANE_GPG_KEY_MISSING),
                // A clock that cannot be read is not too early.
                {f, "clock_too_early", user_with_closed_key_store,
                 encrypted_at_the_beginning_of_time, nothing_stored(ORVANE_GPG_CLOCK_TOO_EARLY),
                 failures_of_encrypting(ORVANE_GPG_ENCRYPT_FAILED)},
            },
            has_private_key() ? api_case_list{encrypt_case("expired_key", user_with_expired_key,
                                                           ORVANE_GPG_ENCRYPT_FAILED)}
                              : api_case_list{},
        }));
}

// ---- Base64 ----

// The text that a conversion stored, of the length that it reported. The buffer has just the
// documented size, so that a sanitizer notices what is written past it.
template <class Conversion> std::string converted(std::size_t size, Conversion conversion)
{
    constexpr unsigned int no_length = 4711;
    constexpr auto no_bytes = static_cast<unsigned int>(-1);
    const auto to = std::make_unique<char[]>(size);
    unsigned int length = no_length;
    const std::string result = reported(conversion(to.get(), &length));
    if (length == no_length)
        return result + ", untouched";
    if (length == no_bytes)
        return result + ", none";
    if (length > size)
        return result + ", " + std::to_string(length) + " in a buffer of " + std::to_string(size);
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

// Conversions of nothing, which are refused alike.
template <auto convert> api_case_list refusals_of(const std::string &f, orvane_result code)
{
    constexpr std::size_t size = 13;
    const std::string answer = reported(code) + ", untouched";
    return {
        {f, "nothing", nullptr,
         [] {
             return converted(size, [](char *to, unsigned int *length) {
                 return convert("bWFj", 0, to, length);
             });
         },
         answer},
        {f, "null", nullptr,
         [] {
             return converted(size, [](char *to, unsigned int *length) {
                 return convert(nullptr, 4, to, length);
             });
         },
         answer},
        {f, "no_buffer", nullptr,
         [] {
             return converted(0, [](char *, unsigned int *length) {
                 return convert("bWFj", 4, nullptr, length);
             });
         },
         answer},
        {f, "no_length", nullptr,
         [] {
             return converted(
                 size, [](char *to, unsigned int *) { return convert("bWFj", 4, to, nullptr); });
         },
         answer},
    };
}

template <auto convert> std::string converted_to_negative_length()
{
    return converted(
        0, [](char *to, unsigned int *length) { return convert("bWFj", -1, to, length); });
}

api_case_list conversion_cases()
{
    constexpr char encode[] = "base64_encode";
    constexpr char decode[] = "base64_decode";
    constexpr char escape[] = "transform_to_url";
    constexpr char unescape[] = "transform_from_url";
    // Nothing, or a part of the text, where libcrypto cannot write the rest.
    const texts not_encoded = {"62, untouched", "0, bWFjaGlu", "0, "};
    const texts not_decoded = {"0, none"};
    return joined({
        {
            {encode, "padded", nullptr, [] { return encoded("machine!"); },
             "0, bWFjaGluZSE=", not_encoded},
            {encode, "negative", nullptr, converted_to_negative_length<base64_encode>, "0, "},
            {decode, "padded", nullptr, [] { return decoded("bWFjaGluZSE="); }, "0, machine!",
             not_decoded},
            {decode, "part", nullptr,
             [] { return decoded(std::string_view("bWFjaGluZSE=").substr(0, 8)); }, "0, machin",
             not_decoded},
            {decode, "longer_than_the_text", nullptr,
             [] { return decoded(std::string_view("bWFj", 5)); }, "0, mac", not_decoded},
            {decode, "negative", nullptr, converted_to_negative_length<base64_decode>, "0, ",
             not_decoded},
            {decode, "length", nullptr, [] { return decoded("bWF"); }, "59, untouched"},
            {decode, "character", nullptr, [] { return decoded("bWF?"); }, "60, untouched"},
            {decode, "padding", nullptr, [] { return decoded("bW=F"); }, "61, untouched"},
        },
        refusals_of<base64_encode>(encode, ORVANE_BASE64_NOTHING_TO_ENCODE),
        refusals_of<base64_decode>(decode, ORVANE_BASE64_NOTHING_TO_DECODE),
        with_traits(
            succeeds_without_memory,
            joined({
                {
                    {escape, "escapes", nullptr, [] { return to_url("+/="); }, "0, %2B%2F%3D"},
                    {escape, "character", nullptr, [] { return to_url("a?"); }, "64, "},
                    {unescape, "escapes", nullptr, [] { return from_url("a%2B%2F%3D"); },
                     "0, a+/="},
                    {unescape, "end_in_escape", nullptr,
                     [] { return from_url(std::string_view("a%2B%2F").substr(0, 2)); }, "0, a+"},
                    {unescape, "character", nullptr, [] { return from_url("a?"); }, "64, "},
                    {unescape, "escape", nullptr, [] { return from_url("a%2b"); }, "66, "},
                },
                refusals_of<transform_to_url>(escape, ORVANE_TO_URL_NOTHING),
                refusals_of<transform_from_url>(unescape, ORVANE_FROM_URL_NOTHING),
            })),
    });
}

} // namespace

api_case_list integrity_cases()
{
    return joined({digest_cases(), signature_cases(), gpg_cases(), conversion_cases()});
}
