// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <glib.h>

namespace orvane {

using glib_text = owned<char, ::g_free>;
using glib_texts = owned<char *, ::g_strfreev>;
using unique_key_file = owned<GKeyFile, ::g_key_file_free>;

} // namespace orvane
