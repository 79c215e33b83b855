// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rsa_machine.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

// What came of a text.
struct tolerant_decoding {
    std::optional<std::string> data; // where there is a buffer
    int size = untouched;
    std::string output;

    static constexpr int untouched = 77;
};

class tolerant_base64 : public on_machine {
protected:
    static tolerant_decoding decode(const char *text)
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

    static void expect_untouched(const tolerant_decoding &found, const std::string &output)
    {
        EXPECT_EQ(found.data, std::nullopt);
        EXPECT_EQ(found.size, tolerant_decoding::untouched);
        EXPECT_TRUE(found.output == output); // it may be long
    }

    static void expect_nothing_of(const char *text, const std::string &output)
    {
        const tolerant_decoding found = decode(text);
        EXPECT_EQ(found.data, std::nullopt);
        EXPECT_LE(found.size, 0);
        EXPECT_EQ(found.output, output);
    }
};
