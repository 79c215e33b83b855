// SPDX-License-Identifier: LGPL-2.1-or-later
#include "library_calls.h"

#include "call_lists.h"

const std::vector<library_call> &library_calls()
{
    static const std::vector<library_call> all =
        joined({foundation_calls(), machine_calls(), disk_calls(), integrity_calls()});
    return all;
}
