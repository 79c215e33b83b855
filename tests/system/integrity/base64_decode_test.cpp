// SPDX-License-Identifier: LGPL-2.1-or-later
#include "base64_chain_calls.h"
#include "decoding.h"
#include "fixture.h"

#include <climits>
#include <string>

using namespace std::string_literals;

namespace {

class base64_bytes : public on_machine {};

struct decoded : named_case {
    std::string text;
    std::string bytes;
};

const decoded decodings[] = {
    {"one_byte", "Zg==", "f"},
    {"two_bytes", "Zm8=", "fo"},
    {"three_bytes", "Zm9v", "foo"},
    {"four_bytes", "Zm9vYg==", "foob"},
    {"five_bytes", "Zm9vYmE=", "fooba"},
    {"six_bytes", "Zm9vYmFy", "foobar"},
    {"abc", "YWJj", "abc"},
    {"a_zero_byte", "AA==", "\0"s},
    {"zero_bytes", "AAAA", "\0\0\0"s},
    {"bytes_of_ones", "////", "\xff\xff\xff"},
    {"plus_signs", "++++", "\xfb\xef\xbe"},
    {"a_last_character_with_bits_to_spare", "Zh==", "f"},
    {"more_than_a_line_of_mail",
     "YWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYQ==", std::string(49, 'a')},
    {"every_digit_in_order", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
     "\x00\x10\x83\x10\x51\x87\x20\x92\x8b\x30\xd3\x8f\x41\x14\x93\x51\x55\x97\x61\x96\x9b\x71\xd7"
     "\x9f\x82\x18\xa3\x92\x59\xa7\xa2\x9a\xab\xb2\xdb\xaf\xc3\x1c\xb3\xd3\x5d\xb7\xe3\x9e\xbb\xf3"
     "\xdf\xbf"s},
};

class decoded_text : public base64_bytes, public testing::WithParamInterface<decoded> {};

} // namespace

TEST_P(decoded_text, is_the_bytes_without_a_terminator)
{
    decoding result(GetParam().text.size());
    EXPECT_EQ(result.of(GetParam().text), 0);
    EXPECT_TRUE(result.room.holds(GetParam().bytes));
    EXPECT_EQ(result.size, GetParam().bytes.size());
}

INSTANTIATE_TEST_SUITE_P(of, decoded_text, testing::ValuesIn(decodings));

// Sizes.

namespace {

// "YWJj" so many times, and a last group.
struct long_base64 : named_case {
    int times;
    std::string rest;
    std::string rest_decoded;
};

class long_decoding : public base64_bytes, public testing::WithParamInterface<long_base64> {};

} // namespace

TEST_P(long_decoding, is_complete)
{
    std::string text;
    std::string bytes;
    for (int times = 0; times < GetParam().times; ++times) {
        text += "YWJj";
        bytes += "abc";
    }
    decoding result(4 * bytes.size() / 3 + 4);
    EXPECT_EQ(result.of(text + GetParam().rest), 0);
    EXPECT_TRUE(result.room.holds(bytes + GetParam().rest_decoded));
    EXPECT_EQ(result.size, bytes.size() + GetParam().rest_decoded.size());
}

INSTANTIATE_TEST_SUITE_P(of, long_decoding,
                         testing::Values(long_base64{"1020_characters", 255, "", ""},
                                         long_base64{"1024_characters", 255, "YQ==", "a"},
                                         long_base64{"1028_characters", 256, "YWI=", "ab"},
                                         long_base64{"1364_characters", 340, "YWI=", "ab"},
                                         long_base64{"1368_characters", 341, "YQ==", "a"},
                                         long_base64{"2048_characters", 511, "YWI=", "ab"},
                                         long_base64{"4096_characters", 1024, "", ""},
                                         long_base64{"4100_characters", 1024, "YQ==", "a"},
                                         long_base64{"1048576_characters", 262144, "", ""},
                                         long_base64{"4194308_characters", 1048576, "YWI=", "ab"}));

TEST_F(base64_bytes, are_those_that_were_encoded_whatever_their_number)
{
    std::string bytes;
    for (unsigned int size = 1; size <= 3100; ++size) {
        bytes += static_cast<char>(size * 7);
        std::string text(4 * ((bytes.size() + 2) / 3), '#');
        unsigned int length = 0;
        ASSERT_EQ(base64_encode(bytes.data(), static_cast<int>(size), text.data(), &length), 0);
        decoding result(text.size());
        ASSERT_EQ(result.of(text, static_cast<int>(length)), 0) << size;
        ASSERT_EQ(result.size, size);
        ASSERT_TRUE(result.room.holds(bytes)) << size;
    }
}

// The arguments.

TEST_F(base64_bytes, are_not_stored_where_an_argument_is_missing)
{
    decoding result(4);
    EXPECT_EQ(base64_decode(nullptr, 4, result.room.data(), &result.size), 63);
    EXPECT_EQ(base64_decode("YWJj", 4, nullptr, &result.size), 63);
    EXPECT_EQ(base64_decode("YWJj", 4, result.room.data(), nullptr), 63);
    EXPECT_EQ(base64_decode("YWJj", 0, result.room.data(), &result.size), 63);
    EXPECT_EQ(base64_decode(nullptr, 0, nullptr, nullptr), 63);
    EXPECT_TRUE(result.stored_nothing());
}

