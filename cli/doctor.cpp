// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane doctor: what this machine lacks for the facts that it could have.
#include "commands.h"
#include "output.h"
#include "query.h"
#include "report.h"

#include <algorithm>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

// What would make facts known: a tool, or the rights of root.
struct lack {
    std::string tool; // empty for root
    std::string why;
    std::vector<std::string> facts;
};

void add(std::vector<lack> &lacks, const std::string &tool, const finding &one)
{
    const auto known = std::find_if(lacks.begin(), lacks.end(),
                                    [&tool](const lack &other) { return other.tool == tool; });
    if (known != lacks.end())
        known->facts.emplace_back(one.what->name);
    else
        lacks.push_back({tool,
                         tool.empty() ? explanation_of(one) : tool + " is not installed",
                         {one.what->name}});
}

std::vector<lack> lacks_in(const findings &found)
{
    std::vector<lack> lacks;
    for (const finding &one : found) {
        for (const std::string &tool : one.missing_tools)
            add(lacks, tool, one);
        if (one.why == &reasons::permission_denied)
            add(lacks, "", one);
    }
    return lacks;
}

std::string remedy(const lack &one)
{
    if (!one.tool.empty())
        return "package " + package_of(one.tool);
    return ::geteuid() == 0 ? "a permission" : "root";
}

json lacks_in_json(const std::vector<lack> &lacks)
{
    json::array elements;
    for (const lack &one : lacks) {
        json object = json::object();
        const bool is_of_tool = !one.tool.empty();
        object.add("reason",
                   is_of_tool ? reasons::tool_missing.code : reasons::permission_denied.code);
        object.add("tool", is_of_tool ? json(one.tool) : json());
        object.add("package", is_of_tool ? json(package_of(one.tool)) : json());
        object.add("explanation", one.why);
        object.add("facts", json::array(one.facts.begin(), one.facts.end()));
        elements.push_back(std::move(object));
    }
    json document = json::object();
    document.add("schema", schema_version);
    document.add("missing", std::move(elements));
    return document;
}

} // namespace

int doctor(const query_options &options)
{
    const std::vector<lack> lacks = lacks_in(queried(options));
    if (options.json) {
        print_text(printed(lacks_in_json(lacks)) + "\n");
    } else {
        for (const lack &one : lacks)
            print_line(remedy(one) + ": needed for " + joined(one.facts, ", ") +
                       (one.tool.empty() ? "" : " (" + one.why + ")"));
        if (lacks.empty())
            print_line("nothing is missing");
    }
    return lacks.empty() ? success : negative;
}
