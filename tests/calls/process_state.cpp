// SPDX-License-Identifier: LGPL-2.1-or-later
#include "process_state.h"

#include <climits>
#include <clocale>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// More than a call opens; what the tests keep open stands among them.
constexpr int descriptors_looked_at = 256;

bool is_same(const sigset_t &one, const sigset_t &other)
{
    for (int signal = 1; signal < NSIG; ++signal) {
        if (::sigismember(&one, signal) != ::sigismember(&other, signal))
            return false;
    }
    return true;
}

bool is_same(const struct sigaction &one, const struct sigaction &other)
{
    // The one member for both kinds of handlers.
    return one.sa_handler == other.sa_handler && one.sa_flags == other.sa_flags &&
           is_same(one.sa_mask, other.sa_mask);
}

// How often it rings and whether it is to; when it does next is another at every look.
bool is_same(const itimerval &one, const itimerval &other)
{
    return !timercmp(&one.it_interval, &other.it_interval, !=) &&
           timerisset(&one.it_value) == timerisset(&other.it_value);
}

// Each thread is a directory there, and the look takes neither memory nor a descriptor.
nlink_t links_of_threads()
{
    struct stat status = {};
    return ::stat("/proc/self/task", &status) == 0 ? status.st_nlink : 0;
}

} // namespace

process_state process_state::now()
{
    process_state state;
    for (int descriptor = 0; descriptor < descriptors_looked_at; ++descriptor) {
        struct stat status = {};
        if (::fstat(descriptor, &status) == 0)
            state.descriptors_[descriptor] = {status.st_dev, status.st_ino,
                                              ::fcntl(descriptor, F_GETFD)};
    }
    ::sigprocmask(SIG_SETMASK, nullptr, &state.mask_);
    for (int signal = 1; signal < NSIG; ++signal)
        ::sigaction(signal, nullptr, &state.dispositions_[static_cast<std::size_t>(signal)]);
    std::array<char, PATH_MAX> directory = {};
    if (::getcwd(directory.data(), directory.size()) != nullptr)
        state.directory_ = directory.data();
    state.umask_ = ::umask(0);
    ::umask(state.umask_);
    for (char **variable = environ; *variable != nullptr; ++variable)
        state.environment_.emplace_back(*variable);
    state.locale_ = std::setlocale(LC_ALL, nullptr);
    state.user_ = ::geteuid();
    ::getitimer(ITIMER_REAL, &state.timers_[0]);
    ::getitimer(ITIMER_VIRTUAL, &state.timers_[1]);
    ::getitimer(ITIMER_PROF, &state.timers_[2]);
    state.threads_ = links_of_threads();
    return state;
}

std::string process_state::changed_in(const process_state &later, bool may_be_changed) const
{
    std::ostringstream changes;
    for (const auto &[descriptor, file] : descriptors_) {
        const auto found = later.descriptors_.find(descriptor);
        if (found == later.descriptors_.end())
            changes << "descriptor " << descriptor << " is closed; ";
        else if (found->second != file)
            changes << "descriptor " << descriptor << " is of another file or has other flags; ";
    }
    for (const auto &[descriptor, file] : later.descriptors_) {
        if (!descriptors_.contains(descriptor))
            changes << "descriptor " << descriptor << " is left open; ";
    }
    if (!is_same(mask_, later.mask_))
        changes << "another signal mask; ";
    for (std::size_t signal = 1; signal < dispositions_.size(); ++signal) {
        if (!is_same(dispositions_[signal], later.dispositions_[signal]) &&
            !(may_be_changed && signal == SIGPIPE))
            changes << "another disposition of signal " << signal << "; ";
    }
    if (directory_ != later.directory_)
        changes << "another working directory; ";
    if (umask_ != later.umask_)
        changes << "another umask; ";
    if (environment_ != later.environment_)
        changes << "another environment; ";
    if (locale_ != later.locale_ && !may_be_changed)
        changes << "another locale: " << later.locale_ << "; ";
    if (user_ != later.user_)
        changes << "another user; ";
    for (std::size_t timer = 0; timer < timers_.size(); ++timer) {
        if (!is_same(timers_[timer], later.timers_[timer]))
            changes << "another interval timer; ";
    }
    // The test may end threads of its own meanwhile.
    if (threads_ != 0 && later.threads_ > threads_)
        changes << "more threads; ";
    return changes.str();
}
