// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Why a fact has an answer or none: the codes that scripts rely on, and the texts for people.
#pragma once

#include <span>
#include <string>
#include <string_view>

// Unknown is not false: what could not be queried is not absent.
enum class fact_status { known, absent, needs_root, refused, not_determinable };

// As it stands in JSON.
const char *name_of(fact_status status);

// As it stands in a sentence.
const char *words_for(fact_status status);

struct reason {
    const char *code; // stable: scripts and docs/troubleshooting.md depend on it
    fact_status status;
    const char *text;
    const char *advice;
};

namespace reasons {

extern const reason answered, permission_denied, tool_missing, tool_failed, source_failed,
    file_absent, no_firmware_tables, not_in_firmware, empty, placeholder, not_a_block_device,
    device_missing, form_not_followed, mapping_not_followed, several_devices, array_not_followed,
    disk_unsupported, no_serial_number, no_interface, usb_adapter, no_device_behind, library_ended;

} // namespace reasons

// Every reason, in the order of the documentation.
std::span<const reason *const> all_reasons();

// The advice of a reason, which may name the package of a missing tool.
std::string advice_with(const reason &one, const std::string &package);

// nullptr where there is no such reason.
const reason *find_reason(std::string_view code);
