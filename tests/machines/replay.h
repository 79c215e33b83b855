// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

// A machine that is kept in a folder: its files, the outputs of its tools, its kernel's answers,
// and the expected answers of the library. README.md describes the folder.
class recorded_machine {
public:
    explicit recorded_machine(std::string folder) : folder_(std::move(folder)) {}

    // The names of the folders in there, in their order.
    [[nodiscard]] static std::vector<std::string> names_in(const std::string &folders);

    // Makes the machine such a computer.
    void furnish(constructed_machine &machine) const;

    // The answers by their queries.
    [[nodiscard]] std::map<std::string, std::string> expected() const;

    // Why each missing fact is missing, and for whom.
    [[nodiscard]] std::map<std::string, std::string> reasons() const;
    [[nodiscard]] uid_t user() const;

    // Command lines that tools were run with and whose output is not recorded.
    [[nodiscard]] static std::vector<std::string> unrecorded(const constructed_machine &machine);

    // What a tool is recorded to print.
    [[nodiscard]] std::string output_of(const std::string &command_line) const;

private:
    struct tool_run {
        int status;
        std::string output;
        std::vector<std::string> command; // the tool's name and its arguments
    };

    void furnish_tree(constructed_machine &machine, const std::string &top) const;
    void furnish_devices(constructed_machine &machine) const;
    void furnish_modes() const;
    void furnish_tools(constructed_machine &machine) const;
    [[nodiscard]] std::vector<std::string> installed_tools() const;
    [[nodiscard]] std::vector<tool_run> tool_runs() const;

    std::string folder_;
};

namespace recorded {

// The beginning of a command line whose program the recorded kernel answers: a library that is
// loaded into it. Both paths are those of the machine.
[[nodiscard]] std::vector<std::string> with_kernel(const std::string &kernel,
                                                   const std::string &folder);

} // namespace recorded
