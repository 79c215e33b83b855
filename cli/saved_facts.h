// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "facts.h"

#include <string>
#include <vector>

// A fact as it was saved.
struct saved_fact {
    const fact *what;
    answer value;
    std::string status;
    std::string reason;
    std::string source;
};

// The facts in a file that orvane save wrote. Any other content is wrong use; that the file cannot
// be read is no fault of its content.
std::vector<saved_fact> saved_facts(const std::string &file);
