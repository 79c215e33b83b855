// SPDX-License-Identifier: LGPL-2.1-or-later
#include "inheritance.h"

#include "process.h"

#include <array>
#include <cerrno>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Above every descriptor that a test may close, or count on being free.
constexpr int first_kept_descriptor = 300;

int check(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

int new_output()
{
    const int low = check(::memfd_create("inherited", MFD_CLOEXEC), "memfd_create");
    const int high = ::fcntl(low, F_DUPFD_CLOEXEC, first_kept_descriptor);
    ::close(low);
    return check(high, "fcntl");
}

} // namespace

inheritance::inheritance(const constructed_machine &machine)
    : descriptors_(machine.own_proc() + "/fd"), output_(new_output())
{
    start_program();
}

inheritance::~inheritance()
{
    ::close(output_);
}

void inheritance::start_program()
{
    static const std::string program = build_folder() + "/tests/support/print_inherited";
    const std::array<char *, 3> arguments = {const_cast<char *>(program.c_str()),
                                             const_cast<char *>(descriptors_.c_str()), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output_, STDOUT_FILENO);
    pid_t child = 0;
    const int error =
        ::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), program);
    // The library may have taken it, which it does when it has ended.
    if (::waitpid(child, nullptr, 0) < 0 && errno != ECHILD)
        throw std::system_error(errno, std::generic_category(), "waitpid");
    ++programs_;
}

inheritance::report inheritance::found(const std::string &tolerated) const
{
    std::string text(static_cast<std::size_t>(::lseek(output_, 0, SEEK_END)), '\0');
    check(static_cast<int>(::pread(output_, text.data(), text.size(), 0)), "pread");
    const std::regex pattern("[0-9]+ " + tolerated + ".*");
    report all;
    std::set<std::string> of_first;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line); ++all.programs) {
        std::istringstream descriptors(line);
        bool is_heir = false;
        for (std::string one; std::getline(descriptors, one, '\t');) {
            if (all.programs == 0)
                of_first.insert(one);
            if (of_first.contains(one) || std::regex_match(one, pattern))
                continue;
            is_heir = true;
            all.inherited.insert(one);
        }
        all.heirs += is_heir ? 1 : 0;
    }
    if (all.programs != programs_)
        throw std::runtime_error("a program did not report what it inherited");
    return all;
}
