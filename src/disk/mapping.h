// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <optional>

namespace orvane {

// Follows a mapped device to what it stands on. The answer, which may be that there is none, or
// nothing where the mapping cannot be followed and its own node is the one to ask.
std::optional<heap_text> follow_mapping(const char *mapped) noexcept;

} // namespace orvane
