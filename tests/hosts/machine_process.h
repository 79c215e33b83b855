// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "host.h"

#include <string>

#include <sys/types.h>

// What came of a call.
struct outcome {
    bool has_hung = false;
    std::string trouble;       // what kept the call from being made, or a check in it that failed
    bool lacks_memory = false; // the test itself, whose part in the call throws
    int status = 0;            // as wait() tells it
    bool has_answered = false;
    std::string answer;
    std::string changes; // what the call left otherwise in its process
    std::string said;    // on standard output and standard error
};

// A process on the machine that a call asks for. It makes the call as often as it is told to, each
// time in a child that lives on a host of its own, and never hangs whoever asks.
class machine_process {
public:
    explicit machine_process(const library_call &call);
    machine_process(const machine_process &) = delete;
    machine_process &operator=(const machine_process &) = delete;
    ~machine_process();

    [[nodiscard]] const library_call &call() const { return call_; }

    outcome ask(const host &host, int seconds = 20);

private:
    struct shared_room;

    [[noreturn]] void serve(int requests) const;
    [[nodiscard]] bool answers_in(int seconds) const;
    void end(bool by_force);

    const library_call &call_;
    shared_room *room_;
    pid_t process_ = -1;
    int requests_ = -1;
};
