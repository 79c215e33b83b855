// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::vector<std::uint8_t> expected(data, data + size);
    const auto end = std::remove(expected.begin(), expected.end(), 0);
    std::fill(end, expected.end(), size == 0 ? 0 : data[size - 1]);

    std::vector<std::uint8_t> bytes(data, data + size);
    remove_null_chars(bytes.data(), static_cast<std::uint32_t>(size));
    require(bytes == expected);
    return 0;
}
