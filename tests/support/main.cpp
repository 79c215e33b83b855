// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The main() of every test program. Each case runs in a forked child, several at a time: a case
// that crashes, hangs or spoils its process harms no other, and no program is started anew for it.
//
//     --jobs=N        cases at a time; one for each processor by default
//     --together=N    cases in one child; 8 by default where a sanitizer or coverage makes a
//                     child expensive, else 1
//     --timeout=N     seconds that a case may take; 180 by default
//     --in-process    run them one after the other without forking, for a debugger or valgrind
#include "process.h"
#include "sanitizers.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using clock_type = std::chrono::steady_clock;

constexpr int skipped_status = 77;

int check(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

// What a child prints, and what the sanitizers print for it.
class captured_output {
public:
    captured_output() : fd_(check(::memfd_create("output", MFD_CLOEXEC), "memfd_create")) {}
    captured_output(captured_output &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    captured_output &operator=(captured_output &&) = delete;
    ~captured_output()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }

    void receive() const
    {
        check(::dup2(fd_, STDOUT_FILENO), "dup2");
        check(::dup2(fd_, STDERR_FILENO), "dup2");
    }
    [[nodiscard]] std::string text() const
    {
        std::string text(static_cast<std::size_t>(::lseek(fd_, 0, SEEK_END)), '\0');
        check(static_cast<int>(::pread(fd_, text.data(), text.size(), 0)), "pread");
        return text;
    }

private:
    int fd_;
};

// How a case ended, on a line of its own that the parent reads.
constexpr std::string_view end_mark = "@ended ";

class end_notes : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult &result) override
    {
        if (result.skipped())
            reason_ = result.message();
    }
    void OnTestEnd(const testing::TestInfo &test) override
    {
        const char *const end = test.result()->Failed()    ? "failed"
                                : test.result()->Skipped() ? "skipped"
                                                           : "passed";
        std::printf("\n%s%s %s.%s %s\n", end_mark.data(), end, test.test_suite_name(), test.name(),
                    reason_.c_str());
        std::fflush(stdout);
        reason_.clear();
    }

    std::string reason_;
};

// Whether something in the process reports at its exit: a sanitizer, or the counters of coverage.
bool is_examined()
{
    return has_address_sanitizer() || has_thread_sanitizer() ||
           std::getenv("GCOV_ERROR_FILE") != nullptr;
}

// Does not return. Exit handlers run only where something reports there: to destroy the records of
// thousands of other cases takes longer than most cases.
[[noreturn]] void run_in_child(const std::string &filter, const captured_output &output)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpgid(0, 0);
    output.receive();
    testing::UnitTest::GetInstance()->listeners().Append(new end_notes);
    testing::GTEST_FLAG(filter) = filter;
    testing::GTEST_FLAG(output) = "";
    const int status = RUN_ALL_TESTS();
    if (is_examined())
        std::exit(status);
    std::fflush(nullptr);
    ::_exit(status);
}

std::vector<std::string> names_in_listing(const std::string &listing)
{
    std::vector<std::string> names;
    std::string suite;
    for (std::size_t start = 0; start < listing.size();) {
        const std::size_t end = std::min(listing.find('\n', start), listing.size());
        const std::string line = listing.substr(start, end - start);
        const std::string word = line.substr(0, line.find("  #"));
        if (line.starts_with("  "))
            names.push_back(suite + word.substr(2));
        else if (word.ends_with('.'))
            suite = word;
        start = end + 1;
    }
    return names;
}

// The cases that the filter chooses.
std::vector<std::string> chosen_cases()
{
    const captured_output listing;
    const pid_t child = check(::fork(), "fork");
    if (child == 0) {
        listing.receive();
        testing::GTEST_FLAG(list_tests) = true;
        const int status = RUN_ALL_TESTS();
        std::fflush(nullptr);
        ::_exit(status);
    }
    int status = 0;
    check(::waitpid(child, &status, 0), "waitpid");
    if (status != 0)
        throw std::runtime_error("the cases cannot be listed");
    return names_in_listing(listing.text());
}

