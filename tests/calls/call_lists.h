// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "library_calls.h"

#include <initializer_list>
#include <vector>

// The calls of each part of the library, which library_calls() joins.
std::vector<library_call> disk_calls();
std::vector<library_call> foundation_calls();
std::vector<library_call> integrity_calls();
std::vector<library_call> machine_calls();

// Several lists as one.
inline std::vector<library_call> joined(std::initializer_list<std::vector<library_call>> lists)
{
    std::vector<library_call> all;
    for (const std::vector<library_call> &list : lists)
        all.insert(all.end(), list.begin(), list.end());
    return all;
}
