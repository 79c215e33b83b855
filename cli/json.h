// SPDX-License-Identifier: LGPL-2.1-or-later
//
// JSON as a tree. json.cpp alone includes the JSON library, which takes seconds to compile.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
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
    template <class Value>
    // NOLINTNEXTLINE(google-explicit-constructor)
    json(Value value) // cppcheck-suppress noExplicitConstructor
        : value_(stored(std::move(value)))
    {
    }

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
    template <class Value> static auto stored(Value value)
    {
        if constexpr (std::is_integral_v<Value> && !std::is_same_v<Value, bool>)
            return std::int64_t{value};
        else if constexpr (std::is_same_v<Value, const char *>)
            return std::string(value);
        else
            return value;
    }

    std::variant<std::monostate, bool, std::int64_t, std::string, array, object> value_;
};

// On several lines, in UTF-8, without a character that a terminal obeys: firmware texts are not
// always UTF-8, and JSON leaves DEL and the controls from U+0080 on as they are.
std::string printed(const json &value);

// Throws std::runtime_error with the reason where the text is no JSON, or nested too deeply.
json parsed(const std::string &text);
