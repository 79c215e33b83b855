// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"
#include "sanitizers.h"

#include <string>

namespace {

class base64_command : public command_machine {
protected:
    [[nodiscard]] outcome converted(const std::string &subcommand, const std::string &input)
    {
        machine.file("/srv/input", input);
        return shell("exec orvane base64 " + subcommand + " <input");
    }
};

outcome refused(const std::string &reason)
{
    return failed("standard input: " + reason);
}

outcome unread(const std::string &reason)
{
    return undetermined("standard input: " + reason);
}

struct conversion {
    const char *subcommand;
    std::string input;
    outcome result;
};

} // namespace

TEST_F(base64_command, converts_standard_input)
{
    const std::string bytes("\0\n\xff", 3);
    std::string url;
    for (int count = 0; count < 100000; ++count)
        url += "%2F";
    const conversion conversions[] = {
        {"encode", "abc", printed("YWJj\n")},
        {"encode", "ab", printed("YWI=\n")},
        {"encode", "a", printed("YQ==\n")},
        {"encode", bytes, printed("AAr/\n")},
        {"decode", "YWJj\n", printed("abc")},
        {"decode", "YWJj\r\n", printed("abc")},
        {"decode", "YWJj", printed("abc")},
        {"decode", "YWJj\nYWJj\n", printed("abcabc")},
        {"decode", "Y\nWJ\r\nj\n\n", printed("abc")},
        {"decode", "YWI\n=\n", printed("ab")},
        {"decode", "YWI=\n", printed("ab")},
        {"decode", "YQ==\n", printed("a")},
        {"decode", "AAr/\n", printed(bytes)},
        {"to-url", "a+b/c=\n", printed("a%2Bb%2Fc%3D\n")},
        {"to-url", "a%b", printed("a%b\n")},
        {"to-url", std::string(100000, '/'), printed(url + "\n")},
        {"from-url", "a%2Bb%2Fc%3D\n", printed("a+b/c=\n")},
        {"from-url", "a+b/c=", printed("a+b/c=\n")},
        {"from-url", url, printed(std::string(100000, '/') + "\n")},
    };
    for (const auto &[subcommand, input, result] : conversions)
        EXPECT_EQ(converted(subcommand, input), result) << subcommand << " " << input.substr(0, 80);
}

TEST_F(base64_command, refuses_what_it_cannot_convert)
{
    const outcome length = refused("the length is not a multiple of 4");
    const outcome character = refused("a character is not of base64");
    const outcome padding = refused("a \"=\" is out of place");
    const outcome nothing_to_decode = refused("there is nothing to decode");
    const outcome nothing_to_convert = refused("there is nothing to convert");
    const outcome url_character = refused("a character is neither of base64 nor \"%\"");
    const outcome url_escape = refused("a \"%\" is not followed by 2B, 2F or 3D");
    const conversion conversions[] = {
        {"encode", "", refused("there is nothing to encode")},
        {"decode", "", nothing_to_decode},
        {"decode", "\n", nothing_to_decode},
        {"decode", "\r\n\n", nothing_to_decode},
        {"decode", "YWJ", length},
        {"decode", "YWJjZ\n", length},
        {"decode", "YWJj\nYWJ\n", length},
        {"decode", "YWJj\r", length},
        {"decode", "YWJ\r", character},
        {"decode", "YW\rj\nYWJj", character},
        {"decode", "YWJj\r\r\nYWJ", character},
        {"decode", "YWJj\n YW", length},
        {"decode", "YWJj\n YWJ", character},
        {"decode", "YWJj\n\tYWJ", character},
        {"decode", "YQ==\nYQ==\n", padding},
        {"decode", "YW J", character},
        {"decode", "YW%J", character},
        {"decode", "YWJ\xff", character},
        {"decode", std::string("YWJj\0YWJj", 9), character},
        {"decode", "YW=j", padding},
        {"decode", "Y===", padding},
        {"decode", "YQ==YQ==", padding},
        {"to-url", "", nothing_to_convert},
        {"to-url", "\n", nothing_to_convert},
        {"to-url", "a-b_", url_character},
        {"to-url", "YWJj\nYWJj\n", url_character},
        {"to-url", std::string("YWJj\0?", 6), url_character},
        {"from-url", "", nothing_to_convert},
        {"from-url", "\n", nothing_to_convert},
        {"from-url", "a?b", url_character},
        {"from-url", std::string("YWJj\0?", 6), url_character},
        {"from-url", "a%2b", url_escape},
        {"from-url", "a%20", url_escape},
        {"from-url", "a%2\n", url_escape},
        {"from-url", "a%", url_escape},
    };
    for (const auto &[subcommand, input, result] : conversions)
        EXPECT_EQ(converted(subcommand, input), result) << subcommand << " " << input;
    EXPECT_EQ(shell("orvane base64 encode </"), unread("Is a directory"));
}

TEST_F(base64_command, agrees_with_base64_on_long_input)
{
    for (const std::size_t size : {1023U, 1024U, 1025U, 100000U}) {
        machine.file("/srv/bytes", every_byte(size));
        EXPECT_EQ(shell("orvane base64 encode <bytes >text; base64 -w 0 bytes | { cat; echo; } | "
                        "cmp - text && orvane base64 decode <text | cmp - bytes"),
                  printed(""))
            << size;
        for (const std::string columns : {"1", "64", "76"})
            EXPECT_EQ(shell("base64 -w " + columns + " bytes | orvane base64 decode | cmp - bytes"),
                      printed(""))
                << columns;
    }
}

TEST_F(base64_command, reads_a_pipe_to_its_end)
{
    EXPECT_EQ(shell("{ printf a; printf b; printf c; } | orvane base64 encode"), printed("YWJj\n"));
}

// The command may have four gigabytes, twice what it reads of an input without an end. On a 32-bit
// machine that does not fit beside anything else.
TEST_F(base64_command, refuses_more_than_the_library_counts_as_it_reads_it)
{
    if (has_address_sanitizer() || has_thread_sanitizer())
        GTEST_SKIP() << "a sanitizer needs memory of its own for each byte";
    EXPECT_EQ(shell("ulimit -v 4194304; orvane base64 encode </dev/zero"),
              sizeof(std::size_t) > 4 ? unread("it is longer than 2147483647 bytes")
                                      : undetermined("out of memory"));
    EXPECT_EQ(shell("ulimit -v 262144; orvane base64 encode </dev/zero"),
              undetermined("out of memory"));
}

TEST_F(base64_command, fails_where_the_library_decodes_to_nothing)
{
    machine.file("/srv/input", "YWJj");
    for (const char *const size : {"SIZE=0", "SIZE=-1"})
        EXPECT_EQ(preloaded("given_result", size, "base64 decode <input"),
                  unread("it decodes to nothing"));
}
