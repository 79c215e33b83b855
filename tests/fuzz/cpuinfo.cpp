// SPDX-License-Identifier: LGPL-2.1-or-later
#include "faked_system.h"
#include "orvane.h"

#include <cctype>

namespace {

// Some line has the label and behind it one of the names, whatever the lines' ends and bounds.
bool may_name_one(const std::uint8_t *data, std::size_t size)
{
    std::string folded;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] != ' ' && data[i] != '\t')
            folded.push_back(static_cast<char>(std::tolower(data[i])));
    }
    const std::size_t label = folded.find("hardware");
    if (label == std::string::npos)
        return false;
    for (const char *const name : {"kirin990", "kirin9006c", "kirin9a0"}) {
        if (folded.find(name, label) != std::string::npos)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    faked::file = bytes_of(data, size);
    require(is_huawei_9x0() == 0 || may_name_one(data, size));
    return 0;
}
