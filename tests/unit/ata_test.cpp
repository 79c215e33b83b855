// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/ata.h"
#include "fixture.h"

#include <cstring>
#include <string>

#include <linux/hdreg.h>

namespace {

// The identity in identify data that have these texts at their offsets in the kernel's record.
std::string identity_of(const std::string &model, const std::string &serial)
{
    std::string data(sizeof(hd_driveid), '#');
    data.replace(20, 20, 20, ' ').replace(20, serial.size(), serial);
    data.replace(54, 40, 40, ' ').replace(54, model.size(), model);
    hd_driveid record;
    std::memcpy(&record, data.data(), sizeof record);
    return owned_text(orvane::join_identity(record)).value();
}

} // namespace

TEST(ata_identity, is_taken_from_the_offsets_of_the_record)
{
    EXPECT_EQ(identity_of("0123456789abcdefghijABCDEFGHIJ0123456789", "0123456789abcdefghij"),
              "0123456789abcdefghijABCDEFGHIJ0123456789_0123456789abcdefghij");
}

TEST(ata_identity, has_the_graphic_bytes_alone)
{
    std::string kept;
    for (int byte = 0; byte <= 0xff; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const std::string identity = identity_of(text, text);
        if (identity == text + "_" + text)
            kept += text;
        else
            EXPECT_EQ(identity, "_") << byte;
    }
    EXPECT_EQ(kept, "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                    "abcdefghijklmnopqrstuvwxyz{|}~");
}
