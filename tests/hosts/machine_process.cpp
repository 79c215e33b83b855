// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine_process.h"

#include "documented.h"
#include "machine.h"
#include "process.h"
#include "process_state.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int seconds_for_a_machine = 60;

// A text that one process leaves for another, cut where it is too long.
template <std::size_t Size> class left_text {
public:
    void operator=(std::string_view text)
    {
        size_ = std::min(text.size(), Size);
        text.copy(room_.data(), size_);
    }
    [[nodiscard]] std::string value() const { return {room_.data(), size_}; }

private:
    std::array<char, Size> room_;
    std::size_t size_;
};

void check(bool is_well, const std::string &what)
{
    if (!is_well)
        throw std::system_error(errno, std::generic_category(), what);
}

// The faked tools are shell scripts, which want more of their caller than real ones: programs found
// by PATH, and a place for the record of their runs. What they print comes after `preparation`.
void prepare_tools(const std::string &directory, const std::string &preparation)
{
    struct statfs status = {};
    if (::statfs(directory.c_str(), &status) != 0 || status.f_type != TMPFS_MAGIC)
        return;
    constexpr std::string_view shell = "#!/bin/sh\n{ printf";
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        if (entry.is_symlink() || !entry.is_regular_file())
            continue;
        std::string text = constructed_machine::content(entry.path());
        if (!text.starts_with(shell))
            continue;
        text.insert(text.find('\n'),
                    "\nPATH=/usr/bin:/bin\nulimit -S -f unlimited\n" + preparation);
        std::ofstream(entry.path(), std::ios::binary) << text;
    }
}

void leave_to_root(const fs::path &file)
{
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
}

// What other users may not read on a machine, they may not read here. Root does not notice.
void leave_roots_sources_to_root(constructed_machine &machine)
{
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator("/dev")) {
        if (!entry.is_symlink() && entry.is_block_file())
            leave_to_root(entry);
    }
    for (const std::string directory : {"/sys/devices/virtual/dmi/id", "/sys/class/dmi/id"}) {
        for (const char *const fact : {"/product_uuid", "/product_serial"}) {
            if (fs::exists(directory + fact))
                leave_to_root(directory + fact);
        }
    }
    const std::string roots_own = machine.scratch("root");
    machine.file(roots_own, "", 0400);
    prepare_tools("/usr/sbin",
                  "[ -r " + roots_own + " ] || { echo 'Permission denied' >&2; exit 1; }");
}

// The trace log's room as a machine had it when it was furnished, for each call anew.
class trace_room {
public:
    explicit trace_room(std::string kept) : kept_(std::move(kept))
    {
        fs::create_directory(kept_);
        copy(room, kept_);
    }

    void put_back() const
    {
        for (const fs::directory_entry &entry : fs::directory_iterator(room))
            fs::remove_all(entry);
        copy(kept_, room);
    }

private:
    static constexpr char room[] = "/var/log";

    // Devices and links as they are.
    static void copy(const std::string &from, const std::string &to)
    {
        const auto copied = run_program({"cp", "-a", from + "/.", to}, [] { return true; });
        if (copied.status != 0)
            throw std::runtime_error(copied.error);
    }

    std::string kept_;
};

// Standard input is empty, what is said is caught, and no other descriptor is open.
void arrange_descriptors(int said)
{
    const int empty = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    check(::dup2(empty, STDIN_FILENO) == STDIN_FILENO, "standard input");
    check(::dup2(said, STDOUT_FILENO) == STDOUT_FILENO, "standard output");
    check(::dup2(said, STDERR_FILENO) == STDERR_FILENO, "standard error");
    check(::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0) == 0, "close_range");
}

