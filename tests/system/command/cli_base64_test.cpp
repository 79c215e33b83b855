// SPDX-License-Identifier: LGPL-2.1-or-later
#include "command_machine.h"

#include <string>

namespace {

class base64_command : public command_machine {
protected:
    // What comes of this on standard input.
    [[nodiscard]] outcome converted(const std::string &way, const std::string &input)
    {
        machine.file("/srv/input", input);
        return orvane_by_shell("base64 " + way + " </srv/input");
    }
};

struct refused_input : named_case {
    const char *way = "";
    const char *input = "";
    const char *complaint = "";
};

class refused_conversion : public base64_command,
                           public testing::WithParamInterface<refused_input> {};

#define SAYS(reason) "orvane: standard input: " reason "\n"
#define NOT_A_MULTIPLE SAYS("the length is not a multiple of 4")
#define NOT_OF_BASE64 SAYS("a character is not of base64")
#define OUT_OF_PLACE SAYS("a \"=\" is out of place")
#define NOTHING_TO_DECODE SAYS("there is nothing to decode")
#define NOTHING_TO_CONVERT SAYS("there is nothing to convert")
#define NEITHER SAYS("a character is neither of base64 nor \"%\"")
#define NOT_FOLLOWED SAYS("a \"%\" is not followed by 2B, 2F or 3D")

const refused_input refused_inputs[] = {
    {{"nothing_to_encode"}, "encode", "", SAYS("there is nothing to encode")},
    {{"nothing_to_decode"}, "decode", "", NOTHING_TO_DECODE},
    {{"an_empty_line_to_decode"}, "decode", "\n", NOTHING_TO_DECODE},
    {{"a_character_too_few"}, "decode", "YWJ", NOT_A_MULTIPLE},
    {{"a_line_that_ends_in_the_middle"}, "decode", "YWJjZ\n", NOT_A_MULTIPLE},
    {{"two_line_ends"}, "decode", "YWJj\n\n", NOT_A_MULTIPLE},
    {{"a_blank"}, "decode", "YW J", NOT_OF_BASE64},
    {{"two_lines"}, "decode", "YWJj\nYWJ\n", NOT_OF_BASE64},
    {{"a_percent"}, "decode", "YW%J", NOT_OF_BASE64},
    {{"a_byte_above_ascii"}, "decode", "YWJ\xff", NOT_OF_BASE64},
    {{"a_pad_within"}, "decode", "YW=j", OUT_OF_PLACE},
    {{"a_pad_too_many"}, "decode", "Y===", OUT_OF_PLACE},
    {{"text_behind_a_pad"}, "decode", "YQ==YQ==", OUT_OF_PLACE},
    {{"nothing_to_url"}, "to-url", "", NOTHING_TO_CONVERT},
    {{"an_empty_line_to_url"}, "to-url", "\n", NOTHING_TO_CONVERT},
    {{"a_character_to_url"}, "to-url", "a-b_", NEITHER},
    {{"two_lines_to_url"}, "to-url", "YWJj\nYWJj\n", NEITHER},
    {{"nothing_from_url"}, "from-url", "", NOTHING_TO_CONVERT},
    {{"an_empty_line_from_url"}, "from-url", "\n", NOTHING_TO_CONVERT},
    {{"a_character_from_url"}, "from-url", "a?b", NEITHER},
    {{"an_escape_in_small_letters"}, "from-url", "a%2b", NOT_FOLLOWED},
    {{"another_escape"}, "from-url", "a%20", NOT_FOLLOWED},
    {{"an_escape_without_end"}, "from-url", "a%2\n", NOT_FOLLOWED},
    {{"an_escape_without_digits"}, "from-url", "a%", NOT_FOLLOWED},
};

struct odd_size : named_case {
    const char *size = "";
};

class decoded_to_nothing : public base64_command, public testing::WithParamInterface<odd_size> {};

} // namespace

TEST_F(base64_command, encodes_onto_one_line)
{
    EXPECT_EQ(converted("encode", "abc"), printed("YWJj\n"));
}

TEST_F(base64_command, pads_what_it_encodes)
{
    EXPECT_EQ(converted("encode", "a"), printed("YQ==\n"));
    EXPECT_EQ(converted("encode", "ab"), printed("YWI=\n"));
}

TEST_F(base64_command, encodes_every_byte_of_its_input)
{
    EXPECT_EQ(converted("encode", std::string("\0\n\xff", 3)), printed("AAr/\n"));
}

TEST_F(base64_command, decodes_a_line)
{
    EXPECT_EQ(converted("decode", "YWJj\n"), printed("abc"));
}

TEST_F(base64_command, decodes_a_line_without_its_end)
{
    EXPECT_EQ(converted("decode", "YWJj"), printed("abc"));
}

