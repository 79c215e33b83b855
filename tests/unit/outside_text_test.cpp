// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "support/outside_text.h"

#include <string>

#include <unistd.h>

namespace {

struct outside_text : named_case {
    std::string text;
    std::string traced;
};

class traced_outside_text : public on_machine, public testing::WithParamInterface<outside_text> {
protected:
    std::string traced(const std::string &text)
    {
        orvane::trace_outside_text("label '%s'", text.c_str());
        const std::string log = machine.content("/var/log/orvane/liborvane.log");
        const std::string start = " [" + std::to_string(::getpid()) + "]: label '";
        return log.substr(log.find(start) + start.size());
    }
};

using long_outside_text = traced_outside_text;

} // namespace

TEST_P(traced_outside_text, is_one_line_that_is_shown_and_not_obeyed)
{
    EXPECT_EQ(traced(GetParam().text), GetParam().traced + "'\n");
}

INSTANTIATE_TEST_SUITE_P(
    with, traced_outside_text,
    testing::Values(outside_text{"plain_characters", "a\\x0a\t%s\"'~", "a\\x0a\t%s\"'~"},
                    outside_text{"utf_8", "\u00e9\u20ac\U0001f600\U0010ffff",
                                 "\u00e9\u20ac\U0001f600\U0010ffff"},
                    outside_text{"latin_1", "Gr\xf6\xdf\xa0\xff", "Gr\xf6\xdf\xa0\xff"},
                    outside_text{"newlines", "a\nb\r\n", "a\\x0ab\\x0d\\x0a"},
                    outside_text{"an_escape_sequence", "\x1b[2J\a\b\x7f\x01\x1f",
                                 "\\x1b[2J\\x07\\x08\\x7f\\x01\\x1f"},
                    outside_text{"control_characters_of_utf_8", "\u0083\u0084\u009b2J\u009f\u00a0",
                                 "\u0083\\xc2\\x84\\xc2\\x9b2J\\xc2\\x9f\u00a0"},
                    outside_text{"control_characters_of_latin_1", "\x83\x84\x9b\xc3\xc2\xe2\x9f",
                                 "\x83\\x84\\x9b\xc3\xc2\xe2\\x9f"},
                    outside_text{"an_overlong_control_character", "\xe0\x82\x9b\xc0\x9b",
                                 "\xe0\x82\\x9b\xc0\\x9b"},
                    outside_text{"separators", "\u2028\u2029\u202a",
                                 "\\xe2\\x80\\xa8\\xe2\\x80\\xa9\u202a"}));

TEST_F(long_outside_text, ends_with_a_whole_escape)
{
    for (std::size_t plain = 900; plain < 1020; ++plain) {
        std::filesystem::remove("/var/log/orvane/liborvane.log");
        const std::string line = traced(std::string(plain, 'x') + std::string(200, '\x1b'));
        const std::string escapes = line.substr(std::min(plain, line.size() - 1));
        EXPECT_EQ(escapes.size() % 4, 1U) << escapes;
        EXPECT_EQ(line.back(), '\n');
    }
}

TEST_F(on_machine, keeps_the_newline_of_a_message)
{
    orvane::trace_outside_text("serial: %s\n", "S1\n");
    orvane::trace_outside_text("%s", "Sa\n");
    expect_trace({"serial: S1\\x0a", "Sa"});
}
