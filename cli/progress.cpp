// SPDX-License-Identifier: LGPL-2.1-or-later
#include "progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr off_t large = off_t{64} << 20; // a smaller file is read at once
constexpr std::chrono::milliseconds interval(100);
constexpr int bar_columns = 40;
constexpr int least_bar_columns = 4;
constexpr int percentage_columns = 5; // "100 %"
constexpr int frame_columns = 3;      // the brackets and the blank between bar and percentage
constexpr int usual_columns = 80;     // of a terminal that does not report its width

constexpr std::array ending_signals = {SIGHUP, SIGINT, SIGTERM};
constexpr char erasure[] = "\r\033[K";

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

// A line that wraps cannot be erased: it ends before the last column, and leaves place for the "^C"
// by which the terminal shows an interrupt.
int free_columns()
{
    struct winsize size = {};
    const bool is_known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (is_known ? size.ws_col : usual_columns) - 3;
}

void draw(off_t position, off_t size)
{
    const int percent = static_cast<int>(position * 100 / size);
    const int columns = free_columns();
    const int bar = std::min(bar_columns, columns - frame_columns - percentage_columns);
    const std::string done(static_cast<std::size_t>(percent * std::max(bar, 0) / 100), '#');
    if (bar >= least_bar_columns)
        std::fprintf(stderr, "\r[%-*s] %3d %%", bar, done.c_str(), percent);
    else if (columns >= percentage_columns)
        std::fprintf(stderr, "\r%3d %%", percent);
}

void erase()
{
    std::fputs(erasure, stderr);
}

// Ends the process by the signal, which is pending until this handler returns. Async-signal-safe.
extern "C" void erase_and_end(int signal)
{
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, erasure, sizeof erasure - 1);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

progress_bar::progress_bar(const std::string &path)
{
    struct stat file = {};
    if (::isatty(STDERR_FILENO) == 0 || ::stat(path.c_str(), &file) != 0 ||
        !S_ISREG(file.st_mode) || file.st_size < large)
        return;
    handle_signals();
    draw(0, file.st_size);
    try {
        thread_ = std::thread([this, file] { follow(file); });
    } catch (const std::system_error &) { // no more threads: no bar
        erase();
        restore_signals();
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
    restore_signals();
}

// They are blocked, but in the thread that draws: it draws nothing behind the erasure. What is
// ignored, as SIGHUP is with nohup, ends nothing.
void progress_bar::handle_signals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    struct sigaction action = {};
    action.sa_handler = erase_and_end;
    for (std::size_t at = 0; at < ending_signals.size(); ++at) {
        ::sigaddset(&signals, ending_signals[at]);
        ::sigaction(ending_signals[at], nullptr, &actions_before_[at]);
        if (actions_before_[at].sa_handler != SIG_IGN)
            ::sigaction(ending_signals[at], &action, nullptr);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, &blocked_before_);
}

void progress_bar::restore_signals()
{
    for (std::size_t at = 0; at < ending_signals.size(); ++at)
        ::sigaction(ending_signals[at], &actions_before_[at], nullptr);
    ::pthread_sigmask(SIG_SETMASK, &blocked_before_, nullptr);
}

void progress_bar::follow(const struct stat &file) noexcept
{
    ::pthread_sigmask(SIG_SETMASK, &blocked_before_, nullptr);
    std::unique_lock lock(mutex_);
    while (!end_.wait_for(lock, interval, [this] { return has_ended_; })) {
        try {
            draw(std::min(position_in(file), file.st_size), file.st_size);
        } catch (const std::exception &) { // no memory: the bar stays where it is
            continue;
        }
    }
}
