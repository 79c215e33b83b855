// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

namespace {

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";
constexpr char dmidecode[] = "/usr/sbin/dmidecode";

constexpr char real_uuid[] = "4c4c4544-0042-3510-8051-b4c04f4d3132";

class system_uuid_query : public on_machine {
protected:
    [[nodiscard]] static owned_text asked() { return owned_text(orvane_get_system_uuid()); }
    [[nodiscard]] static std::string told() { return asked().value(); }
};

} // namespace

TEST_F(system_uuid_query, is_answered_by_system_uuid)
{
    machine.file(uuid_file, "4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_EQ(owned_text(system_uuid()).value(), "4c4c4544-0042-3510-8051-b4c04f4d3132");
}

TEST_F(system_uuid_query, returns_unchanged_what_the_exported_system_uuid_gives)
{
    char *const given = ::strdup("ffffffff-ffff-ffff-ffff-ffffffffffff");
    interpose::system_uuid = [given] { return given; };
    char *const returned = orvane_get_system_uuid();
    EXPECT_EQ(returned, given);
    EXPECT_EQ(owned_text(returned).value(), "ffffffff-ffff-ffff-ffff-ffffffffffff");
}

TEST_F(system_uuid_query, is_none_where_the_exported_system_uuid_is)
{
    machine.file(uuid_file, "4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    interpose::system_uuid = []() -> char * { return nullptr; };
    EXPECT_TRUE(asked().is_null());
}

TEST_F(system_uuid_query, keeps_the_case_of_the_file)
{
    machine.file(uuid_file, "4C4C4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_EQ(told(), "4C4C4544-0042-3510-8051-b4c04f4d3132");
}

TEST_F(system_uuid_query, keeps_the_case_of_the_tool)
{
    machine.tool(dmidecode, "4C4C4544-0042-3510-8051-B4C04F4D3132\n");
    EXPECT_EQ(told(), "4C4C4544-0042-3510-8051-B4C04F4D3132");
}

TEST_F(system_uuid_query, takes_whatever_else_the_file_says)
{
    machine.file(uuid_file, "Not Settable\n");
    machine.tool(dmidecode, "4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_EQ(told(), "Not Settable");
}

// Placeholders.

namespace {

struct placeholder : named_case {
    std::string uuid;
};

const placeholder placeholders[] = {
    {"counting", "12345678-1234-5678-90ab-cddeefaabbcc"},
    {"counting_in_capitals", "12345678-1234-5678-90AB-CDDEEFAABBCC"},
    {"counting_in_mixed_case", "12345678-1234-5678-90Ab-cDDeeFaaBBcC"},
    {"numbered_bytes", "03000200-0400-0500-0006-000700080009"},
    {"fe", "fefefefe-fefe-fefe-fefe-fefefefefefe"},
    {"fe_in_capitals", "FEFEFEFE-FEFE-FEFE-FEFE-FEFEFEFEFEFE"},
    {"fe_in_mixed_case", "FeFeFeFe-fEfE-FeFe-fEfE-FeFeFeFeFeFe"},
    {"ff", "ffffffff-ffff-ffff-ffff-ffffffffffff"},
    {"ff_in_capitals", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"},
    {"ff_in_mixed_case", "fFfFfFfF-FFFF-ffff-FFFF-ffffffffffff"},
};

class placeholder_uuid : public system_uuid_query,
                         public testing::WithParamInterface<placeholder> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(system_uuid, placeholder_uuid, testing::ValuesIn(placeholders));

TEST_P(placeholder_uuid, in_the_file_sends_the_question_on_to_the_tool)
{
    machine.file(uuid_file, GetParam().uuid + "\n");
    machine.tool(dmidecode, "4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_EQ(told(), real_uuid);
}

TEST_P(placeholder_uuid, of_the_tool_is_refused)
{
    machine.tool(dmidecode, GetParam().uuid + "\n");
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.runs(dmidecode).size(), 1U);
}

TEST_P(placeholder_uuid, is_no_answer_when_both_sources_give_it)
{
    machine.file(uuid_file, GetParam().uuid + "\r\n");
    machine.tool(dmidecode, GetParam().uuid + "\r\n");
    EXPECT_TRUE(asked().is_null());
}

TEST_F(system_uuid_query, refuses_a_placeholder_that_ends_at_a_zero_byte)
{
    machine.file(uuid_file, std::string_view("ffffffff-ffff-ffff-ffff-ffffffffffff\0 x", 39));
    EXPECT_TRUE(asked().is_null());
}

namespace {

// Nearly a placeholder, and no more than that.
const placeholder near_placeholders[] = {
    {"with_a_blank_before", " ffffffff-ffff-ffff-ffff-ffffffffffff"},
    {"with_a_blank_behind", "ffffffff-ffff-ffff-ffff-ffffffffffff "},
    {"with_one_digit_more", "12345678-1234-5678-90ab-cddeefaabbccd"},
    {"with_another_last_digit", "03000200-0400-0500-0006-000700080008"},
    {"with_another_first_digit", "0efefefe-fefe-fefe-fefe-fefefefefefe"},
    {"of_zeros", "00000000-0000-0000-0000-000000000000"},
};

class near_placeholder_uuid : public system_uuid_query,
                              public testing::WithParamInterface<placeholder> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(system_uuid, near_placeholder_uuid, testing::ValuesIn(near_placeholders));

TEST_P(near_placeholder_uuid, is_taken_from_the_file)
{
    machine.file(uuid_file, GetParam().uuid + "\n");
    EXPECT_EQ(told(), GetParam().uuid);
}

TEST_P(near_placeholder_uuid, is_taken_from_the_tool)
{
    machine.tool(dmidecode, GetParam().uuid + "\n");
    EXPECT_EQ(told(), GetParam().uuid);
}

TEST_F(system_uuid_query, takes_the_shortened_placeholder_of_the_file)
{
    machine.file(uuid_file, "ffffffff-ffff-ffff-ffff-fffffffffff\n");
    EXPECT_EQ(told(), "ffffffff-ffff-ffff-ffff-fffffffffff");
}

// Lines of the tool.

namespace {

struct tool_output : named_case {
    std::string printed;
    std::string uuid;
};

const tool_output lines_with_a_uuid[] = {
    {"digits", "01234567-89ab-cdef-0123-456789abcdef\n", "01234567-89ab-cdef-0123-456789abcdef"},
    {"capitals", "01234567-89AB-CDEF-0123-456789ABCDEF\n", "01234567-89AB-CDEF-0123-456789ABCDEF"},
    {"no_final_newline", "01234567-89ab-cdef-0123-456789abcdef",
     "01234567-89ab-cdef-0123-456789abcdef"},
    {"text_around_it", "  UUID: 4c4c4544-0042-3510-8051-b4c04f4d3132 (guessed)\t\n",
     "  UUID: 4c4c4544-0042-3510-8051-b4c04f4d3132 (guessed)\t"},
    {"more_digits_at_both_ends", "ff4c4c4544-0042-3510-8051-b4c04f4d3132ff\n",
     "ff4c4c4544-0042-3510-8051-b4c04f4d3132ff"},
    {"remarks_before_it",
     "# SMBIOS implementations newer than version 3.2.0 are not\n"
     "# fully supported by this version of dmidecode.\n"
     "4c4c4544-0042-3510-8051-b4c04f4d3132\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"another_behind_it",
     "4c4c4544-0042-3510-8051-b4c04f4d3132\n"
     "01234567-89ab-cdef-0123-456789abcdef\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"carriage_return", "4c4c4544-0042-3510-8051-b4c04f4d3132\rrest\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"1022_bytes", "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(986, 'x') + "\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(986, 'x')},
    {"1023_bytes", "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(987, 'x') + "\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(987, 'x')},
    {"1024_bytes", "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(988, 'x') + "\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(987, 'x')},
    {"5000_bytes", "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(4964, 'x') + "\n",
     "4c4c4544-0042-3510-8051-b4c04f4d3132" + std::string(987, 'x')},
};

class line_with_a_uuid : public system_uuid_query,
                         public testing::WithParamInterface<tool_output> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(system_uuid, line_with_a_uuid, testing::ValuesIn(lines_with_a_uuid));

TEST_P(line_with_a_uuid, is_taken_whole)
{
    machine.tool(dmidecode, GetParam().printed);
    EXPECT_EQ(told(), GetParam().uuid);
}

namespace {

const placeholder lines_without_a_uuid[] = {
    {"not_settable", "Not Settable"},
    {"not_present", "Not Present"},
    {"empty", ""},
    {"seven_digits_in_front", "c4c4544-0042-3510-8051-b4c04f4d3132"},
    {"three_digits_second", "4c4c4544-042-3510-8051-b4c04f4d3132"},
    {"five_digits_third", "4c4c4544-0042-03510-8051-b4c04f4d3132"},
    {"three_digits_fourth", "4c4c4544-0042-3510-851-b4c04f4d3132"},
    {"eleven_digits_last", "4c4c4544-0042-3510-8051-b4c04f4d313"},
    {"a_letter_that_is_no_digit", "4c4c4544-0042-3510-8051-g4c04f4d3132"},
    {"no_dashes", "4c4c4544004235108051b4c04f4d3132"},
    {"other_dashes", "4c4c4544_0042_3510_8051_b4c04f4d3132"},
};

class line_without_a_uuid : public system_uuid_query,
                            public testing::WithParamInterface<placeholder> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(system_uuid, line_without_a_uuid, testing::ValuesIn(lines_without_a_uuid));

TEST_P(line_without_a_uuid, is_passed_over)
{
    machine.tool(dmidecode, GetParam().uuid + "\n4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_EQ(told(), real_uuid);
}

TEST_P(line_without_a_uuid, is_no_answer_alone)
{
    machine.tool(dmidecode, GetParam().uuid + "\n");
    EXPECT_TRUE(asked().is_null());
    EXPECT_EQ(machine.runs(dmidecode).size(), 1U);
}
