// SPDX-License-Identifier: LGPL-2.1-or-later
#include "gpg_machine.h"
#include "sanitizers.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class gpg_verification : public gpg_machine {};

// A file that is refused, and the reason.
struct refused_file : named_case {
    std::string (*make)(gpg_machine &);
    int code;
};

class gpg_refusal : public gpg_verification, public testing::WithParamInterface<refused_file> {};

std::string file_with(gpg_machine &on, std::string_view content)
{
    on.machine.file("/srv/file", content);
    return "/srv/file";
}

std::string signed_uncompressed(gpg_machine &on)
{
    return on.machine.content(on.signed_file("hello\n", {"--compress-algo", "none", "--sign"}));
}

// Written by gpg with the key "other", which the user does or does not know.
std::string by_known_other(gpg_machine &on, const texts &options)
{
    on.make_other_key();
    on.import_for_user("other");
    return on.written_by_gpg("hello\n", options);
}

std::string by_unknown_other(gpg_machine &on, const texts &options)
{
    on.make_other_key();
    return on.written_by_gpg("hello\n", options);
}

// More than a pipe holds.
std::string large_content()
{
    return std::string(100000, 'x');
}

// To which the signers alone have the private half.
texts to_builtin_key(gpg_machine &on)
{
    return {"--trust-model", "always", "--compress-algo", "none", "-r", on.fingerprint()};
}

