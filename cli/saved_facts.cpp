// SPDX-License-Identifier: LGPL-2.1-or-later
#include "saved_facts.h"

#include "commands.h"
#include "input.h"
#include "reasons.h"
#include "report.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

[[noreturn]] void refuse(const std::string &file, const std::string &why)
{
    throw usage_error(file + ": " + why);
}

answer value_in(const json &object)
{
    const json *const value = object.find("value");
    if (value == nullptr)
        return {};
    if (const auto *const text = value->as<std::string>())
        return *text;
    const auto *const number = value->as<std::int64_t>();
    if (number != nullptr && *number >= 0 && *number <= std::numeric_limits<unsigned int>::max())
        return static_cast<unsigned int>(*number);
    return {};
}

bool is_status(const std::string &name)
{
    return std::any_of(all_reasons().begin(), all_reasons().end(),
                       [&name](const reason *one) { return name == name_of(one->status); });
}

saved_fact saved_in(const std::string &file, const json::member &member)
{
    const auto &[name, object] = member;
    const fact *const what = find_fact(name);
    if (what == nullptr)
        refuse(file, "there is no fact '" + name + "'");
    saved_fact saved{what, value_in(object), object.text_of("status"), object.text_of("reason"),
                     object.text_of("source")};
    const bool was_known = saved.status == name_of(fact_status::known);
    if (!is_status(saved.status) || (was_known && !is_answered(saved.value)))
        refuse(file, "the fact '" + name + "' has no status that fits its value");
    return saved;
}

json document_in(const std::string &file)
{
    constexpr std::size_t longest = 1 << 20;  // a file of the command's own has some kilobytes
    const std::string text = read_file(file); // that it cannot be read is no fault of its content
    if (text.size() > longest)
        refuse(file, "it is longer than " + std::to_string(longest) + " bytes");
    try {
        return parsed(text);
    } catch (const std::runtime_error &error) {
        refuse(file, error.what());
    }
}

} // namespace

std::vector<saved_fact> saved_facts(const std::string &file)
{
    const json document = document_in(file);
    const json *const version = document.find("schema");
    const auto *const number = version != nullptr ? version->as<std::int64_t>() : nullptr;
    const json *const facts = document.find("facts");
    const auto *const members = facts != nullptr ? facts->as<json::object>() : nullptr;
    if (number == nullptr || members == nullptr)
        refuse(file, "it was not written by orvane save");
    if (document.find("redacted") != nullptr)
        refuse(file, "it is redacted, and has no value to compare with");
    if (*number != schema_version)
        refuse(file, "it is of another version, " + std::to_string(*number) + ", than " +
                         std::to_string(schema_version));
    std::vector<saved_fact> saved;
    for (const json::member &member : *members) {
        saved.push_back(saved_in(file, member));
    }
    if (saved.empty())
        refuse(file, "it has no fact");
    return saved;
}
