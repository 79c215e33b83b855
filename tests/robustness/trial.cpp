// SPDX-License-Identifier: LGPL-2.1-or-later
#include "trial.h"

#include "process.h"
#include "process_state.h"
#include "shared_memory.h"
#include "summary.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using clock_type = std::chrono::steady_clock;

int check(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

template <std::size_t Size> class shared_text {
public:
    void operator=(std::string_view text)
    {
        size_ = std::min(text.size(), Size);
        text.copy(text_.data(), size_);
    }
    [[nodiscard]] std::string value() const { return {text_.data(), size_}; }

private:
    std::array<char, Size> text_;
    std::size_t size_;
};

// What the process of a trial leaves for the one that judges it.
struct report {
    bool has_answered;
    bool lacks_memory; // the test itself, which cannot go on
    shared_text<65536> answer;
    shared_text<4096> changes; // what else the call left different
    shared_text<4096> trouble; // what kept the test from making the call
};

report &shared_report()
{
    static report &left = in_shared_memory<report>();
    return left;
}

// ---- In the process of the trial ----

// The two ends of the thread's queue.
struct crypto_errors {
    unsigned long first = ::ERR_peek_error();
    unsigned long last = ::ERR_peek_last_error();
};

void fill_crypto_errors(bool with_an_error)
{
    ::ERR_clear_error();
    if (with_an_error)
        ERR_raise(ERR_LIB_USER, ERR_R_OPERATION_FAIL);
}

std::string changes_since(const crypto_errors &before)
{
    const crypto_errors now;
    return std::string(now.first != before.first ? "another first error of libcrypto; " : "") +
           (now.last != before.last ? "another last error of libcrypto; " : "");
}

// Standard input is empty, what is printed goes to the pipe, and nothing else is open.
void arrange_descriptors(int output)
{
    const int empty = check(::open("/dev/null", O_RDWR | O_CLOEXEC), "open /dev/null");
    check(::dup2(empty, STDIN_FILENO), "dup2");
    check(::dup2(output, STDOUT_FILENO), "dup2");
    check(::dup2(output, STDERR_FILENO), "dup2");
    check(static_cast<int>(::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0)), "close_range");
    // The parent's end of the pipe alone does not block.
    check(::fcntl(STDOUT_FILENO, F_SETFL, O_WRONLY), "fcntl");
}

// A process that the library forked must not return from it.
void end_unless_it_is(pid_t caller)
{
    if (::getpid() == caller)
        return;
    shared_report().trouble = "a child returned";
    ::_exit(EXIT_FAILURE);
}

std::string run_once(const api_case &tried)
{
    const pid_t caller = ::getpid();
    try {
        injection::arm();
        std::string answer = tried.run();
        injection::disarm();
        end_unless_it_is(caller);
        return answer;
    } catch (...) {
        injection::disarm();
        end_unless_it_is(caller);
        throw;
    }
}

int checks_made()
{
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

void run_case(const api_case &tried, const trial &how)
{
    const int checks_before = checks_made();
    const bool is_plain = how.planned.call == 0 && how.place == nullptr;
    const std::unique_ptr<condition> here =
        how.place != nullptr ? how.place->enter() : std::make_unique<condition>();
    fill_crypto_errors(how.has_crypto_error);
    const process_state before = process_state::now();
    const crypto_errors errors_before;
    std::string answer = run_once(tried);
    if (is_plain && answer == tried.answer)
        answer = run_once(tried);
    while (!here->has_acted() && answer == tried.answer)
        answer = run_once(tried);
    here->rest();

    report &left = shared_report();
    std::string changes = before.changes_until(process_state::now(), tried.has(changes_locale));
    const bool may_leave_child =
        how.place != nullptr && how.place->takes_children && tried.has(waits_for_any_child);
    if (!may_leave_child && has_children())
        changes += "a child is left; ";
    if (tried.has(keeps_crypto_errors))
        changes += changes_since(errors_before);
    if (checks_made() != checks_before)
        changes += "a check in the call failed; ";
    left.changes = changes;
    left.answer = answer;
    left.has_answered = true;
}

// Here and not on the way out, where the test's own objects lose what they hold.
void report_leaks()
{
    if (void *const leak_check = ::dlsym(RTLD_DEFAULT, "__lsan_do_leak_check"))
        reinterpret_cast<void (*)()>(leak_check)();
}

[[noreturn]] void run_in_child(const constructed_machine &machine, const api_case &tried,
                               const trial &how, int output)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpgid(0, 0);
    report &left = shared_report();
    try {
        // The sanitizers read a process's entry by number.
        const std::string number = std::to_string(::getpid());
        fs::create_symlink(fs::path(machine.own_proc()).parent_path() / number, "/proc/" + number);
        arrange_descriptors(output);
        run_case(tried, how);
    } catch (const std::bad_alloc &) {
        left.lacks_memory = true;
    } catch (const std::system_error &error) {
        left.lacks_memory = error.code() == std::errc::not_enough_memory;
        left.trouble = error.what();
    } catch (const std::exception &error) {
        left.trouble = error.what();
    }
    report_leaks();
    if (is_examined())
        std::exit(EXIT_SUCCESS);
    ::_exit(EXIT_SUCCESS);
}

