// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <csignal>
#include <map>
#include <string>
#include <vector>

#include <sys/time.h>
#include <sys/types.h>

// What a process has that a call must leave as it was.
class process_state {
public:
    static process_state now();

    // The differences to a later state, in words; empty where there are none. The locale may be
    // left out.
    [[nodiscard]] std::string changes_until(const process_state &later,
                                            bool may_change_locale) const;

private:
    struct open_file {
        dev_t device;
        ino_t number;
        int flags;

        bool operator==(const open_file &) const = default;
    };

    std::map<int, open_file> descriptors_;
    sigset_t mask_ = {};
    std::array<struct sigaction, NSIG> dispositions_ = {};
    std::string directory_;
    mode_t umask_ = 0;
    std::vector<std::string> environment_;
    std::string locale_;
    uid_t user_ = 0;
    std::array<itimerval, 3> timers_ = {};
    nlink_t threads_ = 0; // 0 where /proc is not there
};