const refused_file refused_files[] = {
    {{"an_unknown_signer"},
     [](gpg_machine &on) {
         return by_unknown_other(on, {"-u", "other", "--sign"});
     },
     ORVANE_GPG_KEY_MISSING},
    {{"another_signer"},
     [](gpg_machine &on) {
         return by_known_other(on, {"-u", "other", "--sign"});
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"another_signer_of_clear_text"},
     [](gpg_machine &on) {
         return by_known_other(on, {"-u", "other", "--clearsign"});
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"another_second_signer"},
     [](gpg_machine &on) {
         return by_known_other(on, {"-u", on.fingerprint(), "-u", "other", "--sign"});
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"another_first_signer"},
     [](gpg_machine &on) {
         return by_known_other(on, {"-u", "other", "-u", on.fingerprint(), "--sign"});
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"an_unknown_second_signer"},
     [](gpg_machine &on) {
         return by_unknown_other(on, {"-u", on.fingerprint(), "-u", "other", "--sign"});
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"an_unknown_first_signer"},
     [](gpg_machine &on) {
         return by_unknown_other(on, {"-u", "other", "-u", on.fingerprint(), "--sign"});
     },
     ORVANE_GPG_KEY_MISSING},
    {{"altered_content"},
     [](gpg_machine &on) {
         std::string content = signed_uncompressed(on);
         content[content.find("hello")] = 'j';
         return file_with(on, content);
     },
     ORVANE_GPG_SIGNATURE_RED},
    {{"altered_clear_text"},
     [](gpg_machine &on) {
         std::string content = on.machine.content(on.signed_file("hello\n", {"--clearsign"}));
         content[content.find("hello")] = 'j';
         return file_with(on, content);
     },
     ORVANE_GPG_SIGNATURE_RED},
    {{"an_altered_signature"},
     [](gpg_machine &on) {
         std::string content = signed_uncompressed(on);
         content.back() = static_cast<char>(content.back() ^ 1);
         return file_with(on, content);
     },
     ORVANE_GPG_SIGNATURE_RED},
    {{"a_detached_signature"},
     [](gpg_machine &on) { return on.signed_file("hello\n", {"--detach-sign"}); },
     ORVANE_GPG_SIGNATURE_RED},
    {{"an_armoured_detached_signature"},
     [](gpg_machine &on) {
         return on.signed_file("hello\n", {"--armor", "--detach-sign"});
     },
     ORVANE_GPG_SIGNATURE_RED},
    {{"a_detached_signature_of_another_signer"},
     [](gpg_machine &on) {
         return by_known_other(on, {"-u", "other", "--detach-sign"});
     },
     ORVANE_GPG_SIGNATURE_RED},
    {{"a_detached_signature_of_an_unknown_signer"},
     [](gpg_machine &on) {
         return by_unknown_other(on, {"-u", "other", "--detach-sign"});
     },
     ORVANE_GPG_KEY_MISSING},
    {{"a_detached_signature_of_another_signer_before_a_signed_file"},
     [](gpg_machine &on) {
         const std::string detached =
             on.machine.content(by_known_other(on, {"-u", "other", "--detach-sign"}));
         return file_with(on, detached + on.machine.content(on.signed_file()));
     },
     ORVANE_GPG_OTHER_SIGNER},
    {{"a_truncated_signature"},
     [](gpg_machine &on) {
         const std::string content = signed_uncompressed(on);
         return file_with(on, content.substr(0, content.size() - 1));
     },
     ORVANE_GPG_VERIFY_FAILED},
    {{"another_content_behind_the_signed_one"},
     [](gpg_machine &on) {
         const std::string first = signed_uncompressed(on);
         const texts uncompressed = {"--compress-algo", "none", "--store"};
         return file_with(on, first + on.machine.content(on.written_by_gpg("more", uncompressed)));
     },
     ORVANE_GPG_VERIFY_FAILED},
    {{"an_expired_signature"},
     [](gpg_machine &on) {
         const std::string path =
             on.signed_file("hello\n", {"--default-sig-expire", "1d", "--sign"});
         on.user.set_clock("20370101T000000");
         return path;
     },
     ORVANE_GPG_SIGNATURE_INVALID},
    {{"an_expired_key"},
     [](gpg_machine &on) {
         const std::string path = on.signed_file();
         on.signers().gpg({"--quick-set-expire", on.fingerprint(), "1d"});
         on.import_for_user(on.fingerprint());
         on.user.set_clock("20370101T000000");
         return path;
     },
     ORVANE_GPG_SIGNATURE_INVALID},
    {{"an_unsigned_file"},
     [](gpg_machine &on) { return on.written_by_gpg("hello\n", {"--store"}); },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_large_unsigned_file"},
     [](gpg_machine &on) {
         return on.written_by_gpg(large_content(), {"--compress-algo", "none", "--store"});
     },
     ORVANE_GPG_NO_SIGNATURE},
    {{"an_unsigned_empty_file"},
     [](gpg_machine &on) { return on.written_by_gpg("", {"--store"}); },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_public_key"},
     [](gpg_machine &on) {
         on.signers().gpg({"--output", "/srv/key", "--export", on.fingerprint()});
         return std::string("/srv/key");
     },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_file_encrypted_to_another"},
     [](gpg_machine &on) {
         return on.written_by_gpg("hello\n", texts{"--encrypt"} + to_builtin_key(on));
     },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_large_file_encrypted_to_another"},
     [](gpg_machine &on) {
         return on.written_by_gpg(large_content(), texts{"--encrypt"} + to_builtin_key(on));
     },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_signed_file_encrypted_to_another"},
     [](gpg_machine &on) {
         return on.signed_file("hello\n", texts{"--sign", "--encrypt"} + to_builtin_key(on));
     },
     ORVANE_GPG_NO_SIGNATURE},
    {{"a_truncated_encrypted_file"},
     [](gpg_machine &on) {
         const std::string content = on.machine.content(
             on.written_by_gpg("hello\n", texts{"--encrypt"} + to_builtin_key(on)));
         return file_with(on, content.substr(0, content.size() / 2));
     },
     ORVANE_GPG_VERIFY_FAILED},
    {{"plain_text"},
     [](gpg_machine &on) { return file_with(on, "hello\n"); },
     ORVANE_GPG_VERIFY_FAILED},
    {{"an_empty_file"},
     [](gpg_machine &on) { return file_with(on, ""); },
     ORVANE_GPG_VERIFY_FAILED},
    {{"a_missing_file"},
     [](gpg_machine &) -> std::string { return "/srv/missing"; },
     ORVANE_GPG_FILE_UNREADABLE},
    {{"a_directory"},
     [](gpg_machine &) -> std::string { return "/srv"; },
     ORVANE_GPG_FILE_UNREADABLE},
    {{"a_fifo_without_a_writer"},
     [](gpg_machine &on) -> std::string {
         on.machine.directory("/srv/pipes");
         EXPECT_EQ(::mkfifo("/srv/pipes/fifo", 0600), 0);
         return "/srv/pipes/fifo";
     },
     ORVANE_GPG_FILE_UNREADABLE},
};

