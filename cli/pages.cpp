// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What is made from the tables of facts and reasons: the schema, and the page about facts.
#include "commands.h"
#include "facts.h"
#include "layout.h"
#include "output.h"
#include "reasons.h"
#include "report.h"

#include <string>

namespace {

std::string item(const std::string &text)
{
    return wrapped(text, {"- ", "  "}, output_columns());
}

std::string section_on(const fact &one)
{
    return std::string("\n## ") + one.name + "\n\n" +
           wrapped(std::string(one.description) + ".", {}, output_columns()) + "\n" +
           item(std::string("Sources, in their order: ") + one.source + ".") +
           item("Stability: " + words_for(one.lasts) + ".") +
           item(one.is_identity ? "It identifies a machine, unless `usable_as_identity` is false."
                                : "It identifies no machine: many have the same value.");
}

std::string item_on(const reason &one)
{
    const std::string to_do = advice_with(one, "the package that `orvane doctor` names");
    const std::string advice = to_do.empty() ? "" : "; " + to_do;
    return item(std::string("`") + one.code + "` (" + words_for(one.status) + "): " + one.text +
                advice + ".");
}

} // namespace

int print_schema()
{
    print_text(printed(document_schema()) + "\n");
    return success;
}

int print_facts_page()
{
    std::string page = "# Facts\n\nWhat `orvane show` and `orvane explain` know of a machine.\n";
    for (const fact &one : all_facts())
        page += section_on(one);
    page += "\n## Reasons\n\n" +
            wrapped("Why a fact has its answer, or none; docs/troubleshooting.md says more.", {},
                    output_columns()) +
            "\n";
    for (const reason *const one : all_reasons())
        page += item_on(*one);
    print_text(page);
    return success;
}
