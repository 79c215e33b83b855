// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Sorts the machine into a class by its manufacturer.
#include "machine/manufacturer_match.h"

#include "machine/machine_type.h"
#include "machine/manufacturer.h"
#include "machine/manufacturer_patterns.h"
#include "orvane.h"
#include "support/glib_handles.h"
#include "support/text.h"

#include <cstring>
#include <optional>

namespace orvane {

namespace {

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
            ::orvane_trace("system_manufacturer: %s, glIdentifications: %s.", manufacturer, *piece);
            return ::findTypeEnum(*piece);
        }
    }
    return std::nullopt;
}

// Deliberate: the matched pattern is looked up as it was compared, and may have no class.
std::optional<int> match_value(const char *manufacturer, char *value, bool ignore_case) noexcept
{
    if (::strchr(value, '|') != nullptr)
        return match_alternatives(manufacturer, value, ignore_case);
    if (is_match(manufacturer, value, ignore_case))
        return ::findTypeEnum(value);
    return std::nullopt;
}

} // namespace

int match_manufacturer(char *manufacturer, GKeyFile *patterns, bool ignore_case) noexcept
{
    const char *const group = manufacturer_patterns_group;
    if (ignore_case)
        normalise(manufacturer);
    if (::g_key_file_has_group(patterns, group) == FALSE)
        return no_machine_type;
    const glib_texts keys(::g_key_file_get_keys(patterns, group, nullptr, nullptr));
    if (!keys || *keys.get() == nullptr) {
        ::orvane_trace("%s: keys are empty.", group);
        return no_machine_type;
    }
    for (char **key = keys.get(); *key != nullptr; ++key) {
        const glib_text value(::g_key_file_get_value(patterns, group, *key, nullptr));
        if (!value || *value == '\0')
            continue;
        if (const auto type = match_value(manufacturer, value.get(), ignore_case))
            return *type;
    }
    return no_machine_type;
}

} // namespace orvane

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
