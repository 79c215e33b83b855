// SPDX-License-Identifier: LGPL-2.1-or-later
#include "environments.h"

#include "api_cases/api_case.h"
#include "process.h"
#include "summary.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A condition that is not met would prove nothing.
void require(bool is_so, const std::string &what)
{
    if (!is_so)
        throw std::system_error(errno, std::generic_category(),
                                "the environment is not as described: " + what);
}

// ---- Children and signals ----

class with_handler : public condition {
public:
    with_handler(int signal, void (*handler)(int), int flags = 0) : signal_(signal)
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        require(::sigaction(signal, &action, &before_) == 0, "sigaction");
    }
    ~with_handler() override { ::sigaction(signal_, &before_, nullptr); }

private:
    int signal_;
    struct sigaction before_ = {};
};

// Whether nobody has to wait for a child, nor can.
bool is_child_gone_by_itself()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    siginfo_t end = {};
    ::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT);
    return child > 0 && ::waitpid(child, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

class without_children : public with_handler {
public:
    explicit without_children(void (*handler)(int)) : with_handler(SIGCHLD, handler)
    {
        require(is_child_gone_by_itself(), "children that go by themselves");
    }
};

void reap_every_child(int /*signal*/)
{
    const int error = errno;
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

volatile std::sig_atomic_t ticks = 0;

// A signal every millisecond interrupts whatever waits.
class interrupted : public with_handler {
public:
    interrupted() : with_handler(SIGALRM, [](int) { ticks = ticks + 1; }) { set_timer(1000); }
    ~interrupted() override { set_timer(0); }

    [[nodiscard]] bool has_acted() const override { return ticks >= 3; }

private:
    static void set_timer(suseconds_t microseconds)
    {
        const itimerval often = {{0, microseconds}, {0, microseconds}};
        ::setitimer(ITIMER_REAL, &often, nullptr);
    }
};

// Another thread starts children of its own all the while, and waits for each.
class forking : public condition {
public:
    ~forking() override { rest(); }

    [[nodiscard]] bool has_acted() const override { return children_ >= 5; }
    void rest() override
    {
        ends_ = true;
        if (thread_.joinable())
            thread_.join();
    }

private:
    void start_children()
    {
        while (!ends_) {
            const pid_t child = ::fork();
            if (child == 0)
                ::_exit(0);
            if (child < 0)
                continue;
            // A call that waits for any child may have taken this one.
            ::waitpid(child, nullptr, 0);
            ++children_;
        }
    }

    std::atomic<bool> ends_ = false;
    std::atomic<int> children_ = 0;
    std::thread thread_{[this] { start_children(); }};
};

// ---- Limits ----

class limited : public condition {
public:
    limited(__rlimit_resource resource, rlim_t limit) : resource_(resource)
    {
        ::getrlimit(resource, &before_);
        const rlimit lower = {limit, before_.rlim_max};
        require(::setrlimit(resource, &lower) == 0, "a limit");
    }
    ~limited() override { ::setrlimit(resource_, &before_); }

private:
    __rlimit_resource resource_;
    rlimit before_ = {};
};

class few_descriptors : public limited {
public:
    few_descriptors() : limited(RLIMIT_NOFILE, 6)
    {
        require(::fcntl(STDERR_FILENO, F_DUPFD, 5) == 5 && ::close(5) == 0 &&
                    ::fcntl(STDERR_FILENO, F_DUPFD, 6) < 0,
                "six descriptors");
    }
};

class no_growing_files : public with_handler {
public:
    explicit no_growing_files(void (*disposition)(int)) : with_handler(SIGXFSZ, disposition) {}

protected:
    // 0 where the write succeeds.
    static int error_of_write()
    {
        const int file = ::memfd_create("growing", MFD_CLOEXEC);
        errno = 0;
        const int error = ::write(file, "", 1) < 0 ? errno : 0;
        ::close(file);
        return error;
    }

private:
    limited limit_{RLIMIT_FSIZE, 0};
};

// The caller ignores the signal as daemons do.
class no_growing_files_and_ignored : public no_growing_files {
public:
    no_growing_files_and_ignored() : no_growing_files(SIG_IGN)
    {
        require(error_of_write() == EFBIG, "no growing files");
    }
};

class no_growing_files_by_default : public no_growing_files {
public:
    no_growing_files_by_default() : no_growing_files(SIG_DFL)
    {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(error_of_write());
        int status = 0;
        require(::waitpid(child, &status, 0) == child && WIFSIGNALED(status) &&
                    WTERMSIG(status) == SIGXFSZ,
                "an end by a growing file");
    }
};

// Has the stack grow as far as a call needs it: a stack that cannot grow ends any program.
[[gnu::noinline]] void grow_stack()
{
    std::array<volatile char, 256UL * 1024> pages;
    for (std::size_t page = 0; page < pages.size(); page += 1024)
        pages[page] = 0;
}

class address_space : public condition {
public:
    // So many bytes beside what the process has already.
    explicit address_space(rlim_t bytes) : limit_(RLIMIT_AS, in_use() + bytes)
    {
        const std::size_t too_much = bytes + 4096 * std::size_t{1024};
        require(::mmap(nullptr, too_much, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) ==
                    MAP_FAILED,
                "a full address space");
    }

private:
    static rlim_t in_use()
    {
        grow_stack();
        ::malloc_trim(0);
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        require(pages != 0, "/proc/self/statm");
        return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
    }

    limited limit_;
};

// ---- Users ----

// Somebody without rights, who can be root again when all is over. The tools cannot.
class ordinary_user : public condition {
public:
    ordinary_user()
    {
        require(::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, 0) == 0 &&
                    ::setresuid(nobody, nobody, 0) == 0,
                "another user");
        // The leak checker looks at the process from outside.
        ::prctl(PR_SET_DUMPABLE, 1);
    }
    ~ordinary_user() override
    {
        // Staying another user would take the rights from whatever follows.
        if (::setresuid(0, 0, 0) != 0 || ::setresgid(0, 0, 0) != 0)
            std::abort();
    }

private:
    static constexpr uid_t nobody = other_user::nobody;
};

class without_processes : public ordinary_user {
public:
    without_processes()
    {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(0);
        require(child < 0 && errno == EAGAIN, "no processes");
    }

private:
    limited limit_{RLIMIT_NPROC, 0};
};

// ---- Files ----

// Mounts of the process's own, which end with it. Those of another process may be propagated here.
class other_mounts : public condition {
public:
    other_mounts()
    {
        require(::unshare(CLONE_NEWNS) == 0 &&
                    ::mount("none", "/", "none", MS_REC | MS_PRIVATE, "") == 0,
                "mounts of its own");
    }

protected:
    static void cover(const char *path, unsigned long flags = 0, const char *options = "mode=755")
    {
        require(::mount("tmpfs", path, "tmpfs", MS_NOSUID | flags, options) == 0, path);
    }
};

class without : public other_mounts {
public:
    explicit without(std::string path) : path_(std::move(path))
    {
        cover(path_.c_str(), MS_RDONLY);
        require(std::filesystem::is_empty(path_), "nothing in " + path_);
    }
    ~without() override { ::umount2(path_.c_str(), MNT_DETACH); }

private:
    std::string path_;
};

class log_elsewhere : public other_mounts {
protected:
    static void fill(const char *path)
    {
        const int file = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        const std::array<char, 4096> block = {};
        while (::write(file, block.data(), block.size()) > 0) {
        }
        require(file >= 0 && errno == ENOSPC, path);
        ::close(file);
    }
};

// The log is there and takes no more.
class full_log : public log_elsewhere {
public:
    full_log()
    {
        cover("/var/log", 0, "mode=755,size=8k");
        ::mkdir("/var/log/orvane", 0755);
        ::close(::open("/var/log/orvane/liborvane.log", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        fill("/var/log/filler");
    }
};

// There is no space for a log, nor for its directory.
class no_space_for_a_log : public log_elsewhere {
public:
    no_space_for_a_log()
    {
        cover("/var/log", 0, "mode=755,nr_inodes=1");
        require(::mkdir("/var/log/orvane", 0755) != 0 && errno == ENOSPC, "no space");
    }
};

class read_only_log : public log_elsewhere {
public:
    read_only_log()
    {
        cover("/var/log", MS_RDONLY);
        require(::mkdir("/var/log/orvane", 0755) != 0 && errno == EROFS, "read-only");
    }
};

// ---- Environment ----

class with_variable : public condition {
public:
    with_variable(std::string name, const std::string &value) : name_(std::move(name))
    {
        if (const char *const before = ::getenv(name_.c_str()); before != nullptr) {
            before_ = before;
            was_set_ = true;
        }
        ::setenv(name_.c_str(), value.c_str(), 1);
    }
    ~with_variable() override
    {
        if (was_set_)
            ::setenv(name_.c_str(), before_.c_str(), 1);
        else
            ::unsetenv(name_.c_str());
    }

private:
    std::string name_;
    std::string before_;
    bool was_set_ = false;
};

class empty_path : public with_variable {
public:
    empty_path() : with_variable("PATH", "")
    {
        // The shell's status for a command that it does not find.
        require(run_program({"/bin/sh", "-c", "cat"}, [] { return true; }).status == 127,
                "no tool without its directory");
    }
};

class in_locale : public condition {
public:
    explicit in_locale(const std::string &name)
        : directory_("LOCPATH", BUILT_LOCALES), language_("LC_ALL", name)
    {
        require(std::setlocale(LC_ALL, "") != nullptr, name);
    }
    ~in_locale() override { std::setlocale(LC_ALL, "C"); }

private:
    with_variable directory_;
    with_variable language_;
};

// Where the small letter of "I" is another.
class turkish : public in_locale {
public:
    turkish() : in_locale("tr_TR.ISO-8859-9")
    {
        // The compiler takes it for granted that what "I" becomes is one of "a" to "z".
        int (*const volatile lowered)(int) = std::tolower;
        require(lowered('I') == 0xfd, "a dotless i");
    }
};

// Where fractions have a comma.
class german : public in_locale {
public:
    german() : in_locale("de_DE.ISO-8859-1")
    {
        require(std::localeconv()->decimal_point == std::string(","), "a comma");
    }
};

// ---- System calls ----

// Cannot be taken back: it holds for the process's end too.
class without_ioctl : public condition {
public:
    without_ioctl()
    {
        std::array<sock_filter, 4> program = {{
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_ioctl, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        }};
        const sock_fprog filter = {program.size(), program.data()};
        require(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0, "a filter");
        int waiting = 0;
        require(::ioctl(STDERR_FILENO, FIONREAD, &waiting) != 0 && errno == EPERM, "no ioctl");
    }
};

// ---- The list ----

template <class Condition, class... Arguments>
std::function<std::unique_ptr<condition>()> on(Arguments... arguments)
{
    return [arguments...] { return std::make_unique<Condition>(arguments...); };
}

class without_descriptors : public condition {
public:
    explicit without_descriptors(const std::vector<int> &descriptors) : closed_(descriptors)
    {
        require(std::ranges::none_of(descriptors, is_open) && errno == EBADF, "closed");
    }

private:
    closed_descriptors closed_;
};

environment closed(const std::vector<int> &descriptors)
{
    std::string name = "closed";
    for (const int descriptor : descriptors)
        name += "_" + std::to_string(descriptor);
    return {name, on<without_descriptors>(descriptors)};
}

std::vector<environment> make_environments()
{
    constexpr unsigned log = trace_log | trace_directory;
    constexpr rlim_t two_mebibytes = 2 * 1024 * rlim_t{1024};
    std::vector<environment> all = {
        {"children_ignored", on<without_children>(SIG_IGN)},
        {"children_reaped", on<without_children>(reap_every_child)},
        closed({0}),
        closed({1}),
        closed({2}),
        closed({0, 1}),
        closed({0, 1, 2}),
        {"six_descriptors", on<few_descriptors>(), 0, tools | path},
        {"no_processes", on<without_processes>(), tools | root | trace_directory, path},
        {"no_growing_files", on<no_growing_files_and_ignored>(), file_growth},
        {.name = "no_growing_files_by_default",
         .enter = on<no_growing_files_by_default>(),
         .withholds = file_growth,
         .ends_growth = true},
        {"no_proc", on<without>("/proc"), proc},
        {"no_sys", on<without>("/sys"), sys},
        {"full_log", on<full_log>(), trace_log},
        {"no_space_for_a_log", on<no_space_for_a_log>(), log},
        {"read_only_log", on<read_only_log>(), log},
        {"empty_path", on<empty_path>(), path},
        {"turkish", on<turkish>(), 0, c_locale},
        {"german", on<german>(), 0, c_locale},
        {"ordinary_user", on<ordinary_user>(), root | trace_directory},
        {"no_ioctl", on<without_ioctl>(), kernel_requests},
        {"interrupted", on<interrupted>()},
        {.name = "forking", .enter = on<forking>(), .takes_children = true},
    };
    // The sanitizers need an address space without limit.
    if (!is_sanitized()) {
        all.push_back({.name = "no_address_space",
                       .enter = on<address_space>(rlim_t{0}),
                       .lacks_memory = true});
        all.push_back({.name = "small_address_space",
                       .enter = on<address_space>(two_mebibytes),
                       .lacks_memory = true});
    }
    return all;
}

// ---- Memory for the tests themselves where the environment leaves none to the library ----

constexpr std::size_t spare_size = 1U << 20U;
alignas(std::max_align_t) std::array<std::byte, spare_size> spare;
std::atomic<std::size_t> taken = 0;

void *take_spare(std::size_t size)
{
    constexpr std::size_t unit = alignof(std::max_align_t);
    const std::size_t start = taken.fetch_add((size + unit - 1) / unit * unit);
    return start + size <= spare_size ? spare.data() + start : nullptr;
}

bool is_spare(const void *memory)
{
    return memory >= spare.data() && memory < spare.data() + spare_size;
}

} // namespace

const std::vector<environment> &environments()
{
    static const auto &all = *new std::vector<environment>(make_environments());
    return all;
}

// The tests' C++ takes it from here, and the library's C does not.
void *operator new(std::size_t size)
{
    void *memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        memory = take_spare(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void *memory) noexcept
{
    if (!is_spare(memory))
        std::free(memory);
}

void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}
