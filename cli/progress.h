// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include <sys/stat.h>

// While this process reads a large file, a bar on standard error, where that is a terminal, shows
// how far it has come. It is gone when the object is.
class progress_bar {
public:
    explicit progress_bar(const std::string &path);
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;
    ~progress_bar();

private:
    void follow(const struct stat &file) noexcept;

    std::mutex mutex_;
    std::condition_variable ended_;
    bool has_ended_ = false;
    std::thread thread_;
};
