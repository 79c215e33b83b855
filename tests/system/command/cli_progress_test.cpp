// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <regex>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr std::uintmax_t large = 67108864; // 64 MiB

// The digest of so many zero bytes.
constexpr char sha256_of_large[] =
    "3b6a07d0d404fab4e23b6d34bc6696a6a312dd92821332385e5af7c01c421351";
constexpr char sha256_of_one_byte_less[] =
    "db1c8b00542f319ab452fcf272ff7b9013a1751e1e05c73bf64c4521f2baee63";
constexpr char another_sha256[] =
    "0000000000000000000000000000000000000000000000000000000000000000";

constexpr char bar_at_0[] = "\r[                                        ]   0 %";
constexpr char bar_at_50[] = "\r[####################                    ]  50 %";
constexpr char erased[] = "\r\033[K";

void check(int returned, const char *what)
{
    if (returned < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

// A terminal with somebody before it who reads everything that it is told. It hands on every byte
// as it is.
class terminal {
public:
    terminal() : reader_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        check(reader_, "posix_openpt");
        check(::unlockpt(reader_), "unlockpt");
        // Others reach it through a descriptor: it has no name on a constructed machine.
        writer_ = ::ioctl(reader_, TIOCGPTPEER, O_RDWR | O_NOCTTY);
        check(writer_, "TIOCGPTPEER");
        termios settings = {};
        check(::tcgetattr(writer_, &settings), "tcgetattr");
        ::cfmakeraw(&settings);
        check(::tcsetattr(writer_, TCSANOW, &settings), "tcsetattr");
    }
    terminal(const terminal &) = delete;
    terminal &operator=(const terminal &) = delete;
    ~terminal()
    {
        ::close(writer_);
        ::close(reader_);
    }

    // For a redirection.
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(writer_); }

    // What it was told since the last look.
    [[nodiscard]] std::string told() const
    {
        check(static_cast<int>(::write(writer_, "\x04", 1)), "write to the terminal");
        std::string text = up_to('\x04');
        text.pop_back();
        return text;
    }

    // The next text that ends in this character, when it has come.
    [[nodiscard]] std::string up_to(char last) const
    {
        std::string text;
        while (!text.ends_with(last)) {
            char next = 0;
            check(static_cast<int>(::read(reader_, &next, 1)), "read from the terminal");
            text.push_back(next);
        }
        return text;
    }

private:
    int reader_;
    int writer_;
};

class progress_bar : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        machine.link("/dev/stdin", "/proc/self/fd/0");
    }

    void zeros(const std::string &path, std::uintmax_t size)
    {
        machine.file(path, "");
        std::filesystem::resize_file(path, size);
    }

    [[nodiscard]] outcome digest_before_terminal(const std::string &words) const
    {
        return orvane_by_shell("digest " + words + " 2>" + standard_error.path());
    }

    // The bar when half of the only large file is read, and it has been drawn since.
    [[nodiscard]] std::string bar_at_half(const std::string &words) const
    {
        const std::string reached = machine.scratch("reached");
        const std::string go = machine.scratch("go");
        check(::mkfifo(reached.c_str(), 0600), "mkfifo");
        check(::mkfifo(go.c_str(), 0600), "mkfifo");
        const auto running = std::async(std::launch::async, [&] {
            return preloaded("slow_read", "REACHED=" + reached + " GO=" + go,
                             "digest " + words + " 2>" + standard_error.path());
        });
        ::close(::open(reached.c_str(), O_RDONLY | O_CLOEXEC));
        static_cast<void>(standard_error.told());
        static_cast<void>(standard_error.up_to('%')); // looked perhaps before
        std::string bar = standard_error.up_to('%');
        ::close(::open(go.c_str(), O_WRONLY | O_CLOEXEC));
        running.wait();
        return bar;
    }

    const terminal standard_error;
};

} // namespace

TEST_F(progress_bar, is_drawn_at_once_and_gone_at_the_end)
{
    zeros("/srv/large", large);
    EXPECT_EQ(digest_before_terminal(std::string("sha256 /srv/large ") + sha256_of_large),
              printed("/srv/large: OK\n"));
    const std::string told = standard_error.told();
    EXPECT_TRUE(told.starts_with(bar_at_0)) << told;
    EXPECT_TRUE(told.ends_with(erased)) << told;
}

TEST_F(progress_bar, is_drawn_over_itself_until_it_is_gone)
{
    zeros("/srv/large", large);
    EXPECT_EQ(digest_before_terminal(std::string("sha256 /srv/large ") + sha256_of_large).status,
              0);
    const std::string told = standard_error.told();
    EXPECT_TRUE(std::regex_match(
        told, std::regex("(\r\\[(?=[# ]{40}\\])#* *\\] [ 1][ 0-9][0-9] %)+\r\033\\[K")))
        << told;
}

