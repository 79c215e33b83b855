// SPDX-License-Identifier: LGPL-2.1-or-later
#include "json.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace {

using library_json = nlohmann::ordered_json;

struct as_library_json {
    library_json operator()(std::monostate /*none*/) const { return nullptr; }
    library_json operator()(bool truth) const { return truth; }
    library_json operator()(std::int64_t number) const { return number; }
    library_json operator()(const std::string &text) const { return text; }
    library_json operator()(const json::array &elements) const;
    library_json operator()(const json::object &members) const;
};

library_json converted(const json &value)
{
    const as_library_json convert;
    if (const auto *const truth = value.as<bool>())
        return convert(*truth);
    if (const auto *const number = value.as<std::int64_t>())
        return convert(*number);
    if (const auto *const text = value.as<std::string>())
        return convert(*text);
    if (const auto *const elements = value.as<json::array>())
        return convert(*elements);
    if (const auto *const members = value.as<json::object>())
        return convert(*members);
    return nullptr;
}

library_json as_library_json::operator()(const json::array &elements) const
{
    library_json converted_elements = library_json::array();
    for (const json &element : elements)
        converted_elements.push_back(converted(element));
    return converted_elements;
}

library_json as_library_json::operator()(const json::object &members) const
{
    library_json converted_members = library_json::object();
    for (const auto &[name, value] : members)
        converted_members[name] = converted(value);
    return converted_members;
}

json taken_from(const library_json &value)
{
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_array()) {
        json::array elements;
        for (const library_json &element : value)
            elements.push_back(taken_from(element));
        return elements;
    }
    if (value.is_object()) {
        json::object members;
        for (const auto &[name, member] : value.items())
            members.emplace_back(name, taken_from(member));
        return members;
    }
    return {};
}

// Such a character can stand in a string alone, where an escape has the same value.
std::string without_raw_controls(const std::string &text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        auto byte = static_cast<unsigned char>(text[at]);
        const bool has_c1 = byte == 0xc2 && static_cast<unsigned char>(text[at + 1]) <= 0x9f;
        if (has_c1)
            byte = static_cast<unsigned char>(text[++at]);
        if (has_c1 || byte == 0x7f) {
            char escape[sizeof "\\u0000"];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            plain.append(escape);
        } else {
            plain.push_back(text[at]);
        }
    }
    return plain;
}

} // namespace

void json::add(std::string name, json value)
{
    std::get<object>(value_).emplace_back(std::move(name), std::move(value));
}

const json *json::find(std::string_view name) const
{
    const auto *const members = as<object>();
    if (members == nullptr)
        return nullptr;
    const auto found = std::find_if(members->begin(), members->end(),
                                    [name](const member &one) { return one.first == name; });
    return found != members->end() ? &found->second : nullptr;
}

std::string json::text_of(std::string_view name) const
{
    const json *const found = find(name);
    const auto *const text = found != nullptr ? found->as<std::string>() : nullptr;
    return text != nullptr ? *text : "";
}

std::string printed(const json &value)
{
    constexpr auto replace = library_json::error_handler_t::replace;
    return without_raw_controls(converted(value).dump(2, ' ', false, replace));
}

json parsed(const std::string &text)
{
    constexpr int deepest = 32; // a tree is read and released recursively
    const auto refuse_depth = [](int depth, library_json::parse_event_t, const library_json &) {
        if (depth > deepest)
            throw std::runtime_error("it is nested too deeply");
        return true;
    };
    try {
        return taken_from(library_json::parse(text, refuse_depth));
    } catch (const library_json::exception &) {
        throw std::runtime_error("it is no JSON");
    }
}
