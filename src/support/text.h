// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Small operations on texts that allocate nothing.
#pragma once

#include <cstring>
#include <string_view>
#include <utility>

namespace orvane {

// Whether a text begins with another. The standard's starts_with() needs the C++ runtime in a build
// without optimisation.
inline bool has_prefix(std::string_view text, std::string_view prefix) noexcept
{
    return text.size() >= prefix.size() && ::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

// What a line for people says of a text that may be absent.
inline const char *or_null(const char *text) noexcept
{
    return text != nullptr ? text : "(null)";
}

// Walks the fields between runs of separators, cutting them out of the text in place; a run at the
// start makes no empty field. Its position is its own, so threads do not meet in it.
class tokenizer {
public:
    tokenizer(char *text, const char *separators) noexcept : text_(text), separators_(separators) {}

    // The next field, or nullptr after the last.
    char *next() noexcept { return ::strtok_r(std::exchange(text_, nullptr), separators_, &rest_); }

private:
    char *text_;
    const char *separators_;
    char *rest_ = nullptr;
};

} // namespace orvane
