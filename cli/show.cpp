// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane show and orvane root-disk: the identity of the machine.
#include "commands.h"
#include "facts.h"
#include "output.h"
#include "stderr_capture.h"

#include "orvane.h"

#include <cstdio>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <libsmartcols.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

struct finding {
    const fact *what;
    answer value;
};
using findings = std::vector<finding>;

findings query(std::span<const fact> facts)
{
    const stderr_capture capture;
    findings found;
    for (const fact &queried : facts)
        found.push_back({&queried, queried.ask()});
    return found;
}

struct unref_table {
    void operator()(libscols_table *table) const noexcept { scols_unref_table(table); }
};

void require(bool done)
{
    if (!done)
        throw std::runtime_error("cannot lay out the table");
}

// One row for each fact.
void print_table(const findings &found)
{
    const std::unique_ptr<libscols_table, unref_table> table(scols_new_table());
    require(table && scols_table_new_column(table.get(), "FACT", 0, 0) != nullptr &&
            scols_table_new_column(table.get(), "VALUE", 0, 0) != nullptr &&
            scols_table_enable_noheadings(table.get(), 1) == 0);
    for (const finding &one : found) {
        libscols_line *const line = scols_table_new_line(table.get(), nullptr);
        require(line != nullptr && scols_line_set_data(line, 0, one.what->name) == 0 &&
                scols_line_set_data(line, 1, to_text(one.value).c_str()) == 0);
    }
    require(scols_print_table(table.get()) == 0);
}

nlohmann::ordered_json to_json(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *const number = std::get_if<unsigned int>(&value))
        return *number;
    return nullptr;
}

// JSON leaves DEL and the controls from U+0080 on, which terminals obey, as they are. They can
// stand in its strings alone, where an escape has the same value.
std::string without_raw_controls(const std::string &json)
{
    std::string plain;
    for (std::size_t at = 0; at < json.size(); ++at) {
        auto byte = static_cast<unsigned char>(json[at]);
        const bool has_c1 = byte == 0xc2 && static_cast<unsigned char>(json[at + 1]) <= 0x9f;
        if (has_c1)
            byte = static_cast<unsigned char>(json[++at]);
        if (has_c1 || byte == 0x7f) {
            char escape[sizeof "\\u0000"];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            plain.append(escape);
        } else {
            plain.push_back(json[at]);
        }
    }
    return plain;
}

// One object, in which a fact without an answer is null.
void print_json(const findings &found)
{
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const finding &one : found)
        object[one.what->name] = to_json(one.value);

    // Firmware texts are not always UTF-8; JSON is.
    constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::puts(without_raw_controls(object.dump(2, ' ', false, replace)).c_str());
}

bool may_need_root(const finding &one)
{
    if (one.what->without_root == nullptr)
        return false;
    return !is_answered(one.value) || to_text(one.value) == one.what->without_root;
}

std::string names_that_may_need_root(const findings &found)
{
    std::string names;
    for (const finding &one : found) {
        if (may_need_root(one))
            names.append(names.empty() ? "" : ", ").append(one.what->name);
    }
    return names;
}

// What lsblk and the library report, or the reason why there is no root disk.
std::string root_disk()
{
    const stderr_capture capture;
    const answer listing = taken(get_lsblk_output());
    if (!is_answered(listing))
        throw std::runtime_error("lsblk cannot be run");
    const std::string text = to_text(listing);
    if (text.empty())
        throw std::runtime_error("lsblk is missing or lists nothing");
    const answer disk = taken(find_root_disk(text.c_str()));
    if (!is_answered(disk))
        throw std::runtime_error("lsblk -J lists no partition mounted at / by \"mountpoint\"");
    return to_text(disk);
}

} // namespace

int show(const show_options &options)
{
    const fact *const only = options.names.empty() ? nullptr : find_fact(options.names.front());
    const findings found = query(only != nullptr ? std::span(only, 1) : all_facts());

    int status = success;
    if (options.json)
        print_json(found);
    else if (only == nullptr)
        print_table(found);
    else if (is_answered(found.front().value))
        print_line(to_text(found.front().value));
    else
        status = negative;

    if (::geteuid() == 0) {
        if (trace_log_refused())
            print_error("the trace log cannot be opened, so this run left no trace");
    } else if (const std::string names = names_that_may_need_root(found); !names.empty()) {
        print_error("may need root: " + names);
    }
    return status;
}

int print_root_disk()
{
    print_line(root_disk());
    return success;
}

int explain(const query_options & /*options*/)
{
    return success;
}
int print_schema()
{
    return success;
}
int print_facts_page()
{
    return success;
}
int doctor(const query_options & /*options*/)
{
    return success;
}
int save_facts(const std::string & /*file*/, const query_options & /*options*/)
{
    return success;
}
int compare_facts(const std::string & /*file*/, const query_options & /*options*/)
{
    return success;
}
