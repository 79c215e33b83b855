// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <cJSON.h>

namespace orvane {

using json_tree = owned<cJSON, ::cJSON_Delete>;
using json_text = owned<char, ::cJSON_free>;

} // namespace orvane
