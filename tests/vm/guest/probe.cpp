// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Asks the installed library the questions on standard input, each in a process of its own, and
// prints them with their answers, the lines that they left in the trace log, and what they said on
// standard error:
//
//     harddisk_id("/dev/sda2") = "ST1000DM003-1CH162_Z1D5ABCD"
//         device :/dev/sda2
//
// A question behind "nobody: " is asked as an ordinary user; "$ COMMAND" changes the machine.
#include "orvane.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include <grp.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char *trace_log = "/var/log/orvane/liborvane.log";
constexpr unsigned int patience_seconds = 60;
constexpr uid_t nobody = 65534;

// As a C program would write the bytes.
std::string quoted(const std::string &text)
{
    std::ostringstream result;
    result << '"';
    for (const unsigned char c : text) {
        if (c == '"' || c == '\\')
            result << '\\' << c;
        else if (std::isprint(c) != 0)
            result << c;
        else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", c);
            result << escape;
        }
    }
    result << '"';
    return result.str();
}

std::string said(char *text)
{
    if (text == nullptr)
        return "NULL";
    std::string result = quoted(text);
    free(text);
    return result;
}

std::string said(int number)
{
    return std::to_string(number);
}

// Which number beside 0 and 1 it is, is not promised.
std::string said_truth(int value)
{
    return value == 0 || value == 1 ? said(value) : "nonzero";
}

std::string said_class(_GKeyFile *patterns, bool ignore_case)
{
    const int type = maching_machine_type(patterns, ignore_case);
    return type == -1 ? "-1" : machineTypeToString(type);
}

std::string root_disk()
{
    char *const listing = get_lsblk_output();
    char *const name = find_root_disk(listing);
    free(listing);
    return said(name);
}

using argument = const char *;
using answerer = std::string (*)(argument);

const std::map<std::string, answerer> questions = {
    {"command_line_get_root_device_name",
     [](argument path) { return said(command_line_get_root_device_name(path)); }},
    {"find_root_disk(get_lsblk_output())", [](argument) { return root_disk(); }},
    {"get_lsblk_output", [](argument) { return said(get_lsblk_output()); }},
    {"get_machine_info_from_dmidecode",
     [](argument command) { return said(get_machine_info_from_dmidecode(command)); }},
    {"get_machine_info_from_sysfs",
     [](argument path) { return said(get_machine_info_from_sysfs(path)); }},
    {"get_machine_info_simulate", [](argument) { return said(get_machine_info_simulate()); }},
    {"get_service_tag_from_dmidecode",
     [](argument command) { return said(get_service_tag_from_dmidecode(command)); }},
    {"get_service_tag_from_sysfs",
     [](argument path) { return said(get_service_tag_from_sysfs(path)); }},
    {"harddisk_id", [](argument device) { return said(harddisk_id(device)); }},
    {"harddisk_id_lvm", [](argument device) { return said(harddisk_id_lvm(device)); }},
    {"harddisk_id_nvme_new", [](argument name) { return said(harddisk_id_nvme_new(name)); }},
    {"harddisk_id_smartctl", [](argument device) { return said(harddisk_id_smartctl(device)); }},
    {"hw_oem_info", [](argument) { return said(hw_oem_info()); }},
    {"is_huawei_9x0", [](argument) { return said(is_huawei_9x0()); }},
    {"is_lenovo_machine", [](argument) { return said(is_lenovo_machine()); }},
    {"is_logical_volume", [](argument device) { return said_truth(is_logical_volume(device)); }},
    {"maching_machine_type(exact)",
     [](argument) { return said_class(generate_machine_whitelist(), false); }},
    {"maching_machine_type(ignore_case)",
     [](argument) { return said_class(generate_machine_whitelist_ignore_case(), true); }},
    {"network_interface_get_max_mac",
     [](argument) { return said(network_interface_get_max_mac()); }},
    {"orvane_get_harddisk_id", [](argument) { return said(orvane_get_harddisk_id()); }},
    {"orvane_get_model", [](argument) { return said(orvane_get_model()); }},
    {"orvane_get_network_interface_max_mac",
     [](argument) { return said(orvane_get_network_interface_max_mac()); }},
    {"orvane_get_system_uuid", [](argument) { return said(orvane_get_system_uuid()); }},
    {"orvane_get_vendor", [](argument) { return said(orvane_get_vendor()); }},
    {"root_device", [](argument) { return said(root_device()); }},
    {"system_uuid", [](argument) { return said(system_uuid()); }},
};