std::string lower_case(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    return text;
}

// A signature as GPGME reports it.
struct reported_signature {
    std::optional<std::string> signer;
    unsigned int summary = 0;
    unsigned int status = 0;
};

struct report {
    const char *name;
    std::vector<reported_signature> signatures;
    int code;
};

// What gpg_verify returns for a signed file where GPGME reports these signatures instead.
int code_for(const std::string &path, const std::vector<reported_signature> &reported)
{
    std::vector<_gpgme_signature> signatures(reported.size());
    for (std::size_t at = 0; at < reported.size(); ++at) {
        const auto &signer = reported[at].signer;
        signatures[at].fpr = signer ? const_cast<char *>(signer->c_str()) : nullptr;
        signatures[at].summary = static_cast<gpgme_sigsum_t>(reported[at].summary);
        signatures[at].status = reported[at].status;
        signatures[at].next = at + 1 < reported.size() ? &signatures[at + 1] : nullptr;
    }
    _gpgme_op_verify_result result = {};
    result.signatures = signatures.empty() ? nullptr : signatures.data();
    interpose::gpgme_op_verify_result = [&result](gpgme_ctx_t) { return &result; };
    const gpg_result verified = verify(path);
    interpose::gpgme_op_verify_result.reset();
    EXPECT_EQ(verified, verified.code == 0 ? stored("hello\n") : nothing_stored(verified.code));
    return verified.code;
}

} // namespace

TEST_F(gpg_verification, accepts_every_form_of_a_file_that_the_built_in_key_signed)
{
    const texts forms[] = {
        {"--sign"},
        {"--armor", "--sign"},
        {"--compress-algo", "none", "--sign"},
        {"--compress-algo", "zip", "--sign"},
        {"--compress-algo", "zlib", "--sign"},
        {"--compress-algo", "bzip2", "--sign"},
        {"--clearsign"},
        {"--textmode", "--sign"},
    };
    for (const texts &form : forms)
        EXPECT_EQ(verify(signed_file("hello\n", form)), stored("hello\n"))
            << form.at(1 % form.size());
}

TEST_F(gpg_verification, imports_the_built_in_key)
{
    const std::string path = signed_file();
    EXPECT_FALSE(user.has(fingerprint()));
    EXPECT_EQ(verify(path), stored("hello\n"));
    EXPECT_TRUE(user.has(fingerprint()));
    EXPECT_EQ(verify(path), stored("hello\n"));
}

TEST_F(gpg_verification, accepts_an_expired_signature_of_a_trusted_key)
{
    import_for_user(fingerprint());
    machine.file("/srv/trust", fingerprint() + ":6:\n");
    user.gpg({"--import-ownertrust", "/srv/trust"});
    EXPECT_EQ(verify(signed_file()), stored("hello\n"));
    const std::string path = signed_file("hello\n", {"--default-sig-expire", "1d", "--sign"});
    user.set_clock("20370101T000000");
    EXPECT_EQ(verify(path), stored("hello\n"));
}

TEST_F(gpg_verification, accepts_two_signatures_of_the_built_in_key)
{
    // One-pass packet, content, signature: the first and the last once more around them.
    const std::string once = signed_uncompressed(*this);
    const std::size_t content_end = 15U + 2U + static_cast<unsigned char>(once.at(16));
    const std::string not_the_last = once.substr(0, 14) + std::string(1, '\0');
    EXPECT_EQ(verify(file_with(*this, not_the_last + once + once.substr(content_end))),
              stored("hello\n"));
}

TEST_F(gpg_verification, accepts_a_detached_signature_of_nothing)
{
    EXPECT_EQ(verify(signed_file("", {"--detach-sign"})), stored(""));
}

