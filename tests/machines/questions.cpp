// SPDX-License-Identifier: LGPL-2.1-or-later
#include "questions.h"

#include "fixture.h"
#include "glib_owners.h"
#include "words.h"

#include "../../cli/facts.h"
#include "orvane.h"

#include <filesystem>
#include <map>
#include <stdexcept>

namespace {

std::string said(char *text)
{
    const owned_text told(text);
    return told.is_null() ? "NULL" : recorded::quoted(told.value());
}

std::string said(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        return recorded::quoted(*text);
    return is_answered(value) ? to_text(value) : "NULL";
}

// Which number beside 0 it is, is not promised.
std::string said_truth(int value)
{
    return value != 0 ? "1" : "0";
}

std::string said_class(const owned_key_file &patterns, bool ignore_case)
{
    return std::to_string(maching_machine_type(patterns.get(), ignore_case));
}

std::string root_disk()
{
    const owned_text listing(get_lsblk_output());
    return said(find_root_disk(listing.value().c_str()));
}

using plain_question = std::string (*)();
const std::map<std::string, plain_question> plain_questions = {
    {"_os_get_version()", [] { return std::to_string(_os_get_version()); }},
    {"find_root_disk(get_lsblk_output())", root_disk},
    {"maching_machine_type(generate_machine_whitelist(), false)",
     [] { return said_class(owned_key_file(generate_machine_whitelist()), false); }},
    {"maching_machine_type(generate_machine_whitelist_ignore_case(), true)",
     [] { return said_class(owned_key_file(generate_machine_whitelist_ignore_case()), true); }},
    {"network_interface_get_max_mac()", [] { return said(network_interface_get_max_mac()); }},
    {"system_uuid()", [] { return said(system_uuid()); }},
};

using text_question = std::string (*)(const char *);
const std::map<std::string, text_question> text_questions = {
    {"command_line_get_root_device_name",
     [](const char *path) { return said(command_line_get_root_device_name(path)); }},
    {"get_machine_info_from_dmidecode",
     [](const char *command) { return said(get_machine_info_from_dmidecode(command)); }},
    {"get_machine_info_from_sysfs",
     [](const char *path) { return said(get_machine_info_from_sysfs(path)); }},
    {"get_service_tag_from_dmidecode",
     [](const char *command) { return said(get_service_tag_from_dmidecode(command)); }},
    {"get_service_tag_from_sysfs",
     [](const char *path) { return said(get_service_tag_from_sysfs(path)); }},
    {"harddisk_id", [](const char *device) { return said(harddisk_id(device)); }},
    {"harddisk_id_lvm", [](const char *device) { return said(harddisk_id_lvm(device)); }},
    {"harddisk_id_nvme_new", [](const char *name) { return said(harddisk_id_nvme_new(name)); }},
    {"harddisk_id_smartctl", [](const char *device) { return said(harddisk_id_smartctl(device)); }},
    {"is_logical_volume", [](const char *device) { return said_truth(is_logical_volume(device)); }},
};

// The files and command lines by which the library itself asks.
constexpr std::pair<const char *, const char *> usual_arguments[] = {
    {"command_line_get_root_device_name", "/proc/cmdline"},
    {"get_machine_info_from_dmidecode", "/usr/sbin/dmidecode -s system-manufacturer"},
    {"get_machine_info_from_dmidecode",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}'"},
    {"get_machine_info_from_dmidecode",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Family' |awk '{print $2}'"},
    {"get_machine_info_from_dmidecode",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Version' |awk '{print $2}'"},
    {"get_machine_info_from_sysfs", "/sys/class/dmi/id/product_name"},
    {"get_service_tag_from_dmidecode",
     "/usr/sbin/dmidecode -t 1 |grep -i 'Serial Number' | awk -F': ' '{print $2}'"},
    {"get_service_tag_from_sysfs", "/sys/class/dmi/id/product_serial"},
};

constexpr const char *root_questions[] = {"harddisk_id", "harddisk_id_smartctl",
                                          "is_logical_volume", "harddisk_id_lvm"};

std::string call(const std::string &function, const std::string &argument)
{
    return function + "(" + recorded::quoted(argument) + ")";
}

} // namespace

std::string answer_to(const std::string &question)
{
    if (const fact *const known = find_fact(question))
        return said(known->ask());
    if (const auto known = plain_questions.find(question); known != plain_questions.end())
        return known->second();
    const std::size_t bracket = question.find('(');
    const auto known = text_questions.find(question.substr(0, bracket));
    if (known == text_questions.end() || question.back() != ')')
        throw std::runtime_error("no such fact: " + question);
    const recorded::line argument =
        recorded::words_of(question.substr(bracket + 1, question.size() - bracket - 2));
    if (argument.size() != 1 || !argument.front().is_quoted)
        throw std::runtime_error("no argument between quotation marks: " + question);
    return known->second(argument.front().text.c_str());
}

std::vector<std::string> questions_of_this_machine()
{
    std::vector<std::string> questions;
    for (const fact &known : all_facts())
        questions.emplace_back(known.name);
    for (const auto &[question, ask] : plain_questions)
        questions.push_back(question);
    for (const auto &[function, argument] : usual_arguments)
        questions.push_back(call(function, argument));
    if (const owned_text root(root_device()); !root.is_null()) {
        for (const char *const function : root_questions)
            questions.push_back(call(function, root.value()));
    }
    std::error_code none;
    for (const auto &disk : std::filesystem::directory_iterator("/sys/block", none))
        questions.push_back(call("harddisk_id_nvme_new", disk.path().filename()));
    return questions;
}
