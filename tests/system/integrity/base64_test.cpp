// SPDX-License-Identifier: LGPL-2.1-or-later
#include "base64_samples.h"
#include "built_locale.h"
#include "fixture.h"
#include "guarded_buffer.h"
#include "orvane.h"
#include "sanitizers.h"

#include <cctype>
#include <climits>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr unsigned int untouched = 4711;

// What an encoding stores.
struct encoding {
    explicit encoding(std::size_t size) : buffer(size) {}

    int of(std::string_view bytes)
    {
        return base64_encode(bytes.data(), static_cast<int>(bytes.size()), buffer.data(), &length);
    }
    [[nodiscard]] testing::AssertionResult stored(const std::string &text) const
    {
        return length == text.size() ? buffer.holds(text)
                                     : testing::AssertionFailure() << "the length is " << length;
    }
    [[nodiscard]] testing::AssertionResult stored_nothing() const
    {
        return length == untouched ? buffer.holds("")
                                   : testing::AssertionFailure() << "the length is " << length;
    }

    guarded_buffer buffer;
    unsigned int length = untouched;
};

// What a decoding stores.
struct decoding : encoding {
    using encoding::encoding;

    int of(const std::string &text, int given_length)
    {
        return base64_decode(text.c_str(), given_length, buffer.data(), &length);
    }
    int of(const std::string &text) { return of(text, static_cast<int>(text.size())); }
};

class sample : public testing::TestWithParam<base64_sample> {};

} // namespace

TEST_P(sample, is_encoded_on_one_line_without_a_terminator)
{
    encoding result(GetParam().text.size());
    EXPECT_EQ(result.of(GetParam().bytes), 0);
    EXPECT_TRUE(result.stored(GetParam().text));
}

