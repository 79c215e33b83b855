// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Operations on text that do not allocate memory.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace orvane {

// In place of starts_with(), which needs the C++ runtime in a build without optimisation.
inline bool has_prefix(std::string_view text, std::string_view prefix) noexcept
{
    return text.size() >= prefix.size() && ::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

// In place of substr(), which needs the C++ runtime where the compiler checks that 0 is in range.
inline std::string_view leading(std::string_view text, std::size_t count) noexcept
{
    return {text.data(), std::min(count, text.size())};
}

// For printing text that may be absent.
inline const char *or_null(const char *text) noexcept
{
    return text != nullptr ? text : "(null)";
}

// Splits text in place into the fields between runs of separators; there are no empty fields. The
// position is kept in the object, so that threads do not share it.
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
