// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr char os_release[] = "/etc/os-release";
constexpr char vendor_os_release[] = "/usr/lib/os-release";

const std::vector<std::string> begin_alone = {"_os_get_version, begin"};

// Nothing but os-release tells the scene here, and at first there is none.
class os_version : public on_machine {
protected:
    void furnish() override
    {
        machine.remove(os_release);
        machine.remove(vendor_os_release);
    }
};

} // namespace

TEST_F(os_version, is_2_for_the_education_variant)
{
    machine.file(os_release, "NAME=\"Example\"\nVARIANT=\"EDU\"\n");
    EXPECT_EQ(orvane_get_os_version(), 2U);
    EXPECT_EQ(machine.trace(), (std::vector<std::string>{"_os_get_version, begin",
                                                         "_os_get_version, os_ver = EDU"}));
}

TEST_F(os_version, is_0_for_another_variant)
{
    machine.file(os_release, "VARIANT=\"Server Edition\"\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(machine.trace(),
              (std::vector<std::string>{"_os_get_version, begin",
                                        "_os_get_version, os_ver = Server Edition"}));
}

TEST_F(os_version, is_answered_by_the_exported_query_behind_it)
{
    machine.file(os_release, "VARIANT=EDU\n");
    EXPECT_EQ(_os_get_version(), 2U);
}

TEST_F(os_version, returns_unchanged_what_the_query_behind_it_gives)
{
    interpose::_os_get_version = [] { return 4294967295U; };
    EXPECT_EQ(orvane_get_os_version(), 4294967295U);
}

TEST_F(os_version, is_0_without_a_variant_field)
{
    machine.file(os_release, "NAME=\"EDU\"\nVARIANT_ID=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(machine.trace(), begin_alone);
}

TEST_F(os_version, is_0_without_os_release)
{
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(machine.trace(), begin_alone);
}

TEST_F(os_version, is_0_without_memory_for_the_scene)
{
    machine.file(os_release, "VARIANT=EDU\n");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(orvane_get_os_version(), 0U);
    EXPECT_EQ(machine.trace(), begin_alone);
}

TEST_F(os_version, comes_from_the_vendors_file_when_there_is_no_other)
{
    machine.file(vendor_os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 2U);
}

TEST_F(os_version, comes_from_the_administrators_file_before_the_vendors)
{
    machine.file(os_release, "VARIANT=Home\n");
    machine.file(vendor_os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
}

TEST_F(os_version, does_not_complete_the_administrators_file_from_the_vendors)
{
    machine.file(os_release, "NAME=Example\n");
    machine.file(vendor_os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
}

TEST_F(os_version, is_asked_for_afresh_on_every_call)
{
    machine.file(os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 2U);
    machine.file(os_release, "VARIANT=Home\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
    machine.remove(os_release);
    machine.file(vendor_os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 2U);
}

TEST_F(os_version, is_the_same_when_no_trace_can_be_written)
{
    machine.file(os_release, "VARIANT=EDU\n");
    machine.read_only("/var/log");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(orvane_get_os_version(), 2U); }),
              "Open log file failed: No such file or directory\n"
              "Open log file failed: No such file or directory\n");
}

TEST_F(os_version, prints_nothing)
{
    machine.file(os_release, "VARIANT=EDU\n");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(orvane_get_os_version(), 2U); }), "");
}

// Fields of os-release.

namespace {

struct variant_field : named_case {
    std::string line;
    std::string scene;
    unsigned int version;
};

const variant_field variant_fields[] = {
    {"bare", "VARIANT=EDU\n", "EDU", 2},
    {"in_double_quotes", "VARIANT=\"EDU Home\"\n", "EDU Home", 2},
    {"in_single_quotes", "VARIANT='EDU'\n", "EDU", 2},
    {"with_an_escape", "VARIANT=\"EDU \\\"2\\\"\"\n", "EDU \"2\"", 2},
    {"with_a_quote_left_open", "VARIANT=\"EDU\n", "\"EDU", 0},
    {"without_a_final_newline", "VARIANT=EDU", "EDU", 2},
    {"given_twice", "VARIANT=Home\nVARIANT=EDU\n", "Home", 0},
    {"behind_a_comment", "#VARIANT=Home\nVARIANT=EDU\n", "EDU", 2},
    {"longer_than_the_code", "VARIANT=EDUCATION\n", "EDUCATION", 2},
    {"in_lower_case", "VARIANT=edu\n", "edu", 0},
    {"in_mixed_case", "VARIANT=EdU\n", "EdU", 0},
    {"shorter_than_the_code", "VARIANT=ED\n", "ED", 0},
    {"with_the_code_inside", "VARIANT=\"The EDU\"\n", "The EDU", 0},
    {"with_a_blank_before_the_code", "VARIANT=\" EDU\"\n", " EDU", 0},
    {"empty", "VARIANT=\"\"\n", "", 0},
    {"of_other_bytes", "VARIANT=\"EDU \xe6\x95\x99\xe8\x82\xb2\"\n", "EDU \xe6\x95\x99\xe8\x82\xb2",
     2},
    {"that_looks_like_a_format", "VARIANT=\"EDU %s%n%d\"\n", "EDU %s%n%d", 2},
};

class os_release_variant : public os_version, public testing::WithParamInterface<variant_field> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(os_version, os_release_variant, testing::ValuesIn(variant_fields));

TEST_P(os_release_variant, is_the_scene)
{
    machine.file(os_release, GetParam().line);
    EXPECT_EQ(orvane_get_os_version(), GetParam().version);
    EXPECT_EQ(machine.trace(),
              (std::vector<std::string>{"_os_get_version, begin",
                                        "_os_get_version, os_ver = " + GetParam().scene}));
}

// Closed standard descriptors.

namespace {

class os_version_without_standard_descriptors
    : public os_version,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(os_version, os_version_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

TEST_P(os_version_without_standard_descriptors, works_and_leaves_them_closed)
{
    machine.file(os_release, "VARIANT=EDU\n");
    unsigned int version = 0;
    EXPECT_EQ(left_open(GetParam(), [&version] { version = orvane_get_os_version(); }),
              std::vector<int>{});
    EXPECT_EQ(version, 2U);
    EXPECT_EQ(machine.trace().size(), 2U);
}