TEST_P(sample, is_decoded_without_a_terminator)
{
    decoding result(GetParam().text.size());
    EXPECT_EQ(result.of(GetParam().text), 0);
    EXPECT_TRUE(result.stored(GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(base64, sample, testing::ValuesIn(base64_samples));

TEST(base64, is_of_bytes_of_any_number)
{
    std::vector<std::size_t> sizes = {65536, 1048576, 3145730};
    for (std::size_t size = 1; size <= 3100; ++size)
        sizes.push_back(size);
    for (const std::size_t size : sizes) {
        const base64_sample expected = long_sample(size);
        encoding encoded(expected.text.size());
        ASSERT_EQ(encoded.of(expected.bytes), 0);
        ASSERT_TRUE(encoded.stored(expected.text)) << size;
        decoding decoded(expected.text.size());
        ASSERT_EQ(decoded.of(expected.text), 0);
        ASSERT_TRUE(decoded.stored(expected.bytes)) << size;
    }
}

using quiet_base64 = on_machine;

TEST_F(quiet_base64, prints_nothing_and_leaves_no_trace)
{
    testing::internal::CaptureStdout();
    const std::string error = standard_error_of([] {
        EXPECT_EQ(encoding(8).of("abc"), 0);
        EXPECT_EQ(encoding(8).of(""), 62);
        EXPECT_EQ(decoding(8).of("YWJj"), 0);
        EXPECT_EQ(decoding(8).of("YW J"), 60);
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout() + error, "");
    expect_trace({});
}

// Encoding.

TEST(base64_encoding, needs_bytes_and_destinations)
{
    encoding result(8);
    char *const text = result.buffer.data();
    EXPECT_EQ(base64_encode("", 0, text, &result.length), 62);
    EXPECT_EQ(base64_encode(nullptr, 3, text, &result.length), 62);
    EXPECT_EQ(base64_encode("abc", 3, nullptr, &result.length), 62);
    EXPECT_EQ(base64_encode("abc", 3, text, nullptr), 62);
    EXPECT_EQ(base64_encode(nullptr, 0, nullptr, nullptr), 62);
    EXPECT_TRUE(result.stored_nothing());
}

TEST(base64_encoding, is_of_as_many_bytes_as_the_caller_gives)
{
    encoding result(8);
    EXPECT_EQ(base64_encode("abcdef", 4, result.buffer.data(), &result.length), 0);
    EXPECT_TRUE(result.stored("YWJjZA=="));
}

TEST(base64_encoding, of_a_negative_number_of_bytes_is_empty)
{
    for (const int size : {-1, -3, INT_MIN}) {
        encoding result(8);
        EXPECT_EQ(base64_encode("abc", size, result.buffer.data(), &result.length), 0) << size;
        EXPECT_TRUE(result.stored(""));
    }
}

TEST(base64_encoding, leaves_the_bytes_behind_its_text)
{
    encoding result(8);
    EXPECT_EQ(result.of("foobar"), 0);
    EXPECT_EQ(result.of("abc"), 0);
    EXPECT_TRUE(result.buffer.holds("YWJjYmFy"));
    EXPECT_EQ(result.length, 4U);
}

TEST(base64_encoding, may_be_longer_than_an_int_counts)
{
    if (has_address_sanitizer() || has_thread_sanitizer())
        GTEST_SKIP() << "a sanitizer needs memory of its own for each byte";
    if (sizeof(std::size_t) == 4)
        GTEST_SKIP() << "bytes and text do not fit into 32 bits of addresses together";
    const repeated_block bytes(1610612739, 'a');
    const repeated_block text(2147483652, '#');
    unsigned int length = 0;
    EXPECT_EQ(base64_encode(bytes.data(), 1610612739, text.data(), &length), 0);
    EXPECT_EQ(length, 2147483652U);
    EXPECT_EQ(std::string_view(text.data(), 8), "YWFhYWFh");
    EXPECT_EQ(std::string_view(text.data() + length - 8, 8), "YWFhYWFh");
}

// Decoding.

TEST(base64_decoding, needs_a_text_and_destinations)
{
    decoding result(4);
    char *const data = result.buffer.data();
    EXPECT_EQ(base64_decode(nullptr, 4, data, &result.length), 63);
    EXPECT_EQ(base64_decode("YWJj", 4, nullptr, &result.length), 63);
    EXPECT_EQ(base64_decode("YWJj", 4, data, nullptr), 63);
    EXPECT_EQ(base64_decode("YWJj", 0, data, &result.length), 63);
    EXPECT_EQ(base64_decode("", 0, data, &result.length), 63);
    EXPECT_EQ(base64_decode("Y W", 3, nullptr, &result.length), 63);
    EXPECT_EQ(base64_decode(nullptr, 0, nullptr, nullptr), 63);
    EXPECT_TRUE(result.stored_nothing());
}

namespace {

struct given_length : named_case {
    std::string text;
    int length;
    std::string bytes;
};

class base64_of_a_length : public testing::TestWithParam<given_length> {};

} // namespace

TEST_P(base64_of_a_length, is_decoded_in_whole_groups)
{
    decoding result(8);
    EXPECT_EQ(result.of(GetParam().text, GetParam().length), 0);
    EXPECT_TRUE(result.stored(GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(
    given, base64_of_a_length,
    testing::Values(given_length{"a_group", "YWJjZGVm", 4, "abc"},
                    given_length{"less_than_a_group", "YWJjZGVm", 3, ""},
                    given_length{"a_group_and_a_part", "YWJjZGVm", 7, "abc"},
                    given_length{"unused_bits", "Zh==", 4, "f"},
                    given_length{"minus_one", "YWJj", -1, ""},
                    given_length{"minus_a_group", "YWJj", -4, ""},
                    given_length{"the_least", "YWJj", INT_MIN, ""},
                    // All of the length is decoded, and a zero byte is none of base64.
                    given_length{"more_than_the_text", "YWJj\0ZGV"s, 8, ""},
                    given_length{"more_than_an_empty_text", "\0\0\0\0"s, 4, ""}));

// A length that is too great counts the terminator as a character, which is none of base64.
TEST(base64_decoding, reads_nothing_behind_the_terminator)
{
    const struct {
        std::string text;
        int length;
        std::string bytes;
    } decodings[] = {
        {"YWJjZGVm", 9, "abcdef"},
        {"YWJjZGVm", 11, "abcdef"},
        {"YWJjZGVm", 12, ""},
        {"YWJjZGU=", 11, "abcde"},
        {"YWJjZGU=", INT_MAX, ""},
        {"", 1, ""},
        {"", 4, ""},
        {"YWJjZGVm", 1000000000, ""},
        {"", INT_MAX, ""},
        // A block of 1024 characters is decoded where the length counts none behind it.
        {repeated("YWJj", 255), 1024, ""},
        {repeated("YWJj", 256), 1027, repeated("abc", 256)},
        {repeated("YWJj", 256), 1028, repeated("abc", 256)},
        {repeated("YWJj", 257), 1032, repeated("abc", 256)},
        {repeated("YWJj", 511) + "YWI=", INT_MAX, repeated("abc", 511) + "ab"},
    };
    for (const auto &[text, length, bytes] : decodings) {
        const guarded_text guarded(text);
        decoding result(text.size() + 8);
        EXPECT_EQ(base64_decode(guarded.data(), length, result.buffer.data(), &result.length), 0);
        EXPECT_TRUE(result.stored(bytes)) << text << ", " << length;
    }
}

TEST(base64_decoding, leaves_the_bytes_behind_its_own)
{
    decoding result(8);
    EXPECT_EQ(result.of("Zm9vYmFy"), 0);
    EXPECT_EQ(result.of("YWJj"), 0);
    EXPECT_TRUE(result.buffer.holds("abcbar"));
    EXPECT_EQ(result.length, 3U);
}

// Texts that are refused.

namespace {

struct refused : named_case {
    std::string text;
    int code;
};

class refused_base64 : public testing::TestWithParam<refused> {};

const refused wrong_lengths[] = {
    {"one", "Y", 59},
    {"two", "YW", 59},
    {"three", "YWJ", 59},
    {"five", "YWJjY", 59},
    {"1023", std::string(1023, 'A'), 59},
    {"three_before_a_wrong_character_and_a_pad", "= J", 59},
    {"a_line_and_its_end", "YWJj\n", 59},
};

const refused wrong_characters[] = {
    {"a_blank", "YW J", 60},
    {"a_blank_first", " YWJ", 60},
    {"a_line_feed", "YW\nJ", 60},
    {"a_line_feed_last", "YWJjYWJ\n", 60},
    {"an_escape", "YWJj%2BA", 60},
    {"a_pad_out_of_place_before_it", "=W J", 60},
    {"a_pad_out_of_place_behind_it", "Y =J", 60},
    {"it_far_behind", std::string(2047, 'A') + "!", 60},
};

const refused wrong_pads[] = {
    {"four", "====", 61},
    {"three", "Y===", 61},
    {"first", "=WJj", 61},
    {"second", "Y=Jj", 61},
    {"third_alone", "YW=j", 61},
    {"first_and_last", "=WJ=", 61},
    {"second_and_last", "Y=J=", 61},
    {"second_and_third", "Y==j", 61},
    {"in_the_group_before", "YWJ=YWJj", 61},
    {"two_in_the_group_before", "YW==YWJj", 61},
    {"in_the_group_before_and_last", "YWJ=YWJ=", 61},
    {"three_at_the_end", "YWJjY===", 61},
    {"third_of_the_last_group", "YWJjYW=j", 61},
    {"first_of_a_long_text", "=" + std::string(2047, 'A'), 61},
};

} // namespace

// The whole text is checked, whatever its given length.
TEST_P(refused_base64, has_its_code_and_stores_nothing)
{
    for (const int length : {static_cast<int>(GetParam().text.size()), 4, -1}) {
        decoding result(GetParam().text.size());
        EXPECT_EQ(result.of(GetParam().text, length), GetParam().code);
        EXPECT_TRUE(result.stored_nothing());
    }
}

INSTANTIATE_TEST_SUITE_P(number_of_characters, refused_base64, testing::ValuesIn(wrong_lengths));
INSTANTIATE_TEST_SUITE_P(character, refused_base64, testing::ValuesIn(wrong_characters));
INSTANTIATE_TEST_SUITE_P(pads, refused_base64, testing::ValuesIn(wrong_pads));

namespace {

// The characters that base64 text may have at a place of a group, by their byte values.
std::string accepted_at(std::size_t place)
{
    std::string accepted;
    for (int byte = 1; byte < 256; ++byte) {
        std::string text = "AAAA";
        text[place] = static_cast<char>(byte);
        decoding result(4);
        const int code = result.of(text);
        if (code == 0)
            accepted += static_cast<char>(byte);
        else
            EXPECT_EQ(code, byte == '=' ? 61 : 60) << byte;
    }
    return accepted;
}

} // namespace

TEST(base64_decoding, accepts_the_characters_of_base64_alone)
{
    const std::string digits = "+/0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    EXPECT_EQ(accepted_at(0), digits);
    EXPECT_EQ(accepted_at(1), digits);
    EXPECT_EQ(accepted_at(2), digits);
    EXPECT_EQ(accepted_at(3), "+/0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

using base64_in_a_made_locale = on_machine;

TEST_F(base64_in_a_made_locale, has_no_other_letters)
{
    const built_locale locale(machine, "odd", "alpha <U0041>..<U005A>;<U0061>..<U007A>;<U00E4>\n");
    ASSERT_TRUE(std::isalpha(0xe4) && std::isalpha('Y'));
    decoding result(4);
    EXPECT_EQ(result.of("YWJ\xe4"), 60);
    EXPECT_TRUE(result.stored_nothing());
}
