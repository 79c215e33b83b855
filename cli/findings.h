// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What is known of a fact, and why.
#pragma once

#include "facts.h"
#include "layers.h"
#include "reasons.h"
#include "steps.h"

#include <span>
#include <string>
#include <vector>

struct finding {
    const fact *what = nullptr;
    answer value = {};
    const reason *why = &reasons::answered;
    std::string source = {};  // that answered
    std::string subject = {}; // what the reason is about: a device, an interface, a placeholder
    std::vector<std::string> missing_tools = {}; // the paths of those that would answer
    std::vector<step> steps = {};
    std::vector<std::string> trace = {};
    storage_layers layers = {};   // of the disk alone
    std::string file_system = {}; // of "/", of the disk alone
    std::string device = {};      // below "/"
    bool is_trace_lost = false;
};
using findings = std::vector<finding>;

// Queries each fact in a process of its own.
findings examine(const std::vector<std::string> &names, bool to_trace_log);

bool is_known(const finding &one);

// Root that lacks a permission cannot get it by being root.
fact_status status_of(const finding &one);

// Whether the value can be of this machine alone.
bool is_usable_as_identity(const finding &one);

// One sentence about a fact without an answer: the reason and what it is about.
std::string explanation_of(const finding &one);

// What to do; empty where nothing has to be done.
std::string advice_on(const finding &one);

// The Debian package with the tool of this path, or the path itself.
std::string package_of(const std::string &tool);
std::vector<std::string> packages_of(const std::vector<std::string> &tools); // each once

std::string joined(const std::vector<std::string> &names, const char *separator);
