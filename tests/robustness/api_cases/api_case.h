// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "machine.h"
#include "process.h"

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

// What an environment may withhold from a call.
enum resource : unsigned {
    tools = 1U,            // programs can be run
    path = 2U,             // the shell finds programs by PATH
    root = 4U,             // files and tools of root
    file_growth = 8U,      // files can be written
    trace_log = 16U,       // the trace log can be written
    trace_directory = 32U, // the directory of the trace log can be made
    proc = 64U,
    sys = 128U,
    kernel_requests = 256U, // ioctl()
    c_locale = 512U,
};

enum trait : unsigned {
    single_thread = 1U,        // documented: not for two threads at once
    changes_locale = 2U,       // documented: sets the locale
    keeps_crypto_errors = 4U,  // documented: libcrypto's error queue stays as it was
    takes_first_read = 8U,     // documented: one read of a tool's output is its whole output
    waits_for_any_child = 16U, // documented: may take a child of another part of the process
    ends_at_file_limit = 32U,  // documented: SIGXFSZ is not held back
    succeeds_without_memory = 64U,
    ends_without_memory = 128U, // documented: GLib ends the process
};

// One path through an exported function. The tests run it with each fault, in each environment and
// in many threads.
struct api_case {
    std::string function;
    std::string name;

    // Adds to a started machine; nullptr where the bare machine is enough.
    void (*furnish)(constructed_machine &machine) = nullptr;

    // Calls the function once, releases what it returns, and reports the answer: a text as it is,
    // "NULL", a number in decimal digits. For functions that change their argument, the argument.
    std::string (*run)() = nullptr;

    std::string answer = {};

    // Answers where something fails: the documented failure value, and the next source's answer.
    texts failures = {};

    unsigned needs = 0; // resources without which the answer is one of the failures
    unsigned uses = 0;  // resources without which it may be
    unsigned traits = 0;

    // Answers where a text could not be formatted, or was written in part.
    texts truncated = {};

    // The line on standard error where the documentation says that the process is aborted.
    std::string ends_with = {};

    [[nodiscard]] bool has(trait one) const { return (traits & one) != 0; }
    [[nodiscard]] std::string full_name() const { return function + "_" + name; }

    friend std::ostream &operator<<(std::ostream &stream, const api_case &one)
    {
        return stream << one.full_name();
    }
};

using api_case_list = std::vector<api_case>;

// The cases of every exported function.
const api_case_list &api_cases();

// One or two cases of each function: the first, and those that depend on a resource.
const api_case_list &representative_cases();

api_case_list disk_cases();
api_case_list foundation_cases();
api_case_list integrity_cases();
api_case_list machine_cases();

inline const texts or_null = {"NULL"};

inline api_case_list joined(std::initializer_list<api_case_list> lists)
{
    api_case_list all;
    for (const api_case_list &list : lists)
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

inline api_case_list with_traits(unsigned traits, api_case_list cases)
{
    for (api_case &one : cases)
        one.traits |= traits;
    return cases;
}

inline api_case_list with_truncated(const texts &answers, api_case_list cases)
{
    for (api_case &one : cases)
        one.truncated = answers;
    return cases;
}

// Releases the text.
inline std::string reported(char *text)
{
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return text == nullptr ? "NULL" : text;
}

inline std::string reported(int number)
{
    return std::to_string(number);
}

// A tool of the machine that any environment can run: it needs no other program. Those of
// /usr/sbin are root's.
void add_tool(constructed_machine &machine, const std::string &path, const std::string &prints);
void add_script(constructed_machine &machine, const std::string &path, const std::string &commands);

// The commands that print a text.
std::string printing(const std::string &text);

// Runs with these standard descriptors closed, and reports which of them the call left open.
template <auto run, int... closed> std::string without_descriptors()
{
    std::string answer;
    for (const int descriptor : left_open({closed...}, [&answer] { answer = run(); }))
        answer += ", descriptor " + std::to_string(descriptor) + " is left open";
    return answer;
}
