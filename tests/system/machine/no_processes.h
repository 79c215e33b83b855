// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "process.h"

#include <sys/resource.h>

// Makes the process an ordinary user's that may start no other process, for its lifetime.
class no_processes {
public:
    no_processes()
    {
        ::getrlimit(RLIMIT_NPROC, &kept_);
        const rlimit none = {0, kept_.rlim_max};
        ::setrlimit(RLIMIT_NPROC, &none);
    }
    no_processes(const no_processes &) = delete;
    no_processes &operator=(const no_processes &) = delete;
    ~no_processes() { ::setrlimit(RLIMIT_NPROC, &kept_); }

private:
    other_user user_; // whom the limit binds, unlike root
    rlimit kept_ = {};
};
