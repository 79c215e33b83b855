// SPDX-License-Identifier: LGPL-2.1-or-later
#include "built_locale.h"
#include "fixture.h"
#include "orvane.h"

#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

namespace {

using cleaner = void(char *);

std::string cleaned(cleaner *clean, std::string text)
{
    clean(text.data());
    return text.c_str();
}

// Those of the 255 bytes of a text that the function deletes; an exclamation mark for each one that
// it changes otherwise.
std::string deleted_by(cleaner *clean)
{
    std::string deleted;
    for (int byte = 1; byte <= 255; ++byte) {
        const std::string text = {'<', static_cast<char>(byte), '>'};
        const std::string left = cleaned(clean, text);
        if (left == "<>")
            deleted += static_cast<char>(byte);
        else if (left != text)
            deleted += '!';
    }
    return deleted;
}

// Each byte that is lowered, and the one that it becomes.
std::string lowered_pairs()
{
    std::string pairs;
    for (int byte = 1; byte <= 255; ++byte) {
        const std::string text = {static_cast<char>(byte)};
        if (const std::string low = cleaned(toLowerCase, text); low != text)
            pairs += text + low;
    }
    return pairs;
}

} // namespace

// Deleting characters.

TEST(deleting_characters, is_of_these_bytes_alone)
{
    EXPECT_EQ(deleted_by(removeSpaces), "\n ");
    EXPECT_EQ(deleted_by(removeSpacesTabs), "\t ");
    EXPECT_EQ(deleted_by(removeSpecialChar), "\n ()");
}

TEST(deleting_characters, does_nothing_without_a_text)
{
    EXPECT_NO_FATAL_FAILURE(removeSpaces(nullptr));
    EXPECT_NO_FATAL_FAILURE(removeSpecialChar(nullptr));
}

TEST(deleting_characters, takes_a_text_of_any_length)
{
    std::string text;
    for (int i = 0; i < 100000; ++i)
        text += "a ";
    EXPECT_EQ(cleaned(removeSpaces, text), std::string(100000, 'a'));
}

namespace {

struct cleaning : named_case {
    cleaner *clean;
    std::string_view before; // the whole buffer, but for a last zero byte
    std::string_view after;
};

class cleaned_text : public testing::TestWithParam<cleaning> {};

} // namespace

TEST_P(cleaned_text, stands_in_its_place)
{
    std::string buffer(GetParam().before);
    GetParam().clean(buffer.data());
    EXPECT_EQ(buffer, GetParam().after);
    EXPECT_EQ(buffer.data()[buffer.size()], '\0');
}

// One pass: what stood behind the new end is left as it was.
INSTANTIATE_TEST_SUITE_P(
    removeSpaces, cleaned_text,
    testing::Values(cleaning{"example", removeSpaces, " x \n y\r", "xy\r\0 y\r"sv},
                    cleaning{"nothing_to_delete", removeSpaces, "disk", "disk"},
                    cleaning{"empty", removeSpaces, "", ""},
                    cleaning{"behind_the_end", removeSpaces, "\0a b"sv, "\0a b"sv},
                    cleaning{"all", removeSpaces, " \n \n", "\0\n \n"sv},
                    cleaning{"one", removeSpaces, " ", "\0"sv},
                    cleaning{"first", removeSpaces, " ab", "ab\0"sv},
                    cleaning{"last", removeSpaces, "ab ", "ab\0"sv},
                    cleaning{"order", removeSpaces, "c a\nb a", "caba\0 a"sv},
                    cleaning{"tabs", removeSpaces, "\ta \t", "\ta\t\0"sv},
                    cleaning{"parentheses", removeSpaces, "(a )", "(a)\0"sv},
                    cleaning{"high_bytes", removeSpaces, "\xa0 \x85\xff", "\xa0\x85\xff\0"sv}));

INSTANTIATE_TEST_SUITE_P(
    removeSpacesTabs, cleaned_text,
    testing::Values(cleaning{"example", removeSpacesTabs, " x\t\ny", "x\ny\0y"sv},
                    cleaning{"nothing_to_delete", removeSpacesTabs, "disk\n", "disk\n"},
                    cleaning{"empty", removeSpacesTabs, "", ""},
                    cleaning{"behind_the_end", removeSpacesTabs, "\0a b"sv, "\0a b"sv},
                    cleaning{"all", removeSpacesTabs, " \t \t", "\0\t \t"sv},
                    cleaning{"order", removeSpacesTabs, "c a\tb a", "caba\0 a"sv},
                    cleaning{"high_bytes", removeSpacesTabs, "\xa0\t\xff", "\xa0\xff\0"sv}));

INSTANTIATE_TEST_SUITE_P(
    removeSpecialChar, cleaned_text,
    testing::Values(
        cleaning{"example", removeSpecialChar, "ST1000 (rev A)\n", "ST1000revA\0 A)\n"sv},
        cleaning{"tab", removeSpecialChar, "a\tb", "a\tb"},
        cleaning{"empty", removeSpecialChar, "", ""},
        cleaning{"behind_the_end", removeSpecialChar, "\0a(b"sv, "\0a(b"sv},
        cleaning{"all", removeSpecialChar, "( \n)", "\0 \n)"sv},
        cleaning{"order", removeSpecialChar, "c(a)b a", "caba\0 a"sv},
        cleaning{"other_punctuation", removeSpecialChar, "[a]{b}<c>", "[a]{b}<c>"},
        cleaning{"high_bytes", removeSpecialChar, "\xa8(\xa9)\xff", "\xa8\xa9\xff\0\xff"sv}));

// Lowering.

TEST(lowering, does_nothing_without_a_text)
{
    EXPECT_NO_FATAL_FAILURE(toLowerCase(nullptr));
}