TEST_F(base64_bytes, are_those_of_the_given_length)
{
    decoding result(8);
    EXPECT_EQ(result.of("YWJjZGVm", 4), 0);
    EXPECT_TRUE(result.room.holds("abc"));
    EXPECT_EQ(result.size, 3U);
}

TEST_F(base64_bytes, are_those_of_the_whole_groups_in_the_given_length)
{
    for (const int length : {1, 2, 3}) {
        decoding result(8);
        EXPECT_EQ(result.of("YWJjZGVm", length), 0);
        EXPECT_EQ(result.size, 0U);
        EXPECT_TRUE(result.room.holds(""));
    }
    for (const int length : {5, 6, 7}) {
        decoding result(8);
        EXPECT_EQ(result.of("YWJjZGVm", length), 0);
        EXPECT_EQ(result.size, 3U);
        EXPECT_TRUE(result.room.holds("abc"));
    }
}

TEST_F(base64_bytes, are_looked_for_in_all_of_the_given_length_also_behind_the_terminator)
{
    const std::string text("YWJj\0ZGV", 8);
    base64_chain_calls calls;
    calls.expect_text(text.c_str());
    decoding result(8);
    EXPECT_EQ(result.of(text), 0);
    EXPECT_EQ(calls.made(), (texts{"new memory over text 8", "new filter", "flags of filter 256",
                                   "push filter on memory", "read from filter 8", "free filter"}));
}

TEST_F(base64_bytes, are_none_for_a_negative_length)
{
    for (const int length : {-1, -4, INT_MIN}) {
        decoding result(4);
        EXPECT_EQ(result.of("YWJj", length), 0) << length;
        EXPECT_EQ(result.size, 0U);
        EXPECT_TRUE(result.room.holds(""));
    }
}

TEST_F(base64_bytes, are_none_of_an_empty_text_whatever_its_length)
{
    decoding result(8);
    EXPECT_EQ(result.of(std::string(4, '\0')), 0);
    EXPECT_EQ(result.size, 0U);
    EXPECT_TRUE(result.room.holds(""));
}

TEST_F(base64_bytes, are_decoded_afresh_every_time)
{
    decoding result(8);
    EXPECT_EQ(result.of("Zm9vYmFy"), 0);
    EXPECT_EQ(result.of("YWJj"), 0);
    EXPECT_TRUE(result.room.holds("abcbar"));
    EXPECT_EQ(result.size, 3U);
}

TEST_F(base64_bytes, are_decoded_without_a_word)
{
    const std::string said = standard_error_of([] {
        decoding result(4);
        EXPECT_EQ(result.of("YW J"), 60);
        EXPECT_EQ(result.of("YWJj"), 0);
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(machine.trace(), texts{});
}

// How they are decoded.

TEST_F(base64_bytes, are_decoded_by_a_filter_for_one_line_on_the_given_length_of_the_text)
{
    const std::string text = "YWJjZGVm";
    base64_chain_calls calls;
    calls.expect_text(text.c_str());
    decoding result(8);
    EXPECT_EQ(result.of(text, 4), 0);
    EXPECT_EQ(calls.made(), (texts{"new memory over text 4", "new filter", "flags of filter 256",
                                   "push filter on memory", "read from filter 4", "free filter"}));
}

namespace {

struct count_of_decoder : named_case {
    int count;
    unsigned int size;
};

class count_of_bytes : public base64_bytes, public testing::WithParamInterface<count_of_decoder> {};

} // namespace

TEST_P(count_of_bytes, is_stored_as_the_decoder_tells_it)
{
    interpose::BIO_read = [](BIO *, void *, int) { return GetParam().count; };
    decoding result(4);
    EXPECT_EQ(result.of("YWJj"), 0);
    EXPECT_EQ(result.size, GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(of, count_of_bytes,
                         testing::Values(count_of_decoder{"none", 0, 0},
                                         count_of_decoder{"one", 1, 1},
                                         count_of_decoder{"the_largest", INT_MAX, 2147483647U},
                                         count_of_decoder{"an_error", -1, 4294967295U},
                                         count_of_decoder{"another_error", -2, 4294967294U}));

namespace {

struct missing_part : named_case {
    int which;
    texts calls;
};

class decoder_without : public base64_bytes, public testing::WithParamInterface<missing_part> {};

} // namespace

TEST_P(decoder_without, tells_an_error_for_a_count_and_leaves_nothing_behind)
{
    const std::string text = "YWJj";
    base64_chain_calls calls;
    calls.expect_text(text.c_str());
    calls.fail_to_make(GetParam().which);
    decoding result(4);
    EXPECT_EQ(result.of(text), 0);
    EXPECT_EQ(result.size, 4294967295U);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(calls.made(), GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(
    making, decoder_without,
    testing::Values(
        missing_part{"the_memory", 1, {"new memory over text 4", "new filter", "free filter"}},
        missing_part{"the_filter", 2, {"new memory over text 4", "new filter", "free memory"}}));
