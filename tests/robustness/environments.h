// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

// What an environment does to the process that makes a call, from its construction to its end.
class condition {
public:
    condition() = default;
    condition(const condition &) = delete;
    condition &operator=(const condition &) = delete;
    virtual ~condition() = default;

    // For what comes at its own times: whether it has come often enough.
    [[nodiscard]] virtual bool has_acted() const { return true; }

    // Ends what goes on beside the calls.
    virtual void rest() {}
};

// A caller's process as the library may find it.
struct environment {
    std::string name;
    std::function<std::unique_ptr<condition>()> enter;

    unsigned withholds = 0;      // resources that are not there
    unsigned limits = 0;         // resources that may run out
    bool lacks_memory = false;   // any call may fail that has no trait of its own for this
    bool ends_growth = false;    // SIGXFSZ ends a process that writes
    bool takes_children = false; // other children end meanwhile
};

const std::vector<environment> &environments();
