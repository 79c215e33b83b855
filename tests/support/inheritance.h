// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <set>
#include <string>

// Starts programs of the caller's, one after the other, and knows what they inherited.
class inheritance {
public:
    // Starts the first one: what it inherits is the caller's own.
    explicit inheritance(const constructed_machine &machine);
    inheritance(const inheritance &) = delete;
    inheritance &operator=(const inheritance &) = delete;
    ~inheritance();

    // Starts one and waits for its end.
    void start_program();

    // The programs that inherited more than the first, and what: descriptors and where they lead.
    struct report {
        int programs = 0;
        int heirs = 0;
        std::set<std::string> inherited;
    };
    // Without what leads to where this expression matches.
    [[nodiscard]] report found(const std::string &tolerated = "nothing") const;

private:
    const std::string descriptors_;
    int output_;
    int programs_ = 0;
};