// ---- In the process that judges ----

struct ended_process {
    bool has_hung = false;
    int status = 0;
    std::string output;
};

// Reads what the process prints until it has ended; one that hangs is ended, and so is what it left
// running.
ended_process wait_for(pid_t process, int output, std::chrono::seconds limit)
{
    ended_process result;
    const int end = check(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)), "pidfd_open");
    const clock_type::time_point deadline = clock_type::now() + limit;
    std::array<pollfd, 2> events = {{{output, POLLIN, 0}, {end, POLLIN, 0}}};
    std::array<char, 4096> part = {};
    bool has_ended = false;
    while (!has_ended && clock_type::now() < deadline) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock_type::now());
        ::poll(events.data(), events.size(), static_cast<int>(left.count()) + 1);
        has_ended = (events[1].revents & POLLIN) != 0;
        if ((events[0].revents & POLLHUP) != 0)
            events[0].fd = -1;
        for (ssize_t size = 0; (size = ::read(output, part.data(), part.size())) > 0;)
            result.output.append(part.data(), static_cast<std::size_t>(size));
    }
    ::close(end);
    ::close(output);
    ::kill(-process, SIGKILL);
    result.has_hung = !has_ended;
    check(::waitpid(process, &result.status, 0), "waitpid");
    return result;
}

const fallible_function *first_failed()
{
    const int number = injection::shared().first_failed;
    return number == injection::none ? nullptr
                                     : &fallible_functions()[static_cast<std::size_t>(number)];
}

bool contains(const texts &answers, const std::string &answer)
{
    return std::ranges::find(answers, answer) != answers.end();
}

bool is_ended_by_signal(const ended_process &ended, const std::set<int> &signals)
{
    return WIFSIGNALED(ended.status) && signals.contains(WTERMSIG(ended.status));
}

// The line cannot be there where the printing failed.
bool is_documented_end(const api_case &tried, const trial &how, const ended_process &ended)
{
    if (!tried.ends_with.empty() && is_ended_by_signal(ended, {SIGABRT}))
        return first_failed() != nullptr || ended.output.find(tried.ends_with) != std::string::npos;
    if (how.place == nullptr)
        return false;
    const bool has_glibs_message = ended.output.find("GLib") != std::string::npos ||
                                   ended.output.find("GSlice") != std::string::npos;
    const bool ends_for_memory = how.place->lacks_memory && tried.has(ends_without_memory) &&
                                 is_ended_by_signal(ended, {SIGTRAP, SIGABRT}) && has_glibs_message;
    return ends_for_memory || (how.place->ends_growth && tried.has(ends_at_file_limit) &&
                               is_ended_by_signal(ended, {SIGXFSZ}));
}

bool is_allowed_with_fault(const api_case &tried, const trial &how, const fallible_function &failed,
                           const std::string &answer)
{
    const effect what = failed.faults[how.planned.lasting ? 0 : how.planned.fault];
    if (what == effect::part && !tried.has(takes_first_read))
        return false;
    return contains(tried.failures, answer) ||
           (what == effect::truncation && contains(tried.truncated, answer));
}

// Empty where the answer is allowed.
std::string violation_of_answer(const api_case &tried, const trial &how, const std::string &answer)
{
    const fallible_function *const failed = first_failed();
    const bool must_fail = how.place != nullptr && (tried.needs & how.place->withholds) != 0;
    const bool may_fail =
        how.place != nullptr &&
        (must_fail ||
         ((tried.needs | tried.uses) & (how.place->withholds | how.place->limits)) != 0 ||
         (how.place->lacks_memory && !tried.has(succeeds_without_memory)));
    if (answer == tried.answer) {
        if (must_fail)
            return "the answer is \"" + answer + "\" without what it needs\n";
        if (tried.ends_with.empty() || failed != nullptr || may_fail)
            return {};
    }
    const bool is_allowed =
        (may_fail && contains(tried.failures, answer)) ||
        (failed != nullptr &&
         (answer == tried.answer || is_allowed_with_fault(tried, how, *failed, answer)));
    return is_allowed ? "" : "the answer is \"" + answer + "\"\n";
}

