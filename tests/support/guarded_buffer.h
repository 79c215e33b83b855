// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

// A buffer that the library writes to. It shows what was written, and that nothing was written
// behind that or outside the buffer.
class guarded_buffer {
public:
    explicit guarded_buffer(std::size_t size) : bytes_(margin + size + margin, untouched) {}

    [[nodiscard]] char *data() { return bytes_.data() + margin; }

    // Whether the buffer begins with the text and everything else is untouched.
    [[nodiscard]] testing::AssertionResult holds(std::string_view text) const
    {
        std::string expected(bytes_.size(), untouched);
        expected.replace(margin, text.size(), text);
        const auto differing =
            std::mismatch(bytes_.begin(), bytes_.end(), expected.begin(), expected.end());
        if (differing.first == bytes_.end())
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "differs at " << differing.first - bytes_.begin() - margin << ": "
               << testing::PrintToString(std::string(differing.first, bytes_.end()).substr(0, 40));
    }

private:
    static constexpr int margin = 64;
    static constexpr char untouched = '#';

    std::string bytes_;
};
