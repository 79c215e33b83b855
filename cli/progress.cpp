// SPDX-License-Identifier: LGPL-2.1-or-later
#include "progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <unistd.h>

namespace {

constexpr off_t large = off_t{64} << 20; // a smaller file is read at once
constexpr std::chrono::milliseconds interval(100);
constexpr int bar_columns = 40;

bool is_same(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

off_t position_of_descriptor(const std::string &number)
{
    std::ifstream about("/proc/self/fdinfo/" + number);
    std::string label;
    off_t position = 0;
    return about >> label >> position && label == "pos:" ? position : 0;
}

// The greatest position of this process in the file, whichever descriptor reads it.
off_t position_in(const struct stat &file)
{
    off_t position = 0;
    std::error_code error;
    std::filesystem::directory_iterator descriptors("/proc/self/fd", error);
    for (; !error && descriptors != std::filesystem::directory_iterator();
         descriptors.increment(error)) {
        struct stat open = {};
        if (::stat(descriptors->path().c_str(), &open) == 0 && is_same(open, file))
            position = std::max(position, position_of_descriptor(descriptors->path().filename()));
    }
    return position;
}

void draw(off_t position, off_t size)
{
    const int percent = static_cast<int>(position * 100 / size);
    const std::string done(static_cast<std::size_t>(percent * bar_columns / 100), '#');
    std::fprintf(stderr, "\r[%-*s] %3d %%", bar_columns, done.c_str(), percent);
}

void erase()
{
    std::fputs("\r\033[K", stderr);
}

} // namespace

progress_bar::progress_bar(const std::string &path)
{
    struct stat file = {};
    if (::isatty(STDERR_FILENO) == 0 || ::stat(path.c_str(), &file) != 0 ||
        !S_ISREG(file.st_mode) || file.st_size < large)
        return;
    draw(0, file.st_size);
    try {
        thread_ = std::thread([this, file] { follow(file); });
    } catch (const std::system_error &) { // no more threads: no bar
        erase();
    }
}

progress_bar::~progress_bar()
{
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard lock(mutex_);
        has_ended_ = true;
    }
    end_.notify_one();
    thread_.join();
    erase();
}

void progress_bar::follow(const struct stat &file) noexcept
{
    try {
        std::unique_lock lock(mutex_);
        while (!end_.wait_for(lock, interval, [this] { return has_ended_; }))
            draw(std::min(position_in(file), file.st_size), file.st_size);
    } catch (const std::exception &) { // no memory: the bar stays where it is
        return;
    }
}
