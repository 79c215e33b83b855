// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A pattern on the first line, and behind it a manufacturer.
#include "fuzz.h"
#include "orvane.h"

#include <cstring>

namespace {

int type_of(const std::string &name)
{
    for (const orvane_manufacturer_type &known : manufacturerType) {
        if (std::strncmp(known.identification, name.c_str(), name.size()) == 0)
            return known.type;
    }
    return -1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string manufacturer = text_of(data, size);
    const std::string pattern = take_line(manufacturer);
    const int type = findTypeEnum(pattern.c_str());
    require(type == type_of(pattern));
    require((type == -1) == (std::strcmp(machineTypeToString(type), "TYPE_UNKNOWN") == 0));
    require(maching_machine_type_with_dmidecode(manufacturer.c_str(), pattern.c_str()) ==
            (manufacturer.compare(0, pattern.size(), pattern) == 0));

    int number = 0;
    std::memcpy(&number, data, std::min(size, sizeof number));
    const std::string_view name = machineTypeToString(number);
    require(name.starts_with("TYPE_"));
    require((name == "TYPE_UNKNOWN") == (number < 0 || number > 12));
    return 0;
}
