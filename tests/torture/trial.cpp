// SPDX-License-Identifier: LGPL-2.1-or-later
#include "trial.h"

#include "process.h"
#include "process_state.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <set>
#include <system_error>

#include <openssl/err.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// There in a build with the sanitizer alone, where it ends the process that has leaks.
extern "C" [[gnu::weak]] void __lsan_do_leak_check();

namespace {

namespace fs = std::filesystem;

// The routines that the documentation allows to change the locale and what SIGPIPE does.
const std::set<std::string> gpg_routines = {"gpg_verify", "gpg_encrypt"};

// Those that promise to leave libcrypto's errors as they were.
const std::set<std::string> rsa_routines = {"load_public_key", "verify_signature"};

// What the processes of a trial print, the sanitizers' reports included.
class printed_text {
public:
    printed_text() : fd_(::memfd_create("printed", MFD_CLOEXEC))
    {
        if (fd_ < 0)
            throw std::system_error(errno, std::generic_category(), "memfd_create");
    }
    printed_text(const printed_text &) = delete;
    printed_text &operator=(const printed_text &) = delete;
    ~printed_text() { ::close(fd_); }

    void receive() const
    {
        ::dup2(fd_, STDOUT_FILENO);
        ::dup2(fd_, STDERR_FILENO);
    }
    [[nodiscard]] std::string text() const
    {
        std::string text(static_cast<std::size_t>(::lseek(fd_, 0, SEEK_END)), '\0');
        if (::pread(fd_, text.data(), text.size(), 0) < 0)
            throw std::system_error(errno, std::generic_category(), "pread");
        return text;
    }

private:
    int fd_;
};

// A process's own entry in the constructed /proc, where the sanitizers look for it by number.
class own_entry {
public:
    own_entry(const constructed_machine &machine, pid_t process)
        : path_("/proc/" + std::to_string(process))
    {
        std::error_code is_there;
        fs::create_symlink(fs::path(machine.own_proc()).parent_path() / std::to_string(process),
                           path_, is_there);
    }
    own_entry(const own_entry &) = delete;
    own_entry &operator=(const own_entry &) = delete;
    ~own_entry()
    {
        std::error_code is_gone;
        fs::remove(path_, is_gone);
    }

private:
    fs::path path_;
};

// The function whose call failed first, or nullptr.
const fallible_function *first_failed()
{
    const int number = injection::shared().first_failed;
    return number == injection::none ? nullptr
                                     : &fallible_functions()[static_cast<std::size_t>(number)];
}

// No documentation says what a text is that could not be formatted.
bool is_allowed(const library_call &call, const std::string &answer)
{
    const fallible_function *const failed = first_failed();
    if (failed == nullptr)
        return answer == call.answer;
    return !failed->lasts || answer == call.answer ||
           std::ranges::find(call.failures, answer) != call.failures.end();
}

// The complaint about one call, made here.
std::string complaint_of_call(const library_call &call)
{
    const process_state before = process_state::now();
    const unsigned long libcrypto_error = ::ERR_peek_error();
    std::string complaint;
    try {
        injection::arm();
        const std::string answer = call.run();
        injection::disarm();
        if (!is_allowed(call, answer))
            complaint = "the answer is \"" + answer + "\"\n";
    } catch (const std::exception &thrown) {
        injection::disarm();
        complaint = std::string("thrown: ") + thrown.what() + "\n";
    }
    complaint += before.changed_in(process_state::now(), gpg_routines.contains(call.function));
    if (has_children())
        complaint += "a child is left; ";
    if (rsa_routines.contains(call.function) && ::ERR_peek_error() != libcrypto_error)
        complaint += "another error of libcrypto; ";
    return complaint;
}

void leave(const std::string &complaint)
{
    injection::record &shared = injection::shared();
    shared.complaint_length = std::min(complaint.size(), sizeof shared.complaint);
    complaint.copy(shared.complaint, sizeof shared.complaint);
}

[[noreturn]] void make_call(const constructed_machine &machine, const library_call &call)
{
    const own_entry entry(machine, ::getpid());
    leave(complaint_of_call(call));
    // Here and not on the way out, where the test's own objects lose what they hold.
    if (__lsan_do_leak_check != nullptr)
        __lsan_do_leak_check();
    // Not _exit(), so that a coverage build writes its counts.
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe)
}

// Whether it ended by itself. If not, it is ended; and so are the tools that it left running.
bool ends_within(std::chrono::seconds limit, pid_t process, int &status)
{
    const auto handle = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
    pollfd end = {handle, POLLIN, 0};
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(limit);
    const bool ended = ::poll(&end, 1, static_cast<int>(milliseconds.count())) == 1;
    ::close(handle);
    ::kill(-process, SIGKILL);
    ::waitpid(process, &status, 0);
    return ended;
}

bool has_failed(const char *name)
{
    const auto &functions = fallible_functions();
    const auto found = std::ranges::find(functions, name, &fallible_function::name);
    return found != functions.end() && injection::shared().failures[found - functions.begin()] != 0;
}

// The line cannot be there where it was the printing that failed.
bool is_documented_end(const library_call &call, int status, const std::string &printed)
{
    return !call.ends_with.empty() && WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT &&
           (printed.find(call.ends_with) != std::string::npos || has_failed("dprintf") ||
            has_failed("__dprintf_chk"));
}

std::string complaint_about_end(const library_call &call, int status, const std::string &printed)
{
    if (is_documented_end(call, status, printed))
        return {};
    if (WIFSIGNALED(status))
        return std::string("ended by ") + ::sigdescr_np(WTERMSIG(status)) + "\n" + printed;
    if (WEXITSTATUS(status) != EXIT_SUCCESS)
        return "exit status " + std::to_string(WEXITSTATUS(status)) + "\n" + printed;
    const injection::record &shared = injection::shared();
    return {shared.complaint, shared.complaint_length};
}

} // namespace

trial_result try_call(const constructed_machine &machine, const library_call &call,
                      const injection::plan &planned, std::chrono::seconds limit)
{
    const printed_text printed;
    injection::prepare(planned);
    std::fflush(nullptr);
    const pid_t process = ::fork();
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (process == 0) {
        ::setpgid(0, 0);
        printed.receive();
        make_call(machine, call);
    }

    int status = 0;
    const bool ended = ends_within(limit, process, status);
    const own_entry ended_too_early_to_be_removed(machine, process);
    return {first_failed(), ended ? complaint_about_end(call, status, printed.text())
                                  : "it hangs\n" + printed.text()};
}
