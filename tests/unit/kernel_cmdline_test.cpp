// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/kernel_cmdline.h"
#include "fixture.h"

#include <csignal>
#include <string>

namespace {

constexpr char none[] = "(no text)";

struct understood : named_case {
    std::string text;
    std::string meaning;
};

// Words of the command line.

std::string root_word(const std::string &line)
{
    return owned_text(orvane::cmdline_find_root_token(line.c_str())).value();
}

class words_of_a_line : public testing::TestWithParam<understood> {};

} // namespace

TEST_P(words_of_a_line, have_the_first_that_begins_with_root)
{
    EXPECT_EQ(root_word(GetParam().text), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(
    with_a_root, words_of_a_line,
    testing::Values(
        understood{"alone", "root=/dev/sda1", "root=/dev/sda1"},
        understood{"first", "root=/dev/sda1 ro quiet", "root=/dev/sda1"},
        understood{"last", "ro quiet root=/dev/sda1", "root=/dev/sda1"},
        understood{"between_others", "ro root=/dev/vda1 quiet", "root=/dev/vda1"},
        understood{"twice", "root=/dev/sda1 root=/dev/sdb1", "root=/dev/sda1"},
        understood{"behind_rootfstype", "rootfstype=ext4 root=/dev/sda1", "root=/dev/sda1"},
        understood{"behind_another_key", "xroot=/dev/sdb1 root=/dev/sda1", "root=/dev/sda1"},
        understood{"behind_capitals", "ROOT=/dev/sdb1 Root=/dev/sdc1 root=/dev/sda1",
                   "root=/dev/sda1"},
        understood{"behind_a_tab", "ro\troot=/dev/sda1\tquiet", "root=/dev/sda1"},
        understood{"between_runs_of_both", " \t ro \t\t root=/dev/sda1 \t", "root=/dev/sda1"},
        understood{"without_a_value", "ro root= quiet", "root="},
        understood{"without_a_value_before_one_with", "root= root=/dev/sda1", "root="},
        understood{"with_several_parts", "root=UUID=1234-ABCD=x", "root=UUID=1234-ABCD=x"},
        understood{"with_a_newline", "root=/dev/sda1\nquiet ro", "root=/dev/sda1\nquiet"},
        understood{"with_other_white_space", "root=a\rb\vc\fd e", "root=a\rb\vc\fd"},
        understood{"with_quotes", "root=\"/dev/my disk\"", "root=\"/dev/my"},
        understood{"with_bytes_above_ascii", "root=\xc3\xbc\xa0\xff x", "root=\xc3\xbc\xa0\xff"}));

INSTANTIATE_TEST_SUITE_P(
    without_a_root, words_of_a_line,
    testing::Values(understood{"empty", "", none}, understood{"blank", " \t  ", none},
                    understood{"others", "ro quiet", none},
                    understood{"key_alone", "ro root", none},
                    understood{"blank_before_the_sign", "root =/dev/sda1", none},
                    understood{"capitals", "ROOT=/dev/sda1 rooT=/dev/sda1", none},
                    understood{"longer_keys", "rootfstype=ext4 rootdelay=5 rootflags=ro", none},
                    understood{"in_a_value", "init=root=/dev/sda1", none},
                    understood{"behind_a_quote", "\"root=/dev/sda1\"", none},
                    understood{"behind_a_newline", "ro\nroot=/dev/sda1", none},
                    understood{"behind_other_white_space", "ro\rroot=a\vroot=b\froot=c", none}));

TEST(root_word_of_a_line, is_none_without_a_line)
{
    EXPECT_EQ(orvane::cmdline_find_root_token(nullptr), nullptr);
}

TEST(root_word_of_a_line, leaves_the_line_as_it_is)
{
    const std::string line = "ro root=/dev/sda1 quiet";
    EXPECT_EQ(root_word(line), "root=/dev/sda1");
    EXPECT_EQ(line, "ro root=/dev/sda1 quiet");
}

TEST(root_word_of_a_line, may_end_at_the_4095th_character)
{
    EXPECT_EQ(root_word(std::string(4080, 'q') + " root=/dev/sda1"), "root=/dev/sda1");
}

TEST(root_word_of_a_line, may_have_4095_characters)
{
    const std::string word = "root=" + std::string(4090, 'x');
    EXPECT_EQ(root_word(word), word);
}

TEST(root_word_of_a_line, is_asked_of_no_line_of_4096_characters)
{
    const auto end = run_program({"true"}, [] {
        root_word("root=/dev/sda1 " + std::string(4081, 'q'));
        return true;
    });
    EXPECT_EQ(end.status, 128 + SIGABRT);
    EXPECT_EQ(end.error,
              "liborvane: fatal: the kernel command line is longer than 4095 characters\n");
}

// What a word means.

namespace {

std::string meaning_of(const std::string &word)
{
    return owned_text(orvane::resolve_root_spec(word.c_str())).value();
}

class root_spec : public testing::TestWithParam<understood> {};

} // namespace

TEST_P(root_spec, means_a_device_path)
{
    EXPECT_EQ(meaning_of(GetParam().text), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(
    by_path, root_spec,
    testing::Values(understood{"path", "root=/dev/sda2", "/dev/sda2"},
                    understood{"mapped", "root=/dev/mapper/vg-root", "/dev/mapper/vg-root"},
                    understood{"relative", "root=sda2", "sda2"},
                    understood{"numbers", "root=8:2", "8:2"},
                    understood{"behind_several_signs", "root===/dev/sda2", "/dev/sda2"},
                    understood{"before_a_sign", "root=/dev/sda2=x", "/dev/sda2"},
                    understood{"another_key", "boot=/dev/sda2", "/dev/sda2"},
                    understood{"no_key", "=/dev/sda2=/dev/sdb2", "/dev/sdb2"},
                    understood{"signs_before_the_key", "==root=/dev/sda2", "/dev/sda2"},
                    understood{"blanks", "root=my disk\t", "my disk\t"},
                    understood{"shell_signs", "root=$(x);'\"%s%n\\", "$(x);'\"%s%n\\"},
                    understood{"bytes_above_ascii", "root=/dev/\xc3\xbc\xff", "/dev/\xc3\xbc\xff"},
                    understood{"slashes_unescaped", "root=a/b", "a/b"}));

INSTANTIATE_TEST_SUITE_P(
    by_uuid, root_spec,
    testing::Values(
        understood{"uuid", "root=UUID=1234-ABCD", "/dev/disk/by-uuid/1234-ABCD"},
        understood{"long_uuid", "root=UUID=6f3a0c1e-0b52-4d1c-9a8e-0123456789ab",
                   "/dev/disk/by-uuid/6f3a0c1e-0b52-4d1c-9a8e-0123456789ab"},
        understood{"cut_at_a_sign", "root=UUID=12=34", "/dev/disk/by-uuid/12"},
        understood{"behind_several_signs", "root==UUID===1234", "/dev/disk/by-uuid/1234"},
        understood{"another_key", "boot=UUID=1234", "/dev/disk/by-uuid/1234"},
        understood{"form_as_value", "root=UUID=LABEL=x", "/dev/disk/by-uuid/LABEL"},
        understood{"not_escaped", "root=UUID=a/b\\c d%s", "/dev/disk/by-uuid/a/b\\c d%s"}));

INSTANTIATE_TEST_SUITE_P(
    by_label, root_spec,
    testing::Values(
        understood{"label", "root=LABEL=system", "/dev/disk/by-label/system"},
        understood{"slash_inside", "root=LABEL=a/b", "/dev/disk/by-label/a\\x2fb"},
        understood{"slash", "root=LABEL=/", "/dev/disk/by-label/\\x2f"},
        understood{"slashes", "root=LABEL=//a//", "/dev/disk/by-label/\\x2f\\x2fa\\x2f\\x2f"},
        understood{"cut_at_a_sign", "root=LABEL=a=b", "/dev/disk/by-label/a"},
        understood{"behind_several_signs", "root==LABEL==a", "/dev/disk/by-label/a"},
        understood{"form_as_value", "root=LABEL=UUID=x", "/dev/disk/by-label/UUID"},
        understood{"nothing_else_escaped", "root=LABEL=my disk\t\\x2f%s%n'\"\xc3\xbc\xff",
                   "/dev/disk/by-label/my disk\t\\x2f%s%n'\"\xc3\xbc\xff"}));

INSTANTIATE_TEST_SUITE_P(by_an_unknown_form, root_spec,
                         testing::Values(understood{"partuuid", "root=PARTUUID=xyz", "PARTUUID"},
                                         understood{"partlabel", "root=PARTLABEL=root",
                                                    "PARTLABEL"},
                                         understood{"small_uuid", "root=uuid=1234", "uuid"},
                                         understood{"mixed_uuid", "root=Uuid=1234", "Uuid"},
                                         understood{"longer_uuid", "root=UUIDX=1234", "UUIDX"},
                                         understood{"shorter_uuid", "root=UUI=1234", "UUI"},
                                         understood{"small_label", "root=label=system", "label"},
                                         understood{"longer_label", "root=LABELS=system", "LABELS"},
                                         understood{"shorter_label", "root=LABE=system", "LABE"}));

INSTANTIATE_TEST_SUITE_P(without_a_value, root_spec,
                         testing::Values(understood{"empty", "", none},
                                         understood{"sign", "=", none},
                                         understood{"key_alone", "root", none},
                                         understood{"key", "root=", none},
                                         understood{"key_and_signs", "root===", none},
                                         understood{"value_alone", "=/dev/sda2", none},
                                         understood{"uuid_alone", "root=UUID", none},
                                         understood{"uuid", "root=UUID=", none},
                                         understood{"uuid_and_signs", "root=UUID==", none},
                                         understood{"label_alone", "root=LABEL", none},
                                         understood{"label", "root=LABEL=", none},
                                         understood{"label_and_signs", "root=LABEL==", none}));

namespace {

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int time = 0; time < times; ++time)
        all += text;
    return all;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    cut_at_4095_characters, root_spec,
    testing::Values(understood{"at", "root=" + std::string(4090, 'd'), std::string(4090, 'd')},
                    understood{"above", "root=" + std::string(4091, 'd'), std::string(4090, 'd')},
                    understood{"far_above", "root=" + std::string(100000, 'd'),
                               std::string(4090, 'd')},
                    understood{"value_at", std::string(4093, 'k') + "=/dev/sda2", "/"},
                    understood{"value_above", std::string(4094, 'k') + "=/dev/sda2", none}));

INSTANTIATE_TEST_SUITE_P(by_uuid_cut_at_4095_characters, root_spec,
                         testing::Values(understood{"below", "root=UUID=" + std::string(4076, 'u'),
                                                    "/dev/disk/by-uuid/" + std::string(4076, 'u')},
                                         understood{"at", "root=UUID=" + std::string(4077, 'u'),
                                                    "/dev/disk/by-uuid/" + std::string(4077, 'u')},
                                         understood{"above", "root=UUID=" + std::string(4078, 'u'),
                                                    "/dev/disk/by-uuid/" +
                                                        std::string(4077, 'u')}));

INSTANTIATE_TEST_SUITE_P(by_label_cut_at_4095_characters, root_spec,
                         testing::Values(understood{"below", "root=LABEL=" + std::string(4075, 'l'),
                                                    "/dev/disk/by-label/" + std::string(4075, 'l')},
                                         understood{"at", "root=LABEL=" + std::string(4076, 'l'),
                                                    "/dev/disk/by-label/" + std::string(4076, 'l')},
                                         understood{"above", "root=LABEL=" + std::string(4077, 'l'),
                                                    "/dev/disk/by-label/" +
                                                        std::string(4076, 'l')}));

INSTANTIATE_TEST_SUITE_P(
    by_label_of_slashes_cut_at_4095_characters, root_spec,
    testing::Values(understood{"below", "root=LABEL=" + std::string(1018, '/') + "abc",
                               "/dev/disk/by-label/" + repeated("\\x2f", 1018) + "abc"},
                    understood{"at", "root=LABEL=" + std::string(1019, '/'),
                               "/dev/disk/by-label/" + repeated("\\x2f", 1019)},
                    understood{"above_by_one", "root=LABEL=" + std::string(1019, '/') + "a",
                               "/dev/disk/by-label/" + repeated("\\x2f", 1019)},
                    understood{"above_by_a_slash", "root=LABEL=" + std::string(1020, '/'),
                               "/dev/disk/by-label/" + repeated("\\x2f", 1019)},
                    understood{"escaped_to_4096", "root=LABEL=" + std::string(1024, '/'),
                               "/dev/disk/by-label/" + repeated("\\x2f", 1019)},
                    understood{"as_many_as_there_can_be", "root=LABEL=" + std::string(4084, '/'),
                               "/dev/disk/by-label/" + repeated("\\x2f", 1019)},
                    understood{"behind_three_of_the_four_characters",
                               "root=LABEL=a" + std::string(1019, '/'),
                               "/dev/disk/by-label/a" + repeated("\\x2f", 1018) + "\\x2"},
                    understood{"behind_two", "root=LABEL=ab" + std::string(4000, '/'),
                               "/dev/disk/by-label/ab" + repeated("\\x2f", 1018) + "\\x"},
                    understood{"behind_one", "root=LABEL=abc" + std::string(4000, '/'),
                               "/dev/disk/by-label/abc" + repeated("\\x2f", 1018) + "\\"}));

TEST(root_spec_of_a_word, leaves_the_word_as_it_is)
{
    const std::string word = "root=LABEL=a/b=c";
    EXPECT_EQ(meaning_of(word), "/dev/disk/by-label/a\\x2fb");
    EXPECT_EQ(word, "root=LABEL=a/b=c");
}