TEST(lowering, stops_at_the_end_of_the_text)
{
    char text[] = "AB\0CD";
    toLowerCase(text);
    EXPECT_EQ(std::string_view(text, sizeof text), "ab\0CD\0"sv);
}

TEST(lowering, takes_a_text_of_any_length)
{
    EXPECT_EQ(cleaned(toLowerCase, std::string(100000, 'Q')), std::string(100000, 'q'));
}

namespace {

struct language : named_case {
    const char *source;    // of localedef, or none for a locale that always stands
    const char *character; // set of it
    unsigned char capital;
    int lower; // what the C library answers for it in this locale
};

class lowering_in : public on_machine, public testing::WithParamInterface<language> {
protected:
    void furnish() override { choose(GetParam()); }

    void TearDown() override
    {
        std::setlocale(LC_ALL, "C");
        on_machine::TearDown();
    }

private:
    void choose(const language &language)
    {
        if (language.source != nullptr) {
            const auto built = machine.run({"localedef", "-i", language.source, "-f",
                                            language.character, machine.scratch(language.name)});
            ASSERT_EQ(built.status, 0) << built.error;
            ::setenv("LOCPATH", machine.scratch("").c_str(), 1);
        }
        ASSERT_STREQ(std::setlocale(LC_ALL, language.name), language.name);
        ASSERT_EQ(std::tolower(language.capital), language.lower) << "the locale is not the one";
    }
};

} // namespace

TEST_P(lowering_in, lowers_the_ascii_capitals_alone)
{
    EXPECT_EQ(lowered_pairs(), "AaBbCcDdEeFfGgHhIiJjKkLlMmNnOoPpQqRrSsTtUuVvWwXxYyZz");
}

INSTANTIATE_TEST_SUITE_P(
    locale, lowering_in,
    testing::Values(language{"C", nullptr, nullptr, 0xc4, 0xc4},
                    language{"C.UTF-8", nullptr, nullptr, 0xc4, 0xc4},
                    language{"de_DE.ISO-8859-1", "de_DE", "ISO-8859-1", 0xc4, 0xe4},
                    language{"tr_TR.ISO-8859-9", "tr_TR", "ISO-8859-9", 'I', 0xfd}));

using lowering_in_a_made_locale = on_machine;

// The C library's tolower() is used, but for an answer outside the ASCII letters.
TEST_F(lowering_in_a_made_locale, takes_ascii_letters_alone_from_the_locale)
{
    const built_locale locale(machine, "odd",
                              "upper <U0041>;<U0042>;<U0043>\n"
                              "tolower (<U0041>,<U0078>);(<U0042>,<U007B>);(<U0043>,<U0060>)\n");
    ASSERT_EQ(std::tolower('B'), '{');
    EXPECT_EQ(cleaned(toLowerCase, "ABC"), "xbc");
}

// Zero bytes.

namespace {

using bytes = std::vector<unsigned char>;

struct packing : named_case {
    uint32_t length; // of the range, which may be shorter than the bytes
    bytes before;
    bytes after;
};

class packed_range : public testing::TestWithParam<packing> {};

} // namespace

TEST_P(packed_range, has_no_zero_byte_before_its_repeated_last_byte)
{
    bytes range = GetParam().before;
    remove_null_chars(range.data(), GetParam().length);
    EXPECT_EQ(range, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    remove_null_chars, packed_range,
    testing::Values(
        packing{"example", 5, {'a', 0, 0, 'b', 'c'}, {'a', 'b', 'c', 'c', 'c'}},
        packing{"no_zero", 3, {'a', 'b', 'c'}, {'a', 'b', 'c'}},
        packing{"one_byte", 1, {'a'}, {'a'}}, packing{"one_zero", 1, {0}, {0}},
        packing{"zeros_alone", 3, {0, 0, 0}, {0, 0, 0}},
        packing{"zeros_first", 3, {0, 0, 'a'}, {'a', 'a', 'a'}},
        packing{"zeros_last", 3, {'a', 0, 0}, {'a', 0, 0}},
        packing{"zero_inside_and_last", 4, {'a', 0, 'b', 0}, {'a', 'b', 0, 0}},
        packing{"zero_first_and_inside", 4, {0, 'a', 0, 'b'}, {'a', 'b', 'b', 'b'}},
        packing{"runs", 8, {0, 0, 1, 0, 0, 0, 2, 3}, {1, 2, 3, 3, 3, 3, 3, 3}},
        packing{"order", 6, {3, 0, 1, 0, 2, 1}, {3, 1, 2, 1, 1, 1}},
        packing{"high_bytes", 4, {0xff, 0, 0x80, 0xfe}, {0xff, 0x80, 0xfe, 0xfe}},
        packing{"zero_digits", 3, {'0', 0, '0'}, {'0', '0', '0'}},
        packing{"behind_the_range", 3, {'a', 0, 'b', 0, 'c', 0}, {'a', 'b', 'b', 0, 'c', 0}},
        packing{"zero_at_the_end_of_the_range", 2, {'a', 0, 'b', 'c'}, {'a', 0, 'b', 'c'}},
        packing{"no_range", 0, {0, 'a'}, {0, 'a'}}));

TEST(removing_zero_bytes, takes_a_range_of_more_than_sixteen_bits)
{
    bytes range(100000, 'a');
    range.front() = 0;
    range.back() = 'x';
    remove_null_chars(range.data(), 100000);
    bytes packed(100000, 'a');
    packed[99998] = packed[99999] = 'x';
    EXPECT_EQ(range, packed);
}

TEST(removing_zero_bytes, looks_at_nothing_without_a_range)
{
    EXPECT_NO_FATAL_FAILURE(remove_null_chars(nullptr, 0));
}
