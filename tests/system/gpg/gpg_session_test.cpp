// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What verifying and encrypting have in common: the process and the key store in which gpg runs,
// and how the output of GPGME is stored.
#include "gpg_machine.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <vector>

#include <malloc.h>
#include <sys/mount.h>

namespace {

// A signed file is made first, because it takes gpg.
class gpg_session : public gpg_machine {
protected:
    void furnish() override
    {
        gpg_machine::furnish();
        path = signed_file();
    }

    void expect_to_work()
    {
        EXPECT_EQ(verify(path), stored("hello\n"));
        EXPECT_EQ(decrypted(encrypt("text").text), "text");
    }
    void expect_codes(int of_verify, int of_encrypt) const
    {
        EXPECT_EQ(verify(path), nothing_stored(of_verify));
        EXPECT_EQ(encrypt("text"), nothing_stored(of_encrypt));
    }
    void expect_no_key(const std::string &key_store) const
    {
        ::setenv("GNUPGHOME", key_store.c_str(), 1);
        expect_codes(ORVANE_GPG_KEY_MISSING, ORVANE_GPG_KEY_MISSING);
    }

    // What the program prints where an ordinary user runs it. Its file is root's.
    std::string output_of_caller(mode_t mode)
    {
        // The file systems of a machine do not pass on these rights.
        machine.directory("/srv/programs");
        EXPECT_EQ(::mount("tmpfs", "/srv/programs", "tmpfs", 0, "mode=755"), 0);
        std::filesystem::copy(build_folder() + "/tests/system/secure_caller", "/srv/programs");
        ::chmod("/srv/programs/secure_caller", mode);
        const auto ended = machine.run({"/srv/programs/secure_caller", path}, other_user::nobody);
        ::umount("/srv/programs");
        return ended.output + ended.error;
    }

    std::string path;
};

class gpg_locale : public gpg_session {
protected:
    void TearDown() override
    {
        std::setlocale(LC_ALL, "C");
        gpg_session::TearDown();
    }
};

// Output of GPGME: the sizes of the pieces in which it is read, and then its end or a failure.
struct gpgme_output {
    const char *name;
    std::vector<std::size_t> pieces;
    bool read_fails = false;
    bool rewind_fails = false;
    off_t size = 6;
    std::string text = "hello\n";
};

void replace_output(const gpgme_output &output)
{
    interpose::gpgme_data_seek = [output](gpgme_data_t, off_t offset, int whence) {
        if (whence == SEEK_END)
            return output.size;
        return output.rewind_fails ? off_t{-1} : offset;
    };
    interpose::gpgme_data_read = [output, position = std::size_t{0}, piece = std::size_t{0}](
                                     gpgme_data_t, void *buffer, std::size_t size) mutable {
        if (piece == output.pieces.size())
            return output.read_fails ? ssize_t{-1} : ssize_t{0};
        const std::size_t count = std::min(size, output.pieces[piece++]);
        output.text.copy(static_cast<char *>(buffer), count, position);
        position += count;
        return static_cast<ssize_t>(count);
    };
}

} // namespace

// The process.

TEST_F(gpg_locale, becomes_that_of_the_environment)
{
    ::setenv("LC_ALL", "C.UTF-8", 1);
    const auto locale_after = [](const auto &call) {
        std::setlocale(LC_ALL, "C");
        call();
        return std::string(std::setlocale(LC_ALL, nullptr));
    };
    EXPECT_EQ(locale_after([&] { verify(path); }), "C.UTF-8");
    EXPECT_EQ(locale_after([&] { verify("/srv/missing"); }), "C.UTF-8");
    EXPECT_EQ(locale_after([&] { encrypt("text"); }), "C.UTF-8");
}

TEST_F(gpg_locale, stays_where_the_environment_names_none_that_exists)
{
    ::setenv("LC_ALL", "tlh_QO.UTF-8", 1);
    std::setlocale(LC_ALL, "C.UTF-8");
    expect_to_work();
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
}

TEST_F(gpg_locale, reaches_gpg_as_that_of_characters_alone)
{
    machine.show("/usr/bin", "/opt/tools");
    machine.script("/usr/bin/gpg", "exec /opt/tools/gpg \"$@\"");
    ::setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(verify(path), stored("hello\n"));
    EXPECT_EQ(encrypt("text").code, ORVANE_OK);
    for (const std::string operation : {"--import", "--encrypt"}) {
        std::string words;
        for (const auto &run : machine.runs("/usr/bin/gpg")) {
            if (std::count(run.arguments.begin(), run.arguments.end(), operation) == 0)
                continue;
            words.clear();
            for (const std::string &word : run.arguments)
                words += word + " ";
        }
        // GPGME 1.24 writes "--lc-ctype=C.UTF-8".
        std::replace(words.begin(), words.end(), '=', ' ');
        EXPECT_NE(words.find(" --lc-ctype C.UTF-8 "), std::string::npos) << words;
        EXPECT_EQ(words.find("--lc-messages"), std::string::npos) << words;
    }
}

