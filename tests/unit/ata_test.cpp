// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/ata.h"
#include "fixture.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <linux/hdreg.h>

using namespace std::string_view_literals;

namespace {

// What a disk delivers: its words filled up with blanks, between others that nobody asks for.
hd_driveid delivered(std::string_view model, std::string_view serial)
{
    hd_driveid identity;
    std::memset(&identity, '#', sizeof identity);
    std::fill(std::begin(identity.model), std::end(identity.model), ' ');
    std::copy(model.begin(), model.end(), identity.model);
    std::fill(std::begin(identity.serial_no), std::end(identity.serial_no), ' ');
    std::copy(serial.begin(), serial.end(), identity.serial_no);
    return identity;
}

std::string joined(std::string_view model, std::string_view serial)
{
    return owned_text(orvane::join_identity(delivered(model, serial))).value();
}

} // namespace

TEST(joined_identity, keeps_the_graphic_bytes_alone)
{
    std::string kept;
    for (int byte = 0; byte <= 0xff; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const std::string identity = joined(text, text);
        if (identity == text + "_" + text)
            kept += text;
        else
            EXPECT_EQ(identity, "_") << byte;
    }
    EXPECT_EQ(kept, "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                    "abcdefghijklmnopqrstuvwxyz{|}~");
}

namespace {

struct delivered_words : named_case {
    std::string_view model;
    std::string_view serial;
    std::string_view identity;
};

class delivered_identity : public testing::TestWithParam<delivered_words> {};

} // namespace

TEST_P(delivered_identity, is_joined)
{
    EXPECT_EQ(joined(GetParam().model, GetParam().serial), GetParam().identity);
}

INSTANTIATE_TEST_SUITE_P(
    of, delivered_identity,
    testing::Values(delivered_words{"an_example", "ST1000DM003-1CH162", "    Z1D5ABCD",
                                    "ST1000DM003-1CH162_Z1D5ABCD"},
                    delivered_words{"bytes_in_their_order", "ABCD", "1234", "ABCD_1234"},
                    delivered_words{"blanks_everywhere", " A  B   C ", " 1  2   3 ", "ABC_123"},
                    delivered_words{"zero_bytes", "\0A\0\0B"sv, "\0\0001\0"sv, "AB_1"},
                    delivered_words{"underscores", "A_B", "1_2", "A_B_1_2"},
                    delivered_words{"formats", "%s%n%d", "%5$s", "%s%n%d_%5$s"},
                    delivered_words{"no_model", "", "SERIAL", "_SERIAL"},
                    delivered_words{"no_serial_number", "MODEL", "", "MODEL_"},
                    delivered_words{"nothing", "", "", "_"},
                    delivered_words{"a_character_short", "0123456789abcdefghijABCDEFGHIJ012345678",
                                    "0123456789abcdefghi",
                                    "0123456789abcdefghijABCDEFGHIJ012345678_0123456789abcdefghi"},
                    delivered_words{
                        "all_of_the_room", "0123456789abcdefghijABCDEFGHIJ0123456789",
                        "0123456789abcdefghij",
                        "0123456789abcdefghijABCDEFGHIJ0123456789_0123456789abcdefghij"},
                    delivered_words{"the_last_bytes", "                                       M",
                                    "                   S", "M_S"}));

TEST(joined_identity, is_made_of_the_two_words_at_their_places_in_the_answer)
{
    std::string answer(512, '#');
    answer.replace(20, 20, "SERIAL_OF_20_LETTERS");
    answer.replace(54, 40, "MODEL_NAME_THAT_HAS_FORTY_LETTERS_IN_ALL");
    hd_driveid identity;
    ASSERT_EQ(answer.copy(reinterpret_cast<char *>(&identity), sizeof identity), 512U);
    EXPECT_EQ(owned_text(orvane::join_identity(identity)).value(),
              "MODEL_NAME_THAT_HAS_FORTY_LETTERS_IN_ALL_SERIAL_OF_20_LETTERS");
}
