// SPDX-License-Identifier: LGPL-2.1-or-later
//
// JSON as a tree. json.cpp alone includes the JSON library, which takes seconds to compile.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

class json {
public:
    using array = std::vector<json>;
    using member = std::pair<std::string, json>;
    using object = std::vector<member>; // in the order in which they are printed

    json() = default; // null
    // A document is written as the values that it has.
    // NOLINTBEGIN(google-explicit-constructor)
    json(bool truth) : value_(truth) {}
    json(std::int64_t number) : value_(number) {}
    json(unsigned int number) : value_(std::int64_t{number}) {}
    json(std::string text) : value_(std::move(text)) {}
    json(const char *text) : value_(std::string(text)) {}
    json(array elements) : value_(std::move(elements)) {}
    json(object members) : value_(std::move(members)) {}
    // NOLINTEND(google-explicit-constructor)

    template <class Type> [[nodiscard]] const Type *as() const
    {
        return std::get_if<Type>(&value_);
    }

    // Adds a member to an object.
    void add(std::string name, json value);

    // The member of an object; nullptr where there is none, or this is no object.
    [[nodiscard]] const json *find(std::string_view name) const;

    // The text of a member; empty where it has none.
    [[nodiscard]] std::string text_of(std::string_view name) const;

private:
    std::variant<std::monostate, bool, std::int64_t, std::string, array, object> value_;
};

// On several lines, in UTF-8, without a character that a terminal obeys: firmware texts are not
// always UTF-8, and JSON leaves DEL and the controls from U+0080 on as they are.
std::string printed(const json &value);

// Throws std::runtime_error with the reason where the text is no JSON, or nested too deeply.
json parsed(const std::string &text);
