// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <glib.h>

namespace orvane {

// The class that the first matching pattern of a key file stands for; no_machine_type where none
// matches, and where one does that stands for none. With ignore_case the manufacturer's own text is
// lowered and loses its blanks.
int match_manufacturer(char *manufacturer, GKeyFile *patterns, bool ignore_case) noexcept;

} // namespace orvane
