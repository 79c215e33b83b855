// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/manufacturer.h"

#include "orvane.h"

#include <cstring>

namespace orvane {

// What a program puts in the firmware's place stays the program's own, so the text is a copy.
heap_text get_system_manufacturer() noexcept
{
    // cppcheck-suppress knownConditionTrueFalse ; a program may define it otherwise
    if (const char *const simulated = ::get_machine_info_simulate())
        return heap_text(::strdup(simulated));
    if (char *const told = ::get_machine_info_from_dmidecode(manufacturer_keyword_command))
        return heap_text(told);
    return heap_text(::get_machine_info_from_dmidecode(manufacturer_table_command));
}

} // namespace orvane

extern "C" char *get_machine_info_simulate(void)
{
    return nullptr;
}
