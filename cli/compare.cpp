// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane save and orvane compare: what becomes of the facts.
#include "commands.h"
#include "layout.h"
#include "output.h"
#include "query.h"
#include "report.h"
#include "saved_facts.h"

#include "orvane.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum class outcome { same, changed, not_known, not_comparable };

const char *name_of(outcome result)
{
    switch (result) {
    case outcome::same:
        return "same";
    case outcome::changed:
        return "changed";
    case outcome::not_known:
        return "not_known";
    default:
        return "not_comparable";
    }
}

struct comparison {
    saved_fact then;
    finding now;
    outcome result;
};
using comparisons = std::vector<comparison>;

bool was_known(const saved_fact &then)
{
    return then.status == name_of(fact_status::known);
}

// What is out of reach may be as it was, or not.
bool is_out_of_reach(std::string_view status)
{
    return status == name_of(fact_status::needs_root) ||
           status == name_of(fact_status::not_determinable);
}

// What no tool and no right would make known is as it was, as long as the reason is the same.
bool is_of_this_machine(const reason &why)
{
    const reason *const passing[] = {&reasons::permission_denied, &reasons::tool_missing,
                                     &reasons::tool_failed, &reasons::source_failed,
                                     &reasons::library_ended};
    return std::find(std::begin(passing), std::end(passing), &why) == std::end(passing);
}

// A value as JSON has it, which is UTF-8.
answer as_saved(const answer &value)
{
    const auto *const text = std::get_if<std::string>(&value);
    if (text == nullptr)
        return value;
    const json saved = parsed(printed(json(*text)));
    return *saved.as<std::string>();
}

outcome compared(const saved_fact &then, const finding &now)
{
    if (was_known(then) && is_known(now))
        return then.value == as_saved(now.value) ? outcome::same : outcome::changed;
    if (then.reason == now.why->code && is_of_this_machine(*now.why))
        return outcome::same;
    if (!was_known(then) && !is_known(now) && is_out_of_reach(then.status))
        return outcome::not_known;
    return is_out_of_reach(then.status) || is_out_of_reach(name_of(status_of(now)))
               ? outcome::not_comparable
               : outcome::changed;
}

comparisons compare(const std::vector<saved_fact> &saved, bool to_trace_log)
{
    query_options options;
    options.trace = to_trace_log;
    for (const saved_fact &then : saved)
        options.names.emplace_back(then.what->name);
    findings found = queried(options);
    comparisons all;
    for (std::size_t at = 0; at < saved.size(); ++at) {
        const outcome result = compared(saved[at], found[at]);
        all.push_back({saved[at], std::move(found[at]), result});
    }
    return all;
}

const comparison *find(const comparisons &all, std::string_view name)
{
    const auto found = std::find_if(all.begin(), all.end(), [name](const comparison &one) {
        return one.then.what->name == name;
    });
    return found != all.end() ? &*found : nullptr;
}

bool has_changed(const comparisons &all, std::string_view name)
{
    const comparison *const one = find(all, name);
    return one != nullptr && one->result == outcome::changed;
}

bool is_same(const comparisons &all, std::string_view name)
{
    const comparison *const one = find(all, name);
    return one != nullptr && one->result == outcome::same && is_known(one->now);
}

bool is_virtual(const std::string &vendor)
{
    constexpr const char *makers[] = {"QEMU",       "VMware",    "Xen",       "innotek",
                                      "Amazon EC2", "Parallels", "OpenStack", "KVM"};
    return std::any_of(std::begin(makers), std::end(makers),
                       [&vendor](const char *maker) { return vendor.starts_with(maker); });
}

bool was_virtualised(const comparisons &all)
{
    const comparison *const vendor = find(all, "vendor");
    return vendor != nullptr && vendor->result == outcome::changed &&
           is_virtual(to_text(vendor->now.value)) && !is_virtual(to_text(vendor->then.value));
}

// The kernel, smartctl and LVM spell model and serial number each in its own form.
std::string kind_of_source(const std::string &source)
{
    for (const char *const kind :
         {"smartctl", "dmidecode", "identify request", "/sys/", "/proc/"}) {
        if (source.find(kind) != std::string::npos)
            return kind;
    }
    return source;
}

bool has_other_source(const comparison &one)
{
    return was_known(one.then) && is_known(one.now) &&
           kind_of_source(one.then.source) != kind_of_source(one.now.source);
}

bool lost_tool(const comparison &one)
{
    return was_known(one.then) && one.now.why == &reasons::tool_missing;
}

