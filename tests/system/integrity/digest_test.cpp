// SPDX-License-Identifier: LGPL-2.1-or-later
#include "base64_samples.h"
#include "built_locale.h"
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

// Digests of contents: the examples that the algorithms were published with, and sizes around those
// of blocks and buffers.

namespace {

struct content : named_case {
    std::string piece; // repeated to the size
    std::size_t size;
    const char *sha256; // none where the example is of MD5 alone
    const char *sha1;
    const char *md5;
};

const std::string alphabet_line = "abcdefghijklmnopqrstuvwxyz\n";

const content contents[] = {
    {"no_byte", "", 0, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
     "da39a3ee5e6b4b0d3255bfef95601890afd80709", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "a", 1, "ca978112ca1bbdcafac231b39a23dc4da786eff8147c4e72b9807785afee48bb",
     "86f7e437faa5a7fce15d1ddcb9eaeaea377667b8", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "abc", 3, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "a9993e364706816aba3e25717850c26c9cd0d89d", "900150983cd24fb0d6963f7d28e17f72"},
    {"448_bits", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 56,
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
     "84983e441c3bd26ebaae4aa1f95129e5e54670f1", "8215ef0796a20bcaaae116d3876c664a"},
    {"896_bits",
     "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
     "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
     112, "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
     "a49b2446a02c645bf419f995b67091253a04a259", "03dd8807a93175fb062dfb55dc7d359c"},
    {"a_million_times_a", "a", 1000000,
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
     "34aa973cd4c4daa4f61eeb2bdbad27316534016f", "7707d6ae4e027c70eea2a935c2296f21"},
    {"every_byte", every_byte, 256,
     "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880",
     "4916d6bdb7f78e6803698cab32d1586ea457dfc8", "e2c865db4162bed963bfaa9ef6ac18f0"},
    {"1023_bytes", alphabet_line, 1023,
     "5b30bd74307c6241955bc875b6bec5b2cf75121b4fc5d35191e70970d8153914",
     "9fe88e2fc1d72ece0880e836a48edea07b1f2d8f", "f84a4e28868b76315ec206129a523645"},
    {"1024_bytes", alphabet_line, 1024,
     "33a58289b6debe7c88f7b3309a5d76c4ab8ec2aa23441162df0069cca9f1e1e1",
     "36334112449b833ba86bf412e22f8a28e722c33e", "0f183537265971477d53ad8c4b9e915a"},
    {"1025_bytes", alphabet_line, 1025,
     "3976438612b1516a8348a56da99ed193196eb5542c0be712dcb5a6d22df13e26",
     "363714c761502607ee435f47bfa8f55dcd97033b", "5c8b94403e19f83b27ff46dc0279b41d"},
    {"16383_bytes", alphabet_line, 16383,
     "c2a64d6b6b39a7adbd3f4b3186669128a3a0c6379b33c176df4b85ab75fd04fa",
     "c0e31545d47741c6f37488c22ed194a41789be35", "9cf08d0f5b499f4eb487f86e6e358a7d"},
    {"16384_bytes", alphabet_line, 16384,
     "e89f1f8b340e7d4566266c40158162510c53b0085afb76b45581995e0b7ebd52",
     "3a6b2a61141f58907fbb962f16db91fd2bbbf474", "08b77fa59276f21a0015fa2406705896"},
    {"16385_bytes", alphabet_line, 16385,
     "92310df49a722b6e175096d046423eb6a266d0a571f8d56847f3dc9b8c06dcc8",
     "bd4883073da545ef800234834cb40ea0325eb218", "4f37e1573050effd805de1944ed410ea"},
    {"32768_bytes", alphabet_line, 32768,
     "d6d5db863dd0b13131d110efc59de333a5af27816f8673630b5d442910855029",
     "984c78c7d0f7dc0ac89d0e254358285aeb918243", "80988dcd349270442cd7c0c3cd204fc3"},
    {"1048577_bytes", alphabet_line, 1048577,
     "056b702285c3f895cbc06709c4e9e4ef7adfd134ac2338ace33d96afa0347bc1",
     "97587895536a31da1ad1db047c21ea0fc042efa5", "a824d93a8545629fd2f569a57f70e70d"},
    {"a_phrase", "message digest", 14, nullptr, nullptr, "f96b697d7cb7938d525a2f31aaf161d0"},
    {"the_alphabet", "abcdefghijklmnopqrstuvwxyz", 26, nullptr, nullptr,
     "c3fcd3d76192e4007dfb496cca67e13b"},
    {"letters_and_digits", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", 62,
     nullptr, nullptr, "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"digits", "1234567890", 80, nullptr, nullptr, "57edf4a22be3c955ac49da2e2107b67a"},
};

class digest_of_content : public on_machine, public testing::WithParamInterface<content> {};

} // namespace

TEST_P(digest_of_content, is_its_sha256_sha1_and_md5)
{
    const std::string path = machine.scratch("content");
    std::string bytes = repeated(
        GetParam().piece, GetParam().size / std::max<std::size_t>(GetParam().piece.size(), 1) + 1);
    bytes.resize(GetParam().size);
    machine.file(path, bytes);
    if (GetParam().sha256 != nullptr) {
        EXPECT_EQ(file_check_sha256(path.c_str(), GetParam().sha256), 1);
        EXPECT_EQ(file_check_sha1(path.c_str(), GetParam().sha1), 1);
    }
    EXPECT_EQ(file_check_md5(path.c_str(), GetParam().md5), 1);
}

INSTANTIATE_TEST_SUITE_P(of, digest_of_content, testing::ValuesIn(contents));

// The expected text and the file.

namespace {

// One of the three checks, with the digests of a file with "abc" and of an empty file.
struct digest_check : named_case {
    int (*check)(const char *path, const char *expected);
    std::string of_abc;
    std::string of_nothing;
};

const digest_check digest_checks[] = {
    {"sha256", file_check_sha256,
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"sha1", file_check_sha1, "a9993e364706816aba3e25717850c26c9cd0d89d",
     "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {"md5", file_check_md5, "900150983cd24fb0d6963f7d28e17f72", "d41d8cd98f00b204e9800998ecf8427e"},
};

std::string capitals_of(std::string text)
{
    for (char &c : text)
        c = static_cast<char>(std::toupper(c));
    return text;
}

class digest : public on_machine, public testing::WithParamInterface<digest_check> {
protected:
    void furnish() override
    {
        path = machine.scratch("file");
        machine.file(path, "abc");
    }

    [[nodiscard]] static int check(const std::string &path, const std::string &expected)
    {
        return GetParam().check(path.c_str(), expected.c_str());
    }
    [[nodiscard]] int check(const std::string &expected) const { return check(path, expected); }

    const std::string of_abc = GetParam().of_abc;
    const std::string of_nothing = GetParam().of_nothing;
    std::string path;
};

} // namespace

TEST_P(digest, is_compared_with_the_first_digits_alone)
{
    EXPECT_EQ(check(of_abc), 1);
    EXPECT_EQ(check(of_abc + "0"), 1);
    EXPECT_EQ(check(of_abc + "  file.txt\n"), 1);
    EXPECT_EQ(check(of_abc + "\xff"), 1);
    EXPECT_EQ(check(of_abc + std::string(5000, 'A')), 1);
}

TEST_P(digest, does_not_match_other_texts)
{
    const std::size_t last_letter = of_abc.find_last_of("abcdef");
    const std::string expectations[] = {
        "",
        of_abc.substr(0, 1),
        of_abc.substr(0, of_abc.size() / 2),
        of_abc.substr(0, of_abc.size() - 1),
        " " + of_abc,
        of_nothing,
        capitals_of(of_abc),
        of_abc.substr(0, last_letter) + capitals_of(of_abc.substr(last_letter)),
    };
    for (const std::string &expected : expectations)
        EXPECT_EQ(check(expected), 0) << expected;
    for (const digest_check &other : digest_checks) {
        if (other.of_abc != of_abc) {
            EXPECT_EQ(check(other.of_abc), 0) << other;
        }
    }
}

TEST_P(digest, does_not_match_where_any_digit_differs)
{
    for (std::size_t place = 0; place < of_abc.size(); ++place) {
        std::string other = of_abc;
        other[place] = other[place] == '0' ? '1' : '0';
        EXPECT_EQ(check(other), 0) << other;
    }
}

// To open a pipe that nobody writes would be to wait for ever.
TEST_P(digest, opens_no_file_without_an_expected_text)
{
    const std::string pipe = machine.scratch("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ::alarm(5);
    EXPECT_EQ(GetParam().check(pipe.c_str(), nullptr), 0);
    EXPECT_EQ(GetParam().check(nullptr, nullptr), 0);
    ::alarm(0);
}

// The C library's character classes choose the digits that are lowered: here a, b and c count as
// capitals, and d, e and f only have another lower-case form.
TEST_P(digest, has_capitals_lowered_as_in_the_locale_of_the_caller)
{
    const built_locale locale(machine, "odd",
                              "upper <U0061>;<U0062>;<U0063>\n"
                              "tolower (<U0061>,<U0075>);(<U0062>,<U0076>);(<U0063>,<U0077>);"
                              "(<U0064>,<U0078>);(<U0065>,<U0079>);(<U0066>,<U007A>)\n");
    std::string lowered = of_abc;
    std::replace(lowered.begin(), lowered.end(), 'a', 'u');
    std::replace(lowered.begin(), lowered.end(), 'b', 'v');
    std::replace(lowered.begin(), lowered.end(), 'c', 'w');
    EXPECT_EQ(check(lowered), 1);
    EXPECT_EQ(check(of_abc), 0);
}

TEST_P(digest, is_computed_on_every_call)
{
    EXPECT_EQ(check(of_abc), 1);
    machine.file(path, "");
    EXPECT_EQ(check(of_abc), 0);
    EXPECT_EQ(check(of_nothing), 1);
}

TEST_P(digest, is_of_a_file_with_any_name_of_a_link_and_of_a_device)
{
    const std::string name = machine.scratch("%s \n$(x)\xff");
    machine.file(name, "abc");
    EXPECT_EQ(check(name, of_abc), 1);
    machine.link(machine.scratch("link"), "file");
    EXPECT_EQ(check(machine.scratch("link"), of_abc), 1);
    EXPECT_EQ(check("/dev/null", of_nothing), 1);
}

// A session leader without a terminal would get a stranger's, and SIGHUP when that is closed.
TEST_P(digest, of_a_terminal_does_not_make_it_the_controlling_one)
{
    machine.directory("/dev/pts");
    ASSERT_EQ(::mount("devpts", "/dev/pts", "devpts", 0, "ptmxmode=600"), 0);
    const int terminal = ::open("/dev/pts/ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(::unlockpt(terminal), 0);
    const std::string slave = ::ptsname(terminal);
    const int other_end = ::open(slave.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(::write(terminal, "\x04", 1), 1); // the end of its input
    const pid_t leader = ::fork();
    if (leader == 0) {
        const bool is_read = ::setsid() > 0 && check(slave, of_nothing) == 1;
        ::_exit(is_read && ::tcgetsid(other_end) < 0 ? 0 : 1);
    }
    int status = 0;
    ::waitpid(leader, &status, 0);
    EXPECT_EQ(status, 0);
    ::close(other_end);
    ::close(terminal);
    ::umount("/dev/pts");
}

namespace {

// A named pipe that a child process writes.
class written_pipe {
public:
    written_pipe(const std::string &path, void (*write)(int fd))
    {
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        child_ = ::fork();
        if (child_ == 0) {
            write(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
            ::_exit(0);
        }
    }
    written_pipe(const written_pipe &) = delete;
    written_pipe &operator=(const written_pipe &) = delete;
    ~written_pipe()
    {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }

private:
    pid_t child_ = -1;
};

} // namespace

TEST_P(digest, is_of_a_pipe_that_is_written_in_pieces)
{
    path = machine.scratch("pipe");
    const written_pipe pipe(path, [](int fd) {
        static_cast<void>(::write(fd, "a", 1) == 1 && ::usleep(20000) == 0 &&
                          ::write(fd, "bc", 2) == 2);
    });
    EXPECT_EQ(check(path, of_abc), 1);
}

TEST_P(digest, does_not_exist_where_a_signal_handler_interrupts_a_read)
{
    struct sigaction handled = {};
    handled.sa_handler = [](int) {};
    struct sigaction before = {};
    ::sigaction(SIGUSR1, &handled, &before);
    path = machine.scratch("pipe");
    {
        const written_pipe pipe(path, [](int fd) {
            static_cast<void>(::write(fd, "abc", 3) == 3);
            for (int time = 0; time < 200; ++time) {
                ::usleep(10000);
                ::kill(::getppid(), SIGUSR1);
            }
        });
        EXPECT_EQ(check(path, of_abc), 0);
    }
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_P(digest, does_not_exist_of_what_cannot_be_read)
{
    for (const std::string &other : {machine.scratch("missing"), machine.scratch("missing/file"),
                                     path + "/file", std::string(), machine.scratch("")})
        EXPECT_EQ(check(other, of_nothing), 0) << other;
    EXPECT_EQ(GetParam().check(nullptr, of_nothing.c_str()), 0);
}

TEST_P(digest, needs_the_right_to_read_the_file)
{
    {
        const other_user caller;
        EXPECT_EQ(check(of_abc), 1);
    }
    machine.file(path, "abc", 0600);
    const other_user caller;
    EXPECT_EQ(check(of_abc), 0);
}

TEST_P(digest, is_checked_without_output_or_trace)
{
    testing::internal::CaptureStdout();
    const std::string error = standard_error_of([this] {
        EXPECT_EQ(check(of_abc), 1);
        EXPECT_EQ(check(of_nothing), 0);
        EXPECT_EQ(check(machine.scratch("missing"), of_abc), 0);
        EXPECT_EQ(check(machine.scratch(""), of_abc), 0);
        EXPECT_EQ(GetParam().check(nullptr, nullptr), 0);
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout() + error, "");
    expect_trace({});
}

TEST_P(digest, is_checked_without_standard_descriptors_which_stay_closed)
{
    const std::string directory = machine.scratch("");
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        int of_file = 0;
        int of_directory = 1;
        EXPECT_EQ(left_open(closed,
                            [&] {
                                of_file = check(of_abc);
                                of_directory = check(directory, of_nothing);
                            }),
                  std::vector<int>{});
        EXPECT_EQ(of_file, 1);
        EXPECT_EQ(of_directory, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(by, digest, testing::ValuesIn(digest_checks));

// No file makes libcrypto fail.

namespace {

template <auto &Step> void let_fail()
{
    Step = [](auto... arguments) {
        Step.real(arguments...);
        return 0;
    };
}

struct failing_step : named_case {
    void (*let_fail)();
    int check; // of digest_checks
};

class digest_with : public on_machine, public testing::WithParamInterface<failing_step> {};

} // namespace

TEST_P(digest_with, does_not_match)
{
    const std::string path = machine.scratch("file");
    machine.file(path, "abc");
    const digest_check &one = digest_checks[GetParam().check];
    EXPECT_EQ(one.check(path.c_str(), one.of_abc.c_str()), 1);
    GetParam().let_fail();
    EXPECT_EQ(one.check(path.c_str(), one.of_abc.c_str()), 0);
}

INSTANTIATE_TEST_SUITE_P(
    libcrypto_failing_in, digest_with,
    testing::Values(failing_step{"sha256_init", let_fail<interpose::SHA256_Init>, 0},
                    failing_step{"sha256_update", let_fail<interpose::SHA256_Update>, 0},
                    failing_step{"sha256_final", let_fail<interpose::SHA256_Final>, 0},
                    failing_step{"sha1_init", let_fail<interpose::SHA1_Init>, 1},
                    failing_step{"sha1_update", let_fail<interpose::SHA1_Update>, 1},
                    failing_step{"sha1_final", let_fail<interpose::SHA1_Final>, 1},
                    failing_step{"md5_init", let_fail<interpose::MD5_Init>, 2},
                    failing_step{"md5_update", let_fail<interpose::MD5_Update>, 2},
                    failing_step{"md5_final", let_fail<interpose::MD5_Final>, 2}));