TEST_F(gpg_verification, judges_what_is_in_a_file_however_gpg_is_run)
{
    user.gpg({"--passphrase", "", "--quick-generate-key", "reader", "rsa2048", "sign,cert,encr"});
    user.gpg({"--output", "/srv/reader", "--export", "reader"});
    signers().gpg({"--import", "/srv/reader"});
    make_other_key();
    import_for_user("other");
    const texts to_reader = {"--trust-model", "always",   "--compress-algo", "none", "-r",
                             "reader",        "--encrypt"};
    for (const bool verifies : {false, true}) {
        if (verifies)
            make_gpg_verify(machine);
        EXPECT_EQ(verify(signed_file("hello\n", to_reader + texts{"--sign"})), stored("hello\n"));
        EXPECT_EQ(verify(signed_file(large_content(), to_reader + texts{"--sign"})), null_stored());
        EXPECT_EQ(verify(written_by_gpg("hello\n", to_reader + texts{"-u", "other", "--sign"})),
                  nothing_stored(ORVANE_GPG_OTHER_SIGNER));
        EXPECT_EQ(verify(written_by_gpg("hello\n", to_reader)),
                  nothing_stored(ORVANE_GPG_NO_SIGNATURE));
        EXPECT_EQ(verify(written_by_gpg(large_content(), to_reader)),
                  nothing_stored(ORVANE_GPG_NO_SIGNATURE));
        EXPECT_EQ(verify(written_by_gpg("hello\n", {"--store"})),
                  nothing_stored(ORVANE_GPG_NO_SIGNATURE));
    }
}

// The content.

