// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <csignal>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

// What a process has that a call must leave as it was.
class process_state {
public:
    static process_state now();

    // What is another in the later state, in words; nothing when nothing is. What the documentation
    // lets a call change may be left out.
    [[nodiscard]] std::string changed_in(const process_state &later, bool may_be_changed) const;

private:
    std::map<int, std::pair<dev_t, ino_t>> descriptors_;
    sigset_t mask_ = {};
    std::array<struct sigaction, NSIG> dispositions_ = {};
    std::string directory_;
    mode_t umask_ = 0;
    std::vector<std::string> environment_;
    std::string locale_;
    uid_t user_ = 0;
};
