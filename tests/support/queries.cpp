// SPDX-License-Identifier: LGPL-2.1-or-later
#include "queries.h"

#include "glib_owners.h"
#include "words.h"

#include "orvane.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

constexpr const char *ROOT_DEVICE = "the root device";
constexpr const char *EACH_DISK = "each disk";

struct query {
    const char *function; // the whole call, where it is one of several functions
    const char *argument; // nullptr where there is none
    std::string (*run)(const char *argument);
};

struct free_text {
    void operator()(char *text) const noexcept { std::free(text); }
};
using owned_text = std::unique_ptr<char, free_text>;

std::string text(char *returned)
{
    const owned_text owner(returned);
    return returned == nullptr ? "NULL" : recorded::quoted(returned);
}

// The functions promise "nonzero", and not which number.
std::string truth(int returned)
{
    return returned != 0 ? "1" : "0";
}

std::string number(unsigned int returned)
{
    return std::to_string(returned);
}

std::string manufacturer_class(GKeyFile *patterns, bool ignore_case)
{
    const owned_key_file owner(patterns);
    const int type = maching_machine_type(patterns, ignore_case);
    return type == -1 ? "-1" : machineTypeToString(type);
}

// As a recorded text spells it.
std::string call(const query &known, const std::string &argument)
{
    return std::string(known.function) + "(" + recorded::quoted(argument) + ")";
}

#define QUERY(kind, function)                                                                      \
    {#function "()", nullptr, [](const char *) { return kind(function()); }},
#define QUERY_OF(kind, function, usual_argument)                                                   \
    {#function, usual_argument, [](const char *argument) { return kind(function(argument)); }},

constexpr query queries[] = {
#include "queries.def"
    {"find_root_disk(get_lsblk_output())", nullptr,
     [](const char *) { return text(find_root_disk(owned_text(get_lsblk_output()).get())); }},
    {"maching_machine_type(generate_machine_whitelist(), false)", nullptr,
     [](const char *) { return manufacturer_class(generate_machine_whitelist(), false); }},
    {"maching_machine_type(generate_machine_whitelist_ignore_case(), true)", nullptr,
     [](const char *) {
         return manufacturer_class(generate_machine_whitelist_ignore_case(), true);
     }},
};

const query &find(std::string_view function)
{
    const auto *const found =
        std::find_if(std::begin(queries), std::end(queries),
                     [function](const query &known) { return known.function == function; });
    if (found == std::end(queries))
        throw std::runtime_error("no such query: " + std::string(function));
    return *found;
}

std::vector<std::string> arguments_of(const query &known)
{
    if (known.argument == EACH_DISK) {
        std::vector<std::string> disks;
        std::error_code none;
        for (const auto &disk : std::filesystem::directory_iterator("/sys/block", none))
            disks.push_back(disk.path().filename());
        std::sort(disks.begin(), disks.end());
        return disks;
    }
    if (known.argument == nullptr)
        return {};
    if (known.argument != ROOT_DEVICE)
        return {known.argument};
    const owned_text root(root_device());
    return root == nullptr ? std::vector<std::string>() : std::vector<std::string>{root.get()};
}

} // namespace

std::string answer_to(const std::string &spelling)
{
    const std::size_t bracket = spelling.find("(\"");
    if (bracket == std::string::npos)
        return find(spelling).run(nullptr);
    const recorded::line words =
        recorded::words_of(spelling.substr(bracket + 1, spelling.size() - bracket - 2));
    if (words.size() != 1 || spelling.back() != ')')
        throw std::runtime_error("no argument between quotation marks: " + spelling);
    return find(spelling.substr(0, bracket)).run(words.front().text.c_str());
}

std::vector<std::string> queries_of_this_machine()
{
    std::vector<std::string> spellings;
    for (const query &known : queries) {
        if (known.argument == nullptr)
            spellings.emplace_back(known.function);
        for (const std::string &argument : arguments_of(known))
            spellings.push_back(call(known, argument));
    }
    // Long, and what the answer about the root disk comes from.
    std::erase(spellings, "get_lsblk_output()");
    return spellings;
}