unsigned number_in_environment(const char *name, unsigned otherwise)
{
    const char *const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::stoul(text)) : otherwise;
}

// This process's share of the cases, by Google Test's own variables.
std::vector<std::string> shard_of(const std::vector<std::string> &cases)
{
    const unsigned shards = number_in_environment("GTEST_TOTAL_SHARDS", 1);
    const unsigned index = number_in_environment("GTEST_SHARD_INDEX", 0);
    ::unsetenv("GTEST_TOTAL_SHARDS");
    ::unsetenv("GTEST_SHARD_INDEX");
    std::vector<std::string> own;
    for (std::size_t i = index; i < cases.size(); i += shards)
        own.push_back(cases[i]);
    return own;
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

class runner {
public:
    runner(std::vector<std::string> cases, unsigned jobs, unsigned together,
           std::chrono::seconds timeout)
        : cases_(std::move(cases)), jobs_(jobs), together_(together), timeout_(timeout)
    {
    }

    int run()
    {
        const clock_type::time_point begin = clock_type::now();
        std::size_t next = 0;
        while (next < cases_.size() || !running_.empty()) {
            while (next < cases_.size() && running_.size() < jobs_ && !is_enough())
                next = start(next);
            if (running_.empty())
                break;
            wait_for_one();
        }
        summarise(clock_type::now() - begin);
        if (!failed_.empty())
            return 1;
        return passed_ == 0 && !skipped_.empty() ? skipped_status : 0;
    }

private:
    struct child {
        std::vector<std::string> cases;
        captured_output output;
        clock_type::time_point begin;
    };

    [[nodiscard]] bool is_enough() const
    {
        return testing::GTEST_FLAG(fail_fast) && !failed_.empty();
    }

    // Starts a child for one case, or for several where forking and the report at the end take
    // longer than the case. Returns the number of the case after them.
    std::size_t start(std::size_t first)
    {
        const std::size_t last = std::min(first + together_, cases_.size());
        child started{{cases_.begin() + static_cast<std::ptrdiff_t>(first),
                       cases_.begin() + static_cast<std::ptrdiff_t>(last)},
                      captured_output(),
                      clock_type::now()};
        std::string filter;
        for (const std::string &name : started.cases)
            filter += name + ":";
        std::fflush(nullptr);
        const pid_t pid = check(::fork(), "fork");
        if (pid == 0)
            run_in_child(filter, started.output);
        running_.emplace(pid, std::move(started));
        return last;
    }

    void wait_for_one()
    {
        int status = 0;
        pid_t pid = 0;
        while ((pid = ::waitpid(-1, &status, WNOHANG)) == 0) {
            end_what_hangs();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        check(pid, "waitpid");
        const auto ended = running_.find(pid);
        if (ended == running_.end())
            return;
        // What a case has left behind must not outlive it.
        ::kill(-pid, SIGKILL);
        judge(ended->second, status);
        running_.erase(ended);
    }

    void end_what_hangs() const
    {
        for (const auto &[pid, one] : running_) {
            if (clock_type::now() - one.begin > timeout_)
                ::kill(-pid, SIGKILL);
        }
    }

    void judge(const child &ended, int status)
    {
        const std::string output = ended.output.text();
        const std::size_t failed_before = failed_.size();
        std::set<std::string> without_end(ended.cases.begin(), ended.cases.end());
        for (const std::string &line : split(output, '\n')) {
            if (!line.starts_with(end_mark))
                continue;
            const std::vector<std::string> words = split(line, ' ');
            without_end.erase(words.at(2));
            if (words[1] == "failed")
                failed_.push_back(words[2]);
            else if (words[1] == "skipped")
                ++skipped_[line.substr(line.find(words[2]) + words[2].size() + 1)];
            else
                ++passed_;
        }
        failed_.insert(failed_.end(), without_end.begin(), without_end.end());
        // A sanitizer may have found something after the last case.
        if (failed_.size() == failed_before && status != 0)
            failed_.push_back(ended.cases.back());
        if (failed_.size() != failed_before)
            report(ended, output, status);
    }

    static void report(const child &ended, const std::string &output, int status)
    {
        std::printf("%s", output.c_str());
        if (WIFSIGNALED(status))
            std::printf("%s: ended by signal %d, %s\n", ended.cases.front().c_str(),
                        WTERMSIG(status), ::strsignal(WTERMSIG(status)));
        else
            std::printf("%s: ended with status %d\n", ended.cases.front().c_str(),
                        WEXITSTATUS(status));
        std::fflush(stdout);
    }

    void summarise(clock_type::duration time) const
    {
        std::size_t skipped = 0;
        for (const auto &[reason, count] : skipped_)
            skipped += count;
        std::printf("[==========] %zu tests ran. (%lld ms total)\n",
                    passed_ + skipped + failed_.size(),
                    static_cast<long long>(
                        std::chrono::duration_cast<std::chrono::milliseconds>(time).count()));
        std::printf("[  PASSED  ] %zu tests.\n", passed_);
        for (const auto &[reason, count] : skipped_)
            std::printf("[  SKIPPED ] %zu tests: %s\n", count, reason.c_str());
        for (const std::string &name : failed_)
            std::printf("[  FAILED  ] %s\n", name.c_str());
        std::fflush(stdout);
    }

    const std::vector<std::string> cases_;
    const unsigned jobs_;
    const unsigned together_;
    const std::chrono::seconds timeout_;
    std::map<pid_t, child> running_;
    std::size_t passed_ = 0;
    std::map<std::string, std::size_t> skipped_;
    std::vector<std::string> failed_;
};

void shuffle(std::vector<std::string> &cases)
{
    auto seed = static_cast<unsigned>(testing::GTEST_FLAG(random_seed));
    if (seed == 0)
        seed = std::random_device()() % 99999 + 1;
    std::printf("The same order again: --gtest_random_seed=%u\n", seed);
    std::shuffle(cases.begin(), cases.end(), std::mt19937(seed));
}

// The number behind an option such as "--jobs=", or 0 where the text is another option.
unsigned number_of(std::string_view text, std::string_view option)
{
    return text.starts_with(option)
               ? static_cast<unsigned>(std::max(1, std::atoi(text.substr(option.size()).data())))
               : 0;
}

} // namespace

int main(int argc, char **argv)
{
    // A death test that starts the program anew is a case's own child already.
    bool in_process = std::any_of(argv, argv + argc, [](std::string_view option) {
        return option.starts_with("--gtest_internal_run_death_test");
    });
    if (!in_process)
        leave_inherited_descriptors();
    become_usual_process();
    testing::InitGoogleTest(&argc, argv);
    in_process = in_process || testing::GTEST_FLAG(list_tests);
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    unsigned together = is_examined() ? 8 : 1;
    std::chrono::seconds timeout(180);
    for (const std::string_view option : std::vector<std::string_view>(argv + 1, argv + argc)) {
        if (option == "--in-process") {
            in_process = true;
        } else if (const unsigned number = number_of(option, "--jobs=")) {
            jobs = number;
        } else if (const unsigned children = number_of(option, "--together=")) {
            together = children;
        } else if (const unsigned seconds = number_of(option, "--timeout=")) {
            timeout = std::chrono::seconds(seconds);
        } else {
            std::fprintf(stderr, "%s: unknown option %s\n", argv[0], option.data());
            return 2;
        }
    }
    if (in_process)
        return RUN_ALL_TESTS();
    std::vector<std::string> chosen = chosen_cases();
    if (chosen.empty()) {
        std::fprintf(stderr, "%s: no case has such a name\n", argv[0]);
        return 2;
    }
    if (testing::GTEST_FLAG(shuffle))
        shuffle(chosen);
    return runner(shard_of(chosen), jobs, together, timeout).run();
}
