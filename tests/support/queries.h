// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The queries of the library, spelt as calls in C: harddisk_id("/dev/sda2"). queries.def lists
// them.
#pragma once

#include <string>
#include <vector>

// The answer as it is printed: a text between quotation marks, a number, a class of manufacturers,
// or NULL. Throws std::runtime_error where there is no such query.
std::string answer_to(const std::string &spelling);

// Every query with its usual argument, those about the machine's own root device and disks among
// them.
std::vector<std::string> queries_of_this_machine();