// Takes what a program says until it has ended.
std::string said_until_end(int said, int process)
{
    std::string text;
    std::array<char, 4096> part = {};
    std::array<pollfd, 2> events = {{{said, POLLIN, 0}, {process, POLLIN, 0}}};
    for (bool goes_on = true; goes_on;) {
        ::poll(events.data(), events.size(), -1);
        goes_on = (events[1].revents & POLLIN) == 0;
        for (ssize_t size = 0; (size = ::read(said, part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(size));
    }
    return text;
}

} // namespace

// What the processes share. Nothing of it needs a descriptor.
struct machine_process::shared_room {
    left_text<4096> trouble;
    bool lacks_memory;
    bool has_answered;
    left_text<65536> answer;
    left_text<4096> changes;
    left_text<65536> said;
    int status;

    void make_call(const library_call &call, const host &host);
    void watch_call(const library_call &call, const host &host, const constructed_machine &machine);
};

// In the child that has become the host's.
void machine_process::shared_room::make_call(const library_call &call, const host &host)
{
    const std::unique_ptr<condition> here = host.enter();
    const process_state before = process_state::now();
    std::string told = call.run();
    while (!here->has_acted() && told == call.answer)
        told = call.run();
    here->rest();

    const bool may_change = has(documented::to_change_the_process, call);
    std::string changed = before.changed_in(process_state::now(), may_change);
    if (!has(host.may_leave_child, call) && has_children())
        changed += "a child is left; ";
    changes = changed;
    answer = told;
    has_answered = true;
}

// Forks the child and sees it end.
void machine_process::shared_room::watch_call(const library_call &call, const host &host,
                                              const constructed_machine &machine)
{
    std::array<int, 2> ends = {};
    check(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0, "pipe");
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        try {
            // The sanitizers read a process's entry by number.
            const std::string own = "/" + std::to_string(::getpid());
            fs::create_symlink(fs::path(machine.own_proc()).parent_path().string() + own,
                               "/proc" + own);
            arrange_descriptors(ends[1]);
            ::fcntl(STDOUT_FILENO, F_SETFL, O_WRONLY);
            make_call(call, host);
            if (testing::Test::HasFailure())
                trouble = "a check in the call failed";
        } catch (const std::bad_alloc &) {
            lacks_memory = true;
        } catch (const std::system_error &error) {
            lacks_memory = error.code() == std::errc::not_enough_memory;
            trouble = error.what();
        } catch (const std::exception &error) {
            trouble = error.what();
        }
        std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe)
    }
    check(child > 0, "fork");
    ::close(ends[1]);
    const int process = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
    check(process >= 0, "pidfd_open");
    said = said_until_end(ends[0], process);
    ::close(ends[0]);
    ::close(process);
    check(::waitpid(child, &status, 0) == child, "waitpid");
    // Whatever the call's tools have left behind comes to this process.
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

machine_process::machine_process(const library_call &call)
    : call_(call),
      room_(static_cast<shared_room *>(::mmap(nullptr, sizeof(shared_room), PROT_READ | PROT_WRITE,
                                              MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
{
    check(room_ != MAP_FAILED, "mmap");
    std::array<int, 2> ends = {};
    check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "socketpair");
    std::fflush(nullptr);
    process_ = ::fork();
    check(process_ >= 0, "fork");
    if (process_ == 0) {
        ::close(ends[0]);
        serve(ends[1]);
    }
    ::close(ends[1]);
    requests_ = ends[0];
    ::setpgid(process_, process_);
}

machine_process::~machine_process()
{
    end(false);
    ::munmap(room_, sizeof(shared_room));
}

// With all that it has started, where it must.
void machine_process::end(bool by_force)
{
    if (process_ < 0)
        return;
    if (by_force)
        ::kill(-process_, SIGKILL);
    ::close(requests_);
    int status = 0;
    ::waitpid(process_, &status, 0);
    ::kill(-process_, SIGKILL); // what a call has left running
    process_ = -1;
    if (!by_force && status != 0)
        ADD_FAILURE() << "the machine of " << call_.function << " ends with " << status << ": "
                      << room_->trouble.value();
}

bool machine_process::answers_in(int seconds) const
{
    pollfd event = {requests_, POLLIN, 0};
    return ::poll(&event, 1, seconds * 1000) == 1;
}

outcome machine_process::ask(const host &host, int seconds)
{
    outcome told;
    char answer = 0;
    if (process_ < 0) {
        told.trouble = "the machine has ended";
        return told;
    }
    // The machine says when it is furnished, and then when it has made a call.
    const ::host *const pointer = &host;
    if (!answers_in(seconds_for_a_machine) || ::read(requests_, &answer, 1) != 1 ||
        ::write(requests_, &pointer, sizeof(pointer)) != sizeof(pointer)) {
        told.trouble = "no machine: " + room_->trouble.value();
        end(true);
        return told;
    }
    if (!answers_in(seconds)) {
        told.has_hung = true;
        end(true);
        return told;
    }
    told.trouble = room_->trouble.value();
    told.lacks_memory = room_->lacks_memory;
    told.status = room_->status;
    told.has_answered = room_->has_answered;
    told.answer = room_->answer.value();
    told.changes = room_->changes.value();
    told.said = room_->said.value();
    return told;
}

void machine_process::serve(int requests) const
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const rlimit no_core = {};
    ::setrlimit(RLIMIT_CORE, &no_core);
    int result = EXIT_SUCCESS;
    try {
        constructed_machine machine;
        machine.start();
        ::umask(022);
        ::setenv("LC_ALL", "C", 1);
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        if (call_.furnish != nullptr)
            call_.furnish(machine);
        if (testing::Test::HasFailure())
            throw std::runtime_error("a check failed while the machine was furnished");
        leave_roots_sources_to_root(machine);
        prepare_tools("/usr/bin", "");

        const trace_room log(machine.scratch("log"));
        constexpr char ready = 'r';
        const host *host = nullptr;
        while (::write(requests, &ready, 1) == 1 &&
               ::read(requests, &host, sizeof(host)) == sizeof(host)) {
            *room_ = {};
            log.put_back();
            room_->watch_call(call_, *host, machine);
        }
    } catch (const std::exception &error) {
        room_->trouble = error.what();
        result = EXIT_FAILURE;
    }
    std::exit(result); // NOLINT(concurrency-mt-unsafe)
}
