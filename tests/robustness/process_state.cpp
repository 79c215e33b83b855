// SPDX-License-Identifier: LGPL-2.1-or-later
#include "process_state.h"

#include <climits>
#include <clocale>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// More than a call opens.
constexpr int examined_descriptors = 64;

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
    // The C library's own flag, SA_RESTORER, on whatever it sets.
    constexpr int of_the_c_library = 0x04000000;
    // The one member for both kinds of handlers.
    return one.sa_handler == other.sa_handler &&
           (one.sa_flags | of_the_c_library) == (other.sa_flags | of_the_c_library) &&
           is_same(one.sa_mask, other.sa_mask);
}

// Not by the time that is left, which is different each time.
bool is_same(const itimerval &one, const itimerval &other)
{
    return !timercmp(&one.it_interval, &other.it_interval, !=) &&
           timerisset(&one.it_value) == timerisset(&other.it_value);
}

// Each thread is a directory there. This takes neither memory nor a descriptor.
nlink_t links_of_threads()
{
    struct stat status = {};
    return ::stat("/proc/self/task", &status) == 0 ? status.st_nlink : 0;
}

} // namespace

process_state process_state::now()
{
    process_state state;
    for (int descriptor = 0; descriptor < examined_descriptors; ++descriptor) {
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

std::string process_state::changes_until(const process_state &later, bool may_change_locale) const
{
    std::string changes;
    const auto report = [&changes](bool is_changed, const std::string &what) {
        if (is_changed)
            changes += what + "; ";
    };
    for (const auto &[descriptor, file] : descriptors_) {
        const auto found = later.descriptors_.find(descriptor);
        const std::string name = "descriptor " + std::to_string(descriptor);
        report(found == later.descriptors_.end(), name + " is closed");
        report(found != later.descriptors_.end() && found->second != file,
               name + " is of another file or has other flags");
    }
    for (const auto &[descriptor, file] : later.descriptors_)
        report(!descriptors_.contains(descriptor),
               "descriptor " + std::to_string(descriptor) + " is left open");
    for (std::size_t signal = 1; signal < dispositions_.size(); ++signal)
        report(!is_same(dispositions_[signal], later.dispositions_[signal]),
               "another disposition of signal " + std::to_string(signal));
    for (std::size_t timer = 0; timer < timers_.size(); ++timer)
        report(!is_same(timers_[timer], later.timers_[timer]), "another interval timer");
    report(!is_same(mask_, later.mask_), "another signal mask");
    report(directory_ != later.directory_, "another working directory");
    report(umask_ != later.umask_, "another umask");
    report(environment_ != later.environment_, "another environment");
    report(locale_ != later.locale_ && !may_change_locale, "another locale: " + later.locale_);
    report(user_ != later.user_, "another user");
    // The test may end threads of its own meanwhile.
    report(threads_ != 0 && later.threads_ > threads_, "more threads");
    return changes;
}
