// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The questions by which a machine is compared with what is expected of it. They are spelt as calls
// in C, but for those of the command's facts, which go by their names.
#pragma once

#include <string>
#include <vector>

// What the library says: a text between quotation marks, a number, or NULL. Throws where there is
// no such question.
std::string answer_to(const std::string &question);

// The questions that have to be asked of every machine, those about its own root device and disks
// among them.
std::vector<std::string> questions_of_this_machine();
