// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "glib_owners.h"
#include "interpose.h"
#include "orvane.h"

#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Keys and their values, in this order.
using pattern_list = std::vector<std::pair<const char *, const char *>>;

inline owned_key_file patterns_of(const pattern_list &list)
{
    owned_key_file kf(::g_key_file_new());
    for (const auto &[key, value] : list)
        ::g_key_file_set_value(kf.get(), "manufacturer_patterns", key, value);
    return kf;
}

// The manufacturer that the patterns of a key file are compared with; release with free().
inline char *system_manufacturer()
{
    char *compared = nullptr;
    interpose::maching_machine_type_with_dmidecode = [&compared](const char *manufacturer,
                                                                 const char *) {
        compared = ::strdup(manufacturer);
        return false;
    };
    EXPECT_EQ(maching_machine_type(patterns_of({{"any", "pattern"}}).get(), false), -1);
    interpose::maching_machine_type_with_dmidecode.reset();
    return compared;
}

// A machine whose manufacturer a test decides.
class manufacturer_machine : public on_machine {
protected:
    static constexpr char dmidecode[] = "/usr/sbin/dmidecode";

    // What dmidecode prints for the keyword of the manufacturer, and for the System Information.
    void dmidecode_prints(std::string_view keyword, std::string_view table)
    {
        machine.file(machine.scratch("keyword"), keyword);
        machine.file(machine.scratch("table"), table);
        machine.script(dmidecode, "case $1 in\n"
                                  "-s) exec cat " +
                                      machine.scratch("keyword") +
                                      " ;;\n"
                                      "-t) exec cat " +
                                      machine.scratch("table") +
                                      " ;;\n"
                                      "esac");
    }

    // The manufacturer that the program gives in the firmware's place.
    static void simulate(std::string manufacturer)
    {
        interpose::get_machine_info_simulate = [text = std::move(manufacturer)]() mutable {
            return text.data();
        };
    }
};
