// SPDX-License-Identifier: LGPL-2.1-or-later
#include "api_case.h"

#include <regex>
#include <set>

const api_case_list &api_cases()
{
    // Never destroyed, because the summary is printed at the end of the process.
    static const api_case_list &all = *new api_case_list(
        joined({foundation_cases(), machine_cases(), disk_cases(), integrity_cases()}));
    return all;
}

const api_case_list &representative_cases()
{
    static const api_case_list chosen = [] {
        std::set<std::string> functions;
        api_case_list some;
        for (const api_case &one : api_cases()) {
            if (functions.insert(one.function).second || one.needs != 0 || one.uses != 0)
                some.push_back(one);
        }
        return some;
    }();
    return chosen;
}

void add_script(constructed_machine &machine, const std::string &path, const std::string &commands)
{
    const bool is_roots = path.find("/sbin/") != std::string::npos;
    machine.file(path,
                 "#!/usr/bin/dash\n" + std::string(is_roots ? "[ -O / ] || exit 1\n" : "") +
                     commands + "\n",
                 0755);
}

std::string printing(const std::string &text)
{
    return "printf %s '" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

void add_tool(constructed_machine &machine, const std::string &path, const std::string &prints)
{
    add_script(machine, path, printing(prints));
}
