// SPDX-License-Identifier: LGPL-2.1-or-later
#include "findings.h"

#include "verdicts.h"

#include <algorithm>

#include <unistd.h>

namespace {

// A call of the library's is a source of its own where the answer does not come from below it.
std::string source_of_answer(const finding &one)
{
    const std::string value = first_line_with_text(to_text(one.value));
    for (const step *const leaf : leaves_of(one.steps)) {
        if (leaf->result == results::answered && leaf->text == value)
            return leaf->source;
    }
    const step *const last = last_with(one.steps, results::answered);
    return last != nullptr ? last->source : "";
}

void take_trace(const observation &seen, finding &one)
{
    for (const event &line : seen.events) {
        if (line.kind != event_kind::traced)
            continue;
        one.trace.push_back(line.text);
        one.is_trace_lost = one.is_trace_lost || line.error != 0;
    }
}

finding examined(const fact &what, bool to_trace_log)
{
    const observation seen = observe(what.query, to_trace_log);
    finding one{&what, seen.value};
    take_trace(seen, one);
    one.steps =
        what.kind == fact_kind::network ? network_steps_in(seen.events) : steps_in(seen.events);
    if (seen.has_ended) {
        one.why = &reasons::library_ended;
        one.steps.push_back({"the process of the query", reasons::library_ended.code,
                             first_line_with_text(seen.last_words)});
        return one;
    }
    judge(one);
    if (is_known(one))
        one.source = source_of_answer(one);
    return one;
}

} // namespace

findings examine(const std::vector<std::string> &names, bool to_trace_log)
{
    findings found;
    if (names.empty()) {
        for (const fact &one : all_facts())
            found.push_back(examined(one, to_trace_log));
    }
    for (const std::string &name : names)
        found.push_back(examined(*find_fact(name), to_trace_log));
    return found;
}

bool is_known(const finding &one)
{
    return one.why->status == fact_status::known;
}

fact_status status_of(const finding &one)
{
    const bool is_root = ::geteuid() == 0;
    return one.why == &reasons::permission_denied && is_root ? fact_status::not_determinable
                                                             : one.why->status;
}

bool is_usable_as_identity(const finding &one)
{
    const std::string value = to_text(one.value);
    const bool is_local = one.what->kind == fact_kind::network && is_locally_administered(value);
    return is_known(one) && one.what->is_identity && !is_repeated(value) && !is_local;
}

std::string package_of(const std::string &tool)
{
    constexpr struct {
        const char *tool;
        const char *package;
    } packages[] = {
        {"/smartctl", "smartmontools"},
        {"/dmidecode", "dmidecode"},
        {"/dmsetup", "dmsetup"},
        {"/lvdisplay", "lvm2"},
        {"/pvdisplay", "lvm2"},
        {"/lsblk", "util-linux"},
        {"/readlink", "coreutils"},
        {"/awk", "mawk"},
        {"/grep", "grep"},
    };
    for (const auto &one : packages) {
        if (("/" + tool).ends_with(one.tool)) // some are searched for in PATH
            return one.package;
    }
    return tool;
}

std::vector<std::string> packages_of(const std::vector<std::string> &tools)
{
    std::vector<std::string> packages;
    for (const std::string &tool : tools) {
        const std::string package = package_of(tool);
        if (std::find(packages.begin(), packages.end(), package) == packages.end())
            packages.push_back(package);
    }
    return packages;
}

std::string joined(const std::vector<std::string> &names, const char *separator)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : separator) + name;
    return text;
}

namespace {

std::string words_for_packages(const std::vector<std::string> &packages)
{
    return (packages.size() > 1 ? "the packages " : "the package ") + joined(packages, " and ");
}

} // namespace

std::string explanation_of(const finding &one)
{
    std::string text = one.why->text;
    if (one.why == &reasons::permission_denied && ::geteuid() == 0)
        text = "a permission that root usually has is missing";
    if (one.why == &reasons::tool_missing)
        text = joined(one.missing_tools, " and ") +
               (one.missing_tools.size() > 1 ? " are not installed" : " is not installed");
    return one.subject.empty() ? text : text + ": " + one.subject;
}

std::string advice_on(const finding &one)
{
    if (one.why == &reasons::permission_denied && ::geteuid() == 0)
        return "run the command as root of the host, with the capabilities and devices that "
               "SECURITY.md lists";
    return advice_with(*one.why, words_for_packages(packages_of(one.missing_tools)));
}
