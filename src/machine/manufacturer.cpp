// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Sorts the machine into a class by its manufacturer.
#include "foundation/glib_handles.h"
#include "machine/dmi.h"
#include "machine/manufacturer_table.h"
#include "orvane.h"
#include "support/outside_text.h"
#include "support/text.h"

#include <cstring>
#include <optional>
#include <span>

namespace orvane {

namespace {

// The group of a key file whose keys name classes of manufacturers. Each value holds one pattern,
// or several that "|" joins.
constexpr char patterns_group[] = "manufacturer_patterns";

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
        ::g_key_file_set_value(key_file.get(), patterns_group, pattern.key, pattern.value);
    // Deliberate: the text is made and dropped, for programs that observe this GLib call.
    const glib_text text(::g_key_file_to_data(key_file.get(), nullptr, nullptr));
    return key_file.release();
}

// A text that a program puts in the firmware's place stays the program's, so it is copied.
heap_text get_system_manufacturer() noexcept
{
    // cppcheck-suppress knownConditionTrueFalse ; a program may define it otherwise
    if (const char *const simulated = ::get_machine_info_simulate())
        return heap_text(::strdup(simulated));
    if (char *const manufacturer = ::get_machine_info_from_dmidecode(manufacturer_keyword_command))
        return heap_text(manufacturer);
    return heap_text(::get_machine_info_from_dmidecode(manufacturer_table_command));
}

bool is_lenovo(const char *command) noexcept
{
    const heap_text manufacturer(::get_machine_info_from_dmidecode(command));
    return manufacturer &&
           (has_prefix(manufacturer.get(), "KaiTian") || has_prefix(manufacturer.get(), "LENOVO"));
}

void normalise(char *text) noexcept
{
    ::removeSpaces(text);
    ::toLowerCase(text);
}

bool is_match(const char *manufacturer, char *pattern, bool ignore_case) noexcept
{
    if (ignore_case)
        normalise(pattern);
    return ::maching_machine_type_with_dmidecode(manufacturer, pattern);
}

std::optional<int> match_alternatives(const char *manufacturer, const char *value,
                                      bool ignore_case) noexcept
{
    const glib_texts pieces(::g_strsplit(value, "|", 0));
    for (char **piece = pieces.get(); *piece != nullptr; ++piece) {
        if (is_match(manufacturer, *piece, ignore_case)) {
            trace_outside_text("system_manufacturer: %s, glIdentifications: %s.", manufacturer,
                               *piece);
            return ::findTypeEnum(*piece);
        }
    }
    return std::nullopt;
}

// The matched pattern is looked up as it was compared, and may have no class.
std::optional<int> match_value(const char *manufacturer, char *value, bool ignore_case) noexcept
{
    if (::strchr(value, '|') != nullptr)
        return match_alternatives(manufacturer, value, ignore_case);
    if (is_match(manufacturer, value, ignore_case))
        return ::findTypeEnum(value);
    return std::nullopt;
}

// The class of the first matching pattern; no_machine_type where none matches, and where one does
// that has no class.
int match_manufacturer(char *manufacturer, GKeyFile *patterns, bool ignore_case) noexcept
{
    if (ignore_case)
        normalise(manufacturer);
    if (::g_key_file_has_group(patterns, patterns_group) == FALSE)
        return no_machine_type;
    const glib_texts keys(::g_key_file_get_keys(patterns, patterns_group, nullptr, nullptr));
    if (!keys || *keys.get() == nullptr) {
        ::orvane_trace("%s: keys are empty.", patterns_group);
        return no_machine_type;
    }
    for (char **key = keys.get(); *key != nullptr; ++key) {
        const glib_text value(::g_key_file_get_value(patterns, patterns_group, *key, nullptr));
        if (!value || *value == '\0')
            continue;
        if (const auto type = match_value(manufacturer, value.get(), ignore_case))
            return *type;
    }
    return no_machine_type;
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

extern "C" char *get_machine_info_simulate(void)
{
    return nullptr;
}

extern "C" int is_lenovo_machine(void)
{
    const bool is_named = orvane::is_lenovo(orvane::manufacturer_keyword_command) ||
                          orvane::is_lenovo(orvane::manufacturer_table_command);
    return is_named ? 1 : 0;
}

extern "C" int maching_machine_type(GKeyFile *key_file, bool ignore_case)
{
    if (key_file == nullptr)
        return orvane::no_machine_type;
    const orvane::heap_text manufacturer = orvane::get_system_manufacturer();
    return manufacturer ? orvane::match_manufacturer(manufacturer.get(), key_file, ignore_case)
                        : orvane::no_machine_type;
}

extern "C" bool maching_machine_type_with_dmidecode(const char *manufacturer, const char *pattern)
{
    return manufacturer != nullptr && pattern != nullptr &&
           orvane::has_prefix(manufacturer, pattern);
}
