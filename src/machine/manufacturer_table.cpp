// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The classes of manufacturers: their numbers, their names, and the makers in each.
#include "machine/manufacturer_table.h"

#include "orvane.h"
#include "support/text.h"

#include <algorithm>
#include <iterator>

namespace orvane {

namespace {

enum machine_type {
    lenovo,
    greatwall,
    inspur,
    tongfang,
    baixin,
    shuguang,
    haier,
    suo706,
    kuntai,
    ziguang,
    seewo,
    lianshuo,
    huawei,
};

// In the order of their numbers.
constexpr const char *names[] = {
    "TYPE_LENOVO",   "TYPE_GREATWALL", "TYPE_INSPUR", "TYPE_TONGFANG", "TYPE_BAIXIN",
    "TYPE_SHUGUANG", "TYPE_HAIER",     "TYPE_706SUO", "TYPE_KUNTAI",   "TYPE_ZIGUANG",
    "TYPE_SEEWO",    "TYPE_LIANSHUO",  "TYPE_HUAWEI",
};
static_assert(std::size(names) == huawei + 1);

} // namespace

} // namespace orvane

// A program that uses the table has a copy relocation of it, so a change of its size or order needs
// a new SONAME.
extern "C" const orvane_manufacturer_type manufacturerType[] = {
    {"lenovo", orvane::lenovo},
    {"KaiTian", orvane::lenovo},
    {"LENOVO", orvane::lenovo},
    {"greatwall", orvane::greatwall},
    {"great wall", orvane::greatwall},
    {"GreatWall", orvane::greatwall},
    {"Great Wall", orvane::greatwall},
    {"Great wall", orvane::greatwall},
    {"inspur", orvane::inspur},
    {"Inspur", orvane::inspur},
    {"THTF", orvane::tongfang},
    {"Baixin", orvane::baixin},
    {"Suma", orvane::shuguang},
    {"Haier", orvane::haier},
    {"beijinginstituteofcomputertechnologyandapplication", orvane::suo706},
    {"Beijing Institute of Computer Technology and Application", orvane::suo706},
    {"yunke china", orvane::kuntai},
    {"H3C", orvane::ziguang},
    {"UNIS", orvane::ziguang},
    {"UNICOMPUTE", orvane::ziguang},
    {"LANXCBCOMPUTER", orvane::ziguang},
    {"seewo", orvane::seewo},
    {"LIANSHUO COMPUTER", orvane::lianshuo},
    {"HUAWEI", orvane::huawei},
};

// Deliberate: a name finds the first entry that begins with it; "huawei", one of the patterns
// without case, finds none. Callers compare what they recorded earlier, so a machine must keep its
// class from one version to the next.
extern "C" int findTypeEnum(const char *name)
{
    if (name == nullptr)
        return orvane::no_machine_type;
    const auto *const found =
        std::find_if(std::begin(manufacturerType), std::end(manufacturerType),
                     [name](const orvane_manufacturer_type &known) {
                         return orvane::has_prefix(known.identification, name);
                     });
    return found != std::end(manufacturerType) ? found->type : orvane::no_machine_type;
}

extern "C" const char *machineTypeToString(int type)
{
    const bool is_known = type >= 0 && type < static_cast<int>(std::size(orvane::names));
    return is_known ? orvane::names[type] : "TYPE_UNKNOWN";
}
