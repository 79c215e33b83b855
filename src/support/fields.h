// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstring>
#include <utility>

namespace orvane {

// Walks the fields between runs of separators, cutting them out of the text in place; a run at the
// start makes no empty field. Its position is its own, so threads do not meet in it.
class fields {
public:
    fields(char *text, const char *separators) noexcept : text_(text), separators_(separators) {}

    // The next field, or nullptr after the last.
    char *next() noexcept { return ::strtok_r(std::exchange(text_, nullptr), separators_, &rest_); }

private:
    char *text_;
    const char *separators_;
    char *rest_ = nullptr;
};

} // namespace orvane
