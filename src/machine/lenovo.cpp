// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/manufacturer.h"
#include "orvane.h"
#include "support/text.h"

namespace orvane {

namespace {

bool says_lenovo(const char *command) noexcept
{
    const heap_text manufacturer(::get_machine_info_from_dmidecode(command));
    return manufacturer &&
           (has_prefix(manufacturer.get(), "KaiTian") || has_prefix(manufacturer.get(), "LENOVO"));
}

} // namespace

} // namespace orvane

extern "C" int is_lenovo_machine(void)
{
    const bool is_lenovo = orvane::says_lenovo(orvane::manufacturer_keyword_command) ||
                           orvane::says_lenovo(orvane::manufacturer_table_command);
    return is_lenovo ? 1 : 0;
}
