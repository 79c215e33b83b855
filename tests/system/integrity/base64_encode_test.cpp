// SPDX-License-Identifier: LGPL-2.1-or-later
#include "base64_chain_calls.h"
#include "fixture.h"
#include "guarded_room.h"
#include "orvane.h"

#include <climits>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/buffer.h>

using namespace std::string_literals;

namespace {

// What an encoding leaves behind.
struct encoding {
    explicit encoding(std::size_t room_size) : room(room_size) {}

    int of(std::string_view bytes)
    {
        return base64_encode(bytes.data(), static_cast<int>(bytes.size()), room.data(), &length);
    }

    guarded_room room;
    unsigned int length = 4711;
};

class base64_text : public on_machine {};

struct encoded : named_case {
    std::string bytes;
    std::string text;
};

const encoded encodings[] = {
    {"f", "f", "Zg=="},
    {"fo", "fo", "Zm8="},
    {"foo", "foo", "Zm9v"},
    {"foob", "foob", "Zm9vYg=="},
    {"fooba", "fooba", "Zm9vYmE="},
    {"foobar", "foobar", "Zm9vYmFy"},
    {"abc", "abc", "YWJj"},
    {"a_zero_byte", std::string("\0", 1), "AA=="},
    {"zero_bytes", std::string("\0\0\0", 3), "AAAA"},
    {"a_zero_byte_inside", std::string("a\0b", 3), "YQBi"},
    {"bytes_of_ones", "\xff\xff\xff", "////"},
    {"bytes_that_give_plus_signs", "\xfb\xef\xbe", "++++"},
    {"line_ends", "\r\n\t ", "DQoJIA=="},
    {"more_than_a_line_of_mail", std::string(49, 'a'),
     "YWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYQ=="},
    {"every_digit_in_order",
     "\x00\x10\x83\x10\x51\x87\x20\x92\x8b\x30\xd3\x8f\x41\x14\x93\x51\x55\x97\x61\x96\x9b\x71\xd7"
     "\x9f\x82\x18\xa3\x92\x59\xa7\xa2\x9a\xab\xb2\xdb\xaf\xc3\x1c\xb3\xd3\x5d\xb7\xe3\x9e\xbb\xf3"
     "\xdf\xbf"s,
     "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"},
};

class encoded_bytes : public base64_text, public testing::WithParamInterface<encoded> {};

} // namespace

TEST_P(encoded_bytes, are_one_line_without_a_terminator)
{
    encoding result(GetParam().text.size());
    EXPECT_EQ(result.of(GetParam().bytes), 0);
    EXPECT_TRUE(result.room.holds(GetParam().text));
    EXPECT_EQ(result.length, GetParam().text.size());
}

INSTANTIATE_TEST_SUITE_P(of, encoded_bytes, testing::ValuesIn(encodings));

TEST_F(base64_text, has_every_byte_value)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    encoding result(344);
    EXPECT_EQ(result.of(bytes), 0);
    EXPECT_EQ(result.length, 344U);
    EXPECT_TRUE(result.room.holds(
        "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BB"
        "QkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn+AgYKD"
        "hIWGh4iJiouMjY6PkJGSk5SVlpeYmZqbnJ2en6ChoqOkpaanqKmqq6ytrq+wsbKztLW2t7i5uru8vb6/wMHCw8TF"
        "xsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t/g4eLj5OXm5+jp6uvs7e7v8PHy8/T19vf4+fr7/P3+/w=="));
}

// Sizes.

namespace {

// "abc" so many times, and the beginning of another.
struct long_input : named_case {
    int times;
    std::string rest;
    std::string rest_encoded;
};

class long_text : public base64_text, public testing::WithParamInterface<long_input> {
protected:
    static std::string repeated(std::string_view piece)
    {
        std::string all;
        for (int times = 0; times < GetParam().times; ++times)
            all += piece;
        return all;
    }
};

} // namespace

TEST_P(long_text, is_one_line)
{
    const std::string text = repeated("YWJj") + GetParam().rest_encoded;
    encoding result(text.size());
    EXPECT_EQ(result.of(repeated("abc") + GetParam().rest), 0);
    EXPECT_TRUE(result.room.holds(text));
    EXPECT_EQ(result.length, text.size());
}

INSTANTIATE_TEST_SUITE_P(of, long_text,
                         testing::Values(long_input{"48_bytes", 16, "", ""},
                                         long_input{"1022_bytes", 340, "ab", "YWI="},
                                         long_input{"1023_bytes", 341, "", ""},
                                         long_input{"1024_bytes", 341, "a", "YQ=="},
                                         long_input{"1025_bytes", 341, "ab", "YWI="},
                                         long_input{"2047_bytes", 682, "a", "YQ=="},
                                         long_input{"2048_bytes", 682, "ab", "YWI="},
                                         long_input{"2049_bytes", 683, "", ""},
                                         long_input{"3072_bytes", 1024, "", ""},
                                         long_input{"65536_bytes", 21845, "a", "YQ=="},
                                         long_input{"1048576_bytes", 349525, "a", "YQ=="},
                                         long_input{"3145730_bytes", 1048576, "ab", "YWI="}));

// The arguments.

TEST_F(base64_text, is_not_made_of_no_bytes)
{
    encoding result(8);
    EXPECT_EQ(result.of(""), 62);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(result.length, 4711U);
}

