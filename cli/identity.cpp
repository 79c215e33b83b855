// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane show and orvane root-disk: which machine this is.
#include "command.h"
#include "facts.h"
#include "quiet.h"
#include "root_disk.h"
#include "say.h"
#include "show.h"

#include <algorithm>
#include <memory>
#include <string>

#include <unistd.h>

namespace {

struct request {
    bool json = false;
    std::string name; // empty for all facts
};

std::string list_of_facts()
{
    std::string list = "Facts:\n";
    for (const fact &known : all_facts()) {
        std::string line = std::string("  ") + known.name;
        line.resize(std::max<std::size_t>(line.size() + 1, 30), ' ');
        list += line + known.description + "\n";
    }
    return list;
}

int show(const request &wanted)
{
    const fact *const only = wanted.name.empty() ? nullptr : find_fact(wanted.name);
    const auto findings = ask(only != nullptr ? std::span(only, 1) : all_facts());

    int status = done;
    if (wanted.json)
        print_json(findings);
    else if (only == nullptr)
        print_table(findings);
    else if (is_answered(findings.front().value))
        say(to_text(findings.front().value));
    else
        status = failed;

    if (::geteuid() == 0) {
        if (trace_log_refused())
            complain("the trace log cannot be opened, so this run left no trace");
    } else if (const std::string names = names_for_root(findings); !names.empty()) {
        complain("may need root: " + names);
    }
    return status;
}

} // namespace

void add_identity_commands(CLI::App &app, action &chosen)
{
    const auto wanted = std::make_shared<request>();
    CLI::App *const command = app.add_subcommand("show", "Show what is known (the default)");
    CLI::Option *const name =
        command->add_option("NAME", wanted->name, "One fact, to print its value alone");
    command->add_flag("--json", wanted->json, "Print one JSON object")->excludes(name);
    name->check(
        [](const std::string &given) {
            return find_fact(given) != nullptr ? "" : "unknown fact '" + given + "'";
        },
        "");
    command->footer(list_of_facts());
    chosen = [wanted] { return show(*wanted); };

    app.add_subcommand("root-disk", "Print the name of the disk with the root file system on one of"
                                    " its partitions, as lsblk -J lists it")
        ->callback([&chosen] {
            chosen = [] {
                say(root_disk());
                return done;
            };
        });
}
