// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What is made from the tables of facts and reasons: the schema, and the page about facts.
#include "commands.h"
#include "facts.h"
#include "output.h"
#include "reasons.h"
#include "report.h"

#include <string>

namespace {

std::string row(std::initializer_list<std::string> cells)
{
    std::string line = "|";
    for (const std::string &cell : cells)
        line += " " + cell + " |";
    return line + "\n";
}

std::string table_of_facts()
{
    std::string lines = row({"Fact", "What it is", "Sources, in their order", "An identity"}) +
                        row({"---", "---", "---", "---"});
    for (const fact &one : all_facts())
        lines += row({std::string("`") + one.name + "`", one.description, one.source,
                      one.is_identity ? "yes" : "no"});
    return lines;
}

std::string table_of_stability()
{
    std::string lines = row({"Fact", "Reboot", "Reinstallation", "Replacing the disk", "Docking",
                             "Copying the disk to another machine"}) +
                        row({"---", "---", "---", "---", "---", "---"});
    for (const fact &one : all_facts())
        lines += row({std::string("`") + one.name + "`", words_for(one.lasts.reboot),
                      words_for(one.lasts.reinstall), words_for(one.lasts.disk_change),
                      words_for(one.lasts.docking), words_for(one.lasts.cloning)});
    return lines;
}

std::string table_of_reasons()
{
    std::string lines =
        row({"Reason", "Status", "What it says", "What to do"}) + row({"---", "---", "---", "---"});
    for (const reason *const one : all_reasons())
        lines += row({std::string("`") + one->code + "`",
                      std::string("`") + name_of(one->status) + "`", one->text, one->advice});
    return lines;
}

} // namespace

int print_schema()
{
    print_text(printed(document_schema()) + "\n");
    return success;
}

int print_facts_page()
{
    print_text("# Facts\n\nWhat `orvane show` and `orvane explain` know of a machine.\n\n" +
               table_of_facts() + "\n## What becomes of a value\n\n" + table_of_stability() +
               "\n## Why a fact has its answer, or none\n\n" + table_of_reasons());
    return success;
}