[[noreturn]] void give_up(const std::string &why)
{
    std::cout << why << std::endl;
    _exit(1); // exit() would put back what a child has read of the questions
}

// The text between quotation marks, where a backslash makes the next character an ordinary one and
// "\xNN" stands for a byte.
std::string unquoted(const std::string &text)
{
    std::string result;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '\\' && text[i + 1] == 'x') {
            result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            i += text[i] == '\\' ? 1 : 0;
            result += text[i];
        }
    }
    return result;
}

std::string answer_to(const std::string &question)
{
    if (const auto known = questions.find(question); known != questions.end())
        return known->second(nullptr);
    const std::size_t bracket = question.find('(');
    const auto known = questions.find(question.substr(0, bracket));
    if (known == questions.end() || question.back() != ')')
        give_up("no such question: " + question);
    const std::string inside = question.substr(bracket + 1, question.size() - bracket - 2);
    return inside.empty() ? known->second(nullptr) : known->second(unquoted(inside).c_str());
}

long open_descriptors()
{
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return std::distance(begin(first), end(first));
}

[[noreturn]] void ask(const std::string &question, bool as_nobody, int errors)
{
    if (as_nobody && (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0))
        give_up("cannot become nobody");
    dup2(errors, STDERR_FILENO);
    alarm(patience_seconds);
    const long before = open_descriptors();
    std::cout << " = " << answer_to(question) << '\n';
    if (open_descriptors() != before)
        std::cout << "    descriptors are left open\n";
    if (waitpid(-1, nullptr, WNOHANG) != -1)
        std::cout << "    a child is left behind\n";
    std::cout.flush();
    _exit(0);
}

// The lines of the trace log, without the prefixes that they must have; the log is taken away.
void print_trace(pid_t asked)
{
    const std::regex prefix("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[" +
                            std::to_string(asked) + "\\]: ");
    std::ifstream log(trace_log);
    for (std::string line; std::getline(log, line);) {
        std::smatch match;
        const bool has_prefix =
            std::regex_search(line, match, prefix, std::regex_constants::match_continuous);
        std::cout << "    " << (has_prefix ? match.suffix().str() : "no trace: " + line) << '\n';
    }
    std::remove(trace_log);
}

// Without what an update of Debian may change.
void print_errors(int errors)
{
    const std::regex version("libdevmapper [0-9.]+ \\([0-9-]+\\)");
    std::ifstream said("/proc/self/fd/" + std::to_string(errors));
    for (std::string line; std::getline(said, line);)
        std::cout << "    stderr: " << std::regex_replace(line, version, "libdevmapper VERSION")
                  << '\n';
}

void change(const std::string &command)
{
    std::cout << "$ " << command << std::endl;
    const std::string inner = "PATH=$PATH:/usr/applets; { " + command + "; } >/dev/ttyS0 2>&1";
    if (std::system(inner.c_str()) != 0)
        give_up("that failed");
}

void answer(const std::string &line)
{
    const std::string user = "nobody: ";
    const bool as_nobody = line.compare(0, user.size(), user) == 0;
    std::cout << line << std::flush;
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    const pid_t child = fork();
    if (child == 0)
        ask(as_nobody ? line.substr(user.size()) : line, as_nobody, errors);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        std::cout << " ended by " << sigabbrev_np(WTERMSIG(status)) << '\n';
    print_trace(child);
    print_errors(errors);
    close(errors);
    std::cout.flush();
}

} // namespace

int main()
{
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    const std::string command = "$ ";
    for (std::string line; std::getline(std::cin, line);) {
        if (line.compare(0, command.size(), command) == 0)
            change(line.substr(command.size()));
        else
            answer(line);
    }
    std::cout << "That is all.\n";
    return 0;
}
