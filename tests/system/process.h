// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

// Runs a program to its end with empty standard input. `prepare` runs in the child before it; where
// it says false the status is 127.
constructed_machine::program_result run_program(const std::vector<std::string> &command,
                                                const std::function<bool()> &prepare);

// What the action prints on standard error, whoever prints it.
std::string standard_error_of(const std::function<void()> &action);

// Closes standard descriptors for its lifetime and puts them back after.
class closed_descriptors {
public:
    explicit closed_descriptors(const std::vector<int> &descriptors);
    closed_descriptors(const closed_descriptors &) = delete;
    closed_descriptors &operator=(const closed_descriptors &) = delete;
    ~closed_descriptors();

private:
    std::vector<std::pair<int, int>> kept_; // descriptor, its duplicate
};

bool is_open(int descriptor);

// Whether this process has a child, running or not yet waited for.
bool has_children();