std::string violation_of(const api_case &tried, const trial &how, const ended_process &ended)
{
    const report &left = shared_report();
    if (ended.has_hung)
        return "it hangs\n" + ended.output;
    if (left.lacks_memory && how.place != nullptr && how.place->lacks_memory) {
        summary().count_inconclusive();
        return {};
    }
    if (!left.trouble.value().empty())
        return left.trouble.value() + "\n" + ended.output;
    if (is_documented_end(tried, how, ended))
        return {};
    if (WIFSIGNALED(ended.status))
        return std::string("ended by ") + ::sigdescr_np(WTERMSIG(ended.status)) + "\n" +
               ended.output;
    if (WEXITSTATUS(ended.status) != EXIT_SUCCESS)
        return "exit status " + std::to_string(WEXITSTATUS(ended.status)) + "\n" + ended.output;
    if (!left.has_answered)
        return "ended before it returned\n" + ended.output;
    return violation_of_answer(tried, how, left.answer.value()) + left.changes.value();
}

std::string description(const trial &how, const trial_result &result)
{
    const std::string before = how.has_crypto_error ? "with an error of libcrypto before it, " : "";
    if (result.failed == nullptr)
        return before + "no call failing";
    return before + "call " + std::to_string(how.planned.call) +
           (how.planned.where == injection::side::forked ? " of the process it forks, " : ", ") +
           result.failed->name + "(), " +
           (how.planned.lasting ? "and every later one failing"
                                : "with fault " + std::to_string(how.planned.fault));
}

// A trial finds the trace log as the first one did.
class trace_log_before {
public:
    void restore() const
    {
        std::error_code ignored;
        if (!has_directory_)
            fs::remove_all(directory, ignored);
        else if (fs::is_regular_file(log))
            fs::remove(log, ignored);
    }

private:
    static constexpr char directory[] = "/var/log/orvane";
    static constexpr char log[] = "/var/log/orvane/liborvane.log";

    bool has_directory_ = fs::exists(directory);
};

class fault_trials {
public:
    fault_trials(const constructed_machine &machine, const api_case &tried)
        : machine_(machine), tried_(tried)
    {
    }

    texts violations()
    {
        attempt({});
        for (const auto where : {injection::side::caller, injection::side::forked})
            fail_each(where);
        return std::move(violations_);
    }

private:
    // More only repeat what is wrong.
    static constexpr std::size_t most_violations = 8;

    // What follows a failure may be longer than what follows success, so the end is where no call
    // of that number is made any more.
    void fail_each(injection::side where)
    {
        for (unsigned call = 1; violations_.size() < most_violations; ++call) {
            const trial_result alone = attempt({where, call, false, 0});
            if (alone.failed == nullptr)
                return;
            for (unsigned fault = 1; fault < alone.failed->faults.size(); ++fault)
                attempt({where, call, false, fault});
            attempt({where, call, true, 0});
        }
    }

    trial_result attempt(const injection::plan &planned)
    {
        if (tried_.has(keeps_crypto_errors))
            attempt_once({.planned = planned, .has_crypto_error = true});
        return attempt_once({.planned = planned});
    }

    trial_result attempt_once(const trial &how)
    {
        trial_result result = try_case(machine_, tried_, how);
        if (!result.violation.empty())
            violations_.push_back(description(how, result) + ":\n" + result.violation);
        return result;
    }

    const constructed_machine &machine_;
    const api_case &tried_;
    texts violations_;
};

} // namespace

trial_result try_case(const constructed_machine &machine, const api_case &tried, const trial &how)
{
    replace_fallible_functions();
    const trace_log_before log;
    shared_report() = {};
    injection::prepare(how.planned);
    std::array<int, 2> ends = {};
    check(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), "pipe");
    std::fflush(nullptr);
    const pid_t process = check(::fork(), "fork");
    if (process == 0)
        run_in_child(machine, tried, how, ends[1]);
    ::setpgid(process, process);
    ::close(ends[1]);
    const ended_process ended = wait_for(process, ends[0], how.limit);
    std::error_code ignored;
    fs::remove("/proc/" + std::to_string(process), ignored);
    log.restore();
    const trial_result result = {first_failed(), violation_of(tried, how, ended)};
    summary().count(tried, how, result);
    return result;
}

texts try_with_faults(const constructed_machine &machine, const api_case &tried)
{
    return fault_trials(machine, tried).violations();
}
