// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What no command line of the kernel shows through the exported function.
#include "disk/kernel_cmdline.h"
#include "fixture.h"

#include <string>

namespace {

struct root_spec : named_case {
    const char *token;
    const char *path;
};

class resolved_root_spec : public testing::TestWithParam<root_spec> {};

std::string root_word(const std::string &line)
{
    return owned_text(orvane::cmdline_find_root_token(line.c_str())).value();
}

} // namespace

TEST(root_word, is_none_without_a_line)
{
    EXPECT_EQ(orvane::cmdline_find_root_token(nullptr), nullptr);
}

TEST(root_word, includes_its_key_and_every_part)
{
    EXPECT_EQ(root_word("ro root=UUID=1234-ABCD=x quiet"), "root=UUID=1234-ABCD=x");
}

TEST(root_word, ends_at_a_blank_or_a_tab_alone)
{
    EXPECT_EQ(root_word("ro\nroot=a"), "(no text)");
    EXPECT_EQ(root_word("root=a\rb\vc\fd\ne\tf"), "root=a\rb\vc\fd\ne");
}

TEST_P(resolved_root_spec, is_a_path_whatever_the_key)
{
    EXPECT_EQ(owned_text(orvane::resolve_root_spec(GetParam().token)).value(), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    of, resolved_root_spec,
    testing::Values(root_spec{"another_key", "boot=UUID=1234", "/dev/disk/by-uuid/1234"},
                    root_spec{"no_key", "=/dev/sda2=/dev/sdb2", "/dev/sdb2"},
                    root_spec{"blanks", "root=LABEL=my disk\t", "/dev/disk/by-label/my disk\t"},
                    root_spec{"a_key_alone", "root", "(no text)"},
                    root_spec{"a_sign_alone", "=", "(no text)"},
                    root_spec{"nothing", "", "(no text)"}));