TEST_F(progress_bar, is_not_drawn_for_a_file_of_one_byte_less)
{
    zeros("/srv/small", large - 1);
    EXPECT_EQ(digest_before_terminal(std::string("sha256 /srv/small ") + sha256_of_one_byte_less),
              printed("/srv/small: OK\n"));
    EXPECT_EQ(standard_error.told(), "");
}

TEST_F(progress_bar, is_not_drawn_where_standard_error_is_no_terminal)
{
    zeros("/srv/large", large);
    EXPECT_EQ(orvane({"digest", "sha256", "/srv/large", sha256_of_large}),
              printed("/srv/large: OK\n"));
}

TEST_F(progress_bar, is_not_drawn_for_a_terminal_that_is_standard_output_alone)
{
    zeros("/srv/large", large);
    const outcome checked = orvane_by_shell(
        "digest sha256 /srv/large " + std::string(sha256_of_large) + " >" + standard_error.path());
    EXPECT_EQ(checked.error, "");
    EXPECT_EQ(standard_error.told(), "/srv/large: OK\n");
}

TEST_F(progress_bar, is_not_drawn_for_a_pipe)
{
    const outcome checked = shell("head -c 67108864 /dev/zero | orvane digest sha256 /dev/stdin " +
                                  std::string(sha256_of_large) + " 2>" + standard_error.path());
    EXPECT_EQ(checked, printed("/dev/stdin: OK\n"));
    EXPECT_EQ(standard_error.told(), "");
}

TEST_F(progress_bar, is_not_drawn_for_a_missing_file)
{
    EXPECT_EQ(digest_before_terminal(std::string("sha256 /srv/missing ") + sha256_of_large).status,
              1);
    EXPECT_EQ(standard_error.told(), "orvane: /srv/missing: No such file or directory\n");
}

TEST_F(progress_bar, shows_how_far_the_file_is_read)
{
    zeros("/srv/large", large);
    EXPECT_EQ(bar_at_half(std::string("sha256 /srv/large ") + sha256_of_large), bar_at_50);
}

TEST_F(progress_bar, shows_how_far_a_linked_file_is_read)
{
    zeros("/srv/large", large);
    machine.link("/srv/link", "large");
    EXPECT_EQ(bar_at_half(std::string("sha256 /srv/link ") + sha256_of_large), bar_at_50);
}

TEST_F(progress_bar, shows_how_far_a_file_that_is_standard_input_is_read)
{
    zeros("/srv/large", large);
    EXPECT_EQ(bar_at_half(std::string("sha256 /dev/stdin ") + sha256_of_large + " </srv/large"),
              bar_at_50);
}

TEST_F(progress_bar, is_gone_before_a_complaint)
{
    zeros("/srv/large", large);
    EXPECT_EQ(digest_before_terminal(std::string("sha256 /srv/large ") + another_sha256).status, 1);
    const std::string told = standard_error.told();
    EXPECT_TRUE(told.starts_with(bar_at_0)) << told;
    EXPECT_TRUE(
        told.ends_with("\r\033[Korvane: /srv/large: the sha256 digest differs, or the file cannot "
                       "be read to its end\n"))
        << told;
}

TEST_F(progress_bar, is_drawn_for_the_large_files_of_a_list)
{
    zeros("/srv/large", large);
    zeros("/srv/small", large - 1);
    const std::string large_line = std::string(sha256_of_large) + "  /srv/large\n";
    machine.file("/srv/sums", large_line + sha256_of_one_byte_less + "  /srv/small\n" + large_line);
    EXPECT_EQ(digest_before_terminal("--check /srv/sums"),
              printed("/srv/large: OK\n/srv/small: OK\n/srv/large: OK\n"));
    const std::string told = standard_error.told();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\033'), 2) << told;
    EXPECT_TRUE(told.ends_with(erased)) << told;
}

TEST_F(progress_bar, leaves_a_terminal_nothing_that_it_would_obey_in_a_name)
{
    machine.file("/srv/a\x1b[31m\nb", "abc");
    const outcome checked =
        shell("exec orvane digest md5 /srv/a* 900150983cd24fb0d6963f7d28e17f72 >" +
              standard_error.path());
    EXPECT_EQ(checked.error, "");
    EXPECT_EQ(standard_error.told(), "/srv/a [31m b: OK\n");
}
