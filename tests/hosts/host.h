// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "library_calls.h"

#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

// What a host does to the process that makes a call, from its construction to its end.
class condition {
public:
    condition() = default;
    condition(const condition &) = delete;
    condition &operator=(const condition &) = delete;
    virtual ~condition() = default;

    // For what comes from outside at its own times: whether it has come often enough.
    [[nodiscard]] virtual bool has_acted() const { return true; }

    // Ends what goes on beside the calls.
    virtual void rest() {}
};

// Exported functions, or ways through them: "function/way", with "*" for any rest of its name.
using functions = std::set<std::string>;

bool has(const functions &named, const library_call &call);

// A caller's process as the library may find it.
struct host {
    std::string name;
    std::function<std::unique_ptr<condition>()> enter;

    // Those whose documentation lets this host fail them. All others must give their answer.
    functions may_fail = {};

    // Those that cannot have their answer here, which is how the host shows that it is what it
    // says.
    functions must_fail = {};

    // Where the documentation says that the process is ended here: by this signal, and with this
    // word on standard error.
    functions may_end = {};
    std::set<int> ends_by = {};
    std::string ends_with = {};

    // Those that may leave a child of theirs to be waited for.
    functions may_leave_child = {};

    // The host's own doing makes the sanitizers' impossible.
    bool bears_sanitizers = true;

    friend std::ostream &operator<<(std::ostream &stream, const host &one)
    {
        return stream << one.name;
    }
};

const std::vector<host> &hosts();

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_sanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif
#else
constexpr bool is_sanitized = false;
#endif
