// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Decoding base64 that may be broken into lines.
#include "recorded_calls.h"
#include "tolerant_base64.h"

#include <string>
#include <string_view>

#include <openssl/evp.h>

namespace {

struct base64_text : named_case {
    std::string text;
    std::string data;
    std::string output;
};

const base64_text readable_texts[] = {
    {"four_characters", "TWFu", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
    {"one_pad", "TWE=", "Ma", "Cleaned Base64 (4 chars): TWE=\n"},
    {"two_pads", "TQ==", "M", "Cleaned Base64 (4 chars): TQ==\n"},
    {"more_and_a_pad", "TWFuTWE=", "ManMa", "Cleaned Base64 (8 chars): TWFuTWE=\n"},
    {"the_last_characters_of_the_alphabet", "+/+/", "\xfb\xff\xbf",
     "Cleaned Base64 (4 chars): +/+/\n"},
    {"a_zero_byte", "AAAA", std::string(3, '\0'), "Cleaned Base64 (4 chars): AAAA\n"},
    {"a_line_end", "TWFu\n", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
    {"crlf", "TWFu\r\n", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
    {"two_lines", "TWFu\nTWFu", "ManMan", "Cleaned Base64 (8 chars): TWFuTWFu\n"},
    {"a_broken_quantum", "T\rW\nF u", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
    {"broken_pads", "TQ=\n=", "M", "Cleaned Base64 (4 chars): TQ==\n"},
    {"blanks_around", " \n\r TWFu \r\n ", "Man", "Cleaned Base64 (4 chars): TWFu\n"},
    {"a_zero_byte_behind", std::string("TWFu\0TWFu", 9), "Man", "Cleaned Base64 (4 chars): TWFu\n"},
};

class readable_base64 : public tolerant_base64, public testing::WithParamInterface<base64_text> {};

} // namespace

TEST_P(readable_base64, is_decoded_and_printed)
{
    const tolerant_decoding found = decode(GetParam().text.c_str());
    EXPECT_EQ(found.data, GetParam().data);
    EXPECT_EQ(found.size, static_cast<int>(GetParam().data.size()));
    EXPECT_EQ(found.output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(with, readable_base64, testing::ValuesIn(readable_texts));

namespace {

const base64_text unreadable_texts[] = {
    {"no_character", "", "", "Cleaned Base64 (0 chars): \n"},
    {"line_breaks_alone", "\r\n\n\r", "", "Cleaned Base64 (0 chars): \n"},
    {"blanks_alone", "   ", "", "Cleaned Base64 (0 chars): \n"},
    {"one_character", "T", "", "Cleaned Base64 (1 chars): T\n"},
    {"three_characters", "TWF", "", "Cleaned Base64 (3 chars): TWF\n"},
    {"other_characters", "%s%n", "", "Cleaned Base64 (4 chars): %s%n\n"},
    {"characters_for_urls", "-_-_", "", "Cleaned Base64 (4 chars): -_-_\n"},
    {"bytes_above_0x7f", "\xc3\xa4\xc3\xb6", "", "Cleaned Base64 (4 chars): \xc3\xa4\xc3\xb6\n"},
    {"a_tab_in_front", "\tTWFu", "", "Cleaned Base64 (5 chars): \tTWFu\n"},
    {"a_tab_inside", "TW\tFu", "", "Cleaned Base64 (5 chars): TW\tFu\n"},
    {"a_tab_between_lines", "TWFu\n\tTWFu", "", "Cleaned Base64 (9 chars): TWFu\tTWFu\n"},
};

class unreadable_base64 : public tolerant_base64,
                          public testing::WithParamInterface<base64_text> {};

} // namespace

TEST_P(unreadable_base64, decodes_to_nothing_and_is_printed)
{
    expect_nothing_of(GetParam().text.c_str(), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(with, unreadable_base64, testing::ValuesIn(unreadable_texts));

TEST_F(tolerant_base64, leaves_out_line_feeds_carriage_returns_and_blanks_alone)
{
    std::vector<int> left_out;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = {'T', 'W', static_cast<char>(byte), 'F', 'u'};
        const std::string output = decode(text.c_str()).output;
        if (output == "Cleaned Base64 (4 chars): TWFu\n")
            left_out.push_back(byte);
        else
            EXPECT_EQ(output, "Cleaned Base64 (5 chars): " + text + "\n");
    }
    EXPECT_EQ(left_out, (std::vector{10, 13, 32}));
}

TEST_F(tolerant_base64, gives_every_byte)
{
    bytes data;
    for (int byte = 0; byte < 256; ++byte)
        data.push_back(static_cast<unsigned char>(byte));
    const std::string text = base64_of(data);
    EXPECT_EQ(decode(text.c_str()).data, std::string(data.begin(), data.end()));
}

TEST_F(tolerant_base64, leaves_the_text_as_it_is)
{
    std::string text = " TW\r\nFu ";
    EXPECT_EQ(decode(text.data()).data, "Man");
    EXPECT_EQ(text, " TW\r\nFu ");
}

TEST_F(tolerant_base64, is_silent_on_standard_error_and_in_the_trace_log)
{
    EXPECT_EQ(standard_error_of([] {
                  decode("TWFu");
                  decode("!!!!");
                  decode(nullptr);
              }),
              "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}

TEST_F(tolerant_base64, is_nothing_and_not_printed_without_a_text)
{
    expect_untouched(decode(nullptr), "");
}

TEST_F(tolerant_base64, is_nothing_and_not_printed_without_a_place_for_the_count)
{
    EXPECT_EQ(standard_output_of([] {
                  EXPECT_EQ(base64_decode_clean("TWFu", nullptr), nullptr);
                  EXPECT_EQ(base64_decode_clean(nullptr, nullptr), nullptr);
              }),
              "");
}

// Sizes.

namespace {

std::string repeated(std::string_view text, std::size_t times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

struct text_size : named_case {
    std::size_t quanta; // of four characters and three bytes
};

class base64_of_a_size : public tolerant_base64, public testing::WithParamInterface<text_size> {};

} // namespace

TEST_P(base64_of_a_size, is_decoded_whole)
{
    const tolerant_decoding found = decode(repeated("TWFu", GetParam().quanta).c_str());
    EXPECT_TRUE(found.data == repeated("Man", GetParam().quanta)); // a megabyte says little
    EXPECT_EQ(found.size, static_cast<int>(3 * GetParam().quanta));
}

TEST_P(base64_of_a_size, is_decoded_whole_with_pads_and_line_breaks)
{
    const tolerant_decoding found =
        decode((repeated("TW\r\nFu ", GetParam().quanta) + "TQ==").c_str());
    EXPECT_TRUE(found.data == repeated("Man", GetParam().quanta) + "M");
    EXPECT_EQ(found.size, static_cast<int>(3 * GetParam().quanta + 1));
}

INSTANTIATE_TEST_SUITE_P(
    of, base64_of_a_size,
    testing::Values(text_size{"1020_characters", 255}, text_size{"1024_characters", 256},
                    text_size{"1028_characters", 257}, text_size{"1368_characters", 342},
                    text_size{"2048_characters", 512}, text_size{"2052_characters", 513},
                    text_size{"a_megabyte", 262144}));

namespace {

struct room : named_case {
    std::size_t characters;
    int bytes;
};

class room_for_the_bytes : public tolerant_base64, public testing::WithParamInterface<room> {};

} // namespace

TEST_P(room_for_the_bytes, is_what_is_read)
{
    int asked = 0;
    interpose::BIO_read = [&asked](BIO *, void *, int size) {
        asked = size;
        return 0;
    };
    decode((std::string(GetParam().characters, 'A') + " \n\r").c_str());
    EXPECT_EQ(asked, GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    for_, room_for_the_bytes,
    testing::Values(room{"no_character", 0, 4}, room{"one_character", 1, 4},
                    room{"two_characters", 2, 5}, room{"three_characters", 3, 6},
                    room{"four_characters", 4, 7}, room{"five_characters", 5, 7},
                    room{"344_characters", 344, 262}, room{"1023_characters", 1023, 771},
                    room{"a_million_characters", 1000000, 750004}));

// The calls of libcrypto.

namespace {

class chain_calls : public recorded_calls {
public:
    chain_calls()
    {
        interpose::BIO_new_mem_buf = [this](const void *data, int size) {
            note("BIO_new_mem_buf", static_cast<const char *>(data), size);
            return memory_ = interpose::BIO_new_mem_buf.real(data, size);
        };
        interpose::BIO_new = [this](const BIO_METHOD *method) {
            note("BIO_new", method == BIO_f_base64() ? "base64" : "another");
            return filter_ = interpose::BIO_new.real(method);
        };
        interpose::BIO_set_flags = [this](BIO *bio, int flags) {
            note("BIO_set_flags", name_of(bio), flags);
            interpose::BIO_set_flags.real(bio, flags);
        };
        interpose::BIO_push = [this](BIO *bio, BIO *next) {
            note("BIO_push", name_of(bio), name_of(next));
            return interpose::BIO_push.real(bio, next);
        };
        interpose::BIO_read = [this](BIO *bio, void *data, int size) {
            note("BIO_read", name_of(bio), size);
            return interpose::BIO_read.real(bio, data, size);
        };
        interpose::BIO_free_all = [this](BIO *bio) {
            note("BIO_free_all", name_of(bio));
            interpose::BIO_free_all.real(bio);
        };
    }

private:
    [[nodiscard]] const char *name_of(const BIO *bio) const
    {
        return bio == nullptr ? "nothing" : bio == memory_ ? "memory" : "filter";
    }

    BIO *memory_ = nullptr;
    BIO *filter_ = nullptr;
};

} // namespace

TEST_F(tolerant_base64, is_decoded_by_these_calls)
{
    const chain_calls calls;
    EXPECT_EQ(decode(" TWFu\r\nTQ==").data, "ManM");
    EXPECT_EQ(calls.made(),
              (texts{"BIO_new_mem_buf TWFuTQ== 8", "BIO_new base64", "BIO_set_flags filter 256",
                     "BIO_push filter memory", "BIO_read filter 10", "BIO_free_all filter"}));
}

TEST_F(tolerant_base64, is_printed_before_it_is_decoded)
{
    interpose::BIO_new_mem_buf = [](const void *data, int size) {
        std::fputs("decoding\n", stdout);
        return interpose::BIO_new_mem_buf.real(data, size);
    };
    EXPECT_EQ(decode("TWFu").output, "Cleaned Base64 (4 chars): TWFu\ndecoding\n");
}

namespace {

void read_to(int result)
{
    interpose::BIO_read = [result](BIO *, void *room, int) {
        *static_cast<char *>(room) = 'X';
        return result;
    };
}

} // namespace

TEST_F(tolerant_base64, is_as_much_as_was_read)
{
    read_to(1);
    const tolerant_decoding found = decode("TWFu");
    EXPECT_EQ(found.data, "X");
    EXPECT_EQ(found.size, 1);
}

TEST_F(tolerant_base64, is_nothing_where_nothing_was_read_and_the_count_says_why)
{
    for (const int result : {0, -1, -2}) {
        read_to(result);
        const tolerant_decoding found = decode("TWFu");
        EXPECT_EQ(found.data, std::nullopt);
        EXPECT_EQ(found.size, result);
        EXPECT_EQ(found.output, "Cleaned Base64 (4 chars): TWFu\n");
    }
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
