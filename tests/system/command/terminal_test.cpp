// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the command prints on a terminal: the progress of a large file, and plain lines.
#include "command_machine.h"
#include "terminal.h"

#include <filesystem>
#include <future>
#include <regex>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uintmax_t large = 67108864; // 64 MiB

// The digest of so many zero bytes.
constexpr char sha256_of_large[] =
    "3b6a07d0d404fab4e23b6d34bc6696a6a312dd92821332385e5af7c01c421351";
constexpr char sha256_of_one_byte_less[] =
    "db1c8b00542f319ab452fcf272ff7b9013a1751e1e05c73bf64c4521f2baee63";

constexpr char erasure[] = "\r\033[K";
constexpr char bar_at_50[] = "\r[####################                    ]  50 %";
// The bar at any state, drawn over itself from 0 % on and erased.
const std::string any_bar =
    "\r\\[ {40}\\]   0 %(\r\\[(?=[# ]{40}\\])#* *\\] [ 1][ 0-9][0-9] %)*\r\033\\[K";

class on_terminal : public command_machine {
protected:
    void zeros(const std::string &path, std::uintmax_t size)
    {
        machine.file(path, "");
        std::filesystem::resize_file(path, size);
    }

    [[nodiscard]] outcome digest(const std::string &words) const
    {
        return shell("exec orvane digest " + words + " 2>" + standard_error.path());
    }

    // The bar that is drawn while half of the only large file is read.
    [[nodiscard]] std::string bar_at_half(const std::string &words)
    {
        const std::string reached = machine.scratch("reached");
        const std::string go = machine.scratch("go");
        for (const std::string &pipe : {reached, go}) {
            machine.remove(pipe);
            check(::mkfifo(pipe.c_str(), 0600), "mkfifo");
        }
        const auto running = std::async(std::launch::async, [&] {
            return preloaded("half_read", "REACHED=" + reached + " GO=" + go,
                             "digest " + words + " 2>" + standard_error.path());
        });
        ::close(::open(reached.c_str(), O_RDONLY | O_CLOEXEC));
        static_cast<void>(standard_error.text());
        static_cast<void>(standard_error.up_to('%')); // perhaps of an earlier position
        std::string bar = standard_error.up_to('%');
        ::close(::open(go.c_str(), O_WRONLY | O_CLOEXEC));
        running.wait();
        return bar;
    }

    // The last that is written of the bar where this signal ends the command meanwhile.
    [[nodiscard]] std::string end_of_bar(const std::string &signal)
    {
        const std::string reached = machine.scratch("reached");
        machine.remove(reached);
        check(::mkfifo(reached.c_str(), 0600), "mkfifo");
        // A shell makes its background processes ignore SIGINT.
        const outcome ended =
            shell("env --default-signal=INT LD_PRELOAD=/opt/preloads/half_read.so "
                  "ASAN_OPTIONS=verify_asan_link_order=0 REACHED=" +
                  reached + " GO=" + reached + " orvane digest sha256 large " + sha256_of_large +
                  " 2>" + standard_error.path() + " & : <" + reached + "; sleep 0.2; kill -" +
                  signal + " $!; wait $!; kill -l $?");
        EXPECT_EQ(ended.output, signal + "\n");
        const std::string written = standard_error.text();
        return written.substr(written.rfind('%') + 1);
    }

    const terminal standard_error;
};

} // namespace

TEST_F(on_terminal, shows_the_progress_of_each_large_file)
{
    const std::string digits = sha256_of_large;
    zeros("/srv/large", large);
    zeros("/srv/small", large - 1);
    machine.file("/srv/list", digits + "  large\n" + sha256_of_one_byte_less + "  small\n" +
                                  digits + "  large\n");
    const struct {
        std::string words;
        outcome result;
        std::string text; // on standard error
    } cases[] = {
        {"sha256 large " + digits, printed("large: OK\n"), any_bar},
        {std::string("sha256 small ") + sha256_of_one_byte_less, printed("small: OK\n"), ""},
        {"sha256 large " + std::string(64, '0'),
         {1, "", ""},
         any_bar + "orvane: large: the sha256 digest differs\n"},
        {"sha256 large", printed(digits + "  large\n"), any_bar},
        {"sha256 <large", printed(digits + "  -\n"), any_bar},
        {"--check list", printed("large: OK\nsmall: OK\nlarge: OK\n"), any_bar + any_bar},
        {"sha256 missing " + digits, {3, "", ""}, "orvane: missing: No such file or directory\n"},
    };
    for (const auto &[words, result, text] : cases) {
        EXPECT_EQ(digest(words), result) << words;
        const std::string written = standard_error.text();
        EXPECT_TRUE(std::regex_match(written, std::regex(text))) << words << ": " << written;
    }
}

TEST_F(on_terminal, shows_how_much_of_the_file_is_read)
{
    zeros("/srv/large", large);
    machine.link("/srv/link", "large");
    for (const std::string words : {"sha256 large ", "sha256 link ", "sha256 /dev/stdin <large "})
        EXPECT_EQ(bar_at_half(words + sha256_of_large), bar_at_50) << words;
}

TEST_F(on_terminal, shows_a_bar_of_one_line_whatever_its_width)
{
    zeros("/srv/large", large);
    const struct {
        unsigned short columns;
        std::string bar;
    } widths[] = {
        {51, "\r[####################                    ]  50 %"},
        {50, "\r[###################                    ]  50 %"},
        {22, "\r[#####      ]  50 %"},
        {15, "\r[##  ]  50 %"},
        {14, "\r 50 %"},
        {8, "\r 50 %"},
        {0, "\r[####################                    ]  50 %"}, // not known
    };
    for (const auto &[columns, bar] : widths) {
        standard_error.set_width(columns);
        EXPECT_EQ(bar_at_half("sha256 large " + std::string(sha256_of_large)), bar) << columns;
    }
    static_cast<void>(standard_error.text());
    standard_error.set_width(7);
    EXPECT_EQ(digest("sha256 large"), printed(std::string(sha256_of_large) + "  large\n"));
    EXPECT_EQ(standard_error.text(), erasure);
}

TEST_F(on_terminal, keeps_nothing_of_the_bar_of_an_interrupted_command)
{
    zeros("/srv/large", large);
    for (const std::string signal : {"INT", "TERM", "HUP"})
        EXPECT_EQ(end_of_bar(signal), erasure) << signal;
}

TEST_F(on_terminal, shows_no_progress_of_a_pipe)
{
    EXPECT_EQ(shell("head -c 67108864 /dev/zero | orvane digest sha256 /dev/stdin " +
                    std::string(sha256_of_large) + " 2>" + standard_error.path()),
              printed("/dev/stdin: OK\n"));
    EXPECT_EQ(standard_error.text(), "");
}

TEST_F(on_terminal, shows_no_progress_where_standard_error_is_none)
{
    zeros("/srv/large", large);
    const std::string command = "exec orvane digest sha256 large " + std::string(sha256_of_large);
    EXPECT_EQ(shell(command), printed("large: OK\n"));
    EXPECT_EQ(shell(command + " >" + standard_error.path()), printed(""));
    EXPECT_EQ(standard_error.text(), "large: OK\n");
}

TEST_F(on_terminal, prints_no_control_characters_of_a_name)
{
    machine.file("/srv/a\x1b[31m\nb", "abc");
    EXPECT_EQ(shell("exec orvane digest md5 a* 900150983cd24fb0d6963f7d28e17f72 >" +
                    standard_error.path()),
              printed(""));
    EXPECT_EQ(standard_error.text(), "a [31m b: OK\n");
}
