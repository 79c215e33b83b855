// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "machine/network_interface.h"

#include <string>

// Each record as its name, its current and its permanent address.
inline texts records_of(const GList *interfaces)
{
    texts records;
    for (const GList *entry = interfaces; entry != nullptr; entry = entry->next) {
        const auto &one = *static_cast<const orvane::network_interface *>(entry->data);
        records.push_back(std::string(one.name) + " " + one.mac + " " + one.permanent_mac);
    }
    return records;
}