TEST_F(gpg_session, works_where_children_are_not_waited_for)
{
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(verify(path), stored("hello\n"));
    const gpg_result message = encrypt("text");
    std::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(decrypted(message.text), "text");
}

TEST_F(gpg_session, leaves_the_disposition_of_sigpipe)
{
    using disposition = void (*)(int);
    const disposition handler = [](int) {};
    auto *const before = std::signal(SIGPIPE, SIG_DFL);
    for (const disposition one : {disposition{SIG_DFL}, disposition{SIG_IGN}, handler}) {
        std::signal(SIGPIPE, one);
        expect_to_work();
        EXPECT_EQ(std::signal(SIGPIPE, one), one);
    }
    std::signal(SIGPIPE, before);
}

TEST_F(gpg_session, leaves_a_pending_sigpipe)
{
    sigset_t sigpipe;
    ::sigemptyset(&sigpipe);
    ::sigaddset(&sigpipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
    auto *const before = std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    expect_to_work();
    constexpr timespec no_time = {};
    EXPECT_EQ(::sigtimedwait(&sigpipe, nullptr, &no_time), SIGPIPE);
    std::signal(SIGPIPE, before);
}

// More than a pipe holds.
constexpr std::size_t long_text_size = 1 << 20;

TEST_F(gpg_session, survives_every_gpg_that_ends_before_it_reads)
{
    machine.show("/usr/bin", "/opt/tools");
    machine.script("/usr/bin/gpg", "case $* in *--encrypt*) exit 1 ;; esac\n"
                                   "exec /opt/tools/gpg \"$@\"");
    auto *const before = std::signal(SIGPIPE, SIG_DFL);
    for (const std::size_t size : {std::size_t{1}, long_text_size, long_text_size})
        EXPECT_EQ(encrypt(std::string(size, 'x')), null_stored()) << size;
    std::signal(SIGPIPE, before);
}

TEST_F(gpg_session, ends_with_a_gpg_that_cannot_make_a_key_store)
{
    const texts uncompressed = {"--compress-algo", "none", "--sign"};
    for (const std::size_t size : {std::size_t{1}, long_text_size}) {
        path = signed_file(std::string(size, 'x'), uncompressed);
        ::unsetenv("GNUPGHOME");
        ::setenv("HOME", "/srv/missing", 1);
        EXPECT_EQ(verify(path), nothing_stored(ORVANE_GPG_NO_SIGNATURE)) << size;
    }
}

TEST_F(gpg_session, runs_nothing_with_rights_that_the_user_does_not_have)
{
    for (const char *const tool : {"gpg", "gpgconf"})
        machine.script(std::string("/opt/user/") + tool, "exit 1");
    machine.show(build_folder() + "/stage", "/opt/orvane");
    ::setenv("PATH", ("/opt/user:" + std::string(std::getenv("PATH"))).c_str(), 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    for (const mode_t mode : {04755U, 02755U})
        EXPECT_EQ(output_of_caller(mode), "16 16 C\n");
    for (const char *const tool : {"gpg", "gpgconf"})
        EXPECT_TRUE(machine.runs(std::string("/opt/user/") + tool).empty()) << tool;

    EXPECT_EQ(output_of_caller(0755), "1 14 C.UTF-8\n");
    EXPECT_FALSE(machine.runs("/opt/user/gpgconf").empty());
}

TEST_F(gpg_session, works_with_any_standard_descriptors_closed)
{
    for (const auto &closed : every_set_of_standard_descriptors()) {
        gpg_result file;
        gpg_result message;
        EXPECT_EQ(left_open(closed,
                            [&] {
                                file = verify(path);
                                message = encrypt("text");
                            }),
                  std::vector<int>{});
        EXPECT_EQ(file, stored("hello\n")) << testing::PrintToString(closed);
        EXPECT_EQ(decrypted(message.text), "text") << testing::PrintToString(closed);
    }
}

TEST_F(gpg_session, is_silent)
{
    EXPECT_EQ(standard_error_of([this] {
                  verify(path);
                  verify("/srv/content");
                  encrypt("text");
                  ::setenv("GNUPGHOME", "/srv/missing", 1);
                  encrypt("text");
              }),
              "");
    expect_trace({});
}

// The key store.

TEST_F(gpg_session, has_no_key_where_the_key_store_is_read_only)
{
    use_read_only_key_store();
    expect_no_key("/srv/keys");
}

TEST_F(gpg_session, works_with_a_read_only_key_store_that_has_the_key)
{
    import_for_user(fingerprint());
    use_read_only_key_store();
    expect_to_work();
}

TEST_F(gpg_session, has_no_key_where_there_is_no_key_store)
{
    expect_no_key("/srv/missing");
    expect_no_key("/srv/content"); // a file
}

TEST_F(gpg_session, keeps_the_other_keys_of_the_store)
{
    user.gpg({"--passphrase", "", "--quick-generate-key", "other", "ed25519", "sign"});
    expect_to_work();
    EXPECT_TRUE(user.has("other"));
    EXPECT_TRUE(user.has(fingerprint()));
}

// GPGME.

TEST_F(gpg_session, fails_without_a_context)
{
    interpose::gpgme_new = [](gpgme_ctx_t *) { return gpgme_error_t{GPG_ERR_GENERAL}; };
    expect_codes(ORVANE_GPG_NO_CONTEXT, ORVANE_GPG_NO_CONTEXT);
}

TEST_F(gpg_session, fails_without_an_output)
{
    interpose::gpgme_data_new = [](gpgme_data_t *) { return gpgme_error_t{GPG_ERR_GENERAL}; };
    interpose::gpgme_data_new_from_cbs = [](gpgme_data_t *, gpgme_data_cbs_t, void *) {
        return gpgme_error_t{GPG_ERR_GENERAL};
    };
    expect_codes(ORVANE_GPG_NO_OUTPUT, ORVANE_GPG_NO_OUTPUT);
}

TEST_F(gpg_session, stores_the_output_whole_or_not_at_all)
{
    const struct {
        gpgme_output output;
        gpg_result result;
    } cases[] = {
        {{"whole", {6}}, stored("hello\n")},
        {{"in pieces", {1, 3, 2}}, stored("hello\n")},
        {{"short by a byte", {5}}, null_stored(0)},
        {{"short", {1, 2}}, null_stored(0)},
        {{"empty", {}}, null_stored(0)},
        {{"first read fails", {}, true}, null_stored(6)},
        {{"later read fails", {4}, true}, null_stored(6)},
        {{"last read fails", {6}, true}, null_stored(6)},
        {{"rewind fails", {6}, false, true}, null_stored(6)},
        {{"size unknown", {6}, false, false, -1}, null_stored()},
    };
    for (const auto &[output, result] : cases) {
        for (const gpg_routine routine : {gpg_verify, gpg_encrypt}) {
            const char *const argument = routine == gpg_verify ? path.c_str() : "text";
            replace_output(output);
            EXPECT_EQ(result_of(routine, argument), result) << output.name;

            char untouched = 'u';
            char *text = &untouched;
            replace_output(output);
            EXPECT_EQ(routine(argument, &text, nullptr), ORVANE_OK) << output.name;
            EXPECT_EQ(text == nullptr, result.text == "(null)") << output.name;
            std::free(text);
        }
    }
}

TEST_F(gpg_session, stores_no_content_of_more_than_32_bits_of_size)
{
    replace_output({"", {6}, false, false, (off_t{1} << 32) + 6});
    EXPECT_EQ(verify(path), null_stored());
}

TEST_F(gpg_session, stores_empty_content_but_no_empty_message)
{
    replace_output({"", {}, false, false, 0});
    EXPECT_EQ(verify(path), stored(""));
    EXPECT_EQ(encrypt("text"), null_stored());
}

TEST_F(gpg_session, allocates_a_terminator_for_a_message_alone)
{
    // So many bytes fill the smallest block of the C library; one more takes the next size.
    constexpr std::size_t filling = 3 * sizeof(std::size_t);
    const gpgme_output output = {"", {filling}, false, false, filling, std::string(filling, 'x')};
    char *content = nullptr;
    char *message = nullptr;
    replace_output(output);
    EXPECT_EQ(gpg_verify(path.c_str(), &content, nullptr), ORVANE_OK);
    EXPECT_EQ(::malloc_usable_size(content), filling);
    replace_output(output);
    EXPECT_EQ(gpg_encrypt("text", &message, nullptr), ORVANE_OK);
    EXPECT_GT(::malloc_usable_size(message), filling);
    EXPECT_EQ(owned_text(message).value(), output.text);
    std::free(content);
}