TEST_F(gpg_verification, stores_content_of_at_most_4096_bytes)
{
    std::string every_byte;
    for (int byte = 0; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    for (const std::string &content :
         {std::string(), std::string("x"), every_byte + "\r\n\n\r" + every_byte,
          std::string(4094, 'x') + "y", std::string(4095, 'x') + "y"})
        EXPECT_EQ(verify(signed_file(content)), stored(content)) << content.size();
    for (const std::size_t size : {4097U, 1048576U})
        EXPECT_EQ(verify(signed_file(std::string(size, 'x'))), null_stored()) << size;
}

TEST_F(gpg_verification, keeps_no_more_of_the_content_than_it_stores)
{
    constexpr std::uintmax_t megabyte = 1 << 20;
    machine.file("/srv/zeros", "");
    std::filesystem::resize_file("/srv/zeros", 100 * megabyte);
    signers().gpg({"-u", fingerprint(), "--sign", "/srv/zeros"});
    EXPECT_LT(std::filesystem::file_size("/srv/zeros.gpg"), megabyte);
    const auto most_kilobytes = [] {
        rusage usage = {};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    EXPECT_EQ(verify(signed_file()), stored("hello\n"));
    const long before = most_kilobytes();
    EXPECT_EQ(verify("/srv/zeros.gpg"), null_stored());
    EXPECT_LT(most_kilobytes() - before, 32 * 1024);
}

// A 32-bit size would be that of the signed file alone, which stands at the start.
TEST_F(gpg_verification, takes_no_part_of_a_file_for_the_whole)
{
    if (has_address_sanitizer() || has_thread_sanitizer())
        GTEST_SKIP() << "a sanitizer ends the process where so much memory is requested";
    const std::string path = signed_file();
    const auto size = static_cast<off_t>(std::filesystem::file_size(path));
    ASSERT_EQ(::truncate(path.c_str(), (off_t{1} << 46U) + size), 0);
    EXPECT_EQ(verify(path), nothing_stored(ORVANE_GPG_FILE_UNREADABLE));
}

TEST_F(gpg_verification, waits_for_a_lease_on_the_file)
{
    const std::string path = signed_file();
    static int leased = -1;
    leased = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    auto *const before = std::signal(SIGIO, [](int) { ::fcntl(leased, F_SETLEASE, F_UNLCK); });
    EXPECT_EQ(::fcntl(leased, F_SETLEASE, F_WRLCK), 0);
    EXPECT_EQ(verify(path), stored("hello\n"));
    EXPECT_EQ(::fcntl(leased, F_GETLEASE), F_UNLCK);
    std::signal(SIGIO, before);
    ::close(leased);
}

TEST_F(gpg_verification, stores_only_what_is_wanted)
{
    const std::string path = signed_file();
    EXPECT_EQ(gpg_verify(path.c_str(), nullptr, nullptr), ORVANE_OK);
    unsigned int length = gpg_result::length_before;
    EXPECT_EQ(gpg_verify(path.c_str(), nullptr, &length), ORVANE_OK);
    EXPECT_EQ(length, gpg_result::length_before);
    char *content = nullptr;
    EXPECT_EQ(gpg_verify(path.c_str(), &content, nullptr), ORVANE_OK);
    ASSERT_NE(content, nullptr);
    EXPECT_EQ(std::string(content, 6), "hello\n");
    std::free(content);

    char untouched = 'u';
    content = &untouched;
    EXPECT_EQ(gpg_verify(signed_file(std::string(4097, 'x')).c_str(), &content, nullptr),
              ORVANE_OK);
    EXPECT_EQ(content, nullptr);
}

// What is refused.

TEST_P(gpg_refusal, has_a_code_and_stores_nothing)
{
    const std::string path = GetParam().make(*this);
    EXPECT_EQ(verify(path), nothing_stored(GetParam().code));
    EXPECT_EQ(gpg_verify(path.c_str(), nullptr, nullptr), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(of, gpg_refusal, testing::ValuesIn(refused_files));

TEST_F(gpg_verification, refuses_a_null_path)
{
    EXPECT_EQ(result_of(gpg_verify, nullptr), nothing_stored(ORVANE_GPG_FILE_UNREADABLE));
}

TEST_F(gpg_verification, reads_with_the_rights_of_the_caller)
{
    const std::string path = signed_file();
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    const other_user caller;
    EXPECT_EQ(verify(path), nothing_stored(ORVANE_GPG_FILE_UNREADABLE));
}

TEST_F(gpg_verification, judges_the_first_signature_and_then_every_signer)
{
    enum : unsigned int {
        valid = GPGME_SIGSUM_VALID,
        green = GPGME_SIGSUM_GREEN,
        red = GPGME_SIGSUM_RED,
        missing = GPGME_SIGSUM_KEY_MISSING,
        revoked = GPGME_SIGSUM_KEY_REVOKED,
        conflict = GPGME_SIGSUM_TOFU_CONFLICT,
        // Codes of errors, below the number of their source.
        bad = GPG_ERR_BAD_SIGNATURE,
        no_key = GPG_ERR_NO_PUBKEY,
        gpgme = static_cast<unsigned int>(GPG_ERR_SOURCE_GPGME) << 24U,
    };
    const std::string key = fingerprint();
    const std::string id = key.substr(24);
    const std::string other = "0123456789ABCDEF0123456789ABCDEF01234567";
    const report reports[] = {
        {"nothing", {}, ORVANE_GPG_NO_SIGNATURE},
        // Good, however bad the rest is.
        {"no error", {{key}}, ORVANE_OK},
        {"no error of a source", {{key, 0, gpgme}}, ORVANE_OK},
        {"no error below a foreign bit", {{key, 0, 0x10000}}, ORVANE_OK},
        {"no error but bits", {{key, red | missing, 0}}, ORVANE_OK},
        {"valid", {{key, valid, bad}}, ORVANE_OK},
        {"green", {{key, green, bad}}, ORVANE_OK},
        {"valid and bits", {{key, valid | red | missing, bad}}, ORVANE_OK},
        {"green and bits", {{key, green | red | missing, bad}}, ORVANE_OK},
        // Otherwise the first reason of these.
        {"missing", {{key, missing, no_key}}, ORVANE_GPG_KEY_MISSING},
        {"missing, red and bad", {{key, missing | red, bad}}, ORVANE_GPG_KEY_MISSING},
        {"red", {{key, red, no_key}}, ORVANE_GPG_SIGNATURE_RED},
        {"red, bad and bits", {{key, red | revoked, bad}}, ORVANE_GPG_SIGNATURE_RED},
        {"bad", {{key, 0, bad}}, ORVANE_GPG_SIGNATURE_BAD},
        {"bad of a source", {{key, 0, gpgme | bad}}, ORVANE_GPG_SIGNATURE_BAD},
        {"bad below a foreign bit", {{key, 0, 0x10000 | bad}}, ORVANE_GPG_SIGNATURE_BAD},
        {"bad and bits", {{key, revoked | conflict, bad}}, ORVANE_GPG_SIGNATURE_BAD},
        {"another error", {{key, 0, no_key}}, ORVANE_GPG_SIGNATURE_INVALID},
        {"a code with the bits of bad", {{key, 0, 0x100 | bad}}, ORVANE_GPG_SIGNATURE_INVALID},
        {"a system error", {{key, 0, 0x8000 | bad}}, ORVANE_GPG_SIGNATURE_INVALID},
        {"revoked", {{key, revoked, GPG_ERR_CERT_REVOKED}}, ORVANE_GPG_SIGNATURE_INVALID},
        {"an unnamed bit", {{key, 8, no_key}}, ORVANE_GPG_SIGNATURE_INVALID},
        // The first signature alone.
        {"a red second signature", {{key}, {key, red, bad}}, ORVANE_OK},
        {"a red first signature", {{key, red, bad}, {key, valid}}, ORVANE_GPG_SIGNATURE_RED},
        {"a red signature of another", {{other, red, bad}}, ORVANE_GPG_SIGNATURE_RED},
        // The signer.
        {"the long key ID", {{id}}, ORVANE_OK},
        {"the fingerprint and the ID", {{key}, {id}, {key}}, ORVANE_OK},
        {"the fingerprint in lower case", {{lower_case(key)}}, ORVANE_GPG_OTHER_SIGNER},
        {"the short key ID", {{key.substr(32)}}, ORVANE_GPG_OTHER_SIGNER},
        {"the start of the fingerprint", {{key.substr(0, 39)}}, ORVANE_GPG_OTHER_SIGNER},
        {"the end of the fingerprint", {{key.substr(1)}}, ORVANE_GPG_OTHER_SIGNER},
        {"more than the fingerprint", {{key + "0"}}, ORVANE_GPG_OTHER_SIGNER},
        {"more than the ID", {{id + "0"}}, ORVANE_GPG_OTHER_SIGNER},
        {"an empty fingerprint", {{""}}, ORVANE_GPG_OTHER_SIGNER},
        {"no fingerprint", {{std::nullopt}}, ORVANE_GPG_OTHER_SIGNER},
        {"another first of two", {{other}, {key}}, ORVANE_GPG_OTHER_SIGNER},
        {"another second of three", {{key}, {other}, {key}}, ORVANE_GPG_OTHER_SIGNER},
        {"another third of three", {{key}, {key}, {other}}, ORVANE_GPG_OTHER_SIGNER},
    };
    const std::string path = signed_file();
    for (const report &one : reports)
        EXPECT_EQ(code_for(path, one.signatures), one.code) << one.name;
    // An ID of digits alone has no lower case.
    EXPECT_EQ(code_for(path, {{lower_case(id)}}),
              lower_case(id) == id ? ORVANE_OK : ORVANE_GPG_OTHER_SIGNER);
}

TEST_F(gpg_verification, finds_no_signature_without_a_result)
{
    interpose::gpgme_op_verify_result = [](gpgme_ctx_t) { return nullptr; };
    EXPECT_EQ(verify(signed_file()), nothing_stored(ORVANE_GPG_NO_SIGNATURE));
}

// Where gpg has refused the file as it is.
TEST_F(gpg_verification, fails_without_the_memory_for_a_second_run)
{
    const std::string path = written_by_gpg("hello\n", {"--store"});
    make_gpg_verify(machine);
    for (const gpgme_error_t error :
         {gpgme_error_from_errno(ENOMEM), gpgme_error(GPG_ERR_GENERAL)}) {
        interpose::gpgme_op_decrypt_verify = [error](gpgme_ctx_t, gpgme_data_t, gpgme_data_t) {
            return error;
        };
        EXPECT_EQ(verify(path), nothing_stored(ORVANE_GPG_VERIFY_FAILED)) << gpgme_strerror(error);
    }
    interpose::gpgme_op_decrypt_verify.reset();
    int outputs = 0;
    interpose::gpgme_data_new_from_cbs = [&outputs](gpgme_data_t *data, gpgme_data_cbs_t callbacks,
                                                    void *handle) {
        return ++outputs == 2 ? gpgme_error_from_errno(ENOMEM)
                              : interpose::gpgme_data_new_from_cbs.real(data, callbacks, handle);
    };
    EXPECT_EQ(verify(path), nothing_stored(ORVANE_GPG_NO_OUTPUT));
    EXPECT_EQ(outputs, 2);
}