// What the changes mostly mean, all in all.
std::vector<std::string> meanings_of(const comparisons &all)
{
    std::vector<std::string> meanings;
    const bool has_other_board = has_changed(all, "system_uuid") || has_changed(all, "serial");
    if (was_virtualised(all))
        meanings.emplace_back("this is a virtual machine now: the system was virtualised");
    else if (has_other_board && has_changed(all, "disk"))
        meanings.emplace_back(
            "this is another machine with another disk: the system was cloned, or "
            "the file was saved elsewhere");
    else if (has_other_board && is_same(all, "disk"))
        meanings.emplace_back("the same disk is in another machine, or the mainboard was replaced");
    else if (has_changed(all, "system_uuid") || has_changed(all, "serial") ||
             has_changed(all, "vendor") || has_changed(all, "model"))
        meanings.emplace_back("the firmware was updated, or its tables were changed");
    for (const comparison &one : all) {
        const std::string name = one.then.what->name;
        if (lost_tool(one))
            meanings.push_back(name +
                               ": a tool was removed: " + joined(one.now.missing_tools, ", "));
        else if (one.result == outcome::changed && has_other_source(one))
            meanings.push_back(name + ": another source answers, in its own form: a tool was "
                                      "installed or removed, or the rights differ");
    }
    const comparison *const disk = find(all, "disk");
    if (has_changed(all, "disk") && !has_other_board && !lost_tool(*disk) &&
        !has_other_source(*disk))
        meanings.emplace_back("disk: the disk was replaced, or the root file system was moved");
    if (has_changed(all, "mac") && !has_other_board)
        meanings.emplace_back("mac: a network card or a dock was added or removed");
    if (has_changed(all, "root_device") && is_same(all, "disk"))
        meanings.emplace_back("root_device: the same disk has another name, or another layout");
    if (has_changed(all, "os_version"))
        meanings.emplace_back("os_version: another variant of the operating system was installed");
    return meanings;
}

std::string value_then(const saved_fact &then)
{
    return was_known(then) ? to_text(then.value) + " (" + then.source + ")"
                           : "no answer (" + then.reason + ")";
}

std::string value_now(const finding &now)
{
    return is_known(now) ? to_text(now.value) + " (" + now.source + ")"
                         : "no answer (" + std::string(now.why->code) + ")";
}

bool has(const comparisons &all, outcome result)
{
    return std::any_of(all.begin(), all.end(),
                       [result](const comparison &one) { return one.result == result; });
}

std::string names_with(const comparisons &all, outcome result)
{
    std::vector<std::string> names;
    for (const comparison &one : all) {
        if (one.result == result)
            names.emplace_back(one.then.what->name);
    }
    return joined(names, ", ");
}

void print_comparisons(const comparisons &all, const std::vector<std::string> &meanings)
{
    std::string lines;
    for (const comparison &one : all) {
        if (one.result == outcome::same || one.result == outcome::not_known)
            continue;
        const bool is_change = one.result == outcome::changed;
        lines += std::string(one.then.what->name) +
                 (is_change ? ": changed\n" : ": cannot be compared\n") +
                 wrapped(value_then(one.then), {"  then: ", "        "}, output_columns()) +
                 wrapped(value_now(one.now), {"  now:  ", "        "}, output_columns());
    }
    for (const std::string &meaning : meanings)
        lines += wrapped("this usually means: " + meaning, {"", "  "}, output_columns());
    if (lines.empty())
        lines = has(all, outcome::same) ? "nothing has changed\n" : "nothing can be compared\n";
    if (const std::string names = names_with(all, outcome::not_known); !names.empty())
        lines += wrapped("not known, then and now: " + names, {"", "  "}, output_columns());
    print_text(lines);
}

json comparisons_in_json(const comparisons &all, const std::vector<std::string> &meanings)
{
    json facts = json::object();
    for (const comparison &one : all) {
        json then = json::object();
        then.add("value", to_json(one.then.value));
        then.add("status", one.then.status);
        then.add("source", one.then.source);
        json now = json::object();
        now.add("value", to_json(one.now.value));
        now.add("status", name_of(status_of(one.now)));
        now.add("source", one.now.source);
        json object = json::object();
        object.add("result", name_of(one.result));
        object.add("then", std::move(then));
        object.add("now", std::move(now));
        facts.add(one.then.what->name, std::move(object));
    }
    json document = json::object();
    document.add("schema", schema_version);
    document.add("comparison", std::move(facts));
    document.add("meanings", json::array(meanings.begin(), meanings.end()));
    return document;
}

int status_of(const comparisons &all)
{
    if (has(all, outcome::changed))
        return negative;
    return has(all, outcome::not_comparable) || !has(all, outcome::same) ? undetermined : success;
}

} // namespace

int save_facts(const std::string &file, const query_options &options)
{
    json document = document_of(queried(options), detail::brief);
    document.add("saved_by", "orvane " ORVANE_VERSION);
    write_output(file, printed(document) + "\n");
    return success;
}

int compare_facts(const std::string &file, const query_options &options)
{
    const comparisons all = compare(saved_facts(file), options.trace);
    const std::vector<std::string> meanings = meanings_of(all);
    if (options.json)
        print_text(printed(comparisons_in_json(all, meanings)) + "\n");
    else
        print_comparisons(all, meanings);
    return status_of(all);
}