TEST_F(base64_text, is_not_made_where_an_argument_is_missing)
{
    encoding result(8);
    EXPECT_EQ(base64_encode(nullptr, 3, result.room.data(), &result.length), 62);
    EXPECT_EQ(base64_encode("abc", 3, nullptr, &result.length), 62);
    EXPECT_EQ(base64_encode("abc", 3, result.room.data(), nullptr), 62);
    EXPECT_EQ(base64_encode(nullptr, 0, nullptr, nullptr), 62);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(result.length, 4711U);
}

TEST_F(base64_text, has_no_length_for_a_negative_number_of_bytes)
{
    for (const int size : {-1, -3, INT_MIN}) {
        encoding result(8);
        EXPECT_EQ(base64_encode("abc", size, result.room.data(), &result.length), 0) << size;
        EXPECT_TRUE(result.room.holds(""));
        EXPECT_EQ(result.length, 0U);
    }
}

TEST_F(base64_text, is_made_of_as_many_bytes_as_the_caller_says)
{
    encoding result(8);
    EXPECT_EQ(base64_encode("abcdef", 4, result.room.data(), &result.length), 0);
    EXPECT_TRUE(result.room.holds("YWJjZA=="));
    EXPECT_EQ(result.length, 8U);
}

TEST_F(base64_text, is_made_of_bytes_that_stay_as_they_are)
{
    std::string bytes = "foobar";
    encoding result(8);
    EXPECT_EQ(result.of(bytes), 0);
    EXPECT_EQ(bytes, "foobar");
}

TEST_F(base64_text, is_made_afresh_every_time)
{
    encoding result(8);
    EXPECT_EQ(result.of("foobar"), 0);
    EXPECT_EQ(result.of("abc"), 0);
    EXPECT_TRUE(result.room.holds("YWJjYmFy"));
    EXPECT_EQ(result.length, 4U);
}

TEST_F(base64_text, is_made_without_a_word)
{
    const std::string said = standard_error_of([] {
        encoding result(8);
        EXPECT_EQ(result.of("abc"), 0);
        EXPECT_EQ(result.of(""), 62);
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(machine.trace(), texts{});
}

// How it is made.

TEST_F(base64_text, is_made_by_a_filter_for_one_line_on_a_memory)
{
    const base64_chain_calls calls;
    encoding result(8);
    EXPECT_EQ(result.of("abcd"), 0);
    EXPECT_EQ(calls.made(),
              (texts{"new memory", "control memory 114", "new filter", "flags of filter 256",
                     "push filter on memory", "write to filter 4", "control filter 11",
                     "control filter 115", "free filter"}));
}

TEST_F(base64_text, is_not_refused_for_what_the_write_and_the_flush_say)
{
    interpose::BIO_write = [](BIO *bio, const void *data, int size) {
        interpose::BIO_write.real(bio, data, size);
        return -1;
    };
    interpose::BIO_ctrl = [](BIO *bio, int command, long number, void *pointer) {
        const long answer = interpose::BIO_ctrl.real(bio, command, number, pointer);
        return command == BIO_CTRL_FLUSH ? -1 : answer;
    };
    encoding result(8);
    EXPECT_EQ(result.of("abcd"), 0);
    EXPECT_TRUE(result.room.holds("YWJjZA=="));
    EXPECT_EQ(result.length, 8U);
}

TEST_F(base64_text, is_empty_where_nothing_is_written)
{
    interpose::BIO_write = [](BIO *, const void *, int) { return -1; };
    encoding result(8);
    EXPECT_EQ(result.of("abc"), 0);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(result.length, 0U);
}

// Bytes whose text an int cannot count are written in pieces. None of them is really there.
TEST_F(base64_text, may_be_longer_than_an_int_counts)
{
    const char data = 'a';
    char text = '#';
    std::vector<std::ptrdiff_t> starts;
    std::vector<int> sizes;
    interpose::BIO_write = [&](BIO *bio, const void *bytes, int size) {
        starts.push_back(static_cast<const char *>(bytes) - &data);
        sizes.push_back(size);
        BUF_MEM *memory = nullptr;
        BIO_get_mem_ptr(bio, &memory);
        memory->length = size == 805306368 ? 1073741824U : 715827884U;
        return size;
    };
    unsigned int length = 0;
    EXPECT_EQ(base64_encode(&data, INT_MAX, &text, &length), 0);
    EXPECT_EQ(starts, (std::vector<std::ptrdiff_t>{0, 805306368, 1610612736}));
    EXPECT_EQ(sizes, (std::vector<int>{805306368, 805306368, 536870911}));
    EXPECT_EQ(length, 2863311532U);
    EXPECT_EQ(text, '#');
}

namespace {

struct missing_object : named_case {
    int which;
    texts calls;
};

class base64_text_without : public base64_text,
                            public testing::WithParamInterface<missing_object> {};

} // namespace

TEST_P(base64_text_without, is_not_made_and_leaves_nothing_behind)
{
    base64_chain_calls calls;
    calls.fail_to_make(GetParam().which);
    encoding result(8);
    EXPECT_EQ(result.of("abc"), 62);
    EXPECT_TRUE(result.room.holds(""));
    EXPECT_EQ(result.length, 4711U);
    EXPECT_EQ(calls.made(), GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(
    making, base64_text_without,
    testing::Values(
        missing_object{"the_memory", 1, {"new memory", "new filter", "free filter"}},
        missing_object{
            "the_filter", 2, {"new memory", "control memory 114", "new filter", "free memory"}}));
