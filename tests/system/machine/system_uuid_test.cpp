// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which UUIDs are refused, and which lines of dmidecode hold one.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cstring>
#include <string>

namespace {

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";
constexpr char dmidecode[] = "/usr/sbin/dmidecode";

constexpr char real_uuid[] = "4c4c4544-0042-3510-8051-b4c04f4d3132";
const std::string real_line = "4c4c4544-0042-3510-8051-b4c04f4d3132\n";

class uuid_query : public on_machine {
protected:
    static std::string answer() { return owned_text(orvane_get_system_uuid()).value(); }
};

} // namespace

TEST_F(uuid_query, is_answered_by_the_exported_system_uuid)
{
    machine.file(uuid_file, real_line);
    EXPECT_EQ(owned_text(system_uuid()).value(), real_uuid);
    interpose::system_uuid = [] { return ::strdup("ffffffff-ffff-ffff-ffff-ffffffffffff"); };
    EXPECT_EQ(answer(), "ffffffff-ffff-ffff-ffff-ffffffffffff");
    interpose::system_uuid = []() -> char * { return nullptr; };
    EXPECT_EQ(answer(), "(no text)");
}

// Placeholders.

namespace {

struct uuid_case : named_case {
    std::string uuid;
    bool is_placeholder;
};

const uuid_case uuid_cases[] = {
    {"counting", "12345678-1234-5678-90ab-cddeefaabbcc", true},
    {"counting_in_capitals", "12345678-1234-5678-90AB-CDDEEFAABBCC", true},
    {"numbered_bytes", "03000200-0400-0500-0006-000700080009", true},
    {"fe", "fefefefe-fefe-fefe-fefe-fefefefefefe", true},
    {"fe_in_capitals", "FEFEFEFE-FEFE-FEFE-FEFE-FEFEFEFEFEFE", true},
    {"ff", "ffffffff-ffff-ffff-ffff-ffffffffffff", true},
    {"ff_in_capitals", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF", true},
    {"ff_in_mixed_case", "fFfFfFfF-FFFF-ffff-FFFF-ffffffffffff", true},
    {"with_a_blank_before", " ffffffff-ffff-ffff-ffff-ffffffffffff", false},
    {"with_a_blank_behind", "ffffffff-ffff-ffff-ffff-ffffffffffff ", false},
    {"with_one_digit_more", "12345678-1234-5678-90ab-cddeefaabbccd", false},
    {"with_another_last_digit", "03000200-0400-0500-0006-000700080008", false},
    {"with_another_first_digit", "0efefefe-fefe-fefe-fefe-fefefefefefe", false},
    {"of_zeros", "00000000-0000-0000-0000-000000000000", false},
    {"in_capitals", "4C4C4544-0042-3510-8051-b4c04f4d3132", false},
};

class uuid_that_is : public uuid_query, public testing::WithParamInterface<uuid_case> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, uuid_that_is, testing::ValuesIn(uuid_cases));

TEST_P(uuid_that_is, a_placeholder_is_refused_and_any_other_returned_as_it_stands)
{
    const std::string &uuid = GetParam().uuid;
    const bool is_placeholder = GetParam().is_placeholder;
    machine.file(uuid_file, uuid + "\r\n");
    machine.tool(dmidecode, real_line);
    EXPECT_EQ(answer(), is_placeholder ? real_uuid : uuid);
    machine.tool(dmidecode, uuid + "\r\n");
    EXPECT_EQ(answer(), is_placeholder ? "(no text)" : uuid);
    machine.remove(uuid_file);
    EXPECT_EQ(answer(), is_placeholder ? "(no text)" : uuid);
}

TEST_F(uuid_query, takes_what_is_no_uuid_from_the_file)
{
    machine.tool(dmidecode, real_line);
    for (const std::string line : {"Not Settable", "ffffffff-ffff-ffff-ffff-fffffffffff"}) {
        machine.file(uuid_file, line + "\n");
        EXPECT_EQ(answer(), line);
    }
}

// Lines of the tool.

namespace {

struct tool_output : named_case {
    std::string printed;
    std::string uuid = real_uuid;
};

const tool_output tool_outputs[] = {
    {"digits", "01234567-89ab-cdef-0123-456789abcdef\n", "01234567-89ab-cdef-0123-456789abcdef"},
    {"capitals", "01234567-89AB-CDEF-0123-456789ABCDEF\n", "01234567-89AB-CDEF-0123-456789ABCDEF"},
    {"no_final_newline", real_uuid},
    {"text_around_it", "  UUID: 4c4c4544-0042-3510-8051-b4c04f4d3132 (guessed)\t\n",
     "  UUID: 4c4c4544-0042-3510-8051-b4c04f4d3132 (guessed)\t"},
    {"more_digits_at_both_ends", "ff4c4c4544-0042-3510-8051-b4c04f4d3132ff\n",
     "ff4c4c4544-0042-3510-8051-b4c04f4d3132ff"},
    {"another_behind_it", real_line + "01234567-89ab-cdef-0123-456789abcdef\n"},
    {"carriage_return", "4c4c4544-0042-3510-8051-b4c04f4d3132\rrest\n"},
    {"5000_bytes", real_uuid + std::string(4964, 'x') + "\n", real_uuid + std::string(987, 'x')},
    {"behind_remarks", "# SMBIOS implementations newer than version 3.2.0 are not\n"
                       "# fully supported by this version of dmidecode.\n" +
                           real_line},
    {"behind_not_settable", "Not Settable\n" + real_line},
    {"behind_an_empty_line", "\n" + real_line},
    {"behind_seven_digits_in_front", "c4c4544-0042-3510-8051-b4c04f4d3132\n" + real_line},
    {"behind_three_digits_second", "4c4c4544-042-3510-8051-b4c04f4d3132\n" + real_line},
    {"behind_five_digits_third", "4c4c4544-0042-03510-8051-b4c04f4d3132\n" + real_line},
    {"behind_three_digits_fourth", "4c4c4544-0042-3510-851-b4c04f4d3132\n" + real_line},
    {"behind_eleven_digits_last", "4c4c4544-0042-3510-8051-b4c04f4d313\n" + real_line},
    {"behind_a_letter_that_is_no_digit", "4c4c4544-0042-3510-8051-g4c04f4d3132\n" + real_line},
    {"behind_no_dashes", "4c4c4544004235108051b4c04f4d3132\n" + real_line},
    {"not_settable_alone", "Not Settable\n", "(no text)"},
};

class uuid_printed : public uuid_query, public testing::WithParamInterface<tool_output> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, uuid_printed, testing::ValuesIn(tool_outputs));

TEST_P(uuid_printed, is_the_whole_first_line_that_holds_one)
{
    machine.tool(dmidecode, GetParam().printed);
    EXPECT_EQ(answer(), GetParam().uuid);
}
