// SPDX-License-Identifier: LGPL-2.1-or-later
#include "process.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Read before the process enters namespaces of its own: from there, a program that was started in
// a chroot has the path that it has outside.
const std::filesystem::path running_program = std::filesystem::read_symlink("/proc/self/exe");

// Above every descriptor that a test may count on being free.
constexpr int first_kept_descriptor = 200;

// A file in memory that takes what a program prints.
class catcher {
public:
    catcher() : fd_(::memfd_create("caught", MFD_CLOEXEC))
    {
        if (fd_ < 0)
            throw std::system_error(errno, std::generic_category(), "memfd_create");
    }
    catcher(const catcher &) = delete;
    catcher &operator=(const catcher &) = delete;
    ~catcher() { ::close(fd_); }

    [[nodiscard]] int descriptor() const { return fd_; }
    [[nodiscard]] std::string text() const
    {
        std::string text(static_cast<std::size_t>(::lseek(fd_, 0, SEEK_END)), '\0');
        if (::pread(fd_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
            throw std::system_error(errno, std::generic_category(), "pread");
        return text;
    }

private:
    int fd_;
};

// Also when what is done meanwhile throws.
class diverted_standard_error {
public:
    explicit diverted_standard_error(int to)
    {
        std::fflush(stderr);
        kept_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, first_kept_descriptor);
        ::dup2(to, STDERR_FILENO);
    }
    diverted_standard_error(const diverted_standard_error &) = delete;
    diverted_standard_error &operator=(const diverted_standard_error &) = delete;
    ~diverted_standard_error()
    {
        std::fflush(stderr);
        ::dup2(kept_, STDERR_FILENO);
        ::close(kept_);
    }

private:
    int kept_;
};

// Of the runner and of what examines the process.
bool is_kept(std::string_view variable)
{
    constexpr std::string_view kept[] = {
        "GTEST_",        "GCOV_",          "LLVM_PROFILE_FILE=", "ASAN_OPTIONS=", "LSAN_OPTIONS=",
        "TSAN_OPTIONS=", "UBSAN_OPTIONS=", "G_SLICE=",           "QEMU_"};
    return std::any_of(std::begin(kept), std::end(kept),
                       [variable](std::string_view one) { return variable.starts_with(one); });
}

void set_usual_environment()
{
    std::vector<std::string> names;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (!is_kept(text))
            names.emplace_back(text.substr(0, text.find('=')));
    }
    for (const std::string &name : names)
        ::unsetenv(name.c_str());
    ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    ::setenv("HOME", "/nonexistent", 1);
    ::setenv("LC_ALL", "C", 1);
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    std::setlocale(LC_ALL, "C");
}

// A sanitizer's handlers stay.
void set_usual_signals()
{
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            ::signal(number, SIG_DFL);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void set_usual_limits()
{
    const std::pair<decltype(RLIMIT_AS), rlim_t> limits[] = {
        {RLIMIT_AS, RLIM_INFINITY},    {RLIMIT_CORE, 0},
        {RLIMIT_CPU, RLIM_INFINITY},   {RLIMIT_DATA, RLIM_INFINITY},
        {RLIMIT_FSIZE, RLIM_INFINITY}, {RLIMIT_NOFILE, 1024},
        {RLIMIT_NPROC, RLIM_INFINITY}, {RLIMIT_STACK, 8UL << 20U}};
    for (const auto &[resource, usual] : limits) {
        rlimit limit = {};
        ::getrlimit(resource, &limit);
        limit = {usual, std::max(usual, limit.rlim_max)};
        ::setrlimit(resource, &limit);
    }
}

// QEMU reports there that a signal ends what it runs.
std::string without_report_of_qemu(const std::string &error)
{
    return error.substr(0, error.find("qemu: uncaught target signal "));
}

} // namespace

void become_usual_process()
{
    set_usual_environment();
    ::umask(022);
    std::filesystem::current_path("/");
    set_usual_signals();
    set_usual_limits();
}

void leave_inherited_descriptors()
{
    int empty = STDIN_FILENO;
    while (empty <= STDERR_FILENO)
        empty = ::open("/dev/null", O_RDWR); // NOLINT(cppcoreguidelines-pro-type-vararg)
    ::dup2(empty, STDIN_FILENO);
    ::syscall(__NR_close_range, STDERR_FILENO + 1, ~0U, 0U);
}

constructed_machine::program_result run_program(const std::vector<std::string> &command,
                                                const std::function<bool()> &prepare)
{
    const catcher output;
    const catcher error;
    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    std::fflush(stdout); // or a child that ends as programs do would write it once more
    const pid_t child = ::fork();
    if (child == 0) {
        const int empty = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::dup2(empty, STDIN_FILENO);
        ::dup2(output.descriptor(), STDOUT_FILENO);
        ::dup2(error.descriptor(), STDERR_FILENO);
        if (prepare())
            ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        throw std::system_error(errno, std::generic_category(), "run " + command.front());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output.text(),
            without_report_of_qemu(error.text())};
}

std::string standard_error_of(const std::function<void()> &action)
{
    const catcher error;
    {
        const diverted_standard_error diverted(error.descriptor());
        action();
    }
    return error.text();
}

closed_descriptors::closed_descriptors(const std::vector<int> &descriptors)
{
    for (const int descriptor : descriptors) {
        kept_.emplace_back(descriptor, ::fcntl(descriptor, F_DUPFD_CLOEXEC, first_kept_descriptor));
        ::close(descriptor);
    }
}

closed_descriptors::~closed_descriptors()
{
    for (const auto &[descriptor, duplicate] : kept_) {
        ::dup2(duplicate, descriptor);
        ::close(duplicate);
    }
}

bool is_open(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

std::vector<std::vector<int>> every_set_of_standard_descriptors()
{
    return {{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};
}

std::vector<int> left_open(const std::vector<int> &closed, const std::function<void()> &action)
{
    const closed_descriptors without(closed);
    action();
    std::vector<int> open;
    std::copy_if(closed.begin(), closed.end(), std::back_inserter(open), is_open);
    return open;
}

other_user::other_user(uid_t effective)
{
    if (::setresuid(nobody, effective, 0) != 0)
        throw std::system_error(errno, std::generic_category(), "setresuid");
}

other_user::~other_user()
{
    // Staying another user would take the rights from whatever follows.
    if (::setresuid(0, 0, 0) != 0)
        std::abort();
}

mode_t permissions(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

bool has_children()
{
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::string build_folder()
{
    std::filesystem::path folder = running_program;
    while (!std::filesystem::exists(folder / "CMakeCache.txt")) {
        if (folder == folder.root_path())
            throw std::runtime_error("the program stands in no build folder");
        folder = folder.parent_path();
    }
    return folder;
}
