// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

// Environment, locale, umask, working directory, signals and limits are then the same whoever
// started the program, and whatever the test before has changed.
void become_usual_process();

// Standard input is empty then, and only standard output and error are inherited.
void leave_inherited_descriptors();

// Runs a program to its end with empty standard input. `prepare` runs in the child before it; where
// it returns false the status is 127.
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

// Every choice of standard descriptors that a caller may have closed.
std::vector<std::vector<int>> every_set_of_standard_descriptors();

// Which of the descriptors the action leaves open when they are closed before it.
std::vector<int> left_open(const std::vector<int> &closed, const std::function<void()> &action);

// Makes the process an ordinary user's for its lifetime: altogether, or its real user alone.
class other_user {
public:
    static constexpr uid_t nobody = 65534;

    explicit other_user(uid_t effective = nobody);
    other_user(const other_user &) = delete;
    other_user &operator=(const other_user &) = delete;
    ~other_user();
};

// The permission bits of a file; 0 when there is none.
mode_t permissions(const std::string &path);

// Whether this process has a child, running or not yet waited for.
bool has_children();

// The folder of the build that the running program belongs to.
std::string build_folder();
