// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The variant of the operating system where os-release is the only source of the scene.
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <optional>
#include <string>
#include <vector>

namespace {

constexpr char os_release[] = "/etc/os-release";
constexpr char vendor_os_release[] = "/usr/lib/os-release";

class os_version : public on_machine {
protected:
    void furnish() override
    {
        machine.remove(os_release);
        machine.remove(vendor_os_release);
    }
};

struct variant_field : named_case {
    const char *os_release;
    std::string scene;
    unsigned int version;
};

class os_release_variant : public os_version, public testing::WithParamInterface<variant_field> {};

} // namespace

TEST_P(os_release_variant, is_the_scene)
{
    machine.file(os_release, GetParam().os_release);
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(_os_get_version(), GetParam().version); }), "");
    expect_trace({"_os_get_version, begin", "_os_get_version, os_ver = " + GetParam().scene});
}

INSTANTIATE_TEST_SUITE_P(
    os_version, os_release_variant,
    testing::Values(variant_field{"bare", "NAME=Example\nVARIANT=EDU\n", "EDU", 2},
                    variant_field{"another", "VARIANT=\"Server Edition\"\n", "Server Edition", 0},
                    variant_field{"in_double_quotes", "VARIANT=\"EDU Home\"\n", "EDU Home", 2},
                    variant_field{"in_single_quotes", "VARIANT='EDU'\n", "EDU", 2},
                    variant_field{"with_an_escape", "VARIANT=\"EDU \\\"2\\\"\"\n", "EDU \"2\"", 2},
                    variant_field{"with_an_unclosed_quote", "VARIANT=\"EDU\n", "\"EDU", 0},
                    variant_field{"without_a_final_newline", "VARIANT=EDU", "EDU", 2},
                    variant_field{"given_twice", "VARIANT=Home\nVARIANT=EDU\n", "Home", 0},
                    variant_field{"behind_a_comment", "#VARIANT=Home\nVARIANT=EDU\n", "EDU", 2},
                    variant_field{"behind_empty_lines", "\n\nVARIANT=EDU\n\n", "EDU", 2},
                    variant_field{"with_a_comment_behind", "VARIANT=EDU #2\n", "EDU #2", 2},
                    variant_field{"empty", "VARIANT=\"\"\n", "", 0},
                    variant_field{"missing_behind_the_key", "VARIANT=\n", "", 0}));

namespace {

struct os_release_files : named_case {
    std::optional<std::string> administrators;
    std::optional<std::string> vendors;
    unsigned int version;
    bool has_scene;
};

class os_version_of_files : public os_version,
                            public testing::WithParamInterface<os_release_files> {};

} // namespace

TEST_P(os_version_of_files, comes_from_the_administrators_first)
{
    if (GetParam().administrators)
        machine.file(os_release, *GetParam().administrators);
    if (GetParam().vendors)
        machine.file(vendor_os_release, *GetParam().vendors);
    EXPECT_EQ(orvane_get_os_version(), GetParam().version);
    EXPECT_EQ(machine.trace().size(), GetParam().has_scene ? 2U : 1U);
    EXPECT_EQ(machine.trace().front(), "_os_get_version, begin");
}

INSTANTIATE_TEST_SUITE_P(
    os_version, os_version_of_files,
    testing::Values(
        os_release_files{"none", {}, {}, 0, false},
        os_release_files{"the_vendors_alone", {}, "VARIANT=EDU\n", 2, true},
        os_release_files{"both", "VARIANT=Home\n", "VARIANT=EDU\n", 0, true},
        os_release_files{"the_administrators_without_it", "NAME=x\n", "VARIANT=EDU\n", 0, false},
        os_release_files{"an_empty_one_before_the_vendors", "", "VARIANT=EDU\n", 0, false},
        os_release_files{"another_field", "NAME=EDU\nVARIANT_ID=EDU\n", {}, 0, false}));

TEST_F(os_version, is_queried_on_every_call)
{
    machine.file(os_release, "VARIANT=EDU\n");
    EXPECT_EQ(orvane_get_os_version(), 2U);
    machine.file(os_release, "VARIANT=Home\n");
    EXPECT_EQ(orvane_get_os_version(), 0U);
}

TEST_F(os_version, is_the_result_of_the_exported_query_behind_it)
{
    interpose::_os_get_version = [] { return 4294967295U; };
    EXPECT_EQ(orvane_get_os_version(), 4294967295U);
}

TEST_F(os_version, is_the_same_when_no_trace_can_be_written)
{
    machine.file(os_release, "VARIANT=EDU\n");
    machine.read_only("/var/log");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(orvane_get_os_version(), 2U); }),
              "Open log file failed: No such file or directory\n"
              "Open log file failed: No such file or directory\n");
}

TEST_F(os_version, leaves_closed_standard_descriptors_closed)
{
    machine.file(os_release, "VARIANT=EDU\n");
    for (const std::vector<int> &closed : every_set_of_standard_descriptors())
        EXPECT_EQ(left_open(closed, [] { EXPECT_EQ(orvane_get_os_version(), 2U); }),
                  std::vector<int>{});
    EXPECT_EQ(machine.trace().size(), 14U);
}
