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
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

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

// These take what the first read gives: what the tool says of one device comes in one piece.
const std::set<std::string> single_readers = {"harddisk_id", "orvane_get_harddisk_id"};

std::string half_of_a_cut_event()
{
    const std::string start = "(EE) Time: 9999-99-99 99:99:99\t\tMessage: ";
    return start + std::string(1023 / 2 - start.size(), 'x');
}

// What else a call may answer where a text could not be formatted or was written in part, for no
// documentation says what it is then. All that is formatted here is short and of known kinds, so
// that the C library has no reason to fail; and to a full disk, one write gives what it can.
const std::map<std::string, std::vector<std::string>> answers_of_cut_texts = {
    // The path or the identity itself was not formatted, and what stood there before is nothing.
    {"command_line_get_root_device_name", {""}},
    {"harddisk_id", {""}},
    {"harddisk_id_lvm", {""}},
    {"harddisk_id_smartctl", {""}},
    {"orvane_get_harddisk_id", {""}},
    // Without its seconds, its minutes, or anything.
    {"time_string", {"9999-99-99 99:99:", ":99.999", ""}},
    // Half of the line. A second write for the rest could stand behind another writer's line.
    {"log_write",
     {"(WW) Time: 9999-99-99 99:99", "before\n(WW) Time: 9999-99-99 99:99", half_of_a_cut_event()}},
    {"orvane_trace", {"1 not begun", "1 not ended"}},
};

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

effect effect_of(const fallible_function &failed)
{
    const injection::plan &planned = injection::shared().planned;
    return failed.ways[planned.lasting ? 0 : planned.way];
}

bool contains(const std::vector<std::string> &answers, const std::string &answer)
{
    return std::ranges::find(answers, answer) != answers.end();
}

bool is_of_a_cut_text(const library_call &call, const std::string &answer)
{
    const auto known = answers_of_cut_texts.find(call.function);
    return known != answers_of_cut_texts.end() && contains(known->second, answer);
}

bool is_allowed(const library_call &call, const std::string &answer)
{
    const fallible_function *const failed = first_failed();
    if (failed == nullptr)
        return call.ends_with.empty() && answer == call.answer;
    if (answer == call.answer)
        return true;
    const effect what = effect_of(*failed);
    if (what == effect::part && !single_readers.contains(call.function))
        return false;
    return contains(call.failures, answer) ||
           (what == effect::cut_text && is_of_a_cut_text(call, answer));
}

// The two ends of the thread's queue.
struct libcrypto_errors {
    unsigned long first = ::ERR_peek_error();
    unsigned long last = ::ERR_peek_last_error();
};

void fill(error_queue queue)
{
    ::ERR_clear_error();
    if (queue == error_queue::with_an_error)
        ERR_raise(ERR_LIB_USER, ERR_R_OPERATION_FAIL);
}

std::string changes_since(const libcrypto_errors &before)
{
    const libcrypto_errors now;
    return std::string(now.first != before.first ? "another first error of libcrypto; " : "") +
           (now.last != before.last ? "another last error of libcrypto; " : "");
}

// One that the library forked must not come back from it.
void end_unless_it_is(pid_t caller)
{
    if (::getpid() == caller)
        return;
    injection::shared().has_returned_twice = true;
    ::_exit(EXIT_FAILURE);
}

std::string complaint_about_answer(const library_call &call)
{
    const pid_t caller = ::getpid();
    try {
        injection::arm();
        const std::string answer = call.run();
        injection::disarm();
        end_unless_it_is(caller);
        return is_allowed(call, answer) ? "" : "the answer is \"" + answer + "\"\n";
    } catch (const std::exception &thrown) {
        injection::disarm();
        end_unless_it_is(caller);
        return std::string("thrown: ") + thrown.what() + "\n";
    }
}

// The complaint about one call, made here.
std::string complaint_of_call(const library_call &call, error_queue queue)
{
    fill(queue);
    const process_state before = process_state::now();
    const libcrypto_errors errors_before;
    std::string complaint = complaint_about_answer(call);
    complaint += before.changed_in(process_state::now(), gpg_routines.contains(call.function));
    if (has_children())
        complaint += "a child is left; ";
    if (injection::shared().has_returned_twice)
        complaint += "a child came back; ";
    if (leaves_libcrypto_errors(call.function))
        complaint += changes_since(errors_before);
    return complaint;
}

void leave(const std::string &complaint)
{
    injection::record &shared = injection::shared();
    shared.complaint_length = std::min(complaint.size(), sizeof shared.complaint);
    complaint.copy(shared.complaint, sizeof shared.complaint);
    shared.is_told = true;
}

[[noreturn]] void make_call(const constructed_machine &machine, const library_call &call,
                            error_queue queue)
{
    const own_entry entry(machine, ::getpid());
    leave(complaint_of_call(call, queue));
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
    if (!shared.is_told)
        return "ended before it came back\n" + printed;
    return {shared.complaint, shared.complaint_length};
}

} // namespace

bool leaves_libcrypto_errors(const std::string &function)
{
    return rsa_routines.contains(function);
}

trial_result try_call(const constructed_machine &machine, const library_call &call,
                      const injection::plan &planned, error_queue queue, std::chrono::seconds limit)
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
        make_call(machine, call, queue);
    }

    int status = 0;
    const bool ended = ends_within(limit, process, status);
    const own_entry ended_too_early_to_be_removed(machine, process);
    return {first_failed(), ended ? complaint_about_end(call, status, printed.text())
                                  : "it hangs\n" + printed.text()};
}
