// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string>
#include <thread>

#include <sys/stat.h>

// Where standard error is a terminal, a bar for the time in which this process reads a large file.
// The destructor erases it, and so does a signal that ends the process. One object at a time.
class progress_bar {
public:
    explicit progress_bar(const std::string &path);
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;
    ~progress_bar();

private:
    void follow(const struct stat &file) noexcept;
    void handle_signals();
    void restore_signals();

    std::array<struct sigaction, 3> actions_before_ = {};
    sigset_t blocked_before_ = {};

    std::mutex mutex_;
    std::condition_variable end_;
    bool has_ended_ = false;
    std::thread thread_;
};
