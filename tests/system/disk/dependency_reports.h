// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"

#include <string>

// What dmsetup may print and which device that names.
struct dependency_report : named_case {
    std::string printed;
    std::string name;
    bool tells_of_none = false;
};

inline const dependency_report dependency_reports[] = {
    {"one_device", "1 dependencies\t: (sda2)\n", "sda2"},
    {"one_device_behind_a_space", "1 dependencies : (sda2)\n", "sda2"},
    {"one_device_without_line_end", "1 dependencies:(sda2)", "sda2"},
    {"several_devices", "2 dependencies : (sdb1) (sda1)\n", "sdb1sda1"},
    {"ten_devices", "10 dependencies : (sda) (sdb)\n", "sdasdb"},
    {"numbers", "1 dependencies : (8, 2)\n", "8,2"},
    {"no_device", "0 dependencies\n", "", true},
    {"no_device_with_a_colon", "0 dependencies : \n", "", true},
    {"no_device_but_one", "0 dependencies : (sda2)\n", "", true},
    {"no_device_and_more", "0 dependenciesX: (sda2)\n", "", true},
    {"no_device_below_a_header", "2 dependencies :0 dependencies: (sda2)\n", "", true},
    {"no_device_too_late", "1 dependencies : (sda2):0 dependencies\n", "sda2"},
    {"no_device_behind_a_blank", " 0 dependencies : (sda2)\n", "sda2"},
    {"no_device_in_13_letters", "0 dependencie : (sda2)\n", "0dependencie"},
    {"several_headers", "1 dependencies : two dependencies : (sda2)\n", "sda2"},
    {"a_header_that_goes_on", "has 1 dependencies in all: (sda2)\n", "sda2"},
    {"a_header_of_one_word", "dependencies:(sda2)\n", "sda2"},
    {"a_header_inside_a_word", "1xdependenciesx:(sda2)\n", "sda2"},
    {"a_header_in_capitals", "1 Dependencies : (sda2)\n", "1Dependencies"},
    {"a_header_alone", "1 dependencies :", ""},
    {"a_header_and_a_line_end", "1 dependencies :\n", ""},
    {"a_header_and_nobody", "1 dependencies : ()\n", ""},
    {"no_header", "(sda2):\n", "sda2"},
    {"the_mapping_first", "root: 1 dependencies : (sda2)\n", "root"},
    {"runs_of_colons", "::1 dependencies:::(sda2)::\n", "sda2"},
    {"colons_alone", ":::", ""},
    {"a_field_too_many", "1 dependencies : (sda2) : (sdb2)\n", "sda2"},
    {"no_colon", "1 dependencies (sda2)\n", ""},
    {"nothing", "", ""},
    {"garbage", "Device root not found\n", ""},
    {"garbage_with_a_colon", "device-mapper: deps ioctl failed\n", "device-mapper"},
    {"blanks_and_lines", "1 dependencies : \n( s d\na 2 )\n", "sda2"},
    {"a_tab_behind_the_colon", "1 dependencies :\t(sda2)\n", "\tsda2"},
    {"other_signs", "1 dependencies : (a-b_c.d/e\\f\"g'h)\n", "a-b_c.d/e\\f\"g'h"},
    {"percent_signs", "1 dependencies : (%n%s%%)\n", "%n%s%%"},
    {"bytes_above_0x7f", "1 dependencies : (\x80\xc3\xbc\xff)\n", "\x80\xc3\xbc\xff"},
    {"a_zero_byte", std::string("1 dependencies : (sda2\0sdb2)\n", 29), "sda2"},
    {"a_zero_byte_first",
     std::string("\0"
                 "1 dependencies : (sda2)\n",
                 25),
     ""},
};
