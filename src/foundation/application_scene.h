// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

namespace orvane {

// The application scene of this installation, such as "EDU"; none where it is not known.
heap_text application_scene() noexcept;

} // namespace orvane
