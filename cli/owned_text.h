// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdlib>
#include <memory>

struct free_text {
    void operator()(char *text) const noexcept { std::free(text); }
};

// A text or bytes that the library returned.
using owned_text = std::unique_ptr<char, free_text>;
