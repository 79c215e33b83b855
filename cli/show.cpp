// SPDX-License-Identifier: LGPL-2.1-or-later
#include "show.h"

#include "quiet.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <libsmartcols.h>
#include <nlohmann/json.hpp>

namespace {

struct unref_table {
    void operator()(libscols_table *table) const noexcept { scols_unref_table(table); }
};

void require(bool done)
{
    if (!done)
        throw std::runtime_error("cannot lay out the table");
}

void add_row(libscols_table *table, const finding &found)
{
    libscols_line *const line = scols_table_new_line(table, nullptr);
    require(line != nullptr && scols_line_set_data(line, 0, found.what->name) == 0 &&
            scols_line_set_data(line, 1, to_text(found.value).c_str()) == 0);
}

nlohmann::ordered_json to_json(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        return *text;
    if (const auto *const number = std::get_if<unsigned int>(&value))
        return *number;
    return nullptr;
}

// Whether root might be told more.
bool may_be_untold(const finding &found)
{
    if (found.what->untold == nullptr)
        return false;
    return !is_answered(found.value) || to_text(found.value) == found.what->untold;
}

} // namespace

std::vector<finding> ask(std::span<const fact> facts)
{
    const quiet_standard_error quiet;
    std::vector<finding> findings;
    for (const fact &asked : facts)
        findings.push_back({&asked, asked.ask()});
    return findings;
}

void print_table(const std::vector<finding> &findings)
{
    const std::unique_ptr<libscols_table, unref_table> table(scols_new_table());
    require(table && scols_table_new_column(table.get(), "FACT", 0, 0) != nullptr &&
            scols_table_new_column(table.get(), "VALUE", 0, 0) != nullptr &&
            scols_table_enable_noheadings(table.get(), 1) == 0);
    for (const finding &found : findings)
        add_row(table.get(), found);
    require(scols_print_table(table.get()) == 0);
}

void print_json(const std::vector<finding> &findings)
{
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const finding &found : findings)
        object[found.what->name] = to_json(found.value);

    // Firmware texts may hold bytes that are no UTF-8; JSON must not.
    constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::puts(object.dump(2, ' ', false, replace).c_str());
}

std::string names_for_root(const std::vector<finding> &findings)
{
    std::string names;
    for (const finding &found : findings) {
        if (may_be_untold(found))
            names.append(names.empty() ? "" : ", ").append(found.what->name);
    }
    return names;
}
