// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Runs the queries on standard input, each in a process of its own, and prints them with their
// answers, the lines that they leave in the trace log, and what appears on standard error:
//
//     harddisk_id("/dev/sda2") = "ST1000DM003-1CH162_Z1D5ABCD"
//         trace: device :/dev/sda2
//
// A line of standard error that repeats is printed once. A query behind "nobody: " runs as an
// ordinary user; "$ COMMAND" changes the machine, and "> COMMAND" is printed with its standard
// output, which everything else's output is not. With "--all" every query of this machine is run
// instead, in this process, and printed with its answer.
#include "queries.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char *trace_log = "/var/log/orvane/liborvane.log";
constexpr unsigned int patience_seconds = 180; // of less than 5 on an idle computer
constexpr uid_t nobody = 65534;

[[noreturn]] void give_up(const std::string &why)
{
    std::cout << why << std::endl;
    _exit(1); // exit() would put back what a child has read of the queries
}

long open_descriptors()
{
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return std::distance(begin(first), end(first));
}

std::string answer_or_end(const std::string &query)
{
    try {
        return answer_to(query);
    } catch (const std::runtime_error &error) {
        give_up(error.what());
    }
}

void become_nobody()
{
    if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0)
        give_up("cannot become nobody");
}

[[noreturn]] void run(const std::string &query, bool as_nobody, int errors)
{
    if (as_nobody)
        become_nobody();
    dup2(errors, STDERR_FILENO);
    alarm(patience_seconds);
    const long before = open_descriptors();
    std::cout << " = " << answer_or_end(query) << '\n';
    if (open_descriptors() != before)
        std::cout << "    descriptors are left open\n";
    if (waitpid(-1, nullptr, WNOHANG) != -1)
        std::cout << "    a child is left behind\n";
    std::cout.flush();
    _exit(0);
}

// The lines of the trace log, without the prefixes that they must have; the log is taken away.
void print_trace(pid_t process)
{
    const std::regex prefix("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[" +
                            std::to_string(process) + "\\]: ");
    std::ifstream log(trace_log);
    for (std::string line; std::getline(log, line);) {
        std::smatch match;
        const bool has_prefix =
            std::regex_search(line, match, prefix, std::regex_constants::match_continuous);
        std::cout << "    " << (has_prefix ? "trace: " + match.suffix().str() : "no trace: " + line)
                  << '\n';
    }
    std::remove(trace_log);
}

void print_end(int status)
{
    if (WIFSIGNALED(status))
        std::cout << " ended by " << sigabbrev_np(WTERMSIG(status)) << '\n';
}

std::ifstream stream_of(int fd)
{
    return std::ifstream("/proc/self/fd/" + std::to_string(fd));
}

// Without what an update of Debian may change.
void print_errors(int errors)
{
    const std::regex version("libdevmapper [0-9.]+ \\([0-9-]+\\)");
    std::ifstream stream = stream_of(errors);
    std::string last;
    for (std::string line; std::getline(stream, line); last = line) {
        if (line != last)
            std::cout << "    stderr: " << std::regex_replace(line, version, "libdevmapper VERSION")
                      << '\n';
    }
}

void change(const std::string &command)
{
    std::cout << "$ " << command << std::endl;
    const std::string inner = "PATH=$PATH:/usr/applets; { " + command + "; } >/dev/console 2>&1";
    if (std::system(inner.c_str()) != 0)
        give_up("that failed");
}

[[noreturn]] void execute(const std::string &command, bool as_nobody, int output)
{
    const int nothing = open("/dev/null", O_RDONLY);
    const int console = open("/dev/console", O_WRONLY);
    if (as_nobody)
        become_nobody();
    dup2(nothing, STDIN_FILENO); // the queries are the probe's
    dup2(output, STDOUT_FILENO);
    dup2(console, STDERR_FILENO);
    alarm(patience_seconds);
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
}

void show(const std::string &line, const std::string &command, bool as_nobody)
{
    std::cout << line << std::endl;
    const int output = memfd_create("output", MFD_CLOEXEC);
    const pid_t child = fork();
    if (child == 0)
        execute(command, as_nobody, output);
    int status = 0;
    waitpid(child, &status, 0);
    std::ifstream stream = stream_of(output);
    for (std::string text; std::getline(stream, text);)
        std::cout << "    stdout: " << text << '\n';
    print_end(status);
    close(output);
    std::cout.flush();
}

void answer(const std::string &line, const std::string &query, bool as_nobody)
{
    std::cout << line << std::flush;
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    const pid_t child = fork();
    if (child == 0)
        run(query, as_nobody, errors);
    int status = 0;
    waitpid(child, &status, 0);
    print_end(status);
    print_trace(child);
    print_errors(errors);
    close(errors);
    std::cout.flush();
}

bool take_prefix(std::string &text, const std::string &prefix)
{
    const bool has_prefix = text.compare(0, prefix.size(), prefix) == 0;
    if (has_prefix)
        text.erase(0, prefix.size());
    return has_prefix;
}

void follow(const std::string &line)
{
    std::string rest = line;
    if (take_prefix(rest, "$ ")) {
        change(rest);
        return;
    }
    const bool as_nobody = take_prefix(rest, "nobody: ");
    if (take_prefix(rest, "> "))
        show(line, rest, as_nobody);
    else
        answer(line, rest, as_nobody);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--all") == 0) {
        for (const std::string &query : queries_of_this_machine())
            std::cout << query << " = " << answer_to(query) << '\n';
        return 0;
    }
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    for (std::string line; std::getline(std::cin, line);)
        follow(line);
    std::cout << "All queries are done.\n";
    return 0;
}
