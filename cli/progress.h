// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include <sys/stat.h>

// Where standard error is a terminal, a bar for the time in which this process reads a large file.
// The destructor erases it.
class progress_bar {
public:
    explicit progress_bar(const std::string &path);
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;
    ~progress_bar();

private:
    void follow(const struct stat &file) noexcept;

    std::mutex mutex_;
    std::condition_variable end_;
    bool has_ended_ = false;
    std::thread thread_;
};
