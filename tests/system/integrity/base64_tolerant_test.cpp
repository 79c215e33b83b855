// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Decoding base64 that may be broken into lines.
#include "base64_samples.h"
#include "fixture.h"
#include "orvane.h"
#include "sanitizers.h"
#include "standard_output.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

struct tolerant_decoding {
    static constexpr int untouched = 77;

    std::optional<std::string> data; // none where no block is returned
    int size = untouched;
    std::string output;
};

tolerant_decoding decoded(const char *text)
{
    tolerant_decoding found;
    found.output = standard_output_of([&found, text] {
        unsigned char *const data = base64_decode_clean(text, &found.size);
        if (data != nullptr)
            found.data.emplace(data, data + std::max(found.size, 0));
        std::free(data);
    });
    return found;
}

std::string printed_line(const std::string &cleaned)
{
    return "Cleaned Base64 (" + std::to_string(cleaned.size()) + " chars): " + cleaned + "\n";
}

class tolerant_base64 : public on_machine {};

class tolerant_base64_sample : public tolerant_base64,
                               public testing::WithParamInterface<base64_sample> {};

} // namespace

TEST_P(tolerant_base64_sample, is_decoded_and_printed)
{
    const tolerant_decoding found = decoded(GetParam().text.c_str());
    EXPECT_EQ(found.data, GetParam().bytes);
    EXPECT_EQ(found.size, static_cast<int>(GetParam().bytes.size()));
    EXPECT_EQ(found.output, printed_line(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(of, tolerant_base64_sample, testing::ValuesIn(base64_samples));

namespace {

struct layout : named_case {
    std::string text;
    std::string data;
    const char *output;
};

class broken_base64 : public tolerant_base64, public testing::WithParamInterface<layout> {};
class wrong_base64 : public tolerant_base64, public testing::WithParamInterface<layout> {};

} // namespace

TEST_P(broken_base64, is_decoded_and_printed_on_one_line)
{
    const tolerant_decoding found = decoded(GetParam().text.c_str());
    EXPECT_EQ(found.data, GetParam().data);
    EXPECT_EQ(found.size, static_cast<int>(GetParam().data.size()));
    EXPECT_EQ(found.output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    by, broken_base64,
    testing::Values(
        layout{"a_line_end", "TWFu\n", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
        layout{"crlf", "TWFu\r\nTWFu\r\n", "ManMan", "Cleaned Base64 (8 chars): TWFuTWFu\n"},
        layout{"breaks_in_a_group", "T\rW\nF u", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
        layout{"a_break_in_the_pads", "TQ=\n=", "M", "Cleaned Base64 (4 chars): TQ==\n"},
        layout{"blanks_around", " \n\r TWFu \r\n ", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
        layout{"a_zero_byte", std::string("TWFu\0TWFu", 9), "Man",
               "Cleaned Base64 (4 chars): TWFu\n"}));

TEST_P(wrong_base64, is_printed_and_decoded_to_nothing)
{
    const tolerant_decoding found = decoded(GetParam().text.c_str());
    EXPECT_EQ(found.data, std::nullopt);
    EXPECT_EQ(found.size, 0);
    EXPECT_EQ(found.output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    of, wrong_base64,
    testing::Values(layout{"no_character", "", "", "Cleaned Base64 (0 chars): \n"},
                    layout{"line_breaks_alone", "\r\n\n\r", "", "Cleaned Base64 (0 chars): \n"},
                    layout{"blanks_alone", "   ", "", "Cleaned Base64 (0 chars): \n"},
                    layout{"one_character", "T", "", "Cleaned Base64 (1 chars): T\n"},
                    layout{"three_characters", "TWF", "", "Cleaned Base64 (3 chars): TWF\n"},
                    layout{"other_characters", "%s%n", "", "Cleaned Base64 (4 chars): %s%n\n"},
                    layout{"characters_for_urls", "-_-_", "", "Cleaned Base64 (4 chars): -_-_\n"},
                    layout{"bytes_above_0x7f", "\xc3\xa4\xc3\xb6", "",
                           "Cleaned Base64 (4 chars): \xc3\xa4\xc3\xb6\n"},
                    layout{"a_tab_in_front", "\tTWFu", "", "Cleaned Base64 (5 chars): \tTWFu\n"},
                    layout{"a_tab_inside", "TW\tFu", "", "Cleaned Base64 (5 chars): TW\tFu\n"},
                    layout{"a_tab_between_lines", "TWFu\n\tTWFu", "",
                           "Cleaned Base64 (9 chars): TWFu\tTWFu\n"}));

TEST_F(tolerant_base64, is_decoded_in_blocks_of_1024_characters_with_tolerant_ends)
{
    const std::string block = repeated("TWFu", 256);
    const std::string block_bytes = repeated("Man", 256);
    const std::vector<std::pair<std::string, std::string>> decodings = {
        // Part of a group at the end.
        {"TWFuT", "Man"},
        {"TWFu!", "Man"},
        {"TWFu\t", "Man"},
        // Tabs in front, tabs and hyphens behind, in whole groups.
        {"\t\t\t\tTWFu", "Man"},
        {"TWFu\t\t\t\t", "Man"},
        {"TWFu----", "Man"},
        {"\tTWFu\t--", "Man"},
        {"----TWFu", ""},
        {"TWFu\t\t\t\tTWFu", ""},
        {"TWFu-TWFu---", ""},
        // Pads are zero bits everywhere, and leave bytes out at the end alone.
        {"====", std::string(1, '\0')},
        {"T===", "L"},
        {"TW=u", "M`."},
        {"TQ==TWFu", std::string("M\0\0Man", 6)},
        {"TQ==----", std::string("M\0\0", 3)},
        // A block that is wrong ends the decoding.
        {block + "!!!!", block_bytes},
        {block + "TW\tFu!!!", block_bytes},
        {"!" + block, ""},
        {block + "\t\t\t\tTWFu", block_bytes + "Man"},
        {"\t\t\t\t" + block, block_bytes},
        {std::string(1020, '\t') + "TWFuTWFu", "ManMan"},
        {std::string(1024, '\t') + "TWFu", ""},
        {block.substr(0, 1022) + "==TWFu", block_bytes.substr(0, 765) + "MMan"},
    };
    for (const auto &[text, bytes] : decodings) {
        const tolerant_decoding found = decoded(text.c_str());
        EXPECT_EQ(found.data.value_or(""), bytes) << testing::PrintToString(text);
        EXPECT_EQ(found.size, static_cast<int>(bytes.size())) << testing::PrintToString(text);
    }
}

TEST_F(tolerant_base64, leaves_out_line_feeds_carriage_returns_and_blanks_alone)
{
    std::vector<int> left_out;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = {'T', 'W', static_cast<char>(byte), 'F', 'u'};
        const std::string output = decoded(text.c_str()).output;
        if (output == printed_line("TWFu"))
            left_out.push_back(byte);
        else
            EXPECT_EQ(output, printed_line(text));
    }
    EXPECT_EQ(left_out, (std::vector{10, 13, 32}));
}

TEST_F(tolerant_base64, is_decoded_whole_whatever_its_size)
{
    std::vector<std::size_t> sizes = {1048576};
    for (std::size_t size = 1; size <= 100; ++size)
        sizes.push_back(size);
    for (std::size_t size = 1020; size <= 1030; ++size)
        sizes.push_back(size);
    for (const std::size_t size : sizes) {
        const base64_sample expected = long_sample(size);
        EXPECT_TRUE(decoded(expected.text.c_str()).data == expected.bytes) << size;
        EXPECT_TRUE(decoded((" \r\n" + expected.text + "\n").c_str()).data == expected.bytes)
            << size;
    }
}

TEST_F(tolerant_base64, leaves_the_text_as_it_is)
{
    std::string text = " TW\r\nFu ";
    EXPECT_EQ(decoded(text.data()).data, "Man");
    EXPECT_EQ(text, " TW\r\nFu ");
}

TEST_F(tolerant_base64, needs_a_text_and_a_place_for_the_count)
{
    const tolerant_decoding found = decoded(nullptr);
    EXPECT_EQ(found.data, std::nullopt);
    EXPECT_EQ(found.size, tolerant_decoding::untouched);
    EXPECT_EQ(found.output, "");
    EXPECT_EQ(standard_output_of([] {
                  EXPECT_EQ(base64_decode_clean("TWFu", nullptr), nullptr);
                  EXPECT_EQ(base64_decode_clean(nullptr, nullptr), nullptr);
              }),
              "");
}

TEST_F(tolerant_base64, prints_nothing_on_standard_error_and_leaves_no_trace)
{
    EXPECT_EQ(standard_error_of([] {
                  decoded("TWFu");
                  decoded("!!!!");
                  decoded(nullptr);
              }),
              "");
    expect_trace({});
}

TEST_F(tolerant_base64, is_decoded_without_standard_descriptors_which_stay_closed)
{
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        int size = 0;
        // What could not be printed is printed afterwards.
        standard_output_of([&closed, &size] {
            const auto decoding = [&size] { std::free(base64_decode_clean("TWFu", &size)); };
            EXPECT_EQ(left_open(closed, decoding), std::vector<int>{});
        });
        EXPECT_EQ(size, 3);
    }
}

TEST_F(tolerant_base64, is_not_decoded_where_an_int_cannot_count_the_text)
{
    if (has_address_sanitizer() || has_thread_sanitizer())
        GTEST_SKIP() << "a sanitizer needs memory of its own for each byte";
    const repeated_block text(1UL << 31U, ' ');
    const tolerant_decoding found = decoded(text.data());
    EXPECT_EQ(found.data, std::nullopt);
    EXPECT_EQ(found.size, tolerant_decoding::untouched);
    EXPECT_EQ(found.output, "");
}
