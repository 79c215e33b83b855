// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "host.h"
#include "machine_process.h"

#include <string>

// What is wrong with what came of a call on a host; nothing when nothing is.
std::string objection(const library_call &call, const host &place, const outcome &made);
