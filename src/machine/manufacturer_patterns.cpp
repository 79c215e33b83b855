// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The patterns by which manufacturers are known.
#include "machine/manufacturer_patterns.h"

#include "orvane.h"
#include "support/glib_handles.h"

#include <span>

namespace orvane {

namespace {

struct manufacturer_pattern {
    const char *key;
    const char *value;
};

// Matched in this order.
constexpr manufacturer_pattern exact_patterns[] = {
    {"lenovo", "lenovo|KaiTian|LENOVO"},
    {"tongfang", "THTF"},
    {"Baixin", "Baixin"},
    {"shuguang", "Suma"},
    {"Haier", "Haier"},
    {"shenzhoukuntai", "yunke china"},
    {"ziguang", "H3C|UNIS|UNICOMPUTE|LANXCBCOMPUTER"},
    {"xiwo", "seewo"},
    {"lianshuo", "LIANSHUO COMPUTER"},
    {"HUAWEI", "HUAWEI"},
};
constexpr manufacturer_pattern patterns_without_case[] = {
    {"greatwall", "greatwall"},
    {"Inspur", "Inspur"},
    {"706suo", "Beijing Institute of Computer Technology and Application"},
    {"Huawei", "Huawei"},
};

GKeyFile *to_key_file(std::span<const manufacturer_pattern> patterns) noexcept
{
    unique_key_file key_file(::g_key_file_new());
    for (const manufacturer_pattern &pattern : patterns)
        ::g_key_file_set_value(key_file.get(), manufacturer_patterns_group, pattern.key,
                               pattern.value);
    // Deliberate: the text is made and dropped. Programs that replace this GLib call count on it.
    const glib_text text(::g_key_file_to_data(key_file.get(), nullptr, nullptr));
    return key_file.release();
}

} // namespace

} // namespace orvane

extern "C" GKeyFile *generate_machine_whitelist(void)
{
    return orvane::to_key_file(orvane::exact_patterns);
}

extern "C" GKeyFile *generate_machine_whitelist_ignore_case(void)
{
    return orvane::to_key_file(orvane::patterns_without_case);
}