TEST_F(base64_command, decodes_padded_text)
{
    EXPECT_EQ(converted("decode", "YQ==\n"), printed("a"));
    EXPECT_EQ(converted("decode", "YWI=\n"), printed("ab"));
}

TEST_F(base64_command, decodes_to_any_bytes)
{
    EXPECT_EQ(converted("decode", "AAr/\n"), printed(std::string("\0\n\xff", 3)));
}

TEST_F(base64_command, agrees_with_the_tool_on_long_input)
{
    for (const std::size_t size : {1023U, 1024U, 1025U, 100000U}) {
        machine.file("/srv/bytes", every_byte(size));
        EXPECT_EQ(shell("orvane base64 encode </srv/bytes >/srv/text; base64 -w 0 /srv/bytes | "
                        "{ cat; echo; } | cmp - /srv/text"),
                  printed(""))
            << size;
        EXPECT_EQ(shell("orvane base64 decode </srv/text | cmp - /srv/bytes"), printed("")) << size;
    }
}

TEST_F(base64_command, reads_a_pipe_to_its_end)
{
    EXPECT_EQ(shell("{ printf a; printf b; printf c; } | orvane base64 encode"), printed("YWJj\n"));
}

TEST_F(base64_command, writes_the_form_for_urls)
{
    EXPECT_EQ(converted("to-url", "a+b/c=\n"), printed("a%2Bb%2Fc%3D\n"));
}

TEST_F(base64_command, leaves_a_percent_in_the_form_for_urls)
{
    EXPECT_EQ(converted("to-url", "a%b"), printed("a%b\n"));
}

TEST_F(base64_command, reads_the_form_for_urls)
{
    EXPECT_EQ(converted("from-url", "a%2Bb%2Fc%3D\n"), printed("a+b/c=\n"));
    EXPECT_EQ(converted("from-url", "a+b/c="), printed("a+b/c=\n"));
}

TEST_F(base64_command, converts_long_text_to_the_form_for_urls_and_back)
{
    std::string url;
    for (int count = 0; count < 100000; ++count)
        url += "%2F";
    EXPECT_EQ(converted("to-url", std::string(100000, '/')), printed(url + "\n"));
    EXPECT_EQ(converted("from-url", url), printed(std::string(100000, '/') + "\n"));
}

TEST_P(refused_conversion, is_said_in_words)
{
    EXPECT_EQ(converted(GetParam().way, GetParam().input), complained(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(base64_command, refused_conversion, testing::ValuesIn(refused_inputs));

TEST_F(base64_command, refuses_a_zero_byte)
{
    EXPECT_EQ(converted("decode", std::string("YWJj\0YWJj", 9)), complained(NOT_OF_BASE64));
    EXPECT_EQ(converted("to-url", std::string("YWJj\0?", 6)), complained(NEITHER));
    EXPECT_EQ(converted("from-url", std::string("YWJj\0?", 6)), complained(NEITHER));
}

TEST_F(base64_command, takes_a_closed_standard_input_for_an_empty_one)
{
    EXPECT_EQ(orvane_by_shell("base64 encode <&-"), complained(SAYS("there is nothing to encode")));
}

TEST_F(base64_command, says_that_its_input_cannot_be_read)
{
    EXPECT_EQ(orvane_by_shell("base64 encode </"), complained(SAYS("Is a directory")));
}

TEST_P(decoded_to_nothing, fails_although_the_library_does_not)
{
    machine.file("/srv/input", "YWJj");
    EXPECT_EQ(preloaded("say_result", GetParam().size, "base64 decode </srv/input"),
              complained(SAYS("it decodes to nothing")));
}

INSTANTIATE_TEST_SUITE_P(base64_command, decoded_to_nothing,
                         testing::Values(odd_size{{"none"}, "SIZE=0"},
                                         odd_size{{"a_failure"}, "SIZE=-1"}));

TEST_F(base64_command, fails_where_little_output_cannot_be_written)
{
    machine.file("/srv/input", "abc");
    EXPECT_EQ(orvane_by_shell("base64 encode </srv/input >/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
    EXPECT_EQ(orvane_by_shell("base64 encode </srv/input >&-"),
              complained("orvane: standard output is closed\n"));
}

TEST_F(base64_command, fails_where_much_output_cannot_be_written)
{
    machine.file("/srv/input", every_byte(1000000));
    EXPECT_EQ(orvane_by_shell("base64 encode </srv/input >/dev/full"),
              complained("orvane: standard output: No space left on device\n"));
}

TEST_F(base64_command, ends_silently_with_whoever_reads_its_output)
{
    machine.file("/srv/input", every_byte(1000000));
    const outcome ended = shell("{ orvane base64 encode </srv/input; echo $? >/srv/status; } | "
                                "head -c 4");
    EXPECT_EQ(ended, printed("AAEC"));
    EXPECT_EQ(machine.content("/srv/status"), "141\n"); // by SIGPIPE
}
